// The page's HTTP server: hands out the pages built into the program, streams to them what happens, and takes
// what they ask for. It knows nothing of the arm.
//
// A web site that is open in the same browser must not get at the arm. So a request must name a host that no
// site's name can stand for, an action must come from the page's own origin, and it must carry a token that
// is drawn at every start and that only the page's own scripts can read. And whoever is slow, or sends much,
// must not keep others away: what a client may take of time, memory and connections is bounded.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include <asio/ip/tcp.hpp>

#include "commands/json.h"
#include "commands/tap.h"
#include "web/http.h"

namespace kx::sim {

class Web : public Tap {
  public:
    /** Does what a page asks for. Returns why it could not be done, or nothing.
     * @param from the address of the page's machine */
    using Act = std::function<std::string(const std::string& request, const std::string& from)>;

    using Log = std::function<void(const std::string& text)>;

    /**
     * @param host by which the page is reached, with the port
     * @param about is told to every page that comes, together with the token
     * @param log is told what was refused
     * @param places for connections; the oldest that is no page's stream gives way to a new one
     */
    Web(std::string host, Json about, Act act, Log log, std::size_t places);

    /** Takes a connection of some client. */
    void serve(asio::ip::tcp::socket socket);

    /** Some page is open, which wants to be told the state. */
    bool watched() const;

    /** Tells all pages what is new: lines, the state if it is another one, and now and then the time. One
     * that is slow gets the latest.
     * @param time simulated seconds
     * @return the state is another one */
    bool publish(double time, const Json& state);

    /** The last lines are kept for pages that come later. */
    void passed(double time, int client, Direction direction, const std::string& line) override;

  private:
    class Connection;
    using Connections = std::list<std::shared_ptr<Connection>>;

    /** An answer, all of it but the headers that are always the same. */
    struct Answer {
        int status = 404;
        std::string_view type = {};
        std::string_view content = {};
        std::string text = {}; ///< if it is not there already
        std::string tag = {};  ///< of an asset
        bool goes_on = false;  ///< is a page's stream
    };
    Answer answer(const HttpRequest& request, const std::string& from);
    Answer open_stream();
    Answer take_action(const HttpRequest& request, const std::string& from);
    std::string wire_since(std::uint64_t seen) const;

    const std::string host_, token_, greeting_;
    const Act act_;
    const Log log_;
    const std::size_t places_, most_pages_;
    std::string shown_, state_, time_; ///< the last state, and what tells it and the time to a page
    std::chrono::steady_clock::time_point told_time_{};
    std::uint64_t states_ = 0, times_ = 0; ///< counted
    std::deque<std::string> lines_;
    std::uint64_t line_count_ = 0; ///< ever
    Connections connections_;      ///< the oldest first
};

} // namespace kx::sim
