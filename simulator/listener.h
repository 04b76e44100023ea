// Takes in whoever connects to a port.
#pragma once

#include <functional>
#include <string>

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include "commands/virtual_controller.h"

namespace kx::sim {

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
