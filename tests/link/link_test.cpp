// What a link promises, against an end that does all that a controller should not.
#include "far_end.h"
#include "kx_base.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <sys/syscall.h>
#include <sys/time.h>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

// The wall clock, as this program and the library in it see it, jumps by hours between one look and the next.
static std::atomic<long> looks;

extern "C" int clock_gettime(clockid_t clock, timespec* time)
{
    const long failed = syscall(SYS_clock_gettime, clock, time);
    if (clock == CLOCK_REALTIME) time->tv_sec += ++looks % 2 ? 7200 : -7200;
    return static_cast<int>(failed);
}

extern "C" int gettimeofday(timeval* time, void*)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

extern "C" time_t time(time_t*)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

namespace {

constexpr int patience = 60000; // ms, where something is certain to come

KX_LINK_OPTIONS defaults()
{
    KX_LINK_OPTIONS options;
    KX_Link_Defaults(&options);
    options.reply_timeout_ms = options.late_reply_ms = patience;
    options.connect_timeout_ms = options.silence_ms = patience;
    return options;
}

struct Linked {
    explicit Linked(KX_LINK_OPTIONS options = defaults(), int model = 46, int receive_buffer = 0)
        : door(128, receive_buffer), link(KX_Link_Open("127.0.0.1", door.port(), model, &options)),
          end(door.accept())
    {
        EXPECT_GE(link, 1 << 30);
    }
    ~Linked() { KX_Link_Close(link); }

    KX_LINK_COUNTERS counters() const
    {
        KX_LINK_COUNTERS counters = {};
        counters.size = sizeof counters;
        EXPECT_EQ(KX_Link_Counters(link, &counters), 0);
        return counters;
    }

    Door door;
    int link;
    FarEnd end;
};

bool eventually(const std::function<bool()>& condition)
{
    for (int i = 0; i < 60000 && !condition(); ++i)
        std::this_thread::sleep_for(1ms);
    return condition();
}

// A question, whose answer carries a number.
struct Answer {
    int status, number;
    bool operator==(const Answer&) const = default;
};

void PrintTo(const Answer& answer, std::ostream* out)
{
    *out << "status " << answer.status << ", number " << answer.number;
}

Answer ask(int link)
{
    Answer answer = {0, -1};
    answer.status = Get_Arm_Plan_Num(link, &answer.number);
    return answer;
}

std::future<Answer> asking(int link)
{
    return std::async(std::launch::async, ask, link);
}

std::string object(int number, const std::string& more = "")
{
    return R"({"command":"arm_plan_num",)" + more + R"("plan_num":)" + std::to_string(number) + "}";
}

std::string reply(int number)
{
    return object(number) + "\n";
}

std::string named(const std::string& request) // its command
{
    const size_t begin = request.find(":\t\"") + 3;
    return request.substr(begin, request.find('"', begin) - begin);
}

const float home[7] = {};
const POSE nowhere = {};
const std::string push = R"({"command":"joint_state","joint":[1,2,3,4,5,6],"arm_err":0})"
                         "\n";

template <class Function>
auto started(Function function)
{
    return std::async(std::launch::async, function);
}

} // namespace

// --- loss

TEST(Loss, OfASilentPeerIsDiscovered)
{
    KX_LINK_OPTIONS options = defaults();
    options.silence_ms = 400;
    options.reply_timeout_ms = 100;
    {
        Linked arm(options);
        Answer answer = {KX_TIMED_OUT, 0};
        for (int i = 0; answer.status == KX_TIMED_OUT && i < 100; ++i)
            answer = ask(arm.link);
        EXPECT_EQ(answer.status, KX_LOST) << "requests are unanswered";
    }
    {
        Linked arm(options);
        EXPECT_EQ(Movej_Cmd(arm.link, home, 20, 0, true), KX_LOST) << "it is asked while the arm moves";
    }
    Linked arm(options);
    static std::atomic<int> last;
    last = 0;
    ASSERT_EQ(KX_Link_Subscribe(
                  arm.link, 20, [](const KX_ARM_STATE* state, void*) { last = state->status; }, nullptr),
              0);
    EXPECT_TRUE(eventually([] { return last == KX_LOST; })) << "a subscription asks, too";
}

