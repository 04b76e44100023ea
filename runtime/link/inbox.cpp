#include "runtime/link/inbox.h"

#include <stdlib.h>
#include <string.h>

namespace kx::link {

constexpr size_t least_room = 2048;

char* Inbox::room(size_t& size)
{
    if (begin_ > 0) { // what has been handed out is no longer needed
        memmove(buffer_, buffer_ + begin_, end_ - begin_);
        end_ -= begin_;
        searched_ -= begin_;
        begin_ = 0;
    }
    if (capacity_ - end_ < least_room) {
        const size_t grown = capacity_ == 0 ? 2 * least_room : 2 * capacity_;
        char* buffer = static_cast<char*>(realloc(buffer_, grown));
        if (!buffer) return nullptr;
        buffer_ = buffer;
        capacity_ = grown;
    }
    size = capacity_ - end_ - 1; // the line that is cut needs a zero
    return buffer_ + end_;
}

Inbox::Line Inbox::next()
{
    while (begin_ < end_) {
        char* const line = buffer_ + begin_;
        char* const feed = static_cast<char*>(memchr(buffer_ + searched_, '\n', end_ - searched_));
        const size_t length = static_cast<size_t>((feed ? feed : buffer_ + end_) - line);
        if (!feed && length <= longest_line) {
            searched_ = end_;
            break;
        }
        begin_ = searched_ = feed ? begin_ + length + 1 : end_;
        const bool was_skipping = skipping_;
        skipping_ = !feed;
        if (was_skipping) continue;
        line[length] = '\0';
        return {line, length, length > longest_line};
    }
    return {nullptr, 0, false};
}

void Inbox::clear()
{
    begin_ = searched_ = end_ = 0;
    skipping_ = false;
}

void Inbox::free_room()
{
    free(buffer_);
    *this = Inbox();
}

} // namespace kx::link
