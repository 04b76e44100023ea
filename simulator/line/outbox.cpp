#include "line/outbox.h"

#include <algorithm>

namespace kx::sim {

void Outbox::push(std::string_view kind, std::string line)
{
    auto found = std::ranges::find(pushes_, kind, &Pushes::kind);
    if (found == pushes_.end()) found = pushes_.insert(found, {std::string(kind), {}, 0});
    found->line = std::move(line);
    ++found->registrations;
}

std::optional<std::string> Outbox::take()
{
    const auto waiting = std::ranges::find_if(pushes_, &Pushes::registrations);
    const bool is_push = waiting != pushes_.end() && (replies_.empty() || !push_was_last_);
    if (is_push ? !rested_ : replies_.empty()) {
        rested_ = true;
        return std::nullopt;
    }
    rested_ = false;
    push_was_last_ = is_push;
    if (!is_push) {
        std::string line = std::move(replies_.front());
        replies_.pop_front();
        return line;
    }
    waiting->registrations /= 2;
    const std::string line = waiting->line;
    std::rotate(waiting, waiting + 1, pushes_.end());
    return line;
}

bool Outbox::empty() const
{
    return replies_.empty() && std::ranges::none_of(pushes_, &Pushes::registrations);
}

} // namespace kx::sim
