#include "arm.h"

#include <array>
#include <tuple>

#include "description/description.h"

namespace kx::bridge {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::vector<std::string> joint_names(const Address& address)
{
    std::vector<std::string> names;
    for (int i = 1; i <= Bond{0, address.model}.joint_count(); ++i)
        names.push_back(address.prefix + "joint_" + std::to_string(i));
    return names;
}

std::string topic(const Options& options, const std::string& name)
{
    const auto renamed = options.renamed.find(name);
    return renamed == options.renamed.end() ? name : renamed->second;
}

/** A message's text, which is only read. */
char* text(const std::string& from)
{
    return const_cast<char*>(from.c_str());
}

const std::string no_frame;

/** On the clock of people and of ROS 2. The frame's name is the caller's, who keeps it until the message is written. */
Header header(kx::Time time, const std::string& frame = no_frame)
{
    const auto since_1970 = std::chrono::system_clock::now().time_since_epoch() - (Clock::now() - time);
    const auto seconds = std::chrono::floor<std::chrono::seconds>(since_1970);
    const std::chrono::nanoseconds rest = since_1970 - seconds;
    return {{static_cast<int32_t>(seconds.count()), static_cast<uint32_t>(rest.count())}, text(frame)};
}

void write(const Writer<Transforms>& writer, std::vector<TransformStamped> transforms)
{
    writer.write({sequence_of<dds_sequence_geometry_msgs_msg_dds__TransformStamped_>(transforms)});
}

} // namespace

BridgedArm::BridgedArm(const Domain& domain, const Address& address, const Options& options)
    : address_(address), options_(options), joints_(joint_names(address)),
      description_(description::urdf({address.model, address.prefix, {}})), frames_(description_, joints_),
      flange_(address.prefix + "tool0"), hardware_(address.host + ":" + std::to_string(address.port)),
      name_("kx-bridge: " + address.prefix + "arm"), speaker_(name_),
      joint_states_(domain, topic(options, "joint_states"), Delivery::stream),
      diagnostics_(domain, topic(options, "diagnostics"), Delivery::stream),
      robot_description_(domain, own_topic("robot_description"), Delivery::for_late)
{
    robot_description_.write({text(description_)});
    if (options.has_tf) {
        tf_.emplace(domain, topic(options, "tf"), Delivery::stream);
        tf_static_.emplace(domain, topic(options, "tf_static"), Delivery::for_late);
        write(*tf_static_, frames_.fixed(header(Clock::now()).stamp));
    }
    if (options.wrench > 0) wrench_.emplace(domain, own_topic("wrench"), Delivery::stream);
    if (options.obeys) {
        joint_commands_.emplace(domain, own_topic("robot_joint_commands"), Delivery::newest, bell_);
        trajectories_.emplace(domain, own_topic("joint_trajectory"), Delivery::stream, bell_);
    }
    thread_ = std::thread(&BridgedArm::run, this);
}

BridgedArm::~BridgedArm()
{
    is_ending_ = true;
    bell_.ring();
    thread_.join();
}

std::string BridgedArm::own_topic(const std::string& name) const
{
    return address_.prefix + topic(options_, name);
}

void BridgedArm::run()
{
    std::string said;
    while (!is_ending_) {
        try {
            serve();
        } catch (const Error& error) {
            if (error.what() != said) speaker_.say(error.what());
            said = error.what();
            note({.status = error.status().code()});
        }
        diagnose(nullptr);
        const auto again = Clock::now() + 1s;
        while (!is_ending_ && Clock::now() < again)
            bell_.wait_until(again);
    }
}

