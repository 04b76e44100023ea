// What has come from a peer, cut into lines: whole, glued, in pieces or too long.
#ifndef KX_RUNTIME_LINK_INBOX_H
#define KX_RUNTIME_LINK_INBOX_H

#include <stddef.h>

namespace kx::link {

class Inbox {
  public:
    static constexpr size_t longest_line = 65536;

    // Room for what is read next; null when out of memory.
    char* room(size_t& size);
    void received(size_t size) { end_ += size; }

    struct Line {
        char* text; // zero-terminated in place of the line feed; null if there is no whole line
        size_t length;
        bool is_cut; // it was too long, and this is its beginning
    };
    Line next();

    void clear();
    void free_room();

  private:
    char* buffer_ = nullptr;
    size_t capacity_ = 0, begin_ = 0, searched_ = 0, end_ = 0;
    bool skipping_ = false; // the rest of a line that was too long
};

} // namespace kx::link

#endif
