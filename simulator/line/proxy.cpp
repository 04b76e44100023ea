#include "line/proxy.h"

#include <charconv>
#include <stdexcept>

#include <asio/buffer.hpp>
#include <asio/connect.hpp>
#include <asio/write.hpp>

namespace kx::sim {

using asio::ip::tcp;

// What is longer is passed on in parts.
constexpr std::size_t longest_reply = 64 * 1024;
constexpr std::size_t waiting_bytes = 64 * 1024;

constexpr std::size_t most_upstreams = 64; // a controller takes fewer

/** Keeps itself alive until it is closed. */
class Proxy::Upstream : public Answerer, public std::enable_shared_from_this<Upstream> {
  public:
    Upstream(asio::io_context& loop, std::shared_ptr<OnlyClient> client)
        : socket_(loop), client_(std::move(client))
    {
    }

    void connect(const tcp::resolver::results_type& controller);

    /** Its own address. */
    tcp::endpoint endpoint() const;

    void pass_on(std::string_view bytes) override;
    bool takes_more() const override { return waiting_.size() < waiting_bytes; }
    void client_has_room() override;
    void client_has_ended() override;
    void client_has_closed() override { close(); }

  private:
    void read();
    void take(std::string_view bytes);
    void write();
    void finish(const std::string& why);
    void close();

    tcp::socket socket_;
    std::shared_ptr<OnlyClient> client_;
    char buffer_[4096];
    std::string line_; ///< begun
    std::string sending_, waiting_;
    bool connected_ = false, reading_ = false, writing_ = false, ending_ = false, closed_ = false;
};

std::pair<std::string, std::string> host_and_port(const std::string& address)
{
    const auto colon = address.rfind(':');
    std::string host = address.substr(0, colon);
    const std::string port = colon == address.npos ? "" : address.substr(colon + 1);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    unsigned short number = 0;
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
    if (host.empty() || error != std::errc() || end != port.data() + port.size() || number == 0)
        throw std::invalid_argument("an address is given as HOST:PORT, not " + address);
    return {host, port};
}

Proxy::Proxy(asio::io_context& loop, const std::string& controller) : loop_(loop)
{
    const auto [host, port] = host_and_port(controller);
    asio::error_code error;
    controller_ = tcp::resolver(loop).resolve(host, port, error);
    if (error) throw std::runtime_error("--proxy " + controller + ": " + error.message());
}

std::shared_ptr<Answerer> Proxy::connect(std::shared_ptr<OnlyClient> client)
{
    const auto upstream = std::make_shared<Upstream>(loop_, std::move(client));
    upstreams_.push_back(upstream);
    upstream->connect(controller_);
    return upstream;
}

std::string Proxy::refuses(const tcp::socket& client)
{
    std::erase_if(upstreams_, [](const auto& past) { return past.expired(); });
    if (upstreams_.size() >= most_upstreams)
        return "too many clients for a proxy, which may be behind itself";
    asio::error_code none;
    const tcp::endpoint from = client.remote_endpoint(none);
    for (const auto& upstream : upstreams_)
        if (const auto alive = upstream.lock(); alive && alive->endpoint() == from)
            return "the controller behind the proxy is the proxy itself";
    return "";
}

void Proxy::Upstream::connect(const tcp::resolver::results_type& controller)
{
    asio::async_connect(socket_, controller, [self = shared_from_this()](auto error, const auto&) {
        if (error) return self->finish("the controller cannot be reached: " + error.message());
        asio::error_code ignored;
        self->socket_.set_option(tcp::no_delay(true), ignored);
        self->connected_ = true;
        self->write();
        self->client_has_room();
    });
}

tcp::endpoint Proxy::Upstream::endpoint() const
{
    asio::error_code none;
    return socket_.local_endpoint(none);
}

void Proxy::Upstream::client_has_room()
{
    if (connected_ && !reading_ && !closed_ && client_->takes_more()) read();
}

void Proxy::Upstream::read()
{
    reading_ = true;
    socket_.async_read_some(asio::buffer(buffer_), [self = shared_from_this()](auto error, auto length) {
        self->reading_ = false;
        if (self->closed_) return;
        if (error) return self->finish("the controller has ended the connection");
        self->take({self->buffer_, length});
        self->client_has_room();
    });
}

void Proxy::Upstream::take(std::string_view bytes)
{
    for (char c : bytes) {
        if (closed_) return;
        line_ += c;
        if (c == '\n' || line_.size() == longest_reply) client_->reply(std::exchange(line_, {}));
    }
}

void Proxy::Upstream::pass_on(std::string_view bytes)
{
    waiting_ += bytes;
    write();
}

void Proxy::Upstream::write()
{
    if (!connected_ || writing_ || closed_) return;
    if (waiting_.empty()) {
        asio::error_code ignored;
        if (ending_) socket_.shutdown(tcp::socket::shutdown_send, ignored);
        return;
    }
    writing_ = true;
    sending_ = std::exchange(waiting_, {});
    asio::async_write(socket_, asio::buffer(sending_), [self = shared_from_this()](auto error, auto) {
        self->writing_ = false;
        if (error || self->closed_) return; // the end shows when reading
        self->write();
        self->client_->answerer_has_room();
    });
}

void Proxy::Upstream::client_has_ended()
{
    ending_ = true;
    write();
}

void Proxy::Upstream::finish(const std::string& why)
{
    if (closed_) return;
    if (!line_.empty()) client_->reply(std::exchange(line_, {}));
    const auto client = client_;
    close();
    client->answerer_has_ended(why);
}

void Proxy::Upstream::close()
{
    closed_ = true;
    asio::error_code ignored;
    socket_.close(ignored);
    client_.reset();
}

} // namespace kx::sim
