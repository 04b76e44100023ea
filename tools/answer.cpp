#include "answer.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <kx_base.h>
#include <nlohmann/json.hpp>

namespace kx::tool {

namespace {

int decimals(std::string_view unit)
{
    return unit.empty() ? 0 : unit == "deg" || unit == "V" ? 3 : 6;
}

/** Without a negative zero. */
double rounded(double value, int decimals)
{
    const double scale = std::pow(10, decimals);
    return std::round(value * scale) / scale + 0.0;
}

/** The same single-precision number in as few digits as tell it from the next. */
double shortest(double value)
{
    char text[40] = "";
    std::to_chars(text, text + sizeof text - 1, static_cast<float>(value + 0.0));
    return std::strtod(text, nullptr);
}

void print_table(const std::vector<Row>& rows)
{
    for (const auto& [name, unit, values, is_array] : rows) {
        std::printf("%-16s %-4s", name.c_str(), unit);
        for (const double value : values)
            std::printf(" %9.*f", decimals(unit), rounded(value, decimals(unit)));
        std::printf("\n");
    }
}

void print_json(const Answer& answer)
{
    using Json = nlohmann::ordered_json;
    Json object = {{"status", answer.status}};
    if (answer.status != KX_SUCCESS) object["meaning"] = answer.why;
    for (const auto& [name, unit, values, is_array] : answer.rows) {
        Json numbers = Json::array();
        for (const double value : values)
            numbers.push_back(*unit ? Json(shortest(value)) : Json(static_cast<int>(value)));
        object[name] = is_array ? numbers : numbers.front();
    }
    std::printf("%s\n", object.dump().c_str());
}

} // namespace

void print(const Answer& answer, bool as_json)
{
    as_json ? print_json(answer) : print_table(answer.rows);
    std::fflush(stdout);
}

const char* meaning(int status)
{
    switch (status) {
    case KX_SUCCESS:
        return "success";
    case KX_REFUSED:
        return "the controller refused it, or broke it off";
    case KX_NOT_RUNNING:
        return "the library is not running";
    case KX_NO_SOCKET:
        return "no socket can be had";
    case KX_BAD_DESCRIPTOR:
        return "the controller cannot be reached";
    case KX_SEND_FAILED:
        return "the connection is lost";
    case KX_TIMED_OUT:
        return "no answer in time";
    case KX_NOT_BOOLEAN:
        return "the answer says neither yes nor no";
    case KX_BAD_REPLY:
        return "the answer cannot be read";
    case KX_WRONG_SHAPE:
    case KX_WRONG_TYPE:
        return "the answer is not what was expected; does --model fit the arm?";
    case KX_INCOMPLETE_POSE:
        return "the answer holds no whole pose";
    default:
        return "unknown status";
    }
}

} // namespace kx::tool
