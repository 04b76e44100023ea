// What recordings tell of an arm, as other programs understand it: ROS 2's own messages in its encoding (CDR, little
// endian), and JSON.
#pragma once

#include <numbers>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "recording/mcap.h"

namespace kx::recording {

/** Joint angles: sensor_msgs/msg/JointState. */
Channel joint_states();

/** Of the arm of this model, as its description has them. */
std::vector<std::string> joint_names(int model);

/** A text, the robot's description: std_msgs/msg/String. */
Channel robot_description();

/** Lines of the wire: {"client":1,"request":{...}}, or "reply". What is no JSON object is a text. */
Channel wire();

/** What happened: {"client":1,"event":"connected"}; client 0 stands for none. */
Channel events();

inline double radians(double degrees)
{
    return degrees * std::numbers::pi / 180;
}

inline double degrees(double radians)
{
    return radians * 180 / std::numbers::pi;
}

/** @param stamp ns since 1970
 *  @param positions rad, one for every name */
std::string encode_joint_state(std::uint64_t stamp, const std::vector<std::string>& names,
                               std::span<const double> positions);

std::string encode_text(std::string_view text);

struct JointState {
    std::vector<std::string> names;
    std::vector<double> positions; ///< rad, one for every name
};

/** @throws Damaged */
JointState decode_joint_state(std::string_view bytes);

} // namespace kx::recording
