// The connection of a proxy to the controller behind it, one for every client.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <asio/ip/tcp.hpp>

namespace kx::sim {

/** Keeps itself alive until it is closed. */
class Upstream : public std::enable_shared_from_this<Upstream> {
  public:
    /** What the client's side does. */
    struct Client {
        std::function<void(const std::string& line)> send; ///< line feed included
        std::function<bool()> can_take_more;               ///< if not, resume() is called later
        std::function<void()> has_room;                    ///< send() has been caught up with
        std::function<void(const std::string& why)> end;   ///< the controller sends no more
    };

    Upstream(asio::any_io_executor executor, Client client);

    void connect(const asio::ip::tcp::resolver::results_type& controller);

    /** Sends bytes as they are. */
    void send(std::string_view bytes);

    std::size_t waiting() const { return waiting_.size(); } ///< bytes to be sent

    void resume(); ///< reads on
    void end();    ///< the client sends no more
    void close();

  private:
    void read();
    void take(std::string_view bytes);
    void write();
    void finish(const std::string& why);

    asio::ip::tcp::socket socket_;
    Client client_;
    char buffer_[4096];
    std::string line_; ///< begun
    std::string sending_, waiting_;
    bool connected_ = false, reading_ = false, writing_ = false, ending_ = false, closed_ = false;
};

} // namespace kx::sim
