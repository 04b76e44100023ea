// ROS 2's messages by way of Fast DDS, which is not what the bridge uses: the layout of messages is written down here once
// more, by hand. Nothing leaves this machine.
#pragma once

#include <condition_variable>
#include <deque>
#include <fstream>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

#include <fastcdr/Cdr.h>
#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/TopicDataType.hpp>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>

namespace ros {

namespace dds = eprosima::fastdds::dds;
using Cdr = eprosima::fastcdr::Cdr;

struct Stamp {
    int32_t sec = 0;
    uint32_t nanosec = 0;
    void pass(auto&& cdr) { cdr(sec, nanosec); }
    double seconds() const { return sec + nanosec / 1e9; }
};
struct Header {
    Stamp stamp;
    std::string frame_id;
    void pass(auto&& cdr) { cdr(stamp, frame_id); }
};
struct JointState {
    static constexpr const char* type = "sensor_msgs::msg::dds_::JointState_";
    Header header;
    std::vector<std::string> name;
    std::vector<double> position, velocity, effort;
    void pass(auto&& cdr) { cdr(header, name, position, velocity, effort); }
};
struct Text {
    static constexpr const char* type = "std_msgs::msg::dds_::String_";
    std::string data;
    void pass(auto&& cdr) { cdr(data); }
};
struct Transform {
    Header header;
    std::string child_frame_id;
    double x = 0, y = 0, z = 0, qx = 0, qy = 0, qz = 0, qw = 0;
    void pass(auto&& cdr) { cdr(header, child_frame_id, x, y, z, qx, qy, qz, qw); }
};
struct Transforms {
    static constexpr const char* type = "tf2_msgs::msg::dds_::TFMessage_";
    std::vector<Transform> transforms;
    void pass(auto&& cdr) { cdr(transforms); }
};
struct Wrench {
    static constexpr const char* type = "geometry_msgs::msg::dds_::WrenchStamped_";
    Header header;
    double fx = 0, fy = 0, fz = 0, tx = 0, ty = 0, tz = 0;
    void pass(auto&& cdr) { cdr(header, fx, fy, fz, tx, ty, tz); }
};
struct KeyValue {
    std::string key, value;
    void pass(auto&& cdr) { cdr(key, value); }
};
struct Status {
    uint8_t level = 0;
    std::string name, message, hardware_id;
    std::vector<KeyValue> values;
    void pass(auto&& cdr) { cdr(level, name, message, hardware_id, values); }
    std::string value(const std::string& key) const
    {
        for (const KeyValue& row : values)
            if (row.key == key) return row.value;
        return "(there is no " + key + ")";
    }
};
struct Diagnostics {
    static constexpr const char* type = "diagnostic_msgs::msg::dds_::DiagnosticArray_";
    Header header;
    std::vector<Status> status;
    void pass(auto&& cdr) { cdr(header, status); }
};
struct Point {
    std::vector<double> positions, velocities, accelerations, effort;
    Stamp time_from_start;
    void pass(auto&& cdr) { cdr(positions, velocities, accelerations, effort, time_from_start); }
};
struct JointTrajectory {
    static constexpr const char* type = "trajectory_msgs::msg::dds_::JointTrajectory_";
    Header header;
    std::vector<std::string> joint_names;
    std::vector<Point> points;
    void pass(auto&& cdr) { cdr(header, joint_names, points); }
};

// Puts members into CDR, or gets them out of it.
template <bool puts>
struct Passage {
    Cdr& cdr;
    void operator()(auto&... members) { (one(members), ...); }
    void one(auto& member)
    {
        if constexpr (requires { member.pass(*this); })
            member.pass(*this);
        else if constexpr (puts)
            cdr << member;
        else
            cdr >> member;
    }
    template <class T>
    requires requires(T& element, Passage passage) { element.pass(passage); }
    void one(std::vector<T>& members)
    {
        auto count = static_cast<uint32_t>(members.size());
        one(count);
        members.resize(count);
        for (T& member : members)
            member.pass(*this);
    }
};

// `bytes` are what goes out in place of messages, while there are any.
template <class Message>
class Type : public dds::TopicDataType {
  public:
    explicit Type(const std::vector<char>& bytes) : bytes_(bytes)
    {
        setName(Message::type);
        m_typeSize = 1 << 20;
    }
    bool serialize(void* message, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override
    {
        if (!bytes_.empty()) {
            std::copy(bytes_.begin(), bytes_.end(), payload->data);
            payload->length = static_cast<uint32_t>(bytes_.size());
            payload->encapsulation = CDR_LE;
            return true;
        }
        eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->max_size);
        Cdr cdr(buffer, Cdr::LITTLE_ENDIANNESS, Cdr::DDS_CDR);
        cdr.serialize_encapsulation();
        static_cast<Message*>(message)->pass(Passage<true>{cdr});
        payload->encapsulation = CDR_LE;
        payload->length = static_cast<uint32_t>(cdr.getSerializedDataLength());
        return true;
    }
    bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* message) override
    {
        eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->length);
        Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
        cdr.read_encapsulation();
        static_cast<Message*>(message)->pass(Passage<false>{cdr});
        return true;
    }
    std::function<uint32_t()> getSerializedSizeProvider(void*) override
    {
        return [] { return 1u << 20; };
    }
    void* createData() override { return new Message; }
    void deleteData(void* message) override { delete static_cast<Message*>(message); }
    bool getKey(void*, eprosima::fastrtps::rtps::InstanceHandle_t*, bool) override { return false; }

  private:
    const std::vector<char>& bytes_;
};

