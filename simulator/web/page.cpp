#include "web/page.h"

#include <algorithm>
#include <cmath>

#include "arm/refused.h"
#include "commands/request.h"
#include "kx/arm_model.h"

namespace kx::sim {

namespace {

constexpr auto hold_time =
    std::chrono::seconds(1);     // a page confirms a hold several times within it, on a busy machine, too
constexpr double max_push = 200; // N
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

std::size_t index(const Json& value, const char* what, std::size_t count)
{
    return static_cast<std::size_t>(integer(value, what, 1, static_cast<int>(count)) - 1);
}

bool flag(const Json& request, const char* key)
{
    const Json& value = member(request, key);
    if (!value.is_boolean()) throw Refused("true or false was expected");
    return value.get<bool>();
}

KDL::Vector vector(const Json& array, double limit)
{
    if (!array.is_array() || array.size() != 3) throw Refused("three numbers were expected");
    const auto component = [&](std::size_t i) { return number(array[i], "the component", -limit, limit); };
    return {component(0), component(1), component(2)};
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
    if (!heard_) return {{"age", nullptr}, {"joints", told_joints_}};
    const auto age = std::chrono::duration_cast<std::chrono::seconds>(Real::now() - *heard_);
    return {{"age", age.count()}, {"joints", told_joints_}};
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

void Page::act(const Json& request, const std::string& from)
{
    if (!simulated_) throw Refused("no arm is simulated here");
    const std::string& what = text(member(request, "act"));
    if (what == "stop")
        release(), arm().stop("the arm was stopped by hand");
    else if (what == "emergency_stop")
        release(), peripherals().raise(Fault::emergency_stop);
    else if (what == "pause")
        arm().pause();
    else if (what == "continue")
        arm().resume();
    else if (what == "power")
        peripherals().set_power(flag(request, "on"));
    else if (what == "clear_errors")
        clear_errors();
    else if (what == "jog" || what == "push")
        hold(request, from);
    else if (what == "step")
        operator_.step(request);
    else if (what == "go")
        operator_.go(request);
    else if (what == "confirm")
        confirm(request);
    else if (what == "release")
        confirm(request), release();
    else if (what == "teach")
        teach(request);
    else if (what == "lead")
        lead(request);
    else if (what == "input")
        set_input(request);
    else if (what == "object")
        set_object(request);
    else
        throw Refused("the page cannot do that");
}

void Page::passed(double, int, Direction direction, const std::string& line)
{
    if (simulated_ || direction != Direction::reply) return;
    const Json json = parsed(line);
    if (!json.is_object()) return;
    const Json& state =
        json.contains("arm_state") && json["arm_state"].is_object() ? json["arm_state"] : json;
    const auto joints = state.find("joint");
    if (joints == state.end() || !joints->is_array() || joints->empty()) return;
    told_joints_ = joints->size();
    if (told_joints_ != arm().joint_count()) return;
    try {
        shows(from_thousandths(*joints, arm().joint_count()));
    } catch (const Refused&) { // no numbers; a reply that means something else
    }
}

void Page::shows(const Joints& degrees)
{
    told_joints_ = degrees.size();
    heard_ = Real::now();
    arm().lead_to(degrees);
}

void Page::clear_errors()
{
    peripherals().system.release_emergency_stop();
    peripherals().system.clear_fault();
    for (std::size_t i = 0; i < arm().joint_count(); ++i)
        arm().drives.clear_error(i);
}

void Page::hold(const Json& request, const std::string& from)
{
    const std::string& page = text(member(request, "page"));
    const double count = number(member(request, "hold"), "the hold", 0, 1e9);
    if (hold_ && hold_->page != page)
        throw Refused("another page holds " + hold_->what + ", at " + hold_->from);
    release();
    const std::string what = request["act"] == "jog" ? operator_.jog(request) : push(request);
    hold_ = {page, count, what, from, Real::now() + hold_time};
}

/** A hold that has ended, by a stop or because its page was silent, is not begun again. */
void Page::confirm(const Json& request)
{
    if (!hold_ || member(request, "page") != hold_->page || member(request, "hold") != hold_->number)
        throw Refused("it was let go");
    hold_->until = Real::now() + hold_time;
}

std::string Page::push(const Json& request)
{
    const KDL::Vector force = vector(member(request, "force"), max_push);
    peripherals().world.push = {force.x(), force.y(), force.z()};
    return "the tool";
}

void Page::release()
{
    if (!hold_) return;
    hold_.reset();
    operator_.let_go();
    peripherals().world.push = {};
}

void Page::look(double time)
{
    if (hold_ && Real::now() > hold_->until) release();
    operator_.look(time);
}

/** The arm stays where it is until the hand leads it somewhere. */
void Page::teach(const Json& request)
{
    DragTeach& drag_teach = peripherals().drag_teach;
    if (!flag(request, "on")) return drag_teach.stop();
    drag_teach.start(true, Freedom::all);
    drag_teach.lead(arm().position());
}

/** Leads the tool to a place, turned as it is. */
void Page::lead(const Json& request)
{
    const Frames frames = arm().frames.active();
    KDL::Frame tool = frames.tool_of(arm().flange());
    tool.p = vector(member(request, "to"), 10);
    peripherals().drag_teach.lead(
        arm().model.joints_for(frames.flange_of(tool), arm().position(), Model::Elbow::near));
}

void Page::set_input(const Json& request)
{
    World& world = peripherals().world;
    const std::string& kind = text(member(request, "kind"));
    const std::size_t channel = index(member(request, "channel"), "the channel", io_channels);
    if (kind == "digital")
        world.digital_inputs[channel] = flag(request, "on");
    else if (kind == "tool")
        world.tool_inputs[channel] = flag(request, "on");
    else if (kind == "analogue")
        world.analogue_inputs[channel] = number(member(request, "volts"), "the voltage", 0, 10);
    else
        throw Refused("there are digital, tool and analogue inputs");
}

void Page::set_object(const Json& request)
{
    std::optional<Object>& object = peripherals().world.object;
    if (!request.contains("width")) return object.reset();
    const double width = number(request["width"], "the width", 1, 100);
    if (width * 10 > peripherals().gripper.opening()) throw Refused("the gripper is not open that far");
    object = {width, number(member(request, "mass"), "the mass", 0, 10)};
}

} // namespace kx::sim
