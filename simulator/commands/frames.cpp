// Named tool and work frames, payload.
#include "commands/command.h"

namespace kx::sim {

namespace {

constexpr double max_payload = 20; // kg

const std::string& tool_name(const Call& call)
{
    return text(call["tool_name"]);
}

const std::string& frame_name(const Call& call)
{
    return text(call["frame_name"]);
}

int point(const Call& call)
{
    return integer(call["point_num"], "the point", 1, 255);
}

Load load(const Call& call)
{
    const std::vector<double> centre = numbers(call["position"], 3);
    return {number(call["payload"], "the payload", 0, max_payload), {centre[0], centre[1], centre[2]}};
}

/** The centre of mass goes back in the numbers in which it came. */
Json tool(const ToolFrame& frame)
{
    return {{"pose", pose_of(frame.pose)}, {"payload", frame.load.mass}, {"position", frame.load.centre}};
}

void teach_tool(Call& call)
{
    call.arm.frames.teach_tool(point(call), call.arm.flange());
}

constexpr Command frame_table[] = {
    {"set_auto_tool_frame", "auto_tool_frame", [](Call& call) { teach_tool(call); }},
    // The blocking form of the client library sends its point under no name.
    {.name = "",
     .key = "auto_tool_frame",
     .handle = [](Call& call) { teach_tool(call); },
     .recognised_by = "set_auto_tool_frame"},
    {.name = "generate_auto_tool_frame",
     .key = "auto_tool_frame",
     .handle = [](Call& call) { call.arm.frames.generate_tool(tool_name(call), load(call)); },
     .recognised_by = "set_auto_tool_frame"},
    {"set_manual_tool_frame", "manual_tool_frame",
     [](Call& call) {
         call.arm.frames.tools.set(tool_name(call), {pose_from(call["tool_pose"]), load(call)});
     }},
    {"set_change_tool_frame", "change_tool_frame",
     [](Call& call) { call.arm.frames.tools.activate(tool_name(call)); }},
    {"set_delete_tool_frame", "delete_tool_frame",
     [](Call& call) { call.arm.frames.tools.erase(tool_name(call)); }},
    {"get_current_tool_frame", "",
     [](Call& call) -> Json {
         const auto& tools = call.arm.frames.tools;
         Json reply = {{"tool_name", tools.active_name()}};
         reply.update(tool(tools.active()));
         return reply;
     }},
    {.name = "get_tool_frame",
     .handle = [](Call& call) { return tool(call.arm.frames.tools[tool_name(call)]); },
     .recognised_by = "given_tool_frame"},
    {"get_total_tool_frame", "tool_names", [](Call& call) -> Json { return call.arm.frames.tools.names(); }},

    // The payload is that of the active tool.
    {"set_payload", "set_state", [](Call& call) { call.arm.frames.tools.active().load = load(call); }},
    {"set_none_payload", "set_state", [](Call& call) { call.arm.frames.tools.active().load = {}; }},

    {"set_auto_work_frame", "auto_work_frame",
     [](Call& call) { call.arm.frames.teach_work(frame_name(call), point(call), call.arm.flange()); }},
    // Clients wait for this spelling; and for this reply when they delete a work frame.
    {.name = "set_manual_work_frame",
     .key = "manual_work_frame",
     .handle = [](Call& call) { call.arm.frames.works.set(frame_name(call), pose_from(call["frame_pose"])); },
     .recognised_by = "set_maual_work_frame"},
    {.name = "set_delete_work_frame",
     .key = "manual_work_frame",
     .handle = [](Call& call) { call.arm.frames.works.erase(frame_name(call)); },
     .recognised_by = "set_maual_work_frame"},
    {"set_change_work_frame", "change_work_frame",
     [](Call& call) { call.arm.frames.works.activate(frame_name(call)); }},
    {"get_current_work_frame", "",
     [](Call& call) -> Json {
         const auto& works = call.arm.frames.works;
         return {{"frame_name", works.active_name()}, {"pose", pose_of(works.active())}};
     }},
    {.name = "get_work_frame",
     .key = "pose",
     .handle = [](Call& call) { return pose_of(call.arm.frames.works[frame_name(call)]); },
     .recognised_by = "given_work_frame"},
    {"get_total_work_frame", "frame_names", [](Call& call) -> Json { return call.arm.frames.works.names(); }},
};

} // namespace

std::span<const Command> frame_commands()
{
    return frame_table;
}

} // namespace kx::sim
