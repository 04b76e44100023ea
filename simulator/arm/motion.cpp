#include "arm/motion.h"

#include <algorithm>
#include <cmath>

#include <kdl/velocityprofile_trap.hpp>
#include <kdl/velocityprofile_traphalf.hpp>

#include "arm/refused.h"

namespace kx::sim {

JointLine::JointLine(Joints from, Joints to) : from_(std::move(from)), to_(std::move(to)) {}

Joints JointLine::at(double s) const
{
    Joints joints(from_.size());
    for (std::size_t i = 0; i < joints.size(); ++i)
        joints[i] = std::lerp(from_[i], to_[i], s);
    return joints;
}

Pace joint_line_pace(const Joints& from, const Joints& to, const Joints& max_speed,
                     const Joints& max_acceleration)
{
    Pace pace;
    for (std::size_t i = 0; i < from.size(); ++i) {
        const double distance = std::abs(to[i] - from[i]);
        if (distance < 1e-9) continue;
        pace.speed = std::min(pace.speed, max_speed[i] / distance);
        pace.acceleration = std::min(pace.acceleration, max_acceleration[i] / distance);
    }
    return pace;
}

namespace {

class Laid : public Planner {
  public:
    explicit Laid(Course course) : course_(std::move(course)) {}
    std::optional<Course> lay(int&) override { return std::move(course_); }

