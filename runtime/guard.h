// A mutex that is held while in scope.
#ifndef KX_RUNTIME_GUARD_H
#define KX_RUNTIME_GUARD_H

#include <pthread.h>

namespace kx {

class Guard {
  public:
    explicit Guard(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    Guard(const Guard&) = delete;
    ~Guard() { pthread_mutex_unlock(&mutex_); }

  private:
    pthread_mutex_t& mutex_;
};

} // namespace kx

#endif
