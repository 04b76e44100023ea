// What goes wrong between library and controller, on both kinds of connection: the rows of docs/faults.md.
#include "support/connection.h"
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/classic/connection.h"

#include <future>
#include <sys/resource.h>

namespace {

// The first joint that a call is told, or its status below zero. It is as patient as what is expected needs.
std::future<int> asking(const ConnectionKind& kind, int arm, int expected)
{
    return std::async(std::launch::async, [&kind, arm, expected] {
        kind.wait_at_most(expected == -KX_TIMED_OUT ? 150 : 30000);
        float joint[8] = {-1};
        const int status = Get_Joint_Degree(arm, joint);
        EXPECT_TRUE(status == KX_SUCCESS || joint[0] == -1) << joint[0];
        return status == KX_SUCCESS ? static_cast<int>(joint[0]) : -status;
    });
}

const std::string begin = R"({"command":"joint_degree","joint":[)";

std::string reply(int number, const std::string& end = "}\n")
{
    return begin + std::to_string(1000 * number) + ",0,0,0,0,0]" + end;
}

std::string of_length(size_t length) // with its line feed
{
    return reply(4, std::string(length - reply(4).size(), ' ') + "}\n");
}

const std::string another = "{\"command\":\"timer\",\"set_state\":true}", another_kind = another + "\n";
const std::string push = "{\"command\":\"joint_state\",\"joint\":[1,2,3,4,5,6],\"arm_err\":0}\n";

using Deed = std::function<void(Connection&)>;

Deed says(const std::string& bytes)
{
    return [bytes](Connection& end) { end.send(bytes); };
}

Deed says_and_leaves(const std::string& bytes, void (Connection::*leave)() = &Connection::close)
{
    return [bytes, leave](Connection& end) {
        end.send(bytes);
        (end.*leave)();
    };
}

void byte_by_byte(Connection& end)
{
    for (const char byte : reply(4))
        end.send({&byte, 1});
}

constexpr int good = 4, next_good = 5, gone = 1000, stops_all = 1001; // which is not played
constexpr int timed_out = -KX_TIMED_OUT, lost = -KX_LOST, bad = -KX_BAD_REPLY, wrong_type = -KX_WRONG_TYPE;

struct Fault {
    const char* name;
    Deed before, during; // the first question
    int on_classic, on_link;
    int next_on_classic = next_good, next_on_link = next_good; // question
    std::string next_reply = reply(5);
};

const Fault faults[] = {
    {"none", {}, says(reply(4)), good, good},
    {"closes", {}, says_and_leaves(""), timed_out, lost, gone, gone},
    {"resets", {}, says_and_leaves("", &Connection::reset), timed_out, lost, gone, gone},
    {"closes within the reply", {}, says_and_leaves(begin + "4000,"), bad, lost, gone, gone},
    {"closes before the end of the line", {}, says_and_leaves(reply(4, "}")), good, lost, gone, gone},
    {"closes behind the reply", {}, says_and_leaves(reply(4)), good, good, gone, gone},
    {"byte by byte", {}, byte_by_byte, good, good},
    {"together with another reply", {}, says(another_kind + reply(4)), timed_out, good},
    {"twice", {}, says(reply(4) + reply(4)), good, good},
    {"late", {}, says(""), timed_out, timed_out, good, next_good, reply(4) + reply(5)},
    // Whose reply has come is not certain: a link has its next call time out rather than be wrong.
    {"of another kind", {}, says(another_kind), timed_out, timed_out, next_good, timed_out},
    {"cut short", {}, says(begin + "4000\n"), bad, timed_out, next_good, timed_out},
    {"noise before", says("nonsense\n"), says(reply(4)), good, good},
    {"unasked before", says(reply(3)), says(reply(4)), good, good},
    {"a push before", says(push), says(reply(4)), good, good},
    {"without its command", {}, says("{\"joint_degree\":0,\"joint\":[4000,0,0,0,0,0]}\n"), good, good},
    {"without its member", {}, says("{\"command\":\"joint_degree\"}\n"), bad, bad},
    {"of another type", {}, says("{\"command\":\"joint_degree\",\"joint\":4}\n"), wrong_type, wrong_type},
    {"with a joint too many", {}, says(begin + "4000,0,0,0,0,0,7]}\n"), good, wrong_type},
    {"of 299 bytes", {}, says(of_length(299)), good, good},
    {"of 64 KiB", {}, says(of_length(65537)), stops_all, good},
    {"longer", {}, says(of_length(65538)), stops_all, timed_out, {}, timed_out},
    {"far longer", {}, says(of_length(300000)), stops_all, timed_out, {}, timed_out},
    {"nested too deep", {}, says(std::string(3000, '[') + "\n"), stops_all, timed_out, {}, timed_out},
    {"with a NUL", {}, says({"{\"command\":\"joint_degree\0\"}\n", 28}), stops_all, timed_out, {}, timed_out},
    {"in an array", {}, says("[" + reply(4, "}]\n")), bad, timed_out, next_good, timed_out},
    {"on one line with another", {}, says(another + reply(4)), timed_out, good},
};

class Faults : public testing::TestWithParam<const ConnectionKind*> {};

} // namespace

