// Whoever answers the clients: the simulated arm, a recording, or the controller behind a proxy.
#pragma once

#include <string>
#include <string_view>

#include "commands/client.h"
#include "line/framing.h"

namespace kx::sim {

/** Sees what a client sends in two ways, of which it takes the one that it can use. */
class Answerer {
  public:
    virtual ~Answerer() = default;

    /** Each request, one after the other. */
    virtual void answer(const Request&, const ClientHandle&) {}

    /** The bytes as they are. */
    virtual void pass_on(std::string_view) {}

    /** Whether it takes more bytes now; if not, it tells the client when it does. */
    virtual bool takes_more() const { return true; }

    virtual void client_has_room() {}
    virtual void client_has_ended() {} ///< it sends no more
    virtual void client_has_closed() {}
};

/** A client in the hands of one that answers no other. */
class OnlyClient : public Client {
  public:
    virtual bool takes_more() const = 0; ///< if not, it tells when it does
    virtual void answerer_has_room() = 0;
    virtual void answerer_has_ended(const std::string& why) = 0;
};

} // namespace kx::sim
