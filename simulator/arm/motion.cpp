#include "arm/motion.h"

#include <algorithm>
#include <cmath>

#include "arm/refused.h"

namespace kx::sim {

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
    return running_->dropped.empty() ? running_->travel.end() : running_->travel.halt();
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
    if (!running_) return;
    beginning_.reset();
    running_->travel.brake(time_);
}

void Motions::resume()
{
    if (!paused_) throw Refused("not paused");
    paused_ = false;
    if (running_ && !running_->travel.moving()) running_->travel.go(time_);
}

void Motions::drop_current(const std::string& why)
{
    if (!running_) {
        if (beginning_) drop_beginning(why);
        return;
    }
    beginning_.reset();
    if (running_->dropped.empty()) running_->dropped = why;
    if (moving())
        running_->travel.brake(time_);
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
        } else if (may_pass_into_next() && pass_into_next()) {
        } else if (const auto event = next_event(); event && *event <= time) {
            time_ = *event;
            pass_event();
        } else {
            break;
        }
    }
    time_ = time;
    if (moving()) {
        running_->travel.advance(time_);
        position_ = running_->travel.position();
    }

    const auto reports = std::move(reports_);
    reports_.clear();
    for (const auto& tell : reports)
        tell();
}

std::optional<double> Motions::next_event() const
{
    return running_ ? running_->travel.next_event() : std::nullopt;
}

bool Motions::jogging() const
{
    if (!waiting_.empty()) return waiting_.front().motion.is_jog;
    return !free() && running_->motion.is_jog;
}

Joints Motions::velocity() const
{
    return running_ ? running_->travel.velocity(time_) : Joints(position_.size());
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
        const bool has_length = !std::isinf(course->pace.speed);
        running_.emplace(Running{std::move(next.motion), next.number, Travel(*std::move(course))});
        forget_first();
        if (has_length)
            running_->travel.go(time_);
        else
            finish("");
    } catch (const Refused& refused) {
        drop_beginning(refused.what());
    }
    return true;
}

bool Motions::may_pass_into_next() const
{
    return moving() && !running_->knows_the_next && running_->motion.corner && running_->dropped.empty() &&
           !running_->travel.braking() && !waiting_.empty() && waiting_.front().end;
}

/** Plans the next motion from the present one's target, and lets the arm leave for it before that if it can.
 *  Returns false while that goes on. */
bool Motions::pass_into_next()
{
    const Motion& next = waiting_.front().motion;
    if (!planning()) effort_ = slice;
    try {
        if (!beginning_) beginning_ = next.plan(end_of_current());
        const auto course = beginning_->lay(effort_);
        if (!course) return false;
        const Path& own = running_->travel.path();
        if (const auto corner = running_->motion.corner(own, next, *course->path))
            running_->travel.round(*corner, *course, time_);
    } catch (const Refused&) { // the motion is when it begins, or goes without the corner
    }
    beginning_.reset();
    running_->knows_the_next = true;
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

void Motions::pass_event()
{
    Travel& travel = running_->travel;
    const Travel::Reached reached = travel.pass_event();
    position_ = travel.position();
    if (reached == Travel::Reached::next_course && running_->dropped.empty()) return go_on_with_next();
    if (reached == Travel::Reached::end) return finish("");
    if (reached != Travel::Reached::standstill) return;
    if (!running_->dropped.empty()) return finish(running_->dropped);
    if (!paused_) travel.go(time_);
}

/** The arm has left the corner: the motion before it has ended. */
void Motions::go_on_with_next()
{
    report(running_->motion, "");
    running_->motion = std::move(waiting_.front().motion);
    running_->number = waiting_.front().number;
    running_->knows_the_next = false;
    forget_first();
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
