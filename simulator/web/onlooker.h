// What a proxy's page sees of the arm behind: asked over a link of its own, before any client asks for it.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "kx/link.h"

namespace kx::sim {

class Onlooker {
  public:
    /** @param seen is called on another thread, for every state that came, be it one that fits the model
     * (KX_SUCCESS) or not (KX_WRONG_TYPE) */
    Onlooker(std::string host, int port, int model, std::function<void(const KX_ARM_STATE&)> seen);
    ~Onlooker();
    Onlooker(const Onlooker&) = delete;

  private:
    void look(const std::string& host, int port, int model);

    std::function<void(const KX_ARM_STATE&)> seen_;
    std::mutex mutex_;
    std::condition_variable ends_;
    bool is_ending_ = false;
    int link_ = -1;
    std::thread opener_; ///< the controller may come later than its proxy
};

} // namespace kx::sim
