// The other end of a link, played by the test itself: it takes connections and requests when it is told to, and sends
// whatever bytes, so that each test causes the order of events.
#pragma once

#include "support/bound.h"

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

    bool is_told_of_the_end() // and of nothing before
    {
        char byte;
        return recv(socket_, &byte, 1, 0) == 0;
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

class Door : public Bound {
  public:
    explicit Door(int backlog = 128, int receive_buffer = 0) : Bound(backlog)
    {
        if (receive_buffer > 0)
            setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
        be_patient(socket);
    }
    Door(const Door&) = delete;
    ~Door() { close(socket); }

    FarEnd accept()
    {
        const int end = ::accept(socket, nullptr, nullptr);
        EXPECT_GE(end, 0) << "nobody connected";
        be_patient(end);
        return FarEnd(end);
    }

  private:
    static void be_patient(int socket)
    {
        const timeval patience = {60, 0};
        setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
};
