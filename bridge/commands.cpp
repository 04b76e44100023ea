#include "commands.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>

namespace kx::bridge {

namespace {

/** Why a message is not obeyed. */
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[gnu::format(printf, 1, 2)]] std::string words(const char* format, ...)
{
    char text[300];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

/** Where among the names each joint of the arm stands. */
std::vector<uint32_t> places(const dds_sequence_string& names, const std::vector<std::string>& joints)
{
    std::vector<uint32_t> places(joints.size(), names._length);
    for (uint32_t i = 0; i < names._length; ++i) {
        const auto joint = std::ranges::find(joints, names._buffer[i]);
        if (joint == joints.end()) throw Refusal("there is no joint " + printable(names._buffer[i]));
        uint32_t& place = places[static_cast<size_t>(joint - joints.begin())];
        if (place != names._length) throw Refusal(*joint + " stands there twice");
        place = i;
    }
    if (names._length < joints.size())
        throw Refusal(words("%u names, but the arm has %zu joints", names._length, joints.size()));
    return places;
}

/** The angles in the arm's order; what comes with them must be for as many joints, or for none. */
Degrees angles(const dds_sequence_double& radians, std::initializer_list<const dds_sequence_double*> others,
               const std::vector<uint32_t>& places)
{
    const size_t count = places.size();
    if (radians._length != count) throw Refusal(words("%u positions for %zu joints", radians._length, count));
    for (const dds_sequence_double* other : others)
        if (other->_length != 0 && other->_length != count)
            throw Refusal(words("%u numbers beside the positions of %zu joints", other->_length, count));
    float degrees[7] = {};
    for (size_t i = 0; i < count; ++i) {
        degrees[i] = static_cast<float>(radians._buffer[places[i]] * 180 / std::numbers::pi);
        if (!std::isfinite(degrees[i])) throw Refusal(words("position %u is no angle", places[i] + 1));
    }
    return Degrees(std::span<const float>(degrees, count));
}

template <class TimeOrDuration>
double seconds(const TimeOrDuration& time)
{
    if (time.nanosec >= 1000000000) throw Refusal("a time of more than 999999999 ns");
    return time.sec + time.nanosec / 1e9;
}

double wall_clock()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/** A trajectory as a stream plays it: a file, though of memory only. */
class File {
  public:
    File() : file_(fdopen(memfd_create("trajectory", MFD_CLOEXEC), "w"))
    {
        if (!file_) throw Refusal("the system has no room for it");
    }
    File(const File&) = delete;
    ~File() { fclose(file_); }

    void add(double time, const Degrees& joints)
    {
        std::fprintf(file_, "%.9f", time);
        for (const float angle : joints)
            std::fprintf(file_, ",%.9g", static_cast<double>(angle));
        std::fputc('\n', file_);
    }

    std::string path()
    {
        std::fflush(file_);
        return "/proc/self/fd/" + std::to_string(fileno(file_));
    }

  private:
    FILE* const file_;
};

} // namespace

template <class Function>
void Commander::judge(const char* what, Function function)
{
    look();
    try {
        function();
    } catch (const std::runtime_error& error) { // kx::Error among them
        ++refused_;
        speaker_.say(std::string(what) + " refused: " + error.what());
    }
}

void Commander::take(const JointState& told, dds_instance_handle_t sender)
{
    judge("command", [&] { follow(told, sender); });
}

void Commander::take(const JointTrajectory& told, dds_instance_handle_t sender)
{
    judge("trajectory", [&] { play(told, sender); });
}

void Commander::begin(const char* doing, dds_instance_handle_t sender)
{
    stream_.reset();
    stream_.emplace(arm_.stream(options_));
    doing_ = doing;
    sender_ = sender;
}

void Commander::follow(const JointState& told, dds_instance_handle_t sender)
{
    const Degrees target = angles(told.position, {&told.velocity, &told.effort}, places(told.name, joints_));
    if (const int joint = Arm_Model_Beyond_Limits(&model_, target.data()))
        throw Refusal(joints_[static_cast<size_t>(joint - 1)] + " would leave its limits");
    const double stamp = seconds(told.header.stamp);
    if (is_running()) {
        if (is_playing_) throw Refusal("a trajectory is being played");
        if (sender != sender_) throw Refusal("somebody else moves the arm");
        if (stamp != 0 && stamp <= last_stamp_) throw Refusal("its time is not after that of the last one");
    } else {
        begin("following commands", sender);
        is_playing_ = false;
    }
    last_stamp_ = stamp;
    if (stamp == 0)
        stream_->joints(target);
    else
        stream_->joints(target, stream_->now());
}

void Commander::play(const JointTrajectory& told, dds_instance_handle_t sender)
{
    constexpr double prompt = 1; // s, between its time and its arrival
    constexpr float near = 1;    // degree, from where the arm stands to where it begins
    const std::span points(told.points._buffer, told.points._length);
    if (points.empty()) {
        if (stream_) stream_->stop();
        return;
    }
    if (is_running()) throw Refusal("the arm is being moved");
    const double stamp = seconds(told.header.stamp);
    if (stamp != 0 && std::abs(stamp - wall_clock()) > prompt)
        throw Refusal("it is for another time; its stamp must be now, or 0");

    const auto order = places(told.joint_names, joints_);
    const Degrees here = arm_.joints();
    File file;
    const bool begins_here = seconds(points.front().time_from_start) > 0;
    if (begins_here) file.add(0, here);
    for (const auto& point : points) {
        const Degrees joints =
            angles(point.positions, {&point.velocities, &point.accelerations, &point.effort}, order);
        for (int i = 0; i < joints.size() && !begins_here && &point == &points.front(); ++i)
            if (std::abs(joints[i] - here[i]) > near)
                throw Refusal("it begins elsewhere than where the arm stands");
        const double time = seconds(point.time_from_start);
        if (time < 0) throw Refusal("it begins before its beginning");
        file.add(time, joints);
    }
    begin("playing a trajectory", sender);
    is_playing_ = true;
    KX_TRAJECTORY_FAULT fault = {};
    if (KX_Stream_Play(stream_->handle(), file.path().c_str(), &fault) != KX_SUCCESS) {
        end();
        throw Refusal(words("point %d: %s: %.3f, where %.3f is the limit", fault.line - begins_here,
                            KX_Trajectory_Words(fault.violation), fault.value, fault.limit));
    }
    KX_Stream_Wait(stream_->handle(), 0); // nothing follows
}

void Commander::end()
{
    stream_.reset(); // when the arm stands
    doing_ = "nothing";
}

void Commander::look()
{
    if (!stream_ || is_running()) return;
    last_end_ = stream_->end_words();
    end();
    speaker_.say("the motion has ended: " + last_end_);
}

} // namespace kx::bridge
