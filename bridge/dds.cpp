#include "dds.h"

#include <atomic>
#include <cstdlib>
#include <netinet/in.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "speaker.h"

// Whatever interface it is to use, DDS would hear what comes to any address of the machine.
static std::atomic<bool> hears_this_machine_only = false;

/** Takes the place of the system's own in this program. */
extern "C" int bind(int socket, const sockaddr* address, socklen_t size) noexcept
{
    sockaddr_in here = {};
    if (hears_this_machine_only && address->sa_family == AF_INET) {
        here = *reinterpret_cast<const sockaddr_in*>(address);
        here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address = reinterpret_cast<const sockaddr*>(&here);
    }
    return static_cast<int>(syscall(SYS_bind, socket, address, size));
}

namespace kx::bridge {

namespace {

// Loopback has no multicast: all ports that a participant of this machine may have are told of the bridge one by one.
constexpr const char* this_machine = R"(<CycloneDDS><Domain>
<General><Interfaces><NetworkInterface address="127.0.0.1"/></Interfaces><AllowMulticast>false</AllowMulticast></General>
<Discovery><ParticipantIndex>auto</ParticipantIndex><MaxAutoParticipantIndex>32</MaxAutoParticipantIndex>
<Peers><Peer address="127.0.0.1"/></Peers><SPDPInterval>2 s</SPDPInterval></Discovery>
</Domain></CycloneDDS>)";

// What a topic keeps is bounded in messages; this bounds a message. A trajectory of 5,000 points is as long.
constexpr const char* bounds =
    "<CycloneDDS><Domain><Internal><MaxSampleSize>1 MB</MaxSampleSize></Internal></Domain></CycloneDDS>";

constexpr int history = 100; // half a second of a fast arm

// Of DDS as the user has set it up, whose word is the last.
std::string configured()
{
    const char* text = std::getenv("CYCLONEDDS_URI");
    return text ? text : "";
}

class Qos {
  public:
    explicit Qos(Delivery delivery)
    {
        dds_qset_reliability(qos_, DDS_RELIABILITY_RELIABLE, 0);
        dds_qset_history(qos_, DDS_HISTORY_KEEP_LAST, delivery == Delivery::stream ? history : 1);
        if (delivery == Delivery::for_late) dds_qset_durability(qos_, DDS_DURABILITY_TRANSIENT_LOCAL);
    }
    Qos(const Qos&) = delete;
    ~Qos() { dds_delete_qos(qos_); }
    operator dds_qos_t*() const { return qos_; }

  private:
    dds_qos_t* const qos_ = dds_create_qos();
};

dds_entity_t make_topic(const Domain& domain, const dds_topic_descriptor_t* type, const std::string& name)
{
    const dds_entity_t topic = dds_create_topic(domain, type, ("rt/" + name).c_str(), nullptr, nullptr);
    if (topic < 0) throw DdsError(name + ": " + dds_strretcode(topic));
    return topic; // which goes with the domain
}

} // namespace

// What DDS complains of, messages that cannot be read among it.
static Speaker complaints("kx-bridge: DDS");

static dds_entity_t make_domain(unsigned number, bool reaches_out)
{
    hears_this_machine_only = !reaches_out;
    const dds_entity_t domain =
        dds_create_domain(number, (bounds + (',' + (reaches_out ? configured() : this_machine))).c_str());
    dds_set_log_sink( // now, as a new domain sets its own
        [](void*, const dds_log_data_t* line) {
            complaints.say(printable({line->message, line->size}));
        },
        nullptr);
    return domain;
}

Domain::Domain(unsigned number, bool reaches_out)
    : domain_(make_domain(number, reaches_out), "DDS"),
      participant_(dds_create_participant(number, nullptr, nullptr), "DDS")
{
}

dds_entity_t make_writer(const Domain& domain, const dds_topic_descriptor_t* type, const std::string& name,
                         Delivery delivery)
{
    return dds_create_writer(domain, make_topic(domain, type, name), Qos(delivery), nullptr);
}

dds_entity_t make_reader(const Domain& domain, const dds_topic_descriptor_t* type, const std::string& name,
                         Delivery delivery, Bell& bell)
{
    dds_listener_t* listener = dds_create_listener(&bell);
    dds_lset_data_available(listener, [](dds_entity_t, void* arg) { static_cast<Bell*>(arg)->ring(); });
    const dds_entity_t reader =
        dds_create_reader(domain, make_topic(domain, type, name), Qos(delivery), listener);
    dds_delete_listener(listener); // copied
    return reader;
}

void Bell::ring()
{
    const std::lock_guard lock(mutex_);
    has_rung_ = true;
    rings_.notify_one();
}

void Bell::wait_until(std::chrono::steady_clock::time_point time)
{
    std::unique_lock lock(mutex_);
    rings_.wait_until(lock, time, [this] { return has_rung_; });
    has_rung_ = false;
}

} // namespace kx::bridge