// A domain that no other test uses meanwhile, with this process as a participant.
class Domain {
  public:
    explicit Domain(int another = 0) : number(another) // a further participant, if that is given
    {
        for (int any = getpid(); another == 0 && lock_ < 0; ++any) {
            number = 1 + any % 100; // whose ports are none that the system gives to others
            const int file = open(("/tmp/kx-test-domain-" + std::to_string(number)).c_str(),
                                  O_CREAT | O_RDWR | O_CLOEXEC, 0666);
            if (flock(file, LOCK_EX | LOCK_NB) == 0)
                lock_ = file;
            else
                close(file);
        }
        dds::DomainParticipantQos qos;
        qos.transport().use_builtin_transports = false;
        const auto loopback = std::make_shared<eprosima::fastdds::rtps::UDPv4TransportDescriptor>();
        loopback->interfaceWhiteList = {"127.0.0.1"};
        qos.transport().user_transports = {loopback};
        participant_ = dds::DomainParticipantFactory::get_instance()->create_participant(
            static_cast<unsigned>(number), qos);
        publisher_ = participant_->create_publisher(dds::PUBLISHER_QOS_DEFAULT);
        subscriber_ = participant_->create_subscriber(dds::SUBSCRIBER_QOS_DEFAULT);
    }
    Domain(const Domain&) = delete;
    ~Domain()
    {
        participant_->delete_contained_entities();
        dds::DomainParticipantFactory::get_instance()->delete_participant(participant_);
        close(lock_);
    }

    template <class Message>
    dds::Topic* topic(const std::string& name)
    {
        dds::TypeSupport(new Type<Message>(bytes)).register_type(participant_);
        if (dds::TopicDescription* known = participant_->lookup_topicdescription("rt/" + name))
            return static_cast<dds::Topic*>(known);
        return participant_->create_topic("rt/" + name, Message::type, dds::TOPIC_QOS_DEFAULT);
    }
    dds::Publisher* publisher() { return publisher_; }
    dds::Subscriber* subscriber() { return subscriber_; }

    int number;
    std::vector<char> bytes; // what this participant writes, whatever the message, if there are any