TEST(Loss, IsNotSeenInAMotionThatTakesItsTime)
{
    KX_LINK_OPTIONS options = defaults();
    options.silence_ms = 2000;
    Linked arm(options);
    ASSERT_EQ(Movej_Cmd(arm.link, home, 20, 0, false), 0) << "whose end nobody waits for";
    arm.end.request();
    auto motion = started([&] { return Movej_Cmd(arm.link, home, 20, 0, true); });
    arm.end.request();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(named(arm.end.request()), "get_current_arm_state");
        KX_Link_Call_Timeout(1);
        EXPECT_EQ(ask(arm.link).status, KX_TIMED_OUT) << "a short wait is no proof of silence";
        KX_Link_Call_Timeout(0);
        EXPECT_EQ(named(arm.end.request()), "get_arm_plan_num");
        arm.end.send(
            R"({"command":"current_arm_state","arm_state":{"pose":[0,0,0,0,0,0],"joint":[0,0,0,0,0,0],)"
            R"("arm_err":0,"sys_err":0}})"
            "\n" +
            reply(1));
    }
    for (int i = 0; i < 2; ++i)
        arm.end.send(R"({"command":"current_trajectory_state","trajectory_state":true})"
                     "\n");
    EXPECT_EQ(motion.get(), 0);
}

// --- lines

TEST(Lines, ThatAreUnfinishedDelayTheirOwnArmOnly)
{
    Linked slow, quick;
    auto late = asking(slow.link), soon = asking(quick.link);
    slow.end.request();
    quick.end.request();
    slow.end.send(object(1));
    quick.end.send(reply(2));
    EXPECT_EQ(soon.get(), (Answer{0, 2}));
    slow.end.send("\n");
    EXPECT_EQ(late.get(), (Answer{0, 1}));
}

// --- who gets which reply

TEST(Replies, GoToTheOldestRequestOfTheirKind)
{
    Linked arm;
    unsigned char state[3] = {};
    std::vector<std::future<int>> asked;
    ASSERT_EQ(Get_Arm_Plan_Num(0, nullptr), 6) << "no link";
    ASSERT_EQ(Set_Payload(arm.link, 1, 0, 0, 0, false), 0);
    auto payload = started([&] { return Set_Payload(arm.link, 2, 0, 0, 0, true); });
    for (int i = 0; i < 2; ++i)
        arm.end.request();
    for (int i = 0; i < 3; ++i) {
        asked.push_back(
            started([&, i] { return Get_DO_State(arm.link, static_cast<unsigned char>(i + 1), &state[i]); }));
        arm.end.request();
    }
    arm.end.send(R"({"command":"set_payload","set_state":true})" // of the queued one
                 "\n"
                 R"({"command":"set_payload","set_state":false})"
                 "\n");
    for (int i = 0; i < 3; ++i)
        arm.end.send("{\"command\":\"DO_state\",\"IO_state\":" + std::to_string(11 + i) + "}\n");
    EXPECT_EQ(payload.get(), KX_REFUSED);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(asked[static_cast<size_t>(i)].get(), 0);
        EXPECT_EQ(state[i], 11 + i);
    }
}

TEST(Replies, ThatAreLostCostAtMostOneTimeOutMore)
{
    KX_LINK_OPTIONS options = defaults();
    options.late_reply_ms = 300;
    options.reply_timeout_ms = 100;
    Linked arm(options);
    EXPECT_EQ(ask(arm.link).status, KX_TIMED_OUT);
    arm.end.request();
    auto second = asking(arm.link);
    arm.end.request();
    arm.end.send(reply(2)); // may be the first one's
    const int told = second.get().number;
    EXPECT_TRUE(told == -1 || told == 2) << told;
    KX_Link_Timeout(arm.link, patience);
    auto third = asking(arm.link);
    arm.end.request();
    arm.end.send(reply(3));
    EXPECT_EQ(third.get(), (Answer{0, 3}));
}

TEST(Replies, OfSeveralCallersAreNotMixedUpBehindALostOne)
{
    for (const int first_to_come : {1, 2}) {
        Linked arm;
        auto first = started([&] {
            KX_Link_Call_Timeout(3000); // time for the others to send
            return ask(arm.link);
        });
        arm.end.request();
        auto second = asking(arm.link);
        arm.end.request();
        auto third = asking(arm.link);
        arm.end.request();
        EXPECT_EQ(first.get().status, KX_TIMED_OUT);
        for (int number = first_to_come; number <= 3; ++number)
            arm.end.send(reply(number));
        EXPECT_EQ(second.get(), (Answer{KX_TIMED_OUT, -1})) << "it may be the answer to another";
        if (first_to_come == 2) KX_Link_Cancel(arm.link);
        EXPECT_EQ(third.get(), first_to_come == 1 ? (Answer{0, 3}) : (Answer{KX_CANCELLED, -1}));
    }
}

