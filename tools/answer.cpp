#include "answer.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

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
            numbers.push_back(*unit ? Json(shortest(value)) : Json(static_cast<std::int64_t>(value)));
        object[name] = is_array ? numbers : numbers.front();
    }
    // A controller's words may be in any encoding, and are cut at any byte.
    std::printf("%s\n", object.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

} // namespace

void print(const Answer& answer, bool as_json)
{
    as_json ? print_json(answer) : print_table(answer.rows);
    std::fflush(stdout);
}

} // namespace kx::tool