  private:
    int lock_ = -1;
    dds::DomainParticipant* participant_;
    dds::Publisher* publisher_;
    dds::Subscriber* subscriber_;
};

// What comes on a topic. Every message is kept until it is asked for.
template <class Message>
class Reader : public dds::DataReaderListener {
  public:
    enum class Kind { reliable, best_effort, late }; // late: wants what was written before, too

    Reader(Domain& domain, const std::string& name, Kind kind = Kind::reliable)
    {
        dds::DataReaderQos qos;
        qos.reliability().kind =
            kind == Kind::best_effort ? dds::BEST_EFFORT_RELIABILITY_QOS : dds::RELIABLE_RELIABILITY_QOS;
        qos.durability().kind =
            kind == Kind::late ? dds::TRANSIENT_LOCAL_DURABILITY_QOS : dds::VOLATILE_DURABILITY_QOS;
        qos.history().kind = dds::KEEP_ALL_HISTORY_QOS;
        qos.endpoint().history_memory_policy = eprosima::fastrtps::rtps::DYNAMIC_RESERVE_MEMORY_MODE;
        reader_ = domain.subscriber()->create_datareader(domain.topic<Message>(name), qos, this);
    }
    ~Reader() { reader_->set_listener(nullptr); }

    // The oldest that was not asked for yet and fits; older ones are dropped. None if it does not come in time.
    std::optional<Message> next(
        const std::function<bool(const Message&)>& fits = [](auto&) { return true; }, int seconds = 30)
    {
        std::unique_lock lock(mutex_);
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        for (;;) {
            while (!messages_.empty()) {
                Message message = std::move(messages_.front());
                messages_.pop_front();
                if (fits(message)) return message;
            }
            if (!come_.wait_until(lock, until, [this] { return !messages_.empty(); })) return {};
        }
    }

    // Forgets what has come.
    void drop()
    {
        const std::lock_guard lock(mutex_);
        messages_.clear();
    }

    // How many messages of the only writer went missing after the first one.
    long lost() const { return lost_; }

    // Milliseconds from a message's stamp until it was here.
    std::vector<double> delays;

  private:
    void on_data_available(dds::DataReader*) override
    {
        const std::lock_guard lock(mutex_);
        Message message;
        dds::SampleInfo info;
        while (reader_->take_next_sample(&message, &info) ==
               eprosima::fastrtps::types::ReturnCode_t::RETCODE_OK) {
            if (!info.valid_data) continue;
            const auto number = info.sample_identity.sequence_number().to64long();
            if (last_ != 0) lost_ += number - last_ - 1;
            last_ = number;
            if constexpr (requires { message.header; })
                delays.push_back(1000 * (now() - message.header.stamp.seconds()));
            messages_.push_back(message);
        }
        come_.notify_all();
    }

    static double now()
    {
        return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    }

    dds::DataReader* reader_;
    std::mutex mutex_;
    std::condition_variable come_;
    std::deque<Message> messages_;
    int64_t last_ = 0;
    long lost_ = 0;
};

template <class Message>
class Writer {
  public:
    Writer(Domain& domain, const std::string& name)
    {
        dds::DataWriterQos qos;
        qos.reliability().kind = dds::RELIABLE_RELIABILITY_QOS;
        qos.endpoint().history_memory_policy = eprosima::fastrtps::rtps::DYNAMIC_RESERVE_MEMORY_MODE;
        writer_ = domain.publisher()->create_datawriter(domain.topic<Message>(name), qos);
    }
    bool write(Message message) { return writer_->write(&message); }

    // Whether somebody reads it, after some seconds.
    bool is_heard(int seconds = 30)
    {
        dds::PublicationMatchedStatus status;
        for (int i = 0; i < 100 * seconds && status.current_count == 0; ++i) {
            usleep(10000);
            writer_->get_publication_matched_status(status);
        }
        return status.current_count > 0;
    }

  private:
    dds::DataWriter* writer_;
};

} // namespace ros