TEST_P(Faults, EndInTheirStatusAndLeaveTheNextCall)
{
    const ConnectionKind& kind = *GetParam();
    for (const Fault& fault : faults) {
        const int expected = kind.is_classic ? fault.on_classic : fault.on_link;
        const int expected_next = kind.is_classic ? fault.next_on_classic : fault.next_on_link;
        if (expected == stops_all) continue; // it ends the process, or stops all of its arms
        SCOPED_TRACE(fault.name);
        Door door;
        const int arm = kind.open("127.0.0.1", door.port(), 46);
        Connection end = door.accept();
        if (fault.before) {
            fault.before(end);
            until_all_is_taken();
        }
        auto first = asking(kind, arm, expected);
        end.request();
        fault.during(end);
        EXPECT_EQ(first.get(), expected);
        if (kind.is_classic) until_all_is_taken(); // else it would come together with the next reply

        if (expected_next == gone) {
            int told = timed_out; // on a classic connection the first may seem to be sent
            for (int i = 0; i < 3 && told == timed_out; ++i)
                told = asking(kind, arm, kind.is_classic ? timed_out : lost).get();
            EXPECT_EQ(told, kind.is_classic ? -KX_SEND_FAILED : lost);
        } else {
            auto next = asking(kind, arm, expected_next);
            end.request();
            end.send(fault.next_reply);
            EXPECT_EQ(next.get(), expected_next) << "the next call";
        }
        Arm_Socket_Close(arm);
    }
}

TEST_P(Faults, OfAControllerThatDoesNotReadAreTold)
{
    const ConnectionKind& kind = *GetParam();
    Door door(128, 2048);
    const int arm = kind.open("127.0.0.1", door.port(), 46);
    const Connection end = door.accept();
    int status = 0;
    for (int i = 0; i < 1000000 && status == 0; ++i)
        status = Movep_CANFD(arm, POSE());
    EXPECT_EQ(status, kind.is_classic ? KX_SEND_FAILED : KX_OUTBOX_FULL);
    Arm_Socket_Close(arm);
}

TEST_P(Faults, OfOpeningHaveTheirStatus)
{
    const ConnectionKind& kind = *GetParam();
    int refused;
    {
        Door door;
        refused = door.port();
    }
    Door full(0); // takes nobody: its queue is full, and further attempts are not answered
    std::vector<int> queued;
    for (int i = 0; i < 4; ++i) {
        queued.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        connect(queued.back(), reinterpret_cast<const sockaddr*>(&full.address), sizeof full.address);
    }
    constexpr int opens = 0, waits_for_minutes = -1;
    Door door;
    const struct {
        const char* host;
        int port, model, on_classic, on_link;
    } rows[] = {
        {"127.0.0.1", door.port(), 47, opens, opens},
        {"localhost", door.port(), 47, KX_BAD_DESCRIPTOR, opens},
        {"127.0.0.1", refused, 46, KX_BAD_DESCRIPTOR, KX_BAD_DESCRIPTOR},
        {"::1", refused, 46, KX_BAD_DESCRIPTOR, KX_BAD_DESCRIPTOR},
        {"127.0.0.1", 0, 46, KX_BAD_DESCRIPTOR, KX_BAD_DESCRIPTOR},
        {"127.0.0.1", 65536, 46, KX_BAD_DESCRIPTOR, KX_BAD_DESCRIPTOR},
        {"127.0.0.1", full.port(), 6, KX_NOT_RUNNING, KX_NOT_RUNNING},
        {"127.0.0.1", full.port(), 48, KX_NOT_RUNNING, KX_NOT_RUNNING},
        {"127.0.0.1", full.port(), 46, waits_for_minutes, KX_TIMED_OUT},
        {"no..name", door.port(), 46, KX_BAD_DESCRIPTOR, KX_UNKNOWN_HOST},
        {nullptr, door.port(), 46, KX_BAD_DESCRIPTOR, KX_UNKNOWN_HOST},
    };
    KX_API_Init(nullptr);
    const int connections = m_nSockInfoLen;
    for (const auto& row : rows) {
        const int expected = kind.is_classic ? row.on_classic : row.on_link;
        if (expected == waits_for_minutes) continue;
        KX_LINK_OPTIONS options;
        KX_Link_Defaults(&options);
        options.connect_timeout_ms = expected == KX_TIMED_OUT ? 200 : 60000;
        const int arm = kind.is_classic ? Arm_Socket_Start(row.host, row.port, row.model, 0)
                                        : -KX_Link_Open(row.host, row.port, row.model, &options);
        const bool is_open = kind.is_classic ? arm > KX_BAD_DESCRIPTOR : arm < 0;
        EXPECT_EQ(is_open ? opens : arm, expected)
            << (row.host ? row.host : "null") << ":" << row.port << " " << row.model;
        if (is_open) Arm_Socket_Close(kind.is_classic ? arm : -arm);
    }
    EXPECT_EQ(m_nSockInfoLen, connections + kind.is_classic);

    rlimit many;
    getrlimit(RLIMIT_NOFILE, &many);
    rlimit few = many;
    few.rlim_cur = static_cast<rlim_t>(dup(0)); // it is the lowest free one
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    EXPECT_EQ(kind.is_classic ? Arm_Socket_Start("127.0.0.1", door.port(), 46, 0)
                              : -KX_Link_Open("127.0.0.1", door.port(), 46, nullptr),
              KX_NO_SOCKET);
    setrlimit(RLIMIT_NOFILE, &many);
    for (const int socket : queued)
        close(socket);
}

INSTANTIATE_TEST_SUITE_P(On, Faults, testing::Values(&classic, &link_kind),
                         [](const auto& kind) { return kind.param->is_classic ? "classic" : "link"; });
