#include "runtime/request.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <utility>

namespace kx {

int truncated(float value, float factor)
{
    const float product = value * factor;
    if (product >= 2147483648.0f) return INT_MAX;
    if (product < -2147483648.0f) return INT_MIN;
    return product == product ? static_cast<int>(product) : 0;
}

Request&& Request::add(const char* key, cJSON* value)
{
    cJSON_AddItemToObject(object_, key, value);
    return std::move(*this);
}

Request&& Request::pair(const char* key, double first, double second)
{
    return array(key, 2, [&](int i) { return i == 0 ? first : second; });
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

Request&& Request::object(const char* key, Request members)
{
    return add(key, std::exchange(members.object_, nullptr));
}

bool Request::print(Line& line) const
{
    char* printed = cJSON_Print(object_);
    if (!printed) return false;
    Line framed;
    framed.length = snprintf(framed.text, sizeof framed.text, "%s\r\n", printed);
    cJSON_free(printed);
    if (framed.length >= line_capacity) return false;
    line = framed;
    return true;
}

static bool print_and_free(Request request, Line& line)
{
    return request.print(line);
}

Line framed(Request request)
{
    Line line;
    if (!print_and_free(std::move(request), line)) abort();
    return line;
}

} // namespace kx
