// One request or reply of a classic connection: a text of at most 299 characters.
#ifndef KX_RUNTIME_LINE_H
#define KX_RUNTIME_LINE_H

namespace kx {

constexpr int line_capacity = 300; // bytes, with the terminating zero

struct Line {
    int length = 0;
    char text[line_capacity]; // `length` characters and a zero
};

} // namespace kx

#endif
