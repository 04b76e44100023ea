#include "line/upstream.h"

#include <asio/buffer.hpp>
#include <asio/connect.hpp>
#include <asio/write.hpp>

namespace kx::sim {

using asio::ip::tcp;

// What is longer is passed on in parts.
constexpr std::size_t longest_line = 64 * 1024;

Upstream::Upstream(asio::any_io_executor executor, Client client)
    : socket_(std::move(executor)), client_(std::move(client))
{
}

void Upstream::connect(const tcp::resolver::results_type& controller)
{
    asio::async_connect(socket_, controller, [self = shared_from_this()](auto error, const auto&) {
        if (error) return self->finish("the controller cannot be reached: " + error.message());
        asio::error_code ignored;
        self->socket_.set_option(tcp::no_delay(true), ignored);
        self->connected_ = true;
        self->write();
        self->resume();
    });
}

void Upstream::resume()
{
    if (connected_ && !reading_ && !closed_ && client_.can_take_more()) read();
}

void Upstream::read()
{
    reading_ = true;
    socket_.async_read_some(asio::buffer(buffer_), [self = shared_from_this()](auto error, auto length) {
        self->reading_ = false;
        if (self->closed_) return;
        if (error) return self->finish("the controller has ended the connection");
        self->take({self->buffer_, length});
        self->resume();
    });
}

void Upstream::take(std::string_view bytes)
{
    for (char c : bytes) {
        line_ += c;
        if (c == '\n' || line_.size() == longest_line) client_.send(std::exchange(line_, {}));
    }
}

void Upstream::send(std::string_view bytes)
{
    waiting_ += bytes;
    write();
}

void Upstream::write()
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
        self->client_.has_room();
    });
}

void Upstream::end()
{
    ending_ = true;
    write();
}

void Upstream::finish(const std::string& why)
{
    if (closed_) return;
    if (!line_.empty()) client_.send(std::exchange(line_, {}));
    const auto end = client_.end;
    close();
    end(why);
}

void Upstream::close()
{
    closed_ = true;
    asio::error_code ignored;
    socket_.close(ignored);
    client_ = {};
}

} // namespace kx::sim
