// The page's HTTP server: hands out the pages built into the program, streams to them what happens, and takes
// what they ask for. It knows nothing of the arm.
//
// A web site that is open in the same browser must not get at the arm. So a request must name a host that no
// site's name can stand for, an action must come from the page's own origin, and it must carry a token that
// is drawn at every start and that only the page's own scripts can read. And whoever is slow, or sends much,
// must not keep others away: what a client may take of time, memory and connections is bounded.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <asio/ip/tcp.hpp>

#include "web/http.h"
#include "web/news.h"

namespace kx::sim {

class Web {
  public:
    /** Does what a page asks for. Returns why it could not be done, or nothing.
     * @param from the address of the page's machine */
    using Act = std::function<std::string(const std::string& request, const std::string& from)>;

    using Log = std::function<void(const std::string& text)>;

    /**
     * @param host by which the page is reached, with the port
     * @param about is told to every page that comes, together with the token
     * @param arms of which it is told what is new
     * @param log is told what was refused
     * @param places for connections; the oldest that is no page's stream gives way to a new one
     */
    Web(std::string host, Json about, std::vector<std::shared_ptr<News>> arms, Act act, Log log,
        std::size_t places);

    /** Takes a connection of some client. */
    void serve(asio::ip::tcp::socket socket);

    /** Some page is open, which wants to be told the state. */
    bool watched() const;

    /** Tells all pages what is new. One that is slow gets the latest. */
    void publish();

    /** Has a text ready for whoever asks for it by name. */
    void offer(std::string path, std::string text) { offered_[std::move(path)] = std::move(text); }

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

    const std::string host_, token_, greeting_;
    const Act act_;
    const Log log_;
    const std::size_t places_, most_pages_;
    const std::vector<std::shared_ptr<News>> arms_;
    std::map<std::string, std::string, std::less<>> offered_;
    Connections connections_; ///< the oldest first
};

} // namespace kx::sim
