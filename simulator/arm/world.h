// The surroundings of the simulated controller: what its inputs, sensors and grippers meet. Everything may be
// changed at any time, as somebody standing beside the arm would.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "arm/model.h"

namespace kx::sim {

constexpr std::size_t io_channels = 4; ///< of each kind

/** Something between the fingers of the gripper. */
struct Object {
    double width = 0;  ///< mm
    double mass = 0.5; ///< kg
};

struct World {
    std::array<bool, io_channels> digital_inputs{};
    std::array<double, io_channels> analogue_inputs{}; ///< V
    std::array<bool, io_channels> tool_inputs{};

    std::optional<Object> object{};
    double payload = 0;            ///< kg, at the flange
    std::array<double, 3> push{};  ///< somebody's hand against the flange, N, in the base frame
    std::optional<double> table{}; ///< height of a hard level surface, mm above the arm's base

    /** Where the operator leads the arm in drag teaching, degrees; without any, to places near by. */
    std::vector<Joints> operator_way{};

    /** What the simulated Modbus devices read at these addresses, 0 at others. */
    std::map<int, int> modbus_inputs{}, modbus_input_registers{};

    std::string log_file{}; ///< where the log is written when a client asks for it; without one it is refused
};

} // namespace kx::sim
