#include "listener.h"

#include <stdexcept>

#include <netinet/tcp.h>
#include <sys/resource.h>

namespace kx::sim {

using asio::ip::tcp;

namespace {

/** Of what a name stands for, the address that clients try first. */
tcp::endpoint found(const tcp::resolver::results_type& endpoints)
{
    for (const auto& entry : endpoints)
        if (entry.endpoint().protocol() == tcp::v4()) return entry.endpoint();
    return endpoints.begin()->endpoint();
}

/** A client whose machine is gone without a word is so within a minute and a half. */
void notice_silence(tcp::socket& socket)
{
    asio::error_code ignored;
    socket.set_option(asio::socket_base::keep_alive(true), ignored);
    for (const auto& [option, value] : {std::pair(TCP_KEEPIDLE, 60), {TCP_KEEPINTVL, 10}, {TCP_KEEPCNT, 3}})
        setsockopt(socket.native_handle(), IPPROTO_TCP, option, &value, sizeof value);
}

} // namespace

std::size_t places(std::size_t most, std::size_t eighths)
{
    rlimit descriptors = {};
    getrlimit(RLIMIT_NOFILE, &descriptors);
    return std::min<std::size_t>(most, descriptors.rlim_cur / 8 * eighths);
}

Listener::Listener(asio::io_context& loop, const std::string& host, unsigned short port, Log log, Take take)
    : acceptor_(loop), retry_(loop), log_(std::move(log)), take_(std::move(take))
{
    try {
        const tcp::endpoint endpoint = found(tcp::resolver(loop).resolve(host, std::to_string(port)));
        acceptor_.open(endpoint.protocol());
        acceptor_.set_option(tcp::acceptor::reuse_address(true));
        acceptor_.bind(endpoint);
        acceptor_.listen();
    } catch (const asio::system_error& error) {
        throw std::runtime_error(host + ':' + std::to_string(port) + ": " + error.code().message());
    }
    accept();
}

void Listener::accept()
{
    acceptor_.async_accept([this](asio::error_code error, tcp::socket socket) {
        if (error) { // most likely out of descriptors, which passes when clients leave
            log_("cannot accept a client: " + error.message());
            retry_.expires_after(std::chrono::milliseconds(100));
            return retry_.async_wait([this](auto cancelled) {
                if (!cancelled) accept();
            });
        }
        asio::error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        notice_silence(socket);
        take_(std::move(socket));
        accept();
    });
}

} // namespace kx::sim