TEST(Replies, ThatAreMissingHoldBackNoStop)
{
    Linked arm;
    KX_Link_Call_Timeout(30);
    EXPECT_EQ(Move_Stop_Cmd(arm.link, true), KX_TIMED_OUT);
    arm.end.request();
    KX_Link_Call_Timeout(0);
    auto second = started([&] { return Move_Stop_Cmd(arm.link, true); });
    arm.end.request();
    arm.end.send(R"({"command":"set_arm_stop","arm_stop":true})"
                 "\n"); // whose?
    EXPECT_TRUE(eventually([&] { return arm.counters().late == 1; }));
    auto third = started([&] { return Move_Stop_Cmd(arm.link, true); });
    EXPECT_EQ(named(arm.end.request()), "set_arm_stop") << "sent at once";
    KX_Link_Cancel(arm.link);
    EXPECT_EQ(second.get(), KX_CANCELLED);
    EXPECT_EQ(third.get(), KX_CANCELLED);
}

TEST(Replies, OfACancelledMotionEndNoOtherMotion)
{
    KX_LINK_OPTIONS options = defaults();
    options.late_reply_ms = 1;
    Linked arm(options);
    auto first = started([&] { return Movej_Cmd(arm.link, home, 20, 0, true); });
    arm.end.request();
    KX_Link_Cancel(arm.link);
    EXPECT_EQ(first.get(), KX_CANCELLED);
    std::this_thread::sleep_for(20ms);
    auto second = started([&] { return Movej_Cmd(arm.link, home, 20, 0, true); });
    arm.end.request();
    arm.end.send(R"({"command":"current_trajectory_state","trajectory_state":false})"
                 "\n"
                 R"({"command":"current_trajectory_state","trajectory_state":true})"
                 "\n");
    EXPECT_EQ(second.get(), 0);
}

std::string reason(int link)
{
    std::string text(100, 'x');
    EXPECT_EQ(KX_Link_Reason(link, text.data(), 100), 0);
    return text.c_str();
}

TEST(Replies, ThatRefuseAreKept)
{
    Linked arm;
    const struct {
        const char *error, *reason;
    } rows[] = {{R"(,"error":"joint 5 would leave its limits on the way")",
                 "joint 5 would leave its limits on the way"},
                {"", ""}};
    for (const auto& row : rows) {
        std::promise<void> others_are_refused;
        auto told = started([&] {
            EXPECT_EQ(Set_Payload(arm.link, 1, 0, 0, 0, true), KX_REFUSED);
            EXPECT_EQ(reason(arm.link), row.reason);
            others_are_refused.get_future().wait();
            return reason(arm.link);
        });
        arm.end.request();
        arm.end.send(std::string(R"({"command":"set_payload","set_state":false)") + row.error + "}\n");
        auto other = started([&] { return Set_None_Payload(arm.link, true); });
        arm.end.request();
        arm.end.send(R"({"command":"set_none_payload","set_state":false,"error":"not now"})"
                     "\n");
        EXPECT_EQ(other.get(), KX_REFUSED);
        others_are_refused.set_value();
        EXPECT_EQ(told.get(), row.reason) << "each thread is told of its own call";
    }
    EXPECT_EQ(arm.counters().refused, 4u);
}

// --- queued requests, by their tickets

static const std::string arrived = R"({"command":"current_trajectory_state","trajectory_state":true})"
                                   "\n";
static const std::string broken_off =
    R"({"command":"current_trajectory_state","trajectory_state":false,"error":"collision"})"
    "\n";

