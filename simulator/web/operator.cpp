#include "web/operator.h"

#include <cmath>
#include <numbers>

#include "arm/refused.h"
#include "commands/request.h"

namespace kx::sim {

namespace {

constexpr double degree = std::numbers::pi / 180;
constexpr double longest_look = 0.1; // s, between two of them, that a slide makes up for
constexpr double finest_turn = 4 * degree, most = 80 * degree; // of a slide off its way
constexpr double ease = 0.5;                                   // part of a joint's speed, so that all keep up
constexpr int sides = 8;                                       // to which it may turn

std::size_t joint_of(const Json& request, const Arm& arm)
{
    return static_cast<std::size_t>(
        integer(member(request, "joint"), "the joint", 1, static_cast<int>(arm.joint_count())) - 1);
}

double percent_of(const Json& request)
{
    return number(member(request, "percent"), "the speed", 1, 100);
}

} // namespace

/** A direction of length 1 along (0 to 2) or about (3 to 5) an axis of the base, tool or work frame. */
KDL::Twist Operator::in_work_frame(const Json& request) const
{
    const Frames active = arm_.frames.active();
    const std::string& frame = text(member(request, "frame"));
    const int axis = integer(member(request, "axis"), "the axis", 0, 5);
    KDL::Twist along;
    along(axis) = 1;
    if (frame == "work") return along;
    if (frame == "base") return active.work.M.Inverse() * along;
    if (frame == "tool") return active.work.M.Inverse() * (active.tool_of(arm_.flange()).M * along);
    throw Refused("there are base, tool and work frames");
}

/** Of motions that somebody else asked for. */
void Operator::check_free() const
{
    arm_.check_ready();
    if (!arm_.standing() && !under_way_) throw Refused("the arm is moving");
}

/** @param ask for a motion, with what is to be called at its end */
template <typename Ask>
void Operator::send(Ask ask)
{
    ask([this](const std::string& broken_off) {
        --under_way_;
        if (broken_off.empty()) return;
        notice_ = {{"number", ++notices_}, {"text", broken_off}};
        failed_ = true;
    });
    ++under_way_; // unless it was refused
}

std::string Operator::jog(const Json& request)
{
    const double percent = percent_of(request);
    const bool up = flag(member(request, "up"));
    if (!arm_.standing()) throw Refused("the arm is moving");
    arm_.check_ready();
    if (!request.contains("frame")) {
        const std::size_t joint = joint_of(request, arm_);
        arm_.jog_joint(joint, up, percent);
        return "joint " + std::to_string(joint + 1);
    }
    KDL::Twist direction = in_work_frame(request);
    if (!up) direction = -direction;
    if (direction.vel.Norm() > 0)
        slide_ = {arm_.frames.active().work.M * direction.vel, percent / 100 * arm_.cartesian_limits().speed};
    try {
        arm_.jog_tool(direction, percent);
    } catch (const Refused&) {
        if (!slide_) throw;
    }
    return "the tool";
}

void Operator::let_go()
{
    if (slides()) arm_.stop("jogging was stopped");
    slide_.reset();
    arm_.stop_jogging();
}

void Operator::step(const Json& request)
{
    check_free();
    const double percent = percent_of(request);
    if (!request.contains("frame")) {
        const std::size_t joint = joint_of(request, arm_);
        const double degrees = number(member(request, "by"), "the step", -360, 360);
        return send([&](Arm::Ended ended) { arm_.step_joint(joint, degrees, percent, std::move(ended)); });
    }
    const KDL::Twist way = in_work_frame(request);
    const bool turns = way.rot.Norm() > 0;
    const double most_of_it = turns ? 170 : 1000; // degrees or mm
    const double by = number(member(request, "by"), "the step", -most_of_it, most_of_it);
    send([&](Arm::Ended ended) {
        arm_.step_tool(way * (turns ? by * degree : by / 1000), percent, std::move(ended));
    });
}

void Operator::go(const Json& request)
{
    check_free();
    const Arm::Manner manner = {percent_of(request)};
    if (request.contains("joints")) {
        const Joints target = numbers(request["joints"], arm_.joint_count());
        return send([&](Arm::Ended ended) { arm_.move_joints(target, manner, std::move(ended)); });
    }
    const auto values = numbers(member(request, "pose"), 6); // mm, degrees
    const auto length = [&](std::size_t i) { return static_cast<float>(values[i] / 1000); };
    const auto angle = [&](std::size_t i) { return static_cast<float>(values[i] * degree); };
    const POSE target = {length(0), length(1), length(2), angle(3), angle(4), angle(5)};
    const bool along_line = flag(member(request, "line"));
    send([&](Arm::Ended ended) {
        if (along_line)
            arm_.move_line(target, manner, std::move(ended));
        else
            arm_.move_joints_to(target, manner, std::move(ended));
    });
}

void Operator::look(double time)
{
    const double seconds = std::min(time - time_, longest_look);
    time_ = time;
    if (failed_ && under_way_) arm_.stop("a motion before it failed");
    failed_ = false;
    if (slide_ && seconds > 0) slide(seconds);
}

void Operator::slide(double seconds)
{
    if (!slide_->begun) {
        if (!arm_.standing()) return;
        *slide_ = {slide_->ahead, slide_->speed, true, arm_.frames.active().tool_of(arm_.flange()),
                   arm_.position()};
    }
    const KDL::Vector& ahead = slide_->ahead;
    const KDL::Vector other = std::abs(ahead.x()) < 0.5 ? KDL::Vector(1, 0, 0) : KDL::Vector(0, 1, 0);
    KDL::Vector across = ahead * other;
    across.Normalize();
    for (double turn = 0; turn < most; turn += finest_turn)
        for (int side = 0; side < sides; ++side) {
            const KDL::Rotation to_side = KDL::Rotation::Rot(ahead, side * 2 * std::numbers::pi / sides);
            if (go_on(std::cos(turn) * ahead + std::sin(turn) * (to_side * across), seconds)) return;
            if (turn == 0) break;
        }
}

/** Sends the tool on, slower the more that leads aside; returns false if it cannot go there. */
bool Operator::go_on(const KDL::Vector& way, double seconds)
{
    const double length = slide_->speed * dot(way, slide_->ahead) * seconds;
    const KDL::Frame tool(slide_->tool.M, slide_->tool.p + length * way);
    try {
        const Joints joints =
            arm_.model.joints_for(arm_.frames.active().flange_of(tool), slide_->joints, Model::Elbow::near);
        for (std::size_t i = 0; i < joints.size(); ++i)
            if (std::abs(joints[i] - slide_->joints[i]) > ease * arm_.drives.each()[i].max_speed * seconds)
                return false;
        arm_.pass_through(joints);
        slide_->tool = tool;
        slide_->joints = joints;
        return true;
    } catch (const Refused&) {
        return false;
    }
}

} // namespace kx::sim
