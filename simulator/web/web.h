// The page's HTTP server: hands out the pages built into the program, streams to them what happens, and takes
// what they ask for. It runs on threads of its own and knows nothing of the arm.
//
// A web site that is open in the same browser must not get at the arm. So a request must name a host that no
// site's name can stand for, an action must come from the page's own origin, and it must carry a token that
// is drawn at every start and that only the page's own scripts can read.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "commands/json.h"

namespace kx::sim {

class Web {
  public:
    /** Does what a page asks for; called on the server's threads. Returns why it could not be done, or
     * nothing. */
    using Act = std::function<std::string(const std::string& request)>;

    /**
     * Listens.
     * @param port 0 picks a free one
     * @param about is told to every page that comes, together with the token
     * @throws std::runtime_error if it cannot listen
     */
    Web(const std::string& host, int port, Json about, Act act);
    ~Web();

    std::string address() const;

    /** Some page is open, which wants to be told the state. */
    bool watched() const;

    /** Tells all pages; one that is slow gets the latest. */
    void publish(const Json& state);

    /** A line that went over the wire. The last ones are kept for pages that come later. */
    void wire(double time, int client, const char* direction, const std::string& text);

  private:
    struct Server;
    std::unique_ptr<Server> server_;
};

} // namespace kx::sim
