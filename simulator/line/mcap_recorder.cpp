#include "line/mcap_recorder.h"

#include "description/description.h"
#include "recording/messages.h"

namespace kx::sim {

McapRecorder::McapRecorder(const std::string& file, int model)
    : recorder_(file, recording::Existing::replace, recording::joint_names(model),
                description::urdf({.model = model, .prefix = "", .meshes = ""}))
{
}

void McapRecorder::passed(double, int client, Direction direction, const std::string& line)
{
    switch (direction) {
    case Direction::request:
        return recorder_.request(client, line);
    case Direction::reply:
        return recorder_.reply(client, line);
    case Direction::event:
        return recorder_.event(client, line);
    }
}

void McapRecorder::sample(Controller& controller)
{
    std::vector<double> positions;
    for (const double degrees : controller.arm().position())
        positions.push_back(recording::radians(degrees));
    recorder_.state(std::chrono::steady_clock::now(), positions, controller.arm().drives.error(),
                    static_cast<int>(controller.peripherals().system.fault()));
}

std::string McapRecorder::trouble()
{
    if (is_in_trouble_) return "";
    std::string trouble = recorder_.trouble();
    is_in_trouble_ = !trouble.empty();
    return trouble;
}

} // namespace kx::sim
