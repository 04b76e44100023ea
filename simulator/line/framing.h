// Cuts the bytes that a client sends into requests.
//
// A request is one JSON object, over several lines (the library prints it so) or on one line (typed by hand),
// with any white space around it; objects arrive in pieces and several at a time. What is no object is
// dropped up to the end of the line and reported once, so that the next request is understood again.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kx::sim {

struct Request {
    std::string text;  ///< one object: its braces match, the rest is for the JSON parser
    std::string fault; ///< if not empty: what is wrong with the text
};

class Framing {
  public:
    static constexpr std::size_t max_length = 64 * 1024;

    /** Takes the next bytes of the stream; returns the requests that they complete, and the faults. */
    std::vector<Request> feed(std::string_view bytes);

  private:
    enum class State {
        between, ///< of two requests
        object,
        string,
        escape,
        garbage,    ///< a line that is no object
        skipping,   ///< the rest of a faulty line
        after_fault ///< at the begin of the line after it: an indented or closing line is still part of it
    };

    void take(char c, std::vector<Request>& out);
    void give_up(const char* fault, std::vector<Request>& out);

    State state_ = State::between;
    std::string text_;
    int depth_ = 0;
    char last_ = '\n'; ///< the byte before
};

} // namespace kx::sim
