#include "devices/drag_teach.h"

#include <algorithm>
#include <cmath>

#include "arm/refused.h"

namespace kx::sim {

namespace {

constexpr double interval = 0.02;          // s between two samples
constexpr std::size_t max_samples = 30000; // ten minutes; what comes later is not recorded
constexpr double hand_speed = 30;          // degrees/s of the joint that is led furthest, on average
constexpr double quick_hand_speed = 90;    // degrees/s, of one that is at the arm just now
constexpr double shortest_leg = 0.5;       // s
constexpr double at_origin = 0.1;          // degrees by which a joint may be off
constexpr double origin_speed = 30;        // percent
constexpr double time_to_full_speed = 0.1; // s, of a replay that begins or is paused

// Where the operator leads the arm if nobody says otherwise, relative to where it stands.
constexpr double habit[][7] = {{20, -10, 15, 10, -15, 20, 10}, {-10, 10, -15, 20, 15, -20, -10}};

/** A recording, run through evenly in time. */
class Recording : public Path {
  public:
    explicit Recording(std::vector<Joints> samples) : samples_(std::move(samples)) {}

    Joints at(double s) const override
    {
        const double place = std::clamp(s, 0.0, 1.0) * static_cast<double>(samples_.size() - 1);
        const std::size_t i = std::min(static_cast<std::size_t>(place), samples_.size() - 2);
        return JointLine(samples_[i], samples_[i + 1]).at(place - static_cast<double>(i));
    }

  private:
    std::vector<Joints> samples_; ///< at least two
};

} // namespace

void DragTeach::start(bool record, Freedom freedom)
{
    if (teaching_) throw Refused("the arm is being led already");
    arm_.check_ready();
    if (!arm_.standing()) throw Refused("the arm is moving");
    freedom_ = freedom;
    plan_operator();
    teaching_ = true;
    recording_ = record;
    sampled_ = time_;
    if (record) samples_ = {arm_.position()};
}

void DragTeach::stop()
{
    if (!teaching_) throw Refused("nobody leads the arm");
    teaching_ = false;
}

void DragTeach::lead(const Joints& place)
{
    if (!teaching_) throw Refused("the arm is not being led");
    legs_ = {leg(arm_.position(), place, time_, quick_hand_speed, false)};
}

void DragTeach::go_to_origin(Arm::Ended ended)
{
    if (samples_.empty()) throw Refused("nothing is recorded");
    arm_.move_joints(samples_.front(), {origin_speed}, std::move(ended));
}

void DragTeach::run()
{
    if (teaching_) throw Refused("the arm is being led");
    if (samples_.size() < 2) throw Refused("nothing is recorded");
    if (!arm_.standing()) throw Refused("the arm is moving");
    auto plan = [this](const Joints& from) {
        arm_.check_ready();
        const JointLimits limits = arm_.drives.limits();
        for (const Joints& sample : samples_)
            limits.check(sample);
        for (std::size_t i = 0; i < from.size(); ++i)
            if (std::abs(from[i] - samples_.front()[i]) > at_origin)
                throw Refused("the arm is not where the recording begins");
        const double speed = 1 / (interval * static_cast<double>(samples_.size() - 1));
        const double acceleration = speed / time_to_full_speed;
        return laid({std::make_unique<Recording>(samples_), {speed, acceleration}, acceleration});
    };
    arm_.move({MotionKind::joint, samples_.back(), std::move(plan),
               [this](const std::string&) { running_ = false; }});
    running_ = true;
}

void DragTeach::pause()
{
    check_running();
    arm_.pause();
}

void DragTeach::resume()
{
    check_running();
    arm_.resume();
}

void DragTeach::stop_running()
{
    if (running_) arm_.drop_current("the replay was stopped");
}

void DragTeach::advance(double time)
{
    time_ = time;
    if (!teaching_) return;
    for (; sampled_ + interval <= time; sampled_ += interval) {
        arm_.lead_to(led_to(sampled_ + interval));
        if (recording_ && samples_.size() < max_samples) samples_.push_back(arm_.position());
    }
    arm_.lead_to(led_to(time));
}

void DragTeach::plan_operator()
{
    const Joints start = arm_.position();
    std::vector<Joints> places = world_.operator_way;
    if (places.empty())
        for (const auto& offsets : habit) {
            places.push_back(start);
            std::ranges::transform(start, offsets, places.back().begin(), std::plus());
        }
    legs_.clear();
    for (const Joints& place : places)
        if (legs_.empty())
            legs_.push_back(leg(start, place, time_, hand_speed, true));
        else
            legs_.push_back(
                leg(legs_.back().to, place, legs_.back().begin + legs_.back().duration, hand_speed, true));
}

/** To a place, as far as the joints are free and their limits allow. */
DragTeach::Leg DragTeach::leg(const Joints& from, Joints to, double begin, double speed, bool gently) const
{
    // The last three joints turn the tool, those before carry it.
    const std::size_t wrist = from.size() - 3;
    double longest = 0;
    for (std::size_t i = 0; i < from.size(); ++i) {
        const bool is_free = freedom_ == Freedom::all || (freedom_ == Freedom::orientation) == (i >= wrist);
        const Drive& drive = arm_.drives.each()[i];
        to[i] = is_free ? std::clamp(to[i], drive.min_position, drive.max_position) : from[i];
        longest = std::max(longest, std::abs(to[i] - from[i]));
    }
    return {from, to, begin, std::max(gently ? shortest_leg : interval, longest / speed), gently};
}

/** Where the hand is at a time from the start of teaching on; it mostly begins and ends a leg gently. */
Joints DragTeach::led_to(double time) const
{
    const auto next = std::ranges::upper_bound(legs_, time, {}, &Leg::begin);
    const Leg& leg = next == legs_.begin() ? legs_.front() : next[-1];
    const double t = std::clamp((time - leg.begin) / leg.duration, 0.0, 1.0);
    return JointLine(leg.from, leg.to).at(leg.gently ? t * t * (3 - 2 * t) : t);
}

void DragTeach::check_running() const
{
    if (!running_) throw Refused("no recording is being replayed");
}

} // namespace kx::sim
