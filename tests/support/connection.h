// A TCP connection on this machine whose other end is under test: made to a port, or taken at a door. It takes and sends
// when it is told to, whatever bytes, so that each test causes the order of events.
#pragma once

#include "support/bound.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

class Connection {
  public:
    struct Taken {
        int socket = -1;
    };
    explicit Connection(Taken taken) : socket_(taken.socket)
    {
        const timeval patience = {60, 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    }
    explicit Connection(int port) : Connection(Taken{socket(AF_INET, SOCK_STREAM, 0)})
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    Connection(Connection&& other) noexcept : socket_(std::exchange(other.socket_, -1)) {}
    Connection& operator=(Connection&& other) noexcept { return std::swap(socket_, other.socket_), *this; }
    ~Connection() { close(); }

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
    bool say(const std::string& line) { return send(line + "\n"); }

    // All up to a text and with it, or up to where the other side ends.
    std::string until(const char* end)
    {
        std::size_t found;
        while ((found = taken_.find(end)) == taken_.npos) {
            char bytes[4096];
            const ssize_t count = recv(socket_, bytes, sizeof bytes, 0);
            if (count <= 0) return std::exchange(taken_, {});
            taken_.append(bytes, static_cast<std::size_t>(count));
        }
        std::string text = taken_.substr(0, found + strlen(end));
        taken_.erase(0, text.size());
        return text;
    }

    // The next line without its end, empty if there is none any more.
    std::string line()
    {
        const std::string line = until("\n");
        return line.substr(0, line.find('\n'));
    }
    std::string request() { return until("\r\n"); }
    std::string command() // of the next request
    {
        const std::string next = request();
        const std::size_t begin = std::min(next.find(":\t\""), next.size() - 3) + 3;
        return next.substr(begin, next.find('"', begin) - begin);
    }
    std::string rest() { return until("\x04 which nobody sends"); }
    bool is_told_of_the_end() // and of nothing before
    {
        char byte;
        return recv(socket_, &byte, 1, 0) == 0;
    }

    void end() { shutdown(socket_, SHUT_WR); }
    void hang_up() { shutdown(socket_, SHUT_RDWR); } // also while another thread takes
    void close()
    {
        if (socket_ >= 0) ::close(std::exchange(socket_, -1));
    }
    void reset()
    {
        const linger at_once = {1, 0};
        setsockopt(socket_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        close();
    }

  private:
    int socket_;
    std::string taken_;
};

class Door : public Bound {
  public:
    explicit Door(int backlog = 128, int receive_buffer = 0) : Bound(backlog)
    {
        if (receive_buffer > 0)
            setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
        const timeval patience = {60, 0};
        setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    Door(const Door&) = delete;
    ~Door() { close(socket); }

    Connection accept() const
    {
        const Connection::Taken taken = {::accept(socket, nullptr, nullptr)};
        EXPECT_GE(taken.socket, 0) << "nobody connected";
        return Connection(taken);
    }
};
