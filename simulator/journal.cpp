#include "journal.h"

#include <iostream>
#include <utility>

#include "commands/tap.h"

namespace kx::sim {

namespace {

constexpr int most_lines = 20; // a second

void write(const std::string& text)
{
    std::cerr << "kx-controller: " << printable(text) << std::endl;
}

} // namespace

void Journal::say(const std::string& text)
{
    if (++said_ <= most_lines) write(text);
    if (said_ > 1) return;
    second_.expires_after(std::chrono::seconds(1));
    second_.async_wait([this](auto cancelled) {
        if (!cancelled) end_second();
    });
}

void Journal::end_second()
{
    const int unsaid = std::exchange(said_, 0) - most_lines;
    if (unsaid > 0) write("and " + std::to_string(unsaid) + " lines more in that second");
}

} // namespace kx::sim
