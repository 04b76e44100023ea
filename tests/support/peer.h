// A scripted controller on loopback: records what it gets and answers what the test says.
#pragma once

#include "support/connection.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

class Peer {
  public:
    using Answerer = std::function<std::string(const std::string& request)>;

    // What has no answer of its own is answered otherwise, if at all: an empty line is not sent.
    explicit Peer(Answerer otherwise = [](auto) { return ""; }) : answerer_(std::move(otherwise)) {}
    ~Peer();
    Peer(const Peer&) = delete;

    int port() const { return bound_.port(); }

    // Answers the next request that has no answer yet; `look` is called when it has come, before it is answered.
    void answer(
        const std::string& line, const std::function<void()>& look = [] {});

    // The next request as it came, with its CR LF; fails the test when none comes.
    std::string next_request();

    // Requests that came and were not fetched yet.
    size_t unread();

    void say(const std::string& line); // at once

    void hang_up();

  private:
    void serve();
    void serves(Connection* client);
    void take(const std::string& request);

    const Answerer answerer_;
    const Bound bound_{4};
    std::mutex mutex_;
    std::condition_variable changed_;
    Connection* client_ = nullptr;
    std::deque<std::string> requests_;
    std::deque<Answerer> answers_;
    std::thread thread_{&Peer::serve, this};
};

// A way to be connected to an arm; all of them serve the same commands.
struct ConnectionKind {
    bool is_classic;
    int (*open)(const char* address, int port, int model);
    void (*wait_at_most)(int milliseconds); // the calling thread, for a reply
};
extern const ConnectionKind classic, link_kind;

// An arm connected to a scripted controller of its own; starts the library when needed.
struct Arm {
    explicit Arm(int model = 46, const ConnectionKind& kind = classic);
    ~Arm();

    Peer peer;
    int sockfd;
};

// Waits until the receiver has dealt with all that was sent to older connections.
void until_all_is_taken();

// A compact JSON object as the library puts it on the wire.
std::string on_the_wire(const std::string& json);

// Waits until a condition holds, at most some seconds; false when it never does.
bool eventually(const std::function<bool()>& condition);
