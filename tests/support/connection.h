// A bare TCP connection to a port of this machine.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

class Connection {
  public:
    explicit Connection(int port) : socket_(socket(AF_INET, SOCK_STREAM, 0))
    {
        const timeval patience = {20, 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    Connection(const Connection&) = delete;
    ~Connection() { close(socket_); }

    // Whether the other side took it all, as far as can be seen.
    bool send(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    void end() { shutdown(socket_, SHUT_WR); }

    // The next line without its end, empty if there is none any more.
    std::string line()
    {
        std::string line;
        for (char c; recv(socket_, &c, 1, 0) == 1 && c != '\n';)
            line += c;
        return line;
    }

    // All until the other side ends.
    std::string rest()
    {
        std::string all;
        char bytes[4096];
        for (ssize_t length; (length = recv(socket_, bytes, sizeof bytes, 0)) > 0;)
            all.append(bytes, static_cast<std::size_t>(length));
        return all;
    }

  private:
    int socket_;
};
