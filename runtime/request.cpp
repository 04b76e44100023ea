#include "runtime/request.h"

#include <float.h>
#include <limits.h>
#include <locale.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <utility>

namespace kx {

Scaled truncated(float value, float factor)
{
    const float product = value * factor;
    if (product >= 2147483648.0f) return {INT_MAX, false};
    if (product >= -2147483648.0f) return {static_cast<int>(product), true};
    return {INT_MIN, false}; // and so is NaN
}

Request::Request(Request&& other)
    : answer_(other.answer_), fits_(other.fits_), is_true_(other.is_true_), is_secret_(other.is_secret_)
{
    line_.length = other.line_.length;
    memcpy(line_.text, other.line_.text, static_cast<size_t>(line_.length));
}

void Request::append(char character)
{
    if (line_.length < line_capacity - 1)
        line_.text[line_.length++] = character;
    else
        fits_ = false;
}

void Request::append(const char* characters)
{
    while (*characters)
        append(*characters++);
}

void Request::append_string(const char* characters)
{
    append('"');
    for (; *characters; ++characters) {
        const auto character = static_cast<unsigned char>(*characters);
        static constexpr char named[] = "\"\\\b\f\n\r\t", names[] = "\"\\bfnrt";
        if (const char* found = strchr(named, character)) {
            append('\\');
            append(names[found - named]);
        } else if (character < ' ') {
            char code[sizeof "\\u0000"];
            snprintf(code, sizeof code, "\\u%04x", character);
            append(code);
        } else {
            append(*characters);
        }
    }
    append('"');
}

void Request::begin_member(const char* key)
{
    append(line_.length == 0 ? "{\n\t" : ",\n\t");
    append_string(key);
    append(":\t");
}

void Request::begin_array(const char* key)
{
    begin_member(key);
    append('[');
}

Request&& Request::end_array()
{
    append(']');
    return std::move(*this);
}

void Request::begin_item()
{
    if (line_.text[line_.length - 1] != '[') append(", ");
}

void Request::append_number(int value)
{
    char digits[sizeof "-2147483648"];
    char* first = digits + sizeof digits;
    *--first = '\0';
    unsigned int rest = value < 0 ? 0u - static_cast<unsigned int>(value) : static_cast<unsigned int>(value);
    do
        *--first = static_cast<char>('0' + rest % 10);
    while (rest /= 10);
    if (value < 0) *--first = '-';
    append(first);
}

// With 15 digits, or with 17 where 15 do not tell the value.
void Request::append_number(double value)
{
    if (!isfinite(value)) {
        is_true_ = false;
        return append("null");
    }
    char digits[32];
    snprintf(digits, sizeof digits, "%1.15g", value);
    const double told = strtod(digits, nullptr);
    if (fabs(told - value) > fmax(fabs(told), fabs(value)) * DBL_EPSILON)
        snprintf(digits, sizeof digits, "%1.17g", value);
    const char point = localeconv()->decimal_point[0];
    if (char* found = point == '.' ? nullptr : strchr(digits, point)) *found = '.';
    append(digits);
}

void Request::append_number(Scaled value)
{
    is_true_ = is_true_ && value.is_true;
    append_number(value.value);
}

Request&& Request::text(const char* key, const char* value)
{
    is_secret_ = is_secret_ || strcmp(key, "password") == 0;
    if (value) {
        begin_member(key);
        append_string(value);
    }
    return std::move(*this);
}

Request&& Request::joints(const char* key, const float* degrees, int count)
{
    return array(key, count, [&](int i) { return truncated(degrees[i], 1000.0f); });
}

Request&& Request::pose(const char* key, const POSE& pose)
{
    const float values[6] = {pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz};
    return array(key, 6, [&](int i) { return truncated(values[i], i < 3 ? 1000000.0f : 1000.0f); });
}

Request&& Request::object(const char* key, const Request& members)
{
    begin_member(key);
    for (int i = 0; i < members.line_.length; ++i) {
        append(members.line_.text[i]);
        if (members.line_.text[i] == '\n') append('\t'); // one level further in
    }
    append("\n\t}");
    fits_ = fits_ && members.fits_;
    is_true_ = is_true_ && members.is_true_;
    return std::move(*this);
}

const Line* Request::framed()
{
    append(line_.length == 0 ? "{\n}\r\n" : "\n}\r\n");
    line_.text[line_.length] = '\0';
    return fits_ ? &line_ : nullptr;
}

} // namespace kx
