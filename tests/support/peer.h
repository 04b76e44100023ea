// A scripted controller on loopback: records what it gets and answers what the test says.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

class Peer {
  public:
    Peer();
    ~Peer();
    Peer(const Peer&) = delete;

    int port() const { return port_; }

    // Answers the next request that has no answer yet; an empty text leaves it unanswered. `look` is called
    // when the request has come, before it is answered.
    void answer(std::string text, std::function<void()> look = nullptr);

    // The next request as it came, with its CR LF; fails the test when none comes.
    std::string next_request();

    // Requests that came and were not fetched yet.
    size_t unread();

    // Sends bytes at once, as they are.
    void send(const std::string& bytes);

    void hang_up();

  private:
    void serve();
    void receive(const char* bytes, size_t count);

    int listener_ = -1;
    int port_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    int client_ = -1;
    std::string partial_;
    std::deque<std::string> requests_;
    std::deque<std::pair<std::string, std::function<void()>>> answers_;
    std::thread thread_;
};

// A way to be connected to an arm; all of them serve the same commands.
struct ConnectionKind {
    bool is_classic;
    int (*open)(const char* address, int port, int model);
    void (*close)(int handle);
    void (*wait_at_most)(int milliseconds); // the calling thread, for a reply
};
extern const ConnectionKind classic, link_kind;

// An arm connected to a scripted controller of its own; starts the library when needed.
struct Arm {
    explicit Arm(int model = 46, const ConnectionKind& kind = classic);
    ~Arm();

    Peer peer;
    const ConnectionKind& kind;
    int sockfd;
};

// Waits until the receiver has dealt with all that was sent to older connections.
void until_all_is_taken();

// A compact JSON object as the library puts it on the wire.
std::string on_the_wire(const std::string& json);

// Waits until a condition holds, at most some seconds; false when it never does.
bool eventually(const std::function<bool()>& condition);
