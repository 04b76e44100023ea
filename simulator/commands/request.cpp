#include "commands/request.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "arm/refused.h"

namespace kx::sim {

namespace {

/** NaN for what is no number at all. The smallest number of 32 bits is what clients send for one that is not
 *  finite. */
double value_of(const Json& json)
{
    const double value = json.is_number() ? json.get<double>() : NAN;
    if (value == std::numeric_limits<std::int32_t>::min()) throw Refused("a number is not finite");
    return value;
}

} // namespace

const Json& member(const Json& request, const char* key)
{
    const auto found = request.find(key);
    if (found == request.end()) throw Refused(std::string("no \"") + key + "\" given");
    return *found;
}

int integer(const Json& value, const char* what, int low, int high)
{
    const double number = value_of(value);
    if (!(number >= low && number <= high && number == std::floor(number)))
        throw Refused(std::string(what) + " must be a whole number from " + std::to_string(low) + " to " +
                      std::to_string(high));
    return static_cast<int>(number);
}

double number(const Json& value, const char* what, double low, double high)
{
    const double number = value_of(value);
    if (!(number >= low && number <= high))
        throw Refused(std::string(what) + " must be a number from " + Json(low).dump() + " to " +
                      Json(high).dump());
    return number;
}

const std::string& text(const Json& value)
{
    if (!value.is_string()) throw Refused("a text was expected");
    return value.get_ref<const std::string&>();
}

bool flag(const Json& value)
{
    if (!value.is_boolean()) throw Refused("true or false was expected");
    return value.get<bool>();
}

double from_thousandths(const Json& value)
{
    const double thousandths = value_of(value);
    if (std::isnan(thousandths)) throw Refused("a number was expected");
    return thousandths / 1000;
}

std::vector<double> numbers(const Json& array, std::size_t count)
{
    if (!array.is_array() || array.size() != count)
        throw Refused("an array of " + std::to_string(count) + " numbers was expected");
    std::vector<double> values;
    for (const Json& json : array) {
        const double value = value_of(json);
        if (!(std::abs(value) <= INT32_MAX)) throw Refused("a number of at most 32 bits was expected");
        values.push_back(value);
    }
    return values;
}

std::vector<double> from_thousandths(const Json& array, std::size_t count)
{
    std::vector<double> values = numbers(array, count);
    for (double& value : values)
        value /= 1000;
    return values;
}

std::vector<double> joints_told_by(const Json& reply)
{
    if (!reply.is_object()) return {};
    const auto state = reply.find("arm_state");
    const Json& about = state != reply.end() && state->is_object() ? *state : reply;
    const auto joints = about.find("joint");
    if (joints == about.end() || !joints->is_array()) return {};
    try {
        return from_thousandths(*joints, joints->size());
    } catch (const Refused&) { // no numbers; it means something else
        return {};
    }
}

Json thousandths(const std::vector<double>& values)
{
    Json array = Json::array();
    for (double value : values)
        array.push_back(std::lround(value * 1000));
    return array;
}

POSE pose_from(const Json& array)
{
    if (!array.is_array() || array.size() != 6) throw Refused("a pose of six numbers was expected");
    float values[6];
    for (std::size_t i = 0; i < 6; ++i)
        values[i] = static_cast<float>(from_thousandths(array[i]) / (i < 3 ? 1000 : 1));
    for (float value : values)
        if (!(std::abs(value) <= 100)) throw Refused("a pose beyond all reach");
    return {values[0], values[1], values[2], values[3], values[4], values[5]};
}

Json pose_of(const POSE& pose)
{
    return {std::lround(pose.x * 1e6),  std::lround(pose.y * 1e6),  std::lround(pose.z * 1e6),
            std::lround(pose.rx * 1e3), std::lround(pose.ry * 1e3), std::lround(pose.rz * 1e3)};
}

} // namespace kx::sim