  private:
    Course course_;
};

} // namespace

std::unique_ptr<Planner> laid(Course course)
{
    return std::make_unique<Laid>(std::move(course));
}

void Motions::add(Motion motion)
{
    if (waiting_.size() >= capacity) throw Refused("too many motions are waiting");
    if (jogging()) throw Refused("the arm is being jogged");
    if (motion.is_jog && !free()) throw Refused("motions are planned");
    const bool others_first = planning();
    if (!others_first) effort_ = slice;
    waiting_.push_back({std::move(motion), last_number_ + 1});
    if (!others_first) try {
            check(waiting_.back());
        } catch (const Refused&) {
            checking_.reset();
            waiting_.pop_back();
            throw;
        }
    ++last_number_;
}

Joints Motions::end() const
{
    for (auto queued = waiting_.rbegin(); queued != waiting_.rend(); ++queued)
        if (queued->end) return *queued->end;
    return end_of_current();
}

Joints Motions::end_of_current() const
{
    if (!running_) return position_;
    return running_->course.path->at(running_->dropped.empty() ? 1 : halt());
}

bool Motions::planning() const
{
    return beginning_ || std::ranges::any_of(waiting_, [](const Queued& queued) { return !queued.end; });
}

void Motions::plan_on()
{
    effort_ = slice;
    if (!beginning_) check_waiting();
}

void Motions::check_waiting()
{
    for (auto next = waiting_.begin(); next != waiting_.end();)
        if (next->end) {
            ++next;
        } else {
            try {
                check(*next);
                if (!next->end) return;
            } catch (const Refused& refused) {
                checking_.reset();
                report(next->motion, refused.what());
                next = waiting_.erase(next);
            }
        }
}

/** Works on the first motion that is not checked. */
void Motions::check(Queued& queued)
{
    if (!checking_) checking_ = queued.motion.plan(end());
    const auto course = checking_->lay(effort_);
    if (!course) return;
    queued.end = course->path->at(1);
    checking_.reset();
}

void Motions::pause()
{
    if (paused_) throw Refused("already paused");
    if (free()) throw Refused("nothing to pause");
    paused_ = true;
    brake();
}

void Motions::resume()
{
    if (!paused_) throw Refused("not paused");
    paused_ = false;
    if (running_ && !running_->profile) run();
}

void Motions::drop_current(const std::string& why)
{
    if (beginning_) drop_beginning(why);
    if (!running_) return;
    if (running_->dropped.empty()) running_->dropped = why;
    if (running_->profile)
        brake();
    else
        finish(running_->dropped);
}

void Motions::drop_all(const std::string& why)
{
    for (Queued& queued : waiting_)
        report(queued.motion, why);
    waiting_.clear();
    beginning_.reset();
    checking_.reset();
    drop_current(why);
    paused_ = false;
}

void Motions::advance(double time)
{
    for (;;) {
        if (!running_ && !paused_ && !waiting_.empty()) {
            if (!begin_next()) break;
        } else if (const auto event = next_event(); event && *event <= time) {
            time_ = *event;
            profile_done();
        } else {
            break;
        }
    }
    time_ = time;
    if (moving()) {
        running_->s = running_->profile->Pos(time_ - running_->since);
        position_ = running_->course.path->at(running_->s);
    }

    const auto reports = std::move(reports_);
    reports_.clear();
    for (const auto& tell : reports)
        tell();
}

std::optional<double> Motions::next_event() const
{
    if (!moving()) return std::nullopt;
    return running_->since + running_->profile->Duration();
}

bool Motions::jogging() const
{
    if (!waiting_.empty()) return waiting_.front().motion.is_jog;
    return !free() && running_->motion.is_jog;
}

Joints Motions::velocity() const
{
    Joints velocity(position_.size());
    if (!moving()) return velocity;
    constexpr double step = 1e-6; // of the path parameter, for the difference quotient
    const Joints before = running_->course.path->at(running_->s - step);
    const Joints after = running_->course.path->at(running_->s + step);
    const double rate = running_->profile->Vel(time_ - running_->since);
    for (std::size_t i = 0; i < velocity.size(); ++i)
        velocity[i] = rate * (after[i] - before[i]) / (2 * step);
    return velocity;
}

/** Plans anew: limits, and the place from which it starts, may have changed since the motion was asked for.
 *  Returns false while that goes on. */
bool Motions::begin_next()
{
    Queued& next = waiting_.front();
    if (!planning()) effort_ = slice;
    try {
        if (!beginning_) beginning_ = next.motion.plan(position_);
        auto course = beginning_->lay(effort_);
        if (!course) return false;
        running_.emplace(
            Running{.motion = std::move(next.motion), .number = next.number, .course = *std::move(course)});
    } catch (const Refused& refused) {
        drop_beginning(refused.what());
        return true;
    }
    forget_first();
    run();
    return true;
}

void Motions::drop_beginning(const std::string& why)
{
    report(waiting_.front().motion, why);
    forget_first();
    if (waiting_.empty()) paused_ = false;
}

void Motions::forget_first()
{
    if (!waiting_.front().end) checking_.reset(); // it was for this one
    waiting_.pop_front();
    beginning_.reset();
}

/** Starts the current motion, or what is left of it, from rest. */
void Motions::run()
{
    const Pace& pace = running_->course.pace;
    if (std::isinf(pace.speed)) return finish("");
    auto profile = std::make_unique<KDL::VelocityProfile_Trap>(pace.speed, pace.acceleration);
    profile->SetProfile(running_->s, 1);
    running_->profile = std::move(profile);
    running_->since = time_;
    running_->braking = false;
}

/** Slows the current motion down; profile_done() follows when it stands. */
void Motions::brake()
{
    if (!moving() || running_->braking) return;
    const double t = time_ - running_->since;
    const double s = running_->profile->Pos(t), rate = running_->profile->Vel(t);
    const double braking = running_->course.braking;
    constexpr double shortest = 1e-12; // when the brakes follow the start at once; KDL does not know of none
    const double way = std::max(rate * rate / (2 * braking), shortest);
    auto profile =
        std::make_unique<KDL::VelocityProfile_TrapHalf>(std::sqrt(2 * braking * way), braking, false);
    profile->SetProfile(s, s + way);
    running_->profile = std::move(profile);
    running_->since = time_;
    running_->braking = true;
}

/** Where on its path the current motion stands when its profile is over. */
double Motions::halt() const
{
    return running_->braking ? std::min(running_->profile->Pos(running_->profile->Duration()), 1.0) : 1.0;
}

void Motions::profile_done()
{
    running_->s = halt();
    position_ = running_->course.path->at(running_->s);
    if (!running_->braking) return finish("");
    if (!running_->dropped.empty()) return finish(running_->dropped);
    running_->profile.reset();
    if (!paused_) run();
}

void Motions::finish(const std::string& broken_off)
{
    report(running_->motion, broken_off);
    running_.reset();
    if (waiting_.empty()) paused_ = false;
}

void Motions::report(Motion& motion, const std::string& broken_off)
{
    reports_.push_back([ended = std::move(motion.ended), broken_off] { ended(broken_off); });
}

} // namespace kx::sim
