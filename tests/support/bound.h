// A socket on a free port of the loopback, for ends that a test or a benchmark plays itself.
#pragma once

#include <arpa/inet.h>
#include <stdexcept>
#include <sys/socket.h>

struct Bound {
    // Listens if it is told how many connections may queue up. Whoever makes it closes it.
    explicit Bound(int backlog = -1) : socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (bind(socket, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            (backlog >= 0 && listen(socket, backlog) != 0) ||
            getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            throw std::runtime_error("no port to be had");
    }

    int port() const { return ntohs(address.sin_port); }

    int socket;
    sockaddr_in address = {};
};
