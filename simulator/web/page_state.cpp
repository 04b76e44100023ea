// What the page shows of the controller.
#include <algorithm>
#include <cmath>

#include "kx/arm_model.h"
#include "web/page.h"

namespace kx::sim {

namespace {

constexpr const char* fault_names[] = {"", "emergency stop", "force overload", "collision"}; // of Fault

constexpr const char* surfaces[] = {"shell", "joint", "seam", "dark"}; // what the style sheet calls them

/** Digits beyond those would only be sent, not read. */
double rounded(double value, double steps_in_unit = 1e3)
{
    return std::round(value * steps_in_unit) / steps_in_unit;
}

template <typename Range>
Json rounded_array(const Range& values, double steps_in_unit = 1e3)
{
    Json array = Json::array();
    for (const auto value : values)
        array.push_back(rounded(value, steps_in_unit));
    return array;
}

Json array_of(const KDL::Vector& v)
{
    return {v.x(), v.y(), v.z()};
}

/** Position, then quaternion x y z w. */
Json array_of(const KDL::Frame& frame)
{
    double x, y, z, w;
    frame.M.GetQuaternion(x, y, z, w);
    return {frame.p.x(), frame.p.y(), frame.p.z(), x, y, z, w};
}

Json array_of(const Position& p)
{
    return rounded_array(std::array{p.x, p.y, p.z}, 1e6);
}

/** Where they are while all joints are at zero; a body with both ends at one point is a ball. */
Json bodies_of(int model)
{
    ARM_MODEL arm;
    ARM_BODY bodies[ARM_BODIES];
    const float zero[7] = {};
    Arm_Model_Init(&arm, model, 0);
    Json array = Json::array();
    for (int i = 0, count = Arm_Model_Bodies(&arm, zero, bodies); i < count; ++i) {
        const auto& [link, surface, from, to, from_radius, to_radius] = bodies[i];
        array.push_back({{"link", link},
                         {"surface", surfaces[surface]},
                         {"ends", {array_of(from), array_of(to)}},
                         {"radii", rounded_array(std::array{from_radius, to_radius}, 1e6)}});
    }
    return array;
}

std::string_view command_of(const Motion& motion)
{
    return motion.is_jog ? "jog" : motion.kind == MotionKind::none ? "wait" : name_of(motion.kind);
}

} // namespace

Json Page::about() const
{
    const Model& model = arm().model;
    Json hinges = Json::array();
    for (const auto& [point, direction] : model.hinges())
        hinges.push_back({{"point", array_of(point)}, {"direction", array_of(direction)}});
    return {{"model", model.code},
            {"simulated", simulated_},
            {"hinges", hinges},
            {"bodies", bodies_of(model.code)},
            {"flange", array_of(model.flange(Joints(model.lower.size())))}};
}

Json Page::state() const
{
    const Motions& motions = arm().motions();
    const World& world = peripherals().world;
    const Io& io = peripherals().io;
    const Gripper& gripper = peripherals().gripper;
    const Frames frames = arm().frames.active();
    const POSE pose = arm().tool_pose();
    const KDL::Wrench force = peripherals().force.data(Sensor::six_axis);

    Json limits = Json::array(), joint_errors = Json::array();
    for (const Drive& drive : arm().drives.each()) {
        limits.push_back({drive.min_position, drive.max_position});
        joint_errors.push_back(drive.error);
    }
    Json running = nullptr;
    if (const Motion* motion = motions.current())
        running = {{"command", command_of(*motion)},
                   {"number", motions.current_number()},
                   {"waiting", motions.waiting()}};
    Json object = nullptr;
    if (world.object) object = {{"width", world.object->width}, {"mass", world.object->mass}};

    Json held = nullptr;
    if (hold_) held = {{"page", hold_->page}, {"what", hold_->what}, {"from", hold_->from}};

    return {{"mode", mode()},
            {"source", source()},
            {"held", held},
            {"notice", operator_.notice()},
            {"running", running},
            {"power", arm().drives.powered()},
            {"paused", motions.paused()},
            {"errors", errors()},
            {"planned", planned()},
            {"dexterity", rounded(dexterity())},
            {"joints", rounded_array(arm().position())},
            {"speeds", rounded_array(arm().velocity())},
            {"currents", rounded_array(arm().currents())}, // A
            {"limits", limits},
            {"jointErrors", joint_errors},
            {"pose", rounded_array(std::array{pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz}, 1e5)},
            {"toolName", arm().frames.tools.active_name()},
            {"tool", array_of(frames.tool)},
            {"workName", arm().frames.works.active_name()},
            {"work", array_of(frames.work)},
            {"force", rounded_array(std::array{force.force.x(), force.force.y(), force.force.z(),
                                               force.torque.x(), force.torque.y(), force.torque.z()})},
            {"push", world.push},
            {"digitalInputs", world.digital_inputs},
            {"digitalOutputs", io.digital_outputs},
            {"analogueInputs", rounded_array(world.analogue_inputs)},
            {"analogueOutputs", io.analogue_outputs}, // mV
            {"toolIsOutput", io.tool_is_output},
            {"toolStates", io.tool_states()},
            {"toolSupply", Io::tool_supplies[io.tool_supply_type]},
            {"gripper", {{"opening", rounded(gripper.opening() / 10, 10)}, {"force", gripper.force() / 10}}},
            {"object", object},
            {"table", world.table ? Json(*world.table / 1000) : Json(nullptr)},
            {"teaching", peripherals().drag_teach.teaching()},
            {"machine", machine()}};
}

/** What is looked up now and then. */
Json Page::machine() const
{
    constexpr const char* base_states[] = {"standing", "driving", "navigating", "charging"};
    const auto values = [](const POSE& pose) {
        return rounded_array(std::array{pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz}, 1e5);
    };
    const StoredFrames& frames = arm().frames;
    Json tools = Json::array(), works = Json::array(), open = Json::array();
    for (const std::string& name : frames.tools.names()) {
        const ToolFrame& frame = frames.tools[name];
        tools.push_back({{"name", name}, {"pose", values(frame.pose)}, {"mass", rounded(frame.load.mass)}});
    }
    for (const std::string& name : frames.works.names())
        works.push_back({{"name", name}, {"pose", values(frames.works[name])}});
    for (int port = 0; port < Modbus::ports; ++port)
        open.push_back(peripherals().modbus.is_open(port));
    const Base& base = peripherals().base;
    return {{"tools", tools},
            {"works", works},
            {"temperatures", rounded_array(arm().drives.temperatures(), 1)},
            {"payload", peripherals().world.payload},
            {"collisionStage", arm().settings.collision_stage},
            {"installation", arm().settings.installation},
            {"hand", rounded_array(peripherals().hand.angles(), 1)},
            {"lift", rounded(peripherals().lift.height(), 1)},
            {"base",
             {{"state", base_states[static_cast<int>(base.state())]},
              {"station", base.station()},
              {"x", rounded(base.x())},
              {"y", rounded(base.y())},
              {"heading", rounded(base.heading())},
              {"charge", rounded(base.charge(), 100)}}},
            {"modbus", open}};
}

std::string Page::mode() const
{
    const Motions& motions = arm().motions();
    if (!simulated_) return "looking on";
    if (peripherals().system.fault() != Fault::none || arm().drives.error()) return "error";
    if (!arm().drives.powered()) return "power off";
    if (peripherals().drag_teach.teaching()) return "led by hand";
    for (std::size_t i = 0; i < arm().joint_count(); ++i)
        if (arm().drives.calibration(i) == Calibration::running) return "calibrating";
    if (motions.paused()) return "paused";
    if (motions.jogging() || operator_.slides()) return "jogging";
    if (!motions.idle()) return "moving";
    if (!arm().standing()) return "following targets";
    return peripherals().force.following() ? "force-position" : "ready";
}

/** Where the arm goes, and the places of the tool on the way; null if it stays. */
Json Page::planned() const
{
    constexpr int places = 24;
    if (arm().standing() || !simulated_) return nullptr;
    const Path* path = arm().motions().path();
    if (!path) return {{"joints", rounded_array(arm().followed())}, {"path", Json::array()}};
    const Frames frames = arm().frames.active();
    Json way = Json::array();
    for (int i = 0; i <= places; ++i)
        way.push_back(array_of(frames.tool_of(arm().model.flange(path->at(double(i) / places))).p));
    for (Json& place : way)
        for (Json& value : place)
            value = rounded(value);
    return {{"joints", rounded_array(path->at(1))}, {"path", way}};
}

/** 0 at a singularity; an arm has some 0.3 at most. */
double Page::dexterity() const
{
    float joints[7] = {};
    std::ranges::copy(arm().position(), joints);
    return Arm_Model_Dexterity(&model_, joints).condition;
}

/** Of what is shown about an arm that is not simulated here: the age of the last word of it, in seconds. */
Json Page::source() const
{
    if (simulated_) return nullptr;
    Json age;
    if (heard_) age = std::chrono::duration_cast<std::chrono::seconds>(Real::now() - *heard_).count();
    return {{"age", age}, {"joints", told_joints_}, {"strange", strange_}};
}

Json Page::errors() const
{
    Json errors = Json::array();
    if (const Fault fault = peripherals().system.fault(); fault != Fault::none)
        errors.push_back(fault_names[static_cast<int>(fault)]);
    for (std::size_t i = 0; i < arm().joint_count(); ++i)
        if (const int code = arm().drives.each()[i].error)
            errors.push_back("joint " + std::to_string(i + 1) + ": error " + std::to_string(code));
    return errors;
}

} // namespace kx::sim
