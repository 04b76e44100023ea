#include "recording/messages.h"

#include <bit>

namespace kx::recording {

namespace {

constexpr const char* joint_state_schema = R"(# The angles of an arm's joints, rad
std_msgs/Header header
string[] name
float64[] position
float64[] velocity
float64[] effort
================================================================================
MSG: std_msgs/Header
builtin_interfaces/Time stamp
string frame_id
================================================================================
MSG: builtin_interfaces/Time
int32 sec
uint32 nanosec
)";

constexpr const char* line_schema = R"({"title":"Line","type":"object","required":["client"],"properties":{
"client":{"type":"integer","description":"connection, counted from 1"},
"request":{"description":"what the controller was sent"},
"reply":{"description":"what it sent, asked for or not"}}})";

constexpr const char* event_schema =
    R"({"title":"Event","type":"object","required":["client","event"],"properties":{
"client":{"type":"integer","description":"connection, counted from 1; 0: none"},
"event":{"type":"string"}}})";

constexpr std::uint32_t most_joints = 1000; ///< that are read

constexpr std::string_view little_endian("\0\1\0\0", 4); ///< before the first member

/** Numbers stand at multiples of their size, counted from the first member. */
void align(std::string& out, std::size_t size)
{
    out.append((little_endian.size() - out.size()) % size, '\0');
}

template <typename Number>
void put_aligned(std::string& out, Number number)
{
    align(out, sizeof number);
    put(out, number);
}

void put_cdr_text(std::string& out, std::string_view text)
{
    put_aligned(out, static_cast<std::uint32_t>(text.size() + 1));
    out += text;
    out += '\0';
}

class CdrFields {
  public:
    explicit CdrFields(std::string_view bytes) : fields_(bytes)
    {
        if (fields_.take_bytes(little_endian.size()).substr(0, 2) != little_endian.substr(0, 2))
            throw Damaged("not little-endian CDR");
        size_ = fields_.rest().size();
    }

    template <typename Number>
    Number take()
    {
        const std::size_t past = size_ - fields_.rest().size();
        fields_.take_bytes(-past % sizeof(Number));
        return fields_.take<Number>();
    }

    std::string_view take_text()
    {
        const std::string_view text = fields_.take_bytes(take<std::uint32_t>());
        return text.substr(0, text.find('\0'));
    }

    std::uint32_t take_count()
    {
        const auto count = take<std::uint32_t>();
        if (count > most_joints) throw Damaged(std::to_string(count) + " joints");
        return count;
    }

  private:
    Fields fields_;
    std::size_t size_ = 0;
};

} // namespace

Channel joint_states()
{
    return {"/joint_states", "cdr", "sensor_msgs/msg/JointState", "ros2msg", joint_state_schema};
}

std::vector<std::string> joint_names(int model)
{
    std::vector<std::string> names;
    for (int i = 1; i <= (model == 47 ? 7 : 6); ++i)
        names.push_back("joint_" + std::to_string(i));
    return names;
}

Channel robot_description()
{
    return {"/robot_description", "cdr", "std_msgs/msg/String", "ros2msg", "string data\n"};
}

Channel wire()
{
    return {"/wire", "json", "kx.Line", "jsonschema", line_schema};
}

Channel events()
{
    return {"/events", "json", "kx.Event", "jsonschema", event_schema};
}

std::string encode_joint_state(std::uint64_t stamp, const std::vector<std::string>& names,
                               std::span<const double> positions)
{
    constexpr std::uint64_t second = 1'000'000'000; // ns
    std::string out(little_endian);
    out.reserve(64 + 32 * names.size());
    put(out, static_cast<std::uint32_t>(stamp / second));
    put(out, static_cast<std::uint32_t>(stamp % second));
    put_cdr_text(out, ""); // no frame
    put_aligned(out, static_cast<std::uint32_t>(names.size()));
    for (const std::string& name : names)
        put_cdr_text(out, name);
    put_aligned(out, static_cast<std::uint32_t>(positions.size()));
    for (const double position : positions)
        put_aligned(out, std::bit_cast<std::uint64_t>(position));
    put_aligned(out, std::uint32_t{0}); // no velocities,
    put_aligned(out, std::uint32_t{0}); // no efforts
    return out;
}

std::string encode_text(std::string_view text)
{
    std::string out(little_endian);
    put_cdr_text(out, text);
    return out;
}

JointState decode_joint_state(std::string_view bytes)
{
    CdrFields fields(bytes);
    fields.take<std::uint32_t>(); // the time, which the message has, too
    fields.take<std::uint32_t>();
    fields.take_text();
    JointState state;
    for (std::uint32_t left = fields.take_count(); left > 0; --left)
        state.names.emplace_back(fields.take_text());
    for (std::uint32_t left = fields.take_count(); left > 0; --left)
        state.positions.push_back(std::bit_cast<double>(fields.take<std::uint64_t>()));
    if (state.names.size() != state.positions.size()) throw Damaged("not an angle for every joint");
    return state;
}

} // namespace kx::recording
