// The ends of motions all look alike to a client, so it is told of them in the order in which it asked for the motions,
// refusals included.
#pragma once

#include <deque>
#include <map>

#include "commands/client.h"

namespace kx::sim {

class Turns {
  public:
    /** Takes the one answer to a request for a motion, for the client, who gets it when it is its turn. */
    ClientHandle next(const ClientHandle& client);

  private:
    struct Queue;
    class Turn;

    std::map<std::weak_ptr<Client>, std::weak_ptr<Queue>, std::owner_less<>> queues_; ///< of who has motions
};

} // namespace kx::sim
