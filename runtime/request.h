// A request under construction: a JSON object whose members keep the order in which they are added.
//
//     Request("set_joint_max_speed").pair("joint_max_speed", joint, truncated(speed, 1000.0f))
#ifndef KX_RUNTIME_REQUEST_H
#define KX_RUNTIME_REQUEST_H

#include "kx/types.h"
#include "runtime/line.h"

#include <cjson/cJSON.h>

namespace kx {

// value * factor in single precision, truncated toward zero; saturates at the ends of the 32-bit range, NaN
// gives 0.
int truncated(float value, float factor);

class Request {
  public:
    Request() : object_(cJSON_CreateObject()) {}
    explicit Request(const char* command) : Request() { text("command", command); }
    Request(Request&& other) noexcept : object_(other.object_) { other.object_ = nullptr; }
    Request& operator=(Request&&) = delete;
    ~Request() { cJSON_Delete(object_); }

    Request&& text(const char* key, const char* value) { return add(key, cJSON_CreateString(value)); }
    Request&& number(const char* key, double value) { return add(key, cJSON_CreateNumber(value)); }
    Request&& pair(const char* key, double first, double second);
    Request&& joints(const char* key, const float* degrees, int count); // thousandths, truncated
    Request&& pose(const char* key, const POSE& pose); // micrometres and milliradians, truncated
    Request&& object(const char* key, Request members);

    // An array of `count` numbers, value(0) to value(count - 1); empty for a negative count.
    template <class Value>
    Request&& array(const char* key, int count, Value value)
    {
        cJSON* items = cJSON_CreateArray();
        for (int i = 0; i < count && i < line_capacity; ++i) // no line holds more
            cJSON_AddItemToArray(items, cJSON_CreateNumber(value(i)));
        return add(key, items);
    }

    // The line as it goes out: formatted JSON and CR LF. False when it does not fit, with `line` untouched.
    bool print(Line& line) const;

  private:
    Request&& add(const char* key, cJSON* value);

    cJSON* object_;
};

// The line of a request that is known to fit; one that does not ends the process before anything is sent.
Line framed(Request request);

} // namespace kx

#endif