TEST(Tickets, TellHowEachQueuedRequestEnded)
{
    Linked arm, other;
    const auto queued = [&] {
        EXPECT_EQ(Movej_Cmd(arm.link, home, 20, 0, false), 0);
        arm.end.request();
        return KX_Link_Ticket(arm.link);
    };
    EXPECT_EQ(KX_Link_Ticket(arm.link), 0u);
    const uint64_t first = queued(), second = queued(), third = queued();
    EXPECT_EQ(Movej_CANFD(arm.link, home), 0);
    EXPECT_EQ(KX_Link_Ticket(arm.link), third); // nobody waits for a target
    EXPECT_EQ(KX_Link_Ticket(other.link), 0u);
    EXPECT_EQ(started([&] { return KX_Link_Ticket(arm.link); }).get(), 0u);

    EXPECT_EQ(KX_Link_Await(arm.link, first, 0), KX_TIMED_OUT);
    EXPECT_EQ(KX_Link_Await(arm.link, third + 2, patience), KX_WRONG_TYPE);
    EXPECT_EQ(KX_Link_Await(arm.link, 0, patience), KX_WRONG_TYPE);
    auto beside = started([&] { return KX_Link_Await(arm.link, second, patience); });
    arm.end.send(arrived);
    EXPECT_EQ(KX_Link_Await(arm.link, first, patience), 0);
    EXPECT_EQ(KX_Link_Await(arm.link, second, 0), KX_TIMED_OUT);
    arm.end.send(broken_off);
    EXPECT_EQ(beside.get(), KX_REFUSED);
    EXPECT_EQ(KX_Link_Await(arm.link, second, 0), KX_REFUSED);
    char reason[30];
    KX_Link_Reason(arm.link, reason, sizeof reason);
    EXPECT_STREQ(reason, "collision");
    EXPECT_EQ(KX_Link_Await(arm.link, first, 0), 0); // as often as one asks

    auto cancelled = started([&] { return KX_Link_Await(arm.link, third, -1); });
    while (cancelled.wait_for(1ms) != std::future_status::ready)
        KX_Link_Cancel(arm.link);
    EXPECT_EQ(cancelled.get(), KX_CANCELLED);
    EXPECT_EQ(KX_Link_Await(arm.link, third, 0), KX_TIMED_OUT); // the arm goes on
    arm.end.close();
    EXPECT_EQ(KX_Link_Await(arm.link, third, patience), KX_LOST);
    KX_Link_Close(arm.link);
    EXPECT_EQ(KX_Link_Await(arm.link, third, patience), KX_BAD_DESCRIPTOR);
}

TEST(Tickets, AreForgottenBehindManyLaterOnesAndWithALostAnswer)
{
    KX_LINK_OPTIONS options = defaults();
    options.reply_timeout_ms = options.late_reply_ms = 1;
    Linked arm(options);
    EXPECT_EQ(Set_Payload(arm.link, 1, 0, 0, 0, false), 0);
    const uint64_t lost = KX_Link_Ticket(arm.link);
    EXPECT_EQ(KX_Link_Await(arm.link, lost, patience), KX_CANCELLED);
    uint64_t oldest = 0;
    for (int i = 0; i <= 64; ++i) {
        EXPECT_EQ(Movej_Cmd(arm.link, home, 20, 0, false), 0);
        if (i == 0) oldest = KX_Link_Ticket(arm.link);
        arm.end.send(arrived);
        EXPECT_EQ(KX_Link_Await(arm.link, KX_Link_Ticket(arm.link), patience), 0);
    }
    EXPECT_EQ(KX_Link_Await(arm.link, oldest, patience), KX_CANCELLED);
}

TEST(Tickets, AskWhetherASilentPeerLives)
{
    KX_LINK_OPTIONS options = defaults();
    options.silence_ms = 100;
    Linked arm(options);
    EXPECT_EQ(Movej_Cmd(arm.link, home, 20, 0, false), 0);
    EXPECT_EQ(KX_Link_Await(arm.link, KX_Link_Ticket(arm.link), patience), KX_LOST);
}

// --- a peer that does not read

TEST(Outbox, KeepsOrderLetsStopsAheadAndTakesMotionsBack)
{
    Linked arm(defaults(), 46, 2048);
    const auto outbox = [&] { return arm.counters().outbox; };
    uint64_t posted = 0;
    for (; outbox() == 0; ++posted)
        ASSERT_EQ(Set_WiFi_AP_Data(arm.link, std::to_string(posted).c_str(), nullptr), 0); // not answered
    const uint64_t before_motion = outbox();
    auto motion = started([&] { return Movej_Cmd(arm.link, home, 20, 0, true); });
    ASSERT_TRUE(eventually([&] { return outbox() > before_motion; }));
    int status;
    for (; (status = Movep_CANFD(arm.link, nowhere)) == 0;) {
    }
    EXPECT_EQ(status, KX_OUTBOX_FULL);
    EXPECT_LE(outbox(), 65536u);
    EXPECT_EQ(Move_Stop_Cmd(arm.link, false), 0) << "a stop finds room";
    EXPECT_EQ(motion.get(), KX_CANCELLED);
    EXPECT_EQ(arm.counters().sent, posted + 1) << "what was taken back was not sent";

    uint64_t got = 0, stop_at = 0;
    while (got < posted || stop_at == 0) {
        const std::string request = arm.end.request();
        if (named(request) == "set_arm_stop")
            stop_at = got;
        else
            ASSERT_NE(request.find("\"" + std::to_string(got++) + "\""), request.npos) << request;
    }
    EXPECT_GT(stop_at, 0u);
    EXPECT_TRUE(eventually([&] { return outbox() == 0; }));
}

