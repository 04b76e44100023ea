// A request under construction: a JSON object whose members keep the order in which they are added, with the
// kind of reply that answers it.
//
//     Request("set_joint_max_speed", KeyCode::set_joint_max_speed)
//         .pair("joint_max_speed", joint, truncated(speed, 1000.0f))
//
// It is written straight into the line that goes out, the way cJSON prints an object: a streamed target shall
// cost no allocation.
#ifndef KX_RUNTIME_REQUEST_H
#define KX_RUNTIME_REQUEST_H

#include "kx/types.h"
#include "runtime/line.h"
#include "runtime/recognition.h"

#include <utility>

namespace kx {

// A value as it is sent: a whole number of 32 bits.
struct Scaled {
    int value;
    bool is_true; // false if the value was not finite or beyond 32 bits, and so is another
};

// value * factor in single precision, truncated toward zero. Saturates at the ends of the 32-bit range; NaN
// gives the smallest number, which every controller refuses, where 0 would be a legal target.
Scaled truncated(float value, float factor);

class Request {
  public:
    explicit Request(KeyCode answer = KeyCode::none) : answer_(answer) {} // without a command
    explicit Request(const char* command, KeyCode answer = KeyCode::none) : answer_(answer)
    {
        text("command", command);
    }
    Request(Request&& other);
    Request& operator=(Request&&) = delete;

    Request&& text(const char* key, const char* value); // left out when null
    template <class Number>                             // int, double or Scaled
    Request&& number(const char* key, Number value)
    {
        begin_member(key);
        append_number(value);
        return std::move(*this);
    }
    template <class First, class Second>
    Request&& pair(const char* key, First first, Second second)
    {
        begin_array(key);
        append_number(first);
        begin_item();
        append_number(second);
        return end_array();
    }
    Request&& joints(const char* key, const float* degrees, int count); // thousandths, truncated
    Request&& pose(const char* key, const POSE& pose); // micrometres and milliradians, truncated
    Request&& object(const char* key, const Request& members);

    // An array of `count` numbers, value(0) to value(count - 1); empty for a negative count.
    template <class Value>
    Request&& array(const char* key, int count, Value value)
    {
        begin_array(key);
        for (int i = 0; i < count && fits_; ++i) {
            begin_item();
            append_number(value(i));
        }
        return end_array();
    }

    KeyCode answer() const { return answer_; }

    // False if a value had to be replaced by another to be sent.
    bool is_true() const { return is_true_; }

    // True if it holds a password, which no log shall show.
    bool is_secret() const { return is_secret_; }

    // The line as it goes out, ended by CR LF; null if it does not fit.
    const Line* framed();

  private:
    void begin_member(const char* key);
    void begin_array(const char* key);
    Request&& end_array();
    void begin_item();
    void append_number(int value);
    void append_number(double value);
    void append_number(Scaled value);
    void append(char character);
    void append(const char* characters);
    void append_string(const char* characters);

    Line line_;
    KeyCode answer_ = KeyCode::none;
    bool fits_ = true;
    bool is_true_ = true;
    bool is_secret_ = false;
};

} // namespace kx

#endif
