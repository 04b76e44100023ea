#include "outbox.h"

#include <algorithm>

namespace kx::sim {

void Outbox::push(std::string_view kind, std::string line)
{
    auto found = std::ranges::find(pushes_, kind, &Pushes::kind);
    if (found == pushes_.end()) found = pushes_.insert(found, {std::string(kind), {}, 0});
    found->line = std::move(line);
    ++found->registrations;
}

std::optional<std::string> Outbox::take(Time now)
{
    const auto waiting = std::ranges::find_if(pushes_, &Pushes::registrations);
    const bool is_push = waiting != pushes_.end() && (replies_.empty() || !push_was_last_);
    if (!is_push && replies_.empty()) return std::nullopt;
    push_was_last_ = is_push;
    if (!is_push) {
        std::string line = std::move(replies_.front());
        replies_.pop_front();
        return line;
    }
    if (now - counted_ >= 2 * gap) {
        counted_ = now;
        waiting->registrations /= 2;
    }
    const std::string line = waiting->line;
    std::rotate(waiting, waiting + 1, pushes_.end());
    return line;
}

} // namespace kx::sim
