// The connection table: which arm is behind a descriptor. Entries are only ever added, and an entry is
// complete before m_nSockInfoLen makes it visible, so that the receiver thread can read the table without a
// lock.
#ifndef KX_RUNTIME_CLASSIC_CONNECTION_H
#define KX_RUNTIME_CLASSIC_CONNECTION_H

#include "kx/types.h"

#include <atomic>

namespace kx {

constexpr int connection_capacity = 300;

struct Connection {
    std::atomic<int> descriptor;
    std::atomic<int> joint_count; // 6 or 7
    std::atomic<int> model;       // 36, 46 or 47
};

namespace classic {

// What the table says of a descriptor; 0 if it is not in it.
int joint_count(int sockfd);
int model(int sockfd);

} // namespace classic

// The library's two threads hold this while they work on a descriptor. Arm_Socket_Close waits for it, and it
// is false once the connection was closed, so that they never reach a file that was given the same number
// afterwards.
class InUse {
  public:
    enum Thread { receiver, writer };

    InUse(Thread thread, int sockfd);
    InUse(const InUse&) = delete;
    ~InUse();
    explicit operator bool() const { return is_open_; }

  private:
    const Thread thread_;
    bool is_open_;
};

} // namespace kx

KX_API kx::Connection SockInfo[kx::connection_capacity];
KX_API std::atomic<int> m_nSockInfoLen;

#endif