void BridgedArm::serve()
{
    const Arm arm(address_.host, address_.port, address_.model);
    speaker_.say("connected to " + hardware_);
    Commander commander(arm, joints_, options_.stream, speaker_);
    const auto drop = [](const auto&, auto) {}; // what was meant for an arm that was not there
    if (joint_commands_) joint_commands_->take(drop);
    if (trajectories_) trajectories_->take(drop);
    arm.subscribe(options_.rate, [this](const State& state) { publish(state); });
    const struct Subscription {
        const Arm& arm;
        ~Subscription() { KX_Link_Subscribe(arm.handle(), 0, nullptr, nullptr); }
    } subscription{arm};

    Clock::time_point diagnosis = {}, wrench = {};
    std::tuple<Health, std::string, int> told;
    while (!is_ending_) {
        if (arm.connection() != KX_LINK_READY) throw Lost("connection", KX_LOST, "");
        const auto obey = [&](const auto& message, auto sender) { commander.take(message, sender); };
        if (joint_commands_) joint_commands_->take(obey);
        if (trajectories_) trajectories_->take(obey);
        commander.look();
        const auto now = Clock::now();
        if (wrench_ && now >= wrench) {
            const auto period = std::chrono::duration_cast<Clock::duration>(1s / options_.wrench);
            wrench = publish_wrench(arm) ? std::max(wrench + period, now) : now + 1s;
        }
        const std::tuple news(health(), commander.doing(), commander.refused());
        // Each second, and when something changes, though at most ten times as often.
        if (now >= diagnosis || (news != told && now >= diagnosis - 900ms)) {
            diagnose(&commander);
            told = news;
            diagnosis = now + 1s;
        }
        bell_.wait_until(std::min(now + 50ms, wrench_ ? wrench : diagnosis));
    }
}

BridgedArm::Health BridgedArm::health()
{
    const std::lock_guard lock(mutex_);
    return health_;
}

void BridgedArm::note(const Health& health)
{
    const std::lock_guard lock(mutex_);
    if (!(health == health_)) bell_.ring();
    health_ = health;
}

void BridgedArm::publish(const State& state)
{
    note({state.status, state.arm_error, state.controller_error});
    if (state.status != KX_SUCCESS) return;
    std::array<char*, 7> names;
    std::array<double, 7> positions;
    std::ranges::transform(joints_, names.begin(), text);
    std::ranges::transform(state.joints, positions.begin(),
                           [](float degrees) { return degrees * std::numbers::pi / 180; });
    JointState message = {};
    message.header = header(state.asked + (state.answered - state.asked) / 2);
    message.name = sequence_of<dds_sequence_string>({names.data(), joints_.size()});
    message.position = sequence_of<dds_sequence_double>({positions.data(), joints_.size()});
    joint_states_.write(message);
    if (tf_) write(*tf_, frames_.moved(message.header.stamp, state.joints));
}

bool BridgedArm::publish_wrench(const Arm& arm)
{
    float data[6] = {};
    const auto asked = Clock::now();
    if (const Status status = Get_Force_Data(arm.handle(), data); !status) {
        speaker_.say(std::string("no force data: ") + status.words());
        return false;
    }
    const WrenchStamped message = {header(asked + (Clock::now() - asked) / 2, flange_),
                                   {{data[0], data[1], data[2]}, {data[3], data[4], data[5]}}};
    wrench_->write(message);
    return true;
}

void BridgedArm::diagnose(const Commander* commander)
{
    enum Level : uint8_t { ok = 0, warn = 1, error = 2 };
    const Health health = this->health();
    const bool has_errors = health.arm_error != 0 || health.controller_error != 0;
    const std::string told = health.status != KX_SUCCESS ? Status(health.status).words()
                             : has_errors                ? "the arm tells an error"
                                                         : "joint states are published";
    const std::pair<std::string, std::string> values[] = {
        {"connected", commander ? "yes" : "no"},
        {"arm error", std::to_string(health.arm_error)},
        {"controller error", std::to_string(health.controller_error)},
        {"commands", options_.obeys ? "taken" : "not taken"},
        {"doing", commander ? commander->doing() : "nothing"},
        {"last motion", commander ? commander->ended() : "none"},
        {"refused messages", std::to_string(commander ? commander->refused() : 0)}};
    std::array<KeyValue, std::size(values)> rows;
    std::ranges::transform(values, rows.begin(), [](const auto& value) {
        return KeyValue{text(value.first), text(value.second)};
    });
    DiagnosticStatus status = {};
    status.level = health.status == KX_SUCCESS && !has_errors ? ok : commander && !has_errors ? warn : error;
    status.name = text(name_);
    status.message = text(told);
    status.hardware_id = text(hardware_);
    status.values = sequence_of<dds_sequence_diagnostic_msgs_msg_dds__KeyValue_>(rows);
    Diagnostics message = {};
    message.header = header(Clock::now());
    message.status = sequence_of<dds_sequence_diagnostic_msgs_msg_dds__DiagnosticStatus_>({&status, 1});
    diagnostics_.write(message);
}

} // namespace kx::bridge
