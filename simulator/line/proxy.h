// Has the clients answered by another controller, with a connection to it for each of them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include "line/answerer.h"

namespace kx::sim {

class Proxy {
  public:
    /** @param controller HOST:PORT
     *  @throws std::exception if there is no such address */
    Proxy(asio::io_context& loop, const std::string& controller);

    std::shared_ptr<Answerer> connect(std::shared_ptr<OnlyClient> client);

    /** Why nobody else may be connected now, if so. A proxy may be behind itself: directly, then it knows its
     * own connection; or with others between, then every client becomes one more, and there is an end. */
    std::string refuses(const asio::ip::tcp::socket& client);

  private:
    class Upstream;

    asio::io_context& loop_;
    asio::ip::tcp::resolver::results_type controller_;
    std::vector<std::weak_ptr<Upstream>> upstreams_;
};

/** HOST:PORT, the port last. @throws std::invalid_argument otherwise */
std::pair<std::string, std::string> host_and_port(const std::string& address);

} // namespace kx::sim
