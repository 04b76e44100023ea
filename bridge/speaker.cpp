#include "speaker.h"

#include <algorithm>
#include <cstdio>

namespace kx::bridge {

void Speaker::say(const std::string& what)
{
    const std::lock_guard lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) {
        ++unsaid_;
        return;
    }
    const std::string more = unsaid_ > 0 ? " (and " + std::to_string(unsaid_) + " more before)" : "";
    std::fprintf(stderr, "%s: %s%s\n", name_.c_str(), what.c_str(), more.c_str());
    next_ = now + std::chrono::seconds(1);
    unsaid_ = 0;
}

std::string printable(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c > '~'; }, '?');
    return text.substr(0, 200);
}

} // namespace kx::bridge
