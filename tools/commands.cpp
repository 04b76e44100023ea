#include "commands.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

#include <kx_base.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "arm.h"

namespace kx::tool {

namespace {

int model_of(const Given& given)
{
    if (given.model == 0)
        throw WrongUse("the model of the arm is needed: --model 36, 46 (six joints) or 47 (seven)");
    return given.model;
}

} // namespace

std::size_t joints_of(const Given& given)
{
    return model_of(given) == 47 ? 7 : 6;
}

double timeout_of(const Given& given, double usual)
{
    return given.timeout.value_or(usual);
}

namespace {

constexpr int any_model = 46; ///< for commands that count no joints

/** @throws WrongUse unless there is an angle for every joint */
const float* joints(const Given& given, const std::vector<float>& angles)
{
    if (angles.size() != joints_of(given))
        throw WrongUse("model " + std::to_string(given.model) + " has " + std::to_string(joints_of(given)) +
                       " joints, but " + std::to_string(angles.size()) + " angles are given");
    return angles.data();
}

/** @throws WrongUse unless there are six numbers, which may be metres and radians */
POSE pose(const std::vector<float>& n)
{
    if (n.size() != 6)
        throw WrongUse("a pose is six numbers, X Y Z in metres and RX RY RZ in radians, but " +
                       std::to_string(n.size()) + " are given");
    for (std::size_t i = 0; i < 6; ++i) {
        const bool is_position = i < 3;
        if (std::fabs(n[i]) > (is_position ? 10.0f : 6.2832f)) // no arm is so long; more than a full turn
            throw WrongUse(is_position ? "X Y Z are metres" : "RX RY RZ are radians");
    }
    return {n[0], n[1], n[2], n[3], n[4], n[5]};
}

template <typename Values>
Row row(const char* name, const char* unit, const Values& values)
{
    return {name, unit, {std::begin(values), std::end(values)}};
}

Row number(const std::string& name, double value)
{
    return {name, "", {value}, false};
}

void check(const Arm& arm, int status)
{
    if (status != KX_SUCCESS) throw Failed{status, arm.words(status)};
}

/** Of a command without a result. */
Answer done(const Arm& arm, int status)
{
    return {status, {}, arm.words(status)};
}

Answer read_state(const Arm& arm, std::size_t joint_count)
{
    float joint[7];
    POSE pose;
    unsigned short arm_error, controller_error;
    check(arm, Get_Current_Arm_State(arm, joint, &pose, &arm_error, &controller_error));
    return {KX_SUCCESS,
            {row("joint", "deg", std::vector<float>(joint, joint + joint_count)),
             row("position", "m", std::vector{pose.x, pose.y, pose.z}),
             row("rotation", "rad", std::vector{pose.rx, pose.ry, pose.rz}), number("arm_error", arm_error),
             number("controller_error", controller_error)}};
}

/** What the library wrote into an array; how many there are, it does not say. */
std::vector<double> written(const std::vector<float>& values)
{
    return {values.begin(),
            std::find_if(values.begin(), values.end(), [](float v) { return std::isnan(v); })};
}

constexpr unsigned char unwritten = 255;

std::vector<double> written(const std::vector<unsigned char>& values)
{
    return {values.begin(), std::find(values.begin(), values.end(), unwritten)};
}

Answer read_channels(const Arm& arm)
{
    constexpr std::size_t room = 300; // a reply of 299 bytes lists fewer
    std::vector<unsigned char> outputs(room, unwritten), inputs = outputs;
    std::vector<float> output_volts(room, NAN), input_volts = output_volts, tool = output_volts,
                                                tool_is_output = output_volts;
    check(arm, Get_IO_Output(arm, outputs.data(), output_volts.data()));
    check(arm, Get_IO_Input(arm, inputs.data(), input_volts.data()));
    check(arm, Get_Tool_IO_State(arm, tool_is_output.data(), tool.data()));
    return {KX_SUCCESS,
            {row("do", "", written(outputs)), row("di", "", written(inputs)),
             row("ao", "V", written(output_volts)), row("ai", "V", written(input_volts)),
             row("tool", "", written(tool)), row("tool_is_output", "", written(tool_is_output))}};
}

/** Of all channels one, or with 0 those of a kind. */
Answer read_channel(const Arm& arm, const std::string& kind, int channel)
{
    for (const Row& row : read_channels(arm).rows) {
        if (row.name != kind) continue;
        if (channel == 0) return {KX_SUCCESS, {row}};
        const std::size_t count = row.values.size(), index = static_cast<std::size_t>(channel - 1);
        if (index >= count) return {KX_REFUSED, {}, "there are " + std::to_string(count) + " of " + kind};
        return {KX_SUCCESS, {{kind, row.unit, {row.values[index]}, false}}};
    }
    return {KX_BAD_REPLY, {}};
}

/** The answer to this cannot be told from another's, so it is not waited for; reading back tells more. */
Answer set_tool_channel(const Arm& arm, unsigned char channel, bool on)
{
    check(arm, Set_Tool_DO_State(arm, channel, on, false));
    for (const auto& [kind, wanted] : {std::pair("tool_is_output", true), {"tool", on}}) {
        const Answer answer = read_channel(arm, kind, channel);
        if (answer.status != KX_SUCCESS) return answer;
        if ((answer.rows.front().values.front() == 1) != wanted) return done(arm, KX_REFUSED);
    }
    return {};
}

bool is_on(const Given& given)
{
    if (given.value == "on" || given.value == "1") return true;
    if (given.value == "off" || given.value == "0") return false;
    throw WrongUse(given.kind + " is switched on or off, not " + given.value);
}

float volts(const Given& given)
{
    char* end;
    const float result = std::strtof(given.value.c_str(), &end);
    if (*end != '\0' || !std::isfinite(result) || result < 0)
        throw WrongUse("ao is set to a number of volts, not " + given.value);
    return result;
}

std::vector<Row> rows(const KinPose& pose)
{
    const auto& [position, quaternion, euler] = pose;
    return {row("position", "m", std::vector{position.x, position.y, position.z}),
            row("rotation", "rad", std::vector{euler.rx, euler.ry, euler.rz}),
            row("quaternion", "wxyz", std::vector{quaternion.w, quaternion.x, quaternion.y, quaternion.z})};
}

/** Of a motion. */
Answer ended(const Arm& arm, int status)
{
    const bool is_certain = status == KX_SUCCESS || status == KX_REFUSED;
    return {status, {}, arm.words(status) + (is_certain ? "" : "; the arm may still be moving")};
}

} // namespace

Answer state(const Given& given)
{
    const std::size_t joint_count = joints_of(given);
    const Arm arm(given.arm, given.model, timeout_of(given));
    const char* separator = given.json ? "" : isatty(STDOUT_FILENO) ? "\033[5A" : "\n"; // up by all rows
    Answer answer = read_state(arm, joint_count);
    while (given.watch && std::ferror(stdout) == 0) {
        print(answer, given.json);
        sleep_cp(static_cast<unsigned int>(1000 * given.every));
        answer = read_state(arm, joint_count);
        std::printf("%s", separator);
    }
    return answer;
}

Answer movej(const Given& given)
{
    const float* target = joints(given, given.numbers);
    const Arm arm(given.arm, given.model, timeout_of(given));
    const auto speed = static_cast<unsigned char>(given.speed);
    return ended(arm, arm.run_stoppably([&] { return Movej_Cmd(arm, target, speed, 0, true); }));
}

Answer movel(const Given& given)
{
    const POSE target = pose(given.numbers);
    const Arm arm(given.arm, model_of(given), timeout_of(given));
    const auto speed = static_cast<unsigned char>(given.speed);
    return ended(arm, arm.run_stoppably([&] { return Movel_Cmd(arm, target, speed, 0, true); }));
}

Answer stop(const Given& given)
{
    const Arm arm(given.arm, any_model, timeout_of(given));
    return done(arm, Move_Stop_Cmd(arm, true));
}

Answer io(const Given& given)
{
    const bool is_set = !given.value.empty();
    if (is_set && given.kind.back() == 'i') throw WrongUse(given.kind + " is an input, it cannot be set");
    const bool on = is_set && given.kind != "ao" && is_on(given);
    const float voltage = is_set && given.kind == "ao" ? volts(given) : 0;

    const Arm arm(given.arm, any_model, timeout_of(given));
    const auto channel = static_cast<unsigned char>(given.channel);
    if (given.kind.empty()) return read_channels(arm);
    if (!is_set) return read_channel(arm, given.kind, given.channel);
    if (given.kind == "do") return done(arm, Set_DO_State(arm, channel, on, true));
    if (given.kind == "ao") return done(arm, Set_AO_State(arm, channel, true, voltage));
    return set_tool_channel(arm, channel, on);
}

Answer gripper(const Given& given)
{
    if ((given.action == "to") != given.position.has_value())
        throw WrongUse(given.action == "to" ? "to which position?" : "only `to` takes a position");
    const Arm arm(given.arm, any_model, timeout_of(given, 15)); // fingers are slow
    if (given.action == "open") return done(arm, Set_Gripper_Release(arm, given.finger_speed, true));
    if (given.action == "close")
        return done(arm, Set_Gripper_Pick(arm, given.finger_speed, given.force, true));
    if (given.action == "hold")
        return done(arm, Set_Gripper_Pick_On(arm, given.finger_speed, given.force, true));
    return done(arm, Set_Gripper_Position(arm, *given.position, true));
}

Answer forward(const Given& given)
{
    const float* angles = joints(given, given.numbers);
    Init_Sys_Data(46); // gives model 36 its tool transform
    return {KX_SUCCESS, rows(Forward_Kinematics(given.model, angles))};
}

Answer inverse(const Given& given)
{
    const auto [x, y, z, rx, ry, rz] = pose(given.numbers);
    const KINEMATIC target = {{x, y, z}, euler2quaternion(rx, ry, rz), {rx, ry, rz}};
    const std::size_t joint_count = joints_of(given);
    const std::vector<float> reference = given.near.empty() ? std::vector<float>(joint_count) : given.near;
    float found[7];
    Init_Sys_Data(46);                    // as above
    constexpr unsigned char anywhere = 2; // may the elbow of seven joints be
    const int code = inverse_kinematics(given.model, joints(given, reference), &target, found, anywhere);
    if (code == 1) return {KX_SUCCESS, {row("joint", "deg", std::vector<float>(found, found + joint_count))}};
    return {KX_REFUSED, {}, KX_Inverse_Words(given.model, code)};
}

Answer raw(const Given& given)
{
    if (!nlohmann::json::parse(given.line, nullptr, false).is_object())
        throw WrongUse("not one JSON object: " + given.line);

    Wire wire(given.arm, timeout_of(given));
    wire.send(given.line + "\r\n");
    std::cout << wire.receive(timeout_of(given)) << std::endl;
    try {
        for (const unsigned int end = Get_Program_Runtime() + static_cast<unsigned int>(1000 * given.listen);
             ;)
            std::cout << wire.receive(static_cast<int>(end - Get_Program_Runtime()) / 1000.0) << std::endl;
    } catch (const Failed& failed) {
        if (failed.status != KX_TIMED_OUT) throw;
    }
    Answer printed;
    printed.is_printed = true;
    return printed;
}

} // namespace kx::tool