TEST(Outbox, GivesBackWhatACallCouldNotSendInTime)
{
    Linked arm(defaults(), 46, 2048);
    while (arm.counters().outbox == 0)
        ASSERT_EQ(Movep_CANFD(arm.link, nowhere), 0);
    const KX_LINK_COUNTERS before = arm.counters();
    KX_Link_Call_Timeout(30);
    EXPECT_EQ(ask(arm.link).status, KX_TIMED_OUT);
    KX_Link_Call_Timeout(0);
    EXPECT_EQ(arm.counters().outbox, before.outbox);
    EXPECT_EQ(arm.counters().waiting, before.waiting);
}

TEST(Requests, ThatCannotBeSentTrulyAreNotSent)
{
    Linked arm;
    float joint[7] = {};
    for (const float value : {NAN, INFINITY, 3e6f}) {
        joint[3] = value;
        EXPECT_EQ(Movej_Cmd(arm.link, joint, 20, 0, true), KX_NOT_FINITE);
        EXPECT_EQ(Movej_CANFD(arm.link, joint), KX_NOT_FINITE);
    }
    EXPECT_EQ(Change_Tool_Frame(arm.link, std::string(300, 'x').c_str(), true), KX_TOO_LONG);
    EXPECT_EQ(Set_WiFi_AP_Data(arm.link, std::string(300, 'x').c_str(), "secret"), KX_TOO_LONG);
    EXPECT_EQ(arm.counters().sent, 0u);
    auto answer = asking(arm.link);
    EXPECT_EQ(named(arm.end.request()), "get_arm_plan_num") << "the first that goes out";
    arm.end.send(reply(1));
    EXPECT_EQ(answer.get().status, 0);
}

// --- reconnecting

TEST(Reconnect, RepeatsSetUpAndNothingElse)
{
    KX_LINK_OPTIONS options = defaults();
    options.reconnect = true;
    Linked arm(options);
    const int handle = arm.link;
    const auto answer = [&](const char* name) {
        EXPECT_EQ(named(arm.end.request()), name);
        arm.end.send("{\"command\":\"" + std::string(name) + "\",\"set_state\":true}\n");
    };
    auto registered = started([&] {
        EXPECT_EQ(KX_Link_Begin_Setup(handle), 0);
        EXPECT_EQ(Set_Payload(handle, 7, 0, 0, 0, true), 0);
        EXPECT_EQ(Movej_Cmd(handle, home, 20, 0, true), KX_NOT_A_SETTING);
        EXPECT_EQ(Movej_CANFD(handle, home), KX_NOT_A_SETTING);
        EXPECT_EQ(Set_DO_State(handle, 1, true, false), KX_NOT_A_SETTING);
        EXPECT_EQ(ask(handle).status, 0) << "a question is no motion";
        EXPECT_EQ(Set_None_Payload(handle, true), 0);
        return KX_Link_End_Setup(handle);
    });
    answer("set_payload");
    EXPECT_EQ(named(arm.end.request()), "get_arm_plan_num");
    arm.end.send(reply(1));
    answer("set_none_payload");
    EXPECT_EQ(registered.get(), 2);

    ASSERT_EQ(Movej_Cmd(handle, home, 20, 0, false), 0);
    ASSERT_EQ(Set_Payload(handle, 9, 0, 0, 0, false), 0) << "made, but not registered";
    arm.end.reset();
    ASSERT_EQ(KX_Link_Wait(handle, KX_LINK_CONNECTING, patience), 0);
    EXPECT_EQ(ask(handle).status, KX_LOST) << "nothing waits for better times";

    arm.end = arm.door.accept();
    EXPECT_EQ(named(arm.end.request()), "set_payload");
    arm.end.send(R"({"command":"set_payload","set_state":false})"
                 "\n");
    EXPECT_EQ(arm.end.request(), "") << "refused set-up: this connection is given up";

    arm.end = arm.door.accept();
    EXPECT_EQ(KX_Link_State(handle), KX_LINK_CONNECTING);
    answer("set_payload");
    answer("set_none_payload");
    ASSERT_EQ(KX_Link_Wait(handle, KX_LINK_READY, patience), 0);
    auto asked = asking(handle);
    EXPECT_EQ(named(arm.end.request()), "get_arm_plan_num") << "no motion, nothing from before";
    arm.end.send(reply(2));
    EXPECT_EQ(asked.get(), (Answer{0, 2}));
    EXPECT_EQ(arm.counters().reconnects, 1u);
}

