// The connection table: which arm is behind a descriptor. Entries are only ever added, and an entry is
// complete before m_nSockInfoLen makes it visible, so that the receiver thread can read the table without a
// lock.
#ifndef KX_RUNTIME_CONNECTION_H
#define KX_RUNTIME_CONNECTION_H

#include "kx/types.h"

#include <atomic>

namespace kx {

constexpr int connection_capacity = 300;

struct Connection {
    std::atomic<int> descriptor;
    std::atomic<int> joint_count; // 6 or 7
    std::atomic<int> model;       // 36, 46 or 47
};

// Joints of an arm as its replies carry them; 0 for a descriptor that is not in the table.
int joint_count(int sockfd);

// Joints of an arm as its requests carry them: decided by the model, not by the joint count.
int request_joints(int sockfd);

// Held by the receiver thread while it reads from a connection. False once the connection was closed; while
// it is true, closing waits, so that no read ever reaches a file that was given the same number afterwards.
class Reading {
  public:
    explicit Reading(int index);
    Reading(const Reading&) = delete;
    ~Reading();
    explicit operator bool() const { return is_open_; }

  private:
    bool is_open_;
};

} // namespace kx

KX_API kx::Connection SockInfo[kx::connection_capacity];
KX_API std::atomic<int> m_nSockInfoLen;

#endif
