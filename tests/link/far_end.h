// The other end of a link, played by the test itself: it takes connections and requests when it is told to, and sends
// whatever bytes, so that each test causes the order of events.
#pragma once

#include <arpa/inet.h>
#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

class FarEnd {
  public:
    explicit FarEnd(int socket = -1) : socket_(socket) {}
    FarEnd(FarEnd&& other) noexcept : socket_(std::exchange(other.socket_, -1)) {}
    FarEnd& operator=(FarEnd&& other) noexcept
    {
        std::swap(socket_, other.socket_);
        return *this;
    }
    ~FarEnd() { close(); }

    // The next request as it came, with its CR LF; empty if the link ended instead.
    std::string request()
    {
        size_t end;
        while ((end = taken_.find("\r\n")) == taken_.npos) {
            char bytes[4096];
            const ssize_t count = recv(socket_, bytes, sizeof bytes, 0);
            if (count <= 0) return {};
            taken_.append(bytes, static_cast<size_t>(count));
        }
        std::string request = taken_.substr(0, end + 2);
        taken_.erase(0, end + 2);
        return request;
    }

    void send(const std::string& bytes)
    {
        ASSERT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

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

class Door {
  public:
    explicit Door(int backlog = 128, int receive_buffer = 0) : socket_(::socket(AF_INET, SOCK_STREAM, 0))
    {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address_;
        if (receive_buffer > 0)
            setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
        const timeval patience = {60, 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address_), size), 0);
        EXPECT_EQ(listen(socket_, backlog), 0);
        getsockname(socket_, reinterpret_cast<sockaddr*>(&address_), &size);
    }
    Door(const Door&) = delete;
    ~Door() { close(socket_); }

    int port() const { return ntohs(address_.sin_port); }
    const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&address_); }

    FarEnd accept()
    {
        const int end = ::accept(socket_, nullptr, nullptr);
        EXPECT_GE(end, 0) << "nobody connected";
        const timeval patience = {60, 0};
        setsockopt(end, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        return FarEnd(end);
    }

  private:
    int socket_;
    sockaddr_in address_ = {};
};