TEST(Reconnect, SendsNothingOfItselfAndIsEndedByClose)
{
    KX_LINK_OPTIONS options = defaults();
    options.reconnect = true;
    Linked arm(options);
    arm.end.close();
    arm.end = arm.door.accept();
    ASSERT_EQ(KX_Link_Wait(arm.link, KX_LINK_READY, patience), 0);
    auto asked = asking(arm.link);
    EXPECT_EQ(named(arm.end.request()), "get_arm_plan_num") << "there is no set-up";
    arm.end.send(reply(1));
    EXPECT_EQ(asked.get(), (Answer{0, 1}));

    arm.end.close();
    ASSERT_EQ(KX_Link_Wait(arm.link, KX_LINK_CONNECTING, patience), 0);
    auto waiting = started([&] { return KX_Link_Wait(arm.link, KX_LINK_DOWN, -1); });
    EXPECT_EQ(KX_Link_Close(arm.link), 0);
    const int ended = waiting.get();
    EXPECT_TRUE(ended == KX_CANCELLED || ended == KX_BAD_DESCRIPTOR) << ended;
}

// --- ending a wait from elsewhere

TEST(Waits, AreEndedByCancelAndByClose)
{
    for (int (*end)(int) : {KX_Link_Cancel, KX_Link_Close}) {
        Linked arm;
        auto answer = asking(arm.link);
        auto motion = started([&] { return Movej_Cmd(arm.link, home, 20, 0, true); });
        arm.end.request();
        arm.end.request();
        EXPECT_EQ(end(arm.link), 0);
        EXPECT_EQ(answer.get().status, KX_CANCELLED);
        EXPECT_EQ(motion.get(), KX_CANCELLED);
    }
}

TEST(Waits, AreEndedFromACallback)
{
    for (int (*end)(int) : {KX_Link_Cancel, KX_Link_Close}) {
        static int (*from_callback)(int);
        from_callback = end;
        KX_LINK_OPTIONS options = defaults();
        options.on_push = [](const CallbackData* data, void*) {
            EXPECT_EQ(data->push_type, 1);
            EXPECT_EQ(data->joint[5], 6);
            EXPECT_EQ(from_callback(data->sockfd), 0);
        };
        Linked arm(options);
        auto answer = asking(arm.link);
        arm.end.request();
        arm.end.send(push);
        EXPECT_EQ(answer.get().status, KX_CANCELLED);
    }
}

TEST(Waits, KeepTheirTimeWhateverTheWallClockDoes)
{
    Linked arm;
    KX_Link_Call_Timeout(100);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(arm.link).status, KX_TIMED_OUT);
    EXPECT_EQ(KX_Link_Wait(arm.link, KX_LINK_DOWN, 100), KX_TIMED_OUT);
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken, 200ms);
    EXPECT_LT(taken, 60s);
}

TEST(Waits, LookAtWhatTheirThreadIsToldTo)
{
    Linked arm;
    EXPECT_EQ(Movej_Cmd(arm.link, home, 20, 0, false), 0);
    const uint64_t motion = KX_Link_Ticket(arm.link);
    const std::function<int()> waits[] = {
        [&] { return ask(arm.link).status; },
        [&] { return Movel_Cmd(arm.link, nowhere, 20, 0, true); },
        [&] { return KX_Link_Await(arm.link, motion, -1); },
        [&] { return KX_Link_Wait(arm.link, KX_LINK_DOWN, -1); },
    };
    for (const auto& wait : waits) {
        int left = 2; // looks until it is enough
        KX_Link_Call_Check([](void* user) { return --*static_cast<int*>(user) == 0 ? 1 : 0; }, &left);
        EXPECT_EQ(wait(), KX_CANCELLED);
        EXPECT_EQ(left, 0);
    }
    KX_Link_Call_Check(nullptr, nullptr);
    EXPECT_EQ(KX_Link_Await(arm.link, motion, 100), KX_TIMED_OUT);
    EXPECT_EQ(KX_Link_State(arm.link), KX_LINK_READY);
}

TEST(Waits, ForAStateKeepTheirTime)
{
    Linked arm;
    EXPECT_EQ(KX_Link_Wait(arm.link, KX_LINK_READY, 0), 0);
    EXPECT_EQ(KX_Link_Wait(arm.link, KX_LINK_DOWN, 0), KX_TIMED_OUT);
    EXPECT_EQ(KX_Link_Wait(arm.link, KX_LINK_DOWN, 20), KX_TIMED_OUT);
    EXPECT_EQ(KX_Link_Wait(12, KX_LINK_READY, 0), KX_BAD_DESCRIPTOR);
    EXPECT_EQ(KX_Link_State(12), KX_LINK_CLOSED);
}

