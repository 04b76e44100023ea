// What the page may do.
#include "web/page.h"

#include "arm/refused.h"
#include "commands/request.h"

namespace kx::sim {

namespace {

// A page confirms a hold several times within it, on a busy machine, too.
constexpr auto hold_time = std::chrono::seconds(1);
constexpr double max_push = 200; // N

std::size_t index(const Json& value, const char* what, std::size_t count)
{
    return static_cast<std::size_t>(integer(value, what, 1, static_cast<int>(count)) - 1);
}

KDL::Vector vector(const Json& array, double limit)
{
    if (!array.is_array() || array.size() != 3) throw Refused("three numbers were expected");
    const auto component = [&](std::size_t i) { return number(array[i], "the component", -limit, limit); };
    return {component(0), component(1), component(2)};
}

} // namespace

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
        peripherals().set_power(flag(member(request, "on")));
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
    const Joints told = joints_told_by(parsed(line));
    if (told.empty()) return;
    told_joints_ = told.size();
    if (told_joints_ == arm().joint_count()) shows(told);
}

void Page::shows(const Joints& degrees)
{
    told_joints_ = degrees.size();
    strange_ = false;
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
    if (!flag(member(request, "on"))) return drag_teach.stop();
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
        world.digital_inputs[channel] = flag(member(request, "on"));
    else if (kind == "tool")
        world.tool_inputs[channel] = flag(member(request, "on"));
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
