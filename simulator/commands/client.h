// To whom answers go.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace kx::sim {

class Client {
  public:
    virtual ~Client() = default;

    /** Sends a line, line feed included. */
    virtual void reply(const std::string& line) = 0;

    /** Answers one of the many requests by which a client streams; see Outbox. */
    virtual void push(std::string_view kind, const std::string& line) = 0;
};

/** May be kept, and answered, for as long as a motion takes. */
using ClientHandle = std::shared_ptr<Client>;

} // namespace kx::sim
