// DDS as the bridge uses it: a domain, and writers and readers of ROS 2's messages on ROS 2's topics.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>

#include <dds/dds.h>
#include <messages.h>

namespace kx::bridge {

using Time = builtin_interfaces_msg_dds__Time_;
using Header = std_msgs_msg_dds__Header_;
using Text = std_msgs_msg_dds__String_;
using JointState = sensor_msgs_msg_dds__JointState_;
using JointTrajectory = trajectory_msgs_msg_dds__JointTrajectory_;
using TransformStamped = geometry_msgs_msg_dds__TransformStamped_;
using Transforms = tf2_msgs_msg_dds__TFMessage_;
using WrenchStamped = geometry_msgs_msg_dds__WrenchStamped_;
using KeyValue = diagnostic_msgs_msg_dds__KeyValue_;
using DiagnosticStatus = diagnostic_msgs_msg_dds__DiagnosticStatus_;
using Diagnostics = diagnostic_msgs_msg_dds__DiagnosticArray_;

/** What DDS knows of a message. */
template <class Message>
constexpr const dds_topic_descriptor_t* descriptor = nullptr;
template <>
inline constexpr const dds_topic_descriptor_t* descriptor<Text> = &std_msgs_msg_dds__String__desc;
template <>
inline constexpr const dds_topic_descriptor_t* descriptor<JointState> =
    &sensor_msgs_msg_dds__JointState__desc;
template <>
inline constexpr const dds_topic_descriptor_t* descriptor<JointTrajectory> =
    &trajectory_msgs_msg_dds__JointTrajectory__desc;
template <>
inline constexpr const dds_topic_descriptor_t* descriptor<Transforms> = &tf2_msgs_msg_dds__TFMessage__desc;
template <>
inline constexpr const dds_topic_descriptor_t* descriptor<WrenchStamped> =
    &geometry_msgs_msg_dds__WrenchStamped__desc;
template <>
inline constexpr const dds_topic_descriptor_t* descriptor<Diagnostics> =
    &diagnostic_msgs_msg_dds__DiagnosticArray__desc;

/** A handle of DDS that was not to be had. */
struct DdsError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** A handle of DDS, with all that was made from it. @throws DdsError for a negative one */
class Entity {
  public:
    Entity(dds_entity_t entity, const std::string& what) : entity_(entity)
    {
        if (entity < 0) throw DdsError(what + ": " + dds_strretcode(entity));
    }
    Entity(const Entity&) = delete;
    ~Entity() { dds_delete(entity_); }
    operator dds_entity_t() const { return entity_; }

  private:
    const dds_entity_t entity_;
};

/** One of ROS 2's domains, in which the bridge is one participant. */
class Domain {
  public:
    /** @param reaches_out into the network, as DDS itself is set up; else not beyond this machine */
    Domain(unsigned number, bool reaches_out);
    operator dds_entity_t() const { return participant_; }

  private:
    const Entity domain_, participant_;
};

/** Which messages a topic keeps. All are reliable, as those of ROS 2 are unless told otherwise. */
enum class Delivery {
    stream,   ///< the last hundred; a late reader gets what comes from then on
    for_late, ///< the last one, also for readers that come later
    newest,   ///< the last one
};

/** Wakes the one thread that waits for it. */
class Bell {
  public:
    void ring();

    /** Until it rings, or has rung since the last wait. */
    void wait_until(std::chrono::steady_clock::time_point time);

  private:
    std::mutex mutex_;
    std::condition_variable rings_;
    bool has_rung_ = false;
};

/** The writing or reading end of a topic; `name` as people of ROS 2 say it. The bell rings when something has come. */
dds_entity_t make_writer(const Domain&, const dds_topic_descriptor_t*, const std::string& name, Delivery);
dds_entity_t make_reader(const Domain&, const dds_topic_descriptor_t*, const std::string& name, Delivery,
                         Bell&);

/** Any thread may write, and none is made to wait by a slow reader. */
template <class Message>
class Writer {
  public:
    Writer(const Domain& domain, const std::string& name, Delivery delivery)
        : entity_(make_writer(domain, descriptor<Message>, name, delivery), name)
    {
    }
    bool write(const Message& message) const { return dds_write(entity_, &message) == DDS_RETCODE_OK; }

  private:
    const Entity entity_;
};

template <class Message>
class Reader {
  public:
    Reader(const Domain& domain, const std::string& name, Delivery delivery, Bell& bell)
        : entity_(make_reader(domain, descriptor<Message>, name, delivery, bell), name)
    {
    }

    /** Hands all that has come to a function, each with the number of who wrote it. */
    template <class Function>
    void take(Function function) const
    {
        void* sample = nullptr;
        dds_sample_info_t info;
        while (dds_take(entity_, &sample, &info, 1, 1) == 1) {
            if (info.valid_data) function(*static_cast<const Message*>(sample), info.publication_handle);
            dds_return_loan(entity_, &sample, 1);
        }
    }

  private:
    const Entity entity_;
};

/** An array that somebody else keeps, as the member of a message. */
template <class Sequence>
Sequence sequence_of(std::span<std::remove_pointer_t<decltype(Sequence::_buffer)>> elements)
{
    const auto count = static_cast<uint32_t>(elements.size());
    return {count, count, elements.data(), false};
}

} // namespace kx::bridge
