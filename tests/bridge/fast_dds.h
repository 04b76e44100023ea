// ROS 2's messages by way of Fast DDS, which is not what the bridge uses: as JSON, with their layout written down here once
// more, by hand. Nothing leaves this machine.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <sys/file.h>
#include <unistd.h>

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
#include <nlohmann/json.hpp>

namespace ros {

namespace dds = eprosima::fastdds::dds;
namespace rtps = eprosima::fastrtps::rtps;
using eprosima::fastcdr::Cdr;
using Json = nlohmann::json;

// Members in their order: i and u have 32 bits, b is a byte, d a double, s a string; of a list, what is in it.
struct Layout {
    const char *type, *members;
};
constexpr Layout joint_state{
    "sensor_msgs::msg::dds_::JointState_",
    R"({"sec":"i", "nanosec":"u", "frame":"s", "name":["s"], "position":["d"], "velocity":["d"], "effort":["d"]})"};
constexpr Layout text{"std_msgs::msg::dds_::String_", R"({"data":"s"})"};
constexpr Layout transforms{"tf2_msgs::msg::dds_::TFMessage_",
                            R"({"transforms":[{"sec":"i", "nanosec":"u", "frame":"s", "child":"s",
                                "x":"d", "y":"d", "z":"d", "qx":"d", "qy":"d", "qz":"d", "qw":"d"}]})"};
constexpr Layout wrench{"geometry_msgs::msg::dds_::WrenchStamped_",
                        R"({"sec":"i", "nanosec":"u", "frame":"s",
                            "fx":"d", "fy":"d", "fz":"d", "tx":"d", "ty":"d", "tz":"d"})"};
constexpr Layout diagnostics{"diagnostic_msgs::msg::dds_::DiagnosticArray_",
                             R"({"sec":"i", "nanosec":"u", "frame":"s", "status":[{"level":"b", "name":"s",
                                 "message":"s", "hardware":"s", "values":[{"key":"s", "value":"s"}]}]})"};
constexpr Layout trajectory{"trajectory_msgs::msg::dds_::JointTrajectory_",
                            R"({"sec":"i", "nanosec":"u", "frame":"s", "joint_names":["s"],
                                "points":[{"positions":["d"], "velocities":["d"], "accelerations":["d"],
                                           "effort":["d"], "sec":"i", "nanosec":"u"}]})"};

// Puts JSON into CDR as a layout says, or gets it out.
struct Passage {
    Cdr& cdr;
    const bool puts;

    void pass(const nlohmann::ordered_json& layout, Json& json)
    {
        if (layout == "i") return one<int32_t>(json);
        if (layout == "u") return one<uint32_t>(json);
        if (layout == "b") return one<uint8_t>(json);
        if (layout == "d") return one<double>(json);
        if (layout == "s") return one<std::string>(json);
        if (layout.is_array()) return list(layout[0], json);
        for (const auto& [name, member] : layout.items())
            pass(member, json[name]);
    }
    template <class T>
    void one(Json& json)
    {
        T value = json.is_null() ? T() : json.get<T>();
        puts ? cdr << value : cdr >> value;
        json = value;
    }
    void list(const nlohmann::ordered_json& element, Json& json)
    {
        Json count = json.size();
        one<uint32_t>(count);
        if (json.is_null()) json = Json::array();
        for (size_t i = 0; i < count; ++i)
            pass(element, json[i]);
    }
};

class Type : public dds::TopicDataType {
  public:
    explicit Type(const Layout& layout) : members_(nlohmann::ordered_json::parse(layout.members))
    {
        setName(layout.type);
        m_typeSize = 1 << 20;
    }
    bool serialize(void* message, rtps::SerializedPayload_t* payload) override
    {
        eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->max_size);
        Cdr cdr(buffer, Cdr::LITTLE_ENDIANNESS, Cdr::DDS_CDR);
        cdr.serialize_encapsulation();
        Passage{cdr, true}.pass(members_, *static_cast<Json*>(message));
        payload->encapsulation = CDR_LE;
        payload->length = static_cast<uint32_t>(cdr.getSerializedDataLength());
        return true;
    }
    bool deserialize(rtps::SerializedPayload_t* payload, void* message) override
    {
        eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->length);
        Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
        cdr.read_encapsulation();
        Passage{cdr, false}.pass(members_, *static_cast<Json*>(message) = Json());
        return true;
    }
    std::function<uint32_t()> getSerializedSizeProvider(void*) override
    {
        return [] { return 1u << 20; };
    }
    void* createData() override { return new Json; }
    void deleteData(void* message) override { delete static_cast<Json*>(message); }
    bool getKey(void*, rtps::InstanceHandle_t*, bool) override { return false; }

  private:
    const nlohmann::ordered_json members_;
};

