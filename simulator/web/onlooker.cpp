#include "web/onlooker.h"

#include <chrono>

namespace kx::sim {

constexpr double looks_per_second = 20;

Onlooker::Onlooker(std::string host, int port, int model, std::function<void(const KX_ARM_STATE&)> seen)
    : seen_(std::move(seen)),
      opener_([this, host = std::move(host), port, model] { look(host, port, model); })
{
}

Onlooker::~Onlooker()
{
    {
        const std::lock_guard lock(mutex_);
        is_ending_ = true;
    }
    ends_.notify_all();
    opener_.join();
    KX_Link_Close(link_);
}

void Onlooker::look(const std::string& host, int port, int model)
{
    KX_LINK_OPTIONS options;
    KX_Link_Defaults(&options);
    options.reconnect = true;
    std::unique_lock lock(mutex_);
    while (!is_ending_ && (link_ = KX_Link_Open(host.c_str(), port, model, &options)) < 0)
        ends_.wait_for(lock, std::chrono::seconds(1));
    const auto callback = [](const KX_ARM_STATE* state, void* self) {
        if (state->status == KX_SUCCESS || state->status == KX_WRONG_TYPE)
            static_cast<Onlooker*>(self)->seen_(*state);
    };
    KX_Link_Subscribe(link_, looks_per_second, callback, this);
}

} // namespace kx::sim