// --- callbacks

TEST(Callbacks, ThatAreSlowDelayAndLosePushesOnly)
{
    static std::promise<void> begun, release;
    static std::atomic<int> calls;
    KX_LINK_OPTIONS options = defaults();
    options.callback_queue = 4;
    options.on_push = [](const CallbackData*, void*) {
        if (++calls > 1) return;
        begun.set_value();
        release.get_future().wait();
    };
    Linked arm(options);
    arm.end.send(push);
    begun.get_future().wait();
    for (int i = 0; i < 300; ++i)
        arm.end.send(push);
    auto answer = asking(arm.link);
    arm.end.request();
    arm.end.send(reply(1));
    EXPECT_EQ(answer.get(), (Answer{0, 1})) << "which came behind 300 pushes";
    EXPECT_EQ(arm.counters().pushes, 301u);
    EXPECT_EQ(arm.counters().callbacks_lost, 296u);
    release.set_value();
    EXPECT_TRUE(eventually([] { return calls == 5; }));
}

TEST(Callbacks, AreOverWhenCloseReturns)
{
    static std::promise<void> begun;
    static std::atomic<bool> is_over = false;
    KX_LINK_OPTIONS options = defaults();
    options.on_push = [](const CallbackData*, void*) {
        begun.set_value();
        std::this_thread::sleep_for(50ms);
        is_over = true;
    };
    Linked arm(options);
    arm.end.send(push);
    begun.get_future().wait();
    KX_Link_Close(arm.link);
    EXPECT_TRUE(is_over);
}

TEST(Callbacks, OfTheLogTellLinesAndChangesAndNoPassword)
{
    static std::mutex mutex;
    static std::string log[4];
    KX_LINK_OPTIONS options = defaults();
    options.on_log = [](int, KX_LINK_EVENT event, const char* text, int length, void*) {
        const std::lock_guard lock(mutex);
        EXPECT_EQ(strlen(text), static_cast<size_t>(length));
        log[event] += std::string(text) + ";";
    };
    Linked arm(options);
    EXPECT_EQ(Set_WiFi_AP_Data(arm.link, "cell", "open sesame"), 0);
    EXPECT_NE(arm.end.request().find("open sesame"), std::string::npos);
    auto answer = asking(arm.link);
    arm.end.request();
    arm.end.send("nonsense\n" + reply(1));
    answer.get();
    arm.end.close();
    const auto has = [](KX_LINK_EVENT event, const char* text) {
        const std::lock_guard lock(mutex);
        return log[event].find(text) != std::string::npos;
    };
    EXPECT_TRUE(
        eventually([&] { return has(KX_LINK_CHANGED, "down: the controller closed the connection;"); }));
    EXPECT_TRUE(has(KX_LINK_LINE_OUT, "get_arm_plan_num"));
    EXPECT_FALSE(has(KX_LINK_LINE_OUT, "sesame"));
    EXPECT_TRUE(has(KX_LINK_LINE_IN, "plan_num"));
    EXPECT_TRUE(has(KX_LINK_DROPPED, "nonsense"));
}

TEST(Subscription, BringsStatesAtItsRateWithTheirTimes)
{
    static std::mutex mutex;
    static std::vector<KX_ARM_STATE> states;
    Linked arm;
    int user = 0;
    const auto take = [](const KX_ARM_STATE* state, void* at) {
        EXPECT_NE(at, nullptr);
        const std::lock_guard lock(mutex);
        states.push_back(*state);
    };
    for (const double hz : {-1.0, 1001.0, static_cast<double>(NAN)})
        EXPECT_EQ(KX_Link_Subscribe(arm.link, hz, take, &user), KX_WRONG_TYPE);
    ASSERT_EQ(KX_Link_Subscribe(arm.link, 100, take, &user), 0);
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(named(arm.end.request()), "get_current_arm_state");
        arm.end.send(R"({"command":"current_arm_state","arm_state":{"pose":[1000000,0,0,0,0,0],"joint":[)" +
                     std::to_string(1000 * i) + R"(,0,0,0,0,0],"arm_err":3,"sys_err":4}})" + "\n");
    }
    ASSERT_TRUE(eventually([] {
        const std::lock_guard lock(mutex);
        return states.size() == 50;
    }));
    EXPECT_EQ(KX_Link_Subscribe(arm.link, 0, nullptr, nullptr), 0);
    for (size_t i = 0; i < states.size(); ++i) {
        EXPECT_EQ(states[i].status, 0);
        EXPECT_EQ(states[i].link, arm.link);
        EXPECT_EQ(states[i].joint[0], static_cast<float>(i));
        EXPECT_EQ(states[i].pose.x, 1);
        EXPECT_EQ(states[i].arm_err, 3);
        EXPECT_EQ(states[i].sys_err, 4);
        EXPECT_LE(states[i].asked_ns, states[i].answered_ns);
        EXPECT_GE(states[i].asked_ns, i == 0 ? 0 : states[i - 1].answered_ns);
    }
    EXPECT_GT(states.back().asked_ns - states.front().asked_ns, 47 * 10'000'000u) << "it does not hurry";
}