// A domain that no other test uses meanwhile, with this process as a participant.
class Domain {
  public:
    Domain()
    {
        for (int any = getpid(); lock_ < 0; ++any) {
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
        publisher = participant_->create_publisher(dds::PUBLISHER_QOS_DEFAULT);
        subscriber = participant_->create_subscriber(dds::SUBSCRIBER_QOS_DEFAULT);
    }
    Domain(const Domain&) = delete;
    ~Domain()
    {
        participant_->delete_contained_entities();
        dds::DomainParticipantFactory::get_instance()->delete_participant(participant_);
        close(lock_);
    }

    dds::Topic* topic(const Layout& layout, const std::string& name)
    {
        dds::TypeSupport(new Type(layout)).register_type(participant_);
        dds::TopicDescription* known = participant_->lookup_topicdescription("rt/" + name);
        return known ? static_cast<dds::Topic*>(known)
                     : participant_->create_topic("rt/" + name, layout.type, dds::TOPIC_QOS_DEFAULT);
    }

    int number;
    dds::Publisher* publisher;
    dds::Subscriber* subscriber;

  private:
    int lock_ = -1;
    dds::DomainParticipant* participant_;
};

// What comes on a topic. Every message is kept until it is asked for, with its number from its writer and when it came.
class Reader : public dds::DataReaderListener {
  public:
    enum Kind { reliable, best_effort, late }; // late: wants what was written before, too

    Reader(Domain& domain, const Layout& layout, const std::string& name, Kind kind = reliable)
    {
        dds::DataReaderQos qos;
        qos.reliability().kind =
            kind == best_effort ? dds::BEST_EFFORT_RELIABILITY_QOS : dds::RELIABLE_RELIABILITY_QOS;
        if (kind == late) qos.durability().kind = dds::TRANSIENT_LOCAL_DURABILITY_QOS;
        qos.history().kind = dds::KEEP_ALL_HISTORY_QOS;
        qos.endpoint().history_memory_policy = rtps::DYNAMIC_RESERVE_MEMORY_MODE;
        reader_ = domain.subscriber->create_datareader(domain.topic(layout, name), qos, this);
    }
    ~Reader() { reader_->set_listener(nullptr); }

    // The oldest that was not asked for yet and fits; older ones are dropped. Null if it does not come in time.
    Json next(
        const std::function<bool(Json&)>& fits = [](Json&) { return true; }, int seconds = 30)
    {
        std::unique_lock lock(mutex_);
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        while (come_.wait_until(lock, until, [this] { return !messages_.empty(); })) {
            Json message = std::move(messages_.front());
            messages_.pop_front();
            if (fits(message)) return message;
        }
        return {};
    }

    // Forgets what has come.
    void drop()
    {
        const std::lock_guard lock(mutex_);
        messages_.clear();
    }

  private:
    void on_data_available(dds::DataReader*) override
    {
        using namespace std::chrono;
        const std::lock_guard lock(mutex_);
        Json message;
        dds::SampleInfo info;
        while (reader_->take_next_sample(&message, &info) == ReturnCode_t::RETCODE_OK) {
            if (!info.valid_data) continue;
            message["number"] = info.sample_identity.sequence_number().to64long();
            message["came"] = duration<double>(system_clock::now().time_since_epoch()).count();
            messages_.push_back(message);
        }
        come_.notify_all();
    }

    dds::DataReader* reader_;
    std::mutex mutex_;
    std::condition_variable come_;
    std::deque<Json> messages_;
};

class Writer {
  public:
    Writer(Domain& domain, const Layout& layout, const std::string& name)
    {
        dds::DataWriterQos qos;
        qos.reliability().kind = dds::RELIABLE_RELIABILITY_QOS;
        qos.endpoint().history_memory_policy = rtps::DYNAMIC_RESERVE_MEMORY_MODE;
        writer_ = domain.publisher->create_datawriter(domain.topic(layout, name), qos);
    }
    void write(Json message) { writer_->write(&message); }

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
