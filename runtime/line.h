// One request or reply: a text of at most 299 characters.
#ifndef KX_RUNTIME_LINE_H
#define KX_RUNTIME_LINE_H

namespace kx {

constexpr int line_capacity = 300; // bytes, with the terminating zero

struct Line {
    char text[line_capacity] = {};
    int length = 0;
};

} // namespace kx

#endif
