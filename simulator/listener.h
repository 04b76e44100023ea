// Takes in whoever connects to a port.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include "commands/virtual_controller.h"

namespace kx::sim {

/** How many may come in at a door: so many, but no more than their share, in eighths, of the descriptors that the system
 * has for this process. */
std::size_t places(std::size_t most, std::size_t eighths);

/** Those who have come in at a door that has so many places; the log is told who must go. */
template <class Guest>
class Guests {
  public:
    Guests(const char* door, std::size_t places, Log log) : door_(door), places_(places), log_(std::move(log))
    {
    }

    /** Whether there is room for one more; the oldest that has never said anything sensible gives way. */
    bool have_room()
    {
        const auto present = all();
        guests_.assign(present.begin(), present.end());
        if (guests_.size() < places_) return true;
        const auto oldest = std::ranges::find_if_not(present, &Guest::is_introduced);
        const bool gives_way = oldest != present.end();
        log_(door_ + (gives_way ? ": one that had asked nothing gave way to a new one"
                                : ": turned away one too many"));
        if (!gives_way) return false;
        guests_.erase(guests_.begin() + (oldest - present.begin()));
        (*oldest)->close();
        return true;
    }

    void add(const std::shared_ptr<Guest>& guest) { guests_.push_back(guest); }

    std::vector<std::shared_ptr<Guest>> all() const
    {
        std::vector<std::shared_ptr<Guest>> present;
        for (const auto& guest : guests_)
            if (auto still = guest.lock()) present.push_back(std::move(still));
        return present;
    }

  private:
    const std::string door_;
    const std::size_t places_;
    const Log log_;
    std::vector<std::weak_ptr<Guest>> guests_; ///< the oldest first
};

class Listener {
  public:
    using Take = std::function<void(asio::ip::tcp::socket socket)>;

    /** @param host an address, or a name for one
     *  @param port 0 picks a free one
     *  @throws std::runtime_error if it cannot listen there */
    Listener(asio::io_context& loop, const std::string& host, unsigned short port, Log log, Take take);

    asio::ip::tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }

  private:
    void accept();

    asio::ip::tcp::acceptor acceptor_;
    asio::steady_timer retry_;
    Log log_;
    Take take_;
};

} // namespace kx::sim