// --- opening and closing

#if defined(__SANITIZE_THREAD__) || defined(__clang__) // which the sanitizer's build uses
constexpr bool is_sanitized = true;
#else
constexpr bool is_sanitized = false;
#endif

static size_t descriptors()
{
    size_t count = 0;
    for (int descriptor = 0; descriptor < 4096; ++descriptor)
        count += fcntl(descriptor, F_GETFD) >= 0;
    return count;
}

static size_t memory() // resident, in KiB
{
    FILE* file = fopen("/proc/self/statm", "r");
    size_t all = 0, resident = 0;
    EXPECT_EQ(fscanf(file, "%zu %zu", &all, &resident), 2);
    fclose(file);
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

TEST(Opening, AThousandTimesLeavesNothingBehindAndNoHandleTwice)
{
    std::set<int> handles;
    size_t memory_before = 0, descriptors_before = 0;
    for (int i = 0; i < 1000; ++i) {
        {
            Linked arm;
            handles.insert(arm.link);
            ASSERT_EQ(Movej_Cmd(arm.link, home, 20, 0, false), 0);
        }
        if (i == 100) {
            memory_before = memory();
            descriptors_before = descriptors();
        }
    }
    EXPECT_EQ(handles.size(), 1000u);
    EXPECT_EQ(descriptors(), descriptors_before);
    EXPECT_LT(memory(), memory_before + (is_sanitized ? 1 << 20 : 512)) << "KiB";
}

TEST(Opening, FromManyThreadsAtOnce)
{
    Door door(1024);
    std::mutex mutex;
    std::set<int> handles;
    std::vector<std::thread> threads;
    for (int t = 0; t < 64; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 4; ++i) {
                const KX_LINK_OPTIONS options = defaults();
                const int link = KX_Link_Open("127.0.0.1", door.port(), 46, &options);
                EXPECT_EQ(Movej_Cmd(link, home, 20, 0, false), 0);
                EXPECT_EQ(KX_Link_Close(link), 0);
                const std::lock_guard lock(mutex);
                handles.insert(link);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(handles.size(), 256u);
    EXPECT_GE(*handles.begin(), 1 << 30);
}

#ifndef __SANITIZE_THREAD__ // which allows no threads in a child of threads
TEST(Fork, LeavesTheChildWithoutItsParentsLinksAndFreeToOpenItsOwn)
{
    Linked arm;
    int gate[2];
    ASSERT_EQ(pipe(gate), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(gate[1]);
        if (ask(arm.link).status != KX_BAD_DESCRIPTOR) _exit(1);
        if (KX_Link_Close(arm.link) != KX_BAD_DESCRIPTOR) _exit(2);
        const int own = KX_Link_Open("127.0.0.1", arm.door.port(), 46, nullptr);
        if (own < 0) _exit(3);
        FarEnd end = arm.door.accept();
        auto answer = asking(own);
        end.request();
        end.send(reply(5));
        const bool is_right = answer.get() == Answer{0, 5} && KX_Link_Close(own) == 0;
        char until_the_parent_has_looked;
        _exit(read(gate[0], &until_the_parent_has_looked, 1) == 0 && is_right ? 0 : 4);
    }
    auto answer = asking(arm.link);
    EXPECT_EQ(named(arm.end.request()), "get_arm_plan_num");
    arm.end.send(reply(6));
    EXPECT_EQ(answer.get(), (Answer{0, 6})) << "the parent's link is as it was";
    KX_Link_Close(arm.link);
    EXPECT_TRUE(arm.end.is_told_of_the_end()) << "the child keeps none of its parent's connections open";
    close(gate[0]);
    close(gate[1]);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}
#endif
