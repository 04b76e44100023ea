// What a link promises, against an end that does all that a controller should not.
#include "kx_base.h"
#include "support/connection.h"
#include "support/peer.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <future>
#include <memory>
#include <sys/resource.h>
#include <sys/syscall.h>
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

// The kernel may give a socket the port that it asks for.
static std::atomic<bool> asks_for_its_own_port;

extern "C" int connect(int socket, const sockaddr* address, socklen_t size)
{
    sockaddr_in own = {};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (asks_for_its_own_port) {
        address = reinterpret_cast<sockaddr*>(&own);
        bind(socket, address, size);
        getsockname(socket, reinterpret_cast<sockaddr*>(&own), &size);
    }
    return static_cast<int>(syscall(SYS_connect, socket, address, size));
}

namespace {

constexpr int patience = 60000; // ms, where something is certain to come

KX_LINK_OPTIONS with(void (*change)(KX_LINK_OPTIONS&) = [](auto&) {})
{
    KX_LINK_OPTIONS options;
    KX_Link_Defaults(&options);
    options.reply_timeout_ms = options.late_reply_ms = patience;
    options.connect_timeout_ms = options.silence_ms = patience;
    change(options);
    return options;
}

// A question: the number that it is answered, or the status below zero.
int ask(int link)
{
    int number = -1;
    const int status = Get_Arm_Plan_Num(link, &number);
    return status == KX_SUCCESS ? number : -status;
}

int subscribe(int link, double hz)
{
    return KX_Link_Subscribe(
        link, hz, [](auto, void*) {}, nullptr);
}

std::string object(int number)
{
    return R"({"command":"arm_plan_num","plan_num":)" + std::to_string(number) + "}";
}

const float home[7] = {};
const std::string arrived = R"({"command":"current_trajectory_state","trajectory_state":true})";
const std::string push = R"({"command":"joint_state","joint":[1,2,3,4,5,6],"arm_err":0})";

template <class Function>
auto started(Function function)
{
    return std::async(std::launch::async, function);
}

struct Linked {
    explicit Linked(KX_LINK_OPTIONS options = with(), int receive_buffer = 0, int model = 46)
        : door(128, receive_buffer), link(KX_Link_Open("127.0.0.1", door.port(), model, &options)),
          end(door.accept())
    {
        EXPECT_GE(link, 1 << 30);
    }
    ~Linked() { Arm_Socket_Close(link); } // the same as KX_Link_Close

    KX_LINK_COUNTERS counters() const
    {
        KX_LINK_COUNTERS counters = {};
        counters.size = sizeof counters;
        EXPECT_EQ(KX_Link_Counters(link, &counters), 0);
        return counters;
    }
    int move(bool block) const { return Movej_Cmd(link, home, 20, 0, block); }
    std::future<int> asked()
    {
        auto answer = started([this] { return ask(link); });
        EXPECT_EQ(end.command(), "get_arm_plan_num");
        return answer;
    }
    void expect_answer(int number, const char* when = "")
    {
        auto answer = asked();
        end.say(object(number));
        EXPECT_EQ(answer.get(), number) << when;
    }

    Door door;
    int link;
    Connection end;
};

} // namespace

// --- loss

TEST(Loss, OfASilentPeerIsDiscovered)
{
    const KX_LINK_OPTIONS options = with([](auto& o) { o.silence_ms = 400, o.reply_timeout_ms = 100; });
    {
        Linked arm(options);
        int answer = -KX_TIMED_OUT;
        for (int i = 0; answer == -KX_TIMED_OUT && i < 100; ++i)
            answer = ask(arm.link);
        EXPECT_EQ(answer, -KX_LOST) << "requests are unanswered";
    }
    EXPECT_EQ(Linked(options).move(true), KX_LOST) << "it is asked while the arm moves";
    Linked arm(options);
    EXPECT_EQ(arm.move(false), 0);
    EXPECT_EQ(KX_Link_Await(arm.link, KX_Link_Ticket(arm.link), patience), KX_LOST) << "and while one awaits";
    Linked subscribed(options);
    static std::atomic<int> last;
    const auto take = [](const KX_ARM_STATE* state, void*) { last = state->status; };
    ASSERT_EQ(KX_Link_Subscribe(subscribed.link, 20, take, nullptr), 0);
    EXPECT_TRUE(eventually([] { return last == KX_LOST; })) << "a subscription asks, too";
}

TEST(Loss, IsNotSeenWhereNothingIsDue)
{
    Linked arm(with([](auto& o) { o.silence_ms = 3000, o.reply_timeout_ms = o.late_reply_ms = 1; }));
    EXPECT_EQ(ask(arm.link), -KX_TIMED_OUT);
    std::this_thread::sleep_for(3100ms);
    EXPECT_EQ(ask(arm.link), -KX_TIMED_OUT) << "the first one is long forgotten";
    arm.end.say(object(1));
    EXPECT_TRUE(eventually([&] { return arm.counters().received == 1; }));
    EXPECT_EQ(arm.move(false), 0);
    std::this_thread::sleep_for(3100ms);
    EXPECT_EQ(ask(arm.link), -KX_TIMED_OUT) << "a motion takes its time";
}

// --- lines

TEST(Lines, ThatAreUnfinishedDelayTheirOwnArmOnly)
{
    Linked slow, quick;
    auto late = slow.asked(), soon = quick.asked();
    slow.end.send(object(1));
    quick.end.say(object(2));
    EXPECT_EQ(soon.get(), 2);
    slow.end.send("\n");
    EXPECT_EQ(late.get(), 1);
}

TEST(Lines, MayHoldSeveralObjectsAndBlanks)
{
    Linked arm;
    const auto start = std::chrono::steady_clock::now();
    auto first = arm.asked(), second = arm.asked();
    arm.end.send(" " + object(1) + " \t" + object(2) + " \r\n");
    EXPECT_EQ(first.get(), 1);
    EXPECT_EQ(second.get(), 2);
    const auto taken = std::chrono::steady_clock::now() - start;
    const KX_LINK_COUNTERS counters = arm.counters();
    EXPECT_EQ(counters.dropped, 0u);
    for (int i = 1; i < 24; ++i)
        EXPECT_TRUE(counters.round_trips[i] == 0 || (1 << (i - 1)) * 1us <= taken) << i;
}

// --- who gets which reply

TEST(Replies, ThatAreMissingHoldRequestsOfTheirKindBack)
{
    Linked arm;
    KX_Link_Call_Timeout(1);
    EXPECT_EQ(ask(arm.link), -KX_TIMED_OUT);
    KX_Link_Call_Timeout(0);
    arm.end.request();
    auto second = arm.asked();
    auto third = started([&] { return ask(arm.link); });
    for (const int number : {1, 2}) {
        std::this_thread::sleep_for(20ms); // for the third to find that it may not send
        arm.end.say(object(number));
        EXPECT_TRUE(eventually([&] { return arm.counters().received == static_cast<uint64_t>(number); }));
    }
    EXPECT_EQ(arm.end.command(), "get_arm_plan_num") << "as soon as none is missing";
    arm.end.say(object(3));
    EXPECT_EQ(second.get(), 2);
    EXPECT_EQ(third.get(), 3);
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
    const auto refused = [&](const std::string& error) {
        auto told = started([&] {
            EXPECT_EQ(Set_Payload(arm.link, 1, 0, 0, 0, true), KX_REFUSED);
            return reason(arm.link);
        });
        arm.end.request();
        arm.end.say(R"({"command":"set_payload","set_state":false)" + error + "}");
        return told.get();
    };
    const std::string why = "joint 5 would leave its limits on the way";
    EXPECT_EQ(refused(",\"error\":\"" + why + "\""), why);
    EXPECT_EQ(reason(arm.link), why) << "a thread that was refused nothing is told of the last";
    EXPECT_EQ(refused(""), "");
    EXPECT_EQ(arm.counters().refused, 2u);
}

TEST(Replies, AreReadAsTheArmsThoughTheLinkIsClosedMeanwhile)
{
    Linked arm(with(), 0, 47);
    const auto close_behind = [](void* user) {
        auto& own = *static_cast<Linked*>(user);
        own.end.request();
        own.end.say(R"({"command":"joint_degree","joint":[1000,0,0,0,0,0,7000]})");
        EXPECT_TRUE(eventually([&] { return own.counters().answered == 1; }));
        return KX_Link_Close(own.link);
    };
    KX_Link_Call_Check(close_behind, &arm);
    float joint[7] = {};
    EXPECT_EQ(Get_Joint_Degree(arm.link, joint), 0);
    KX_Link_Call_Check(nullptr, nullptr);
    EXPECT_EQ(joint[6], 7);
}

// --- queued requests, by their tickets

TEST(Tickets, TellHowTheLastRequestEndedThatAThreadQueued)
{
    Linked arm, other;
    EXPECT_EQ(KX_Link_Ticket(arm.link), 0u);
    EXPECT_EQ(arm.move(false), 0);
    const uint64_t ticket = KX_Link_Ticket(arm.link);
    EXPECT_EQ(Movej_CANFD(arm.link, home), 0);
    EXPECT_EQ(KX_Link_Ticket(arm.link), ticket); // nobody waits for a target
    EXPECT_EQ(KX_Link_Ticket(other.link), 0u);
    EXPECT_EQ(started([&] { return KX_Link_Ticket(arm.link); }).get(), 0u);

    EXPECT_EQ(KX_Link_Await(arm.link, ticket + 2, patience), KX_WRONG_TYPE);
    EXPECT_EQ(KX_Link_Await(arm.link, 0, patience), KX_WRONG_TYPE);
    auto cancelled = started([&] { return KX_Link_Await(arm.link, ticket, -1); });
    while (cancelled.wait_for(1ms) != std::future_status::ready)
        KX_Link_Cancel(arm.link);
    EXPECT_EQ(cancelled.get(), KX_CANCELLED);
    EXPECT_EQ(KX_Link_Await(arm.link, ticket, 0), KX_TIMED_OUT); // the arm goes on
    arm.end.say(R"({"command":"current_trajectory_state","trajectory_state":false,"error":"collision"})");
    for (const int timeout : {patience, 0}) // as often as one asks
        EXPECT_EQ(KX_Link_Await(arm.link, ticket, timeout), KX_REFUSED);
    EXPECT_EQ(reason(arm.link), "collision");
}

TEST(Tickets, AreForgottenBehindManyLaterOnesAndWithALostAnswer)
{
    Linked arm(with([](auto& options) { options.reply_timeout_ms = options.late_reply_ms = 1; }));
    EXPECT_EQ(Set_Payload(arm.link, 1, 0, 0, 0, false), 0);
    const uint64_t lost = KX_Link_Ticket(arm.link);
    EXPECT_EQ(KX_Link_Await(arm.link, lost, patience), KX_CANCELLED);
    uint64_t oldest = 0;
    for (int i = 0; i <= 64; ++i) {
        EXPECT_EQ(arm.move(false), 0);
        if (i == 0) oldest = KX_Link_Ticket(arm.link);
        arm.end.say(arrived);
        EXPECT_EQ(KX_Link_Await(arm.link, KX_Link_Ticket(arm.link), patience), 0);
    }
    EXPECT_EQ(KX_Link_Await(arm.link, oldest, patience), KX_CANCELLED);
}

// --- a peer that does not read

TEST(Outbox, HasItsLimitAndHasStopsTakeMotionsBack)
{
    Linked arm(with(), 2048);
    const auto outbox = [&] { return arm.counters().outbox; };
    const auto post = [&] { return Set_WiFi_AP_Data(arm.link, "cell", nullptr); }; // which is not answered
    while (outbox() == 0)
        ASSERT_EQ(post(), 0);
    const uint64_t before_motion = outbox();
    auto motion = started([&] { return arm.move(true); });
    ASSERT_TRUE(eventually([&] { return outbox() > before_motion; }));
    int status;
    while ((status = post()) == 0) {
    }
    EXPECT_EQ(status, KX_OUTBOX_FULL);
    EXPECT_LE(outbox(), 65536u);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(Move_Stop_Cmd(arm.link, false), 0) << "stops find room, more than the motion leaves";
    EXPECT_EQ(motion.get(), KX_CANCELLED);
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
    arm.expect_answer(1, "which is the first that goes out");
}

TEST(Requests, ThatAreTooManyAreRefused)
{
    Linked arm;
    int made = 0;
    const auto make_all = [&] {
        for (;; ++made)
            if (const int status = Set_Payload(arm.link, made, 0, 0, 0, false)) return status;
    };
    ASSERT_EQ(KX_Link_Begin_Setup(arm.link), 0);
    EXPECT_EQ(make_all(), KX_NO_MEMORY) << "of those to be made again";
    EXPECT_EQ(KX_Link_End_Setup(arm.link), 64);
    EXPECT_EQ(make_all(), KX_OUTBOX_FULL) << "of those that are open";
    EXPECT_EQ(arm.counters().waiting, 1008u);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(Move_Stop_Cmd(arm.link, false), 0) << "there is room for stops";
    EXPECT_EQ(Move_Stop_Cmd(arm.link, false), KX_OUTBOX_FULL);
}

// --- reconnecting

TEST(Reconnect, RepeatsSetUpAndNothingElse)
{
    Linked arm(with([](auto& options) { options.reconnect = true; }));
    const int handle = arm.link;
    const auto answer = [&](const char* name) {
        EXPECT_EQ(arm.end.command(), name);
        arm.end.say("{\"command\":\"" + std::string(name) + "\",\"set_state\":true}");
    };
    auto registered = started([&] {
        EXPECT_EQ(KX_Link_Begin_Setup(handle), 0);
        EXPECT_EQ(Set_Payload(handle, 7, 0, 0, 0, true), 0);
        EXPECT_EQ(Movej_Cmd(handle, home, 20, 0, true), KX_NOT_A_SETTING);
        EXPECT_EQ(Movej_CANFD(handle, home), KX_NOT_A_SETTING);
        EXPECT_EQ(Set_DO_State(handle, 1, true, false), KX_NOT_A_SETTING);
        EXPECT_EQ(ask(handle), 1) << "a question is no motion";
        EXPECT_EQ(Set_None_Payload(handle, true), 0);
        return KX_Link_End_Setup(handle);
    });
    answer("set_payload");
    EXPECT_EQ(arm.end.command(), "get_arm_plan_num");
    arm.end.say(object(1));
    answer("set_none_payload");
    EXPECT_EQ(registered.get(), 2);

    ASSERT_EQ(Movej_Cmd(handle, home, 20, 0, false), 0);
    ASSERT_EQ(Set_Payload(handle, 9, 0, 0, 0, false), 0) << "made, but not registered";
    arm.end.reset();
    ASSERT_EQ(KX_Link_Wait(handle, KX_LINK_CONNECTING, patience), 0);
    EXPECT_EQ(ask(handle), -KX_LOST) << "nothing waits for better times";

    arm.end = arm.door.accept();
    EXPECT_EQ(arm.end.command(), "set_payload");
    arm.end.say(R"({"command":"set_payload","set_state":false})");
    EXPECT_EQ(arm.end.request(), "") << "refused set-up: this connection is given up";

    arm.end = arm.door.accept();
    EXPECT_EQ(KX_Link_State(handle), KX_LINK_CONNECTING);
    answer("set_payload");
    answer("set_none_payload");
    ASSERT_EQ(KX_Link_Wait(handle, KX_LINK_READY, patience), 0);
    arm.expect_answer(2, "and no motion, nothing from before goes out");
    EXPECT_EQ(arm.counters().reconnects, 1u);
}

TEST(Reconnect, TellsOfASettingThatItCannotRegisterAnyMore)
{
    Linked arm(with([](auto& options) { options.reconnect = true; }));
    const auto come_late = [](void* user) {
        auto& [door, link, end] = *static_cast<Linked*>(user);
        end.request();
        end.say(R"({"command":"set_payload","set_state":true})");
        end.close();
        end = door.accept();
        while (KX_Link_Wait(link, KX_LINK_READY, 0) != 0 ||
               static_cast<Linked*>(user)->counters().losses == 0) {
        }
        return 0;
    };
    ASSERT_EQ(KX_Link_Begin_Setup(arm.link), 0);
    KX_Link_Call_Check(come_late, &arm); // the thread is not awake before the next connection is
    EXPECT_EQ(Set_Payload(arm.link, 1, 0, 0, 0, true), KX_LOST);
    KX_Link_Call_Check(nullptr, nullptr);
    EXPECT_EQ(KX_Link_End_Setup(arm.link), 0);
}

// --- ending a wait from elsewhere

TEST(Waits, KeepTheirTimeWhateverTheWallClockDoes)
{
    Linked arm;
    KX_Link_Call_Timeout(100);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(arm.link), -KX_TIMED_OUT);
    EXPECT_EQ(KX_Link_Wait(arm.link, KX_LINK_DOWN, 100), KX_TIMED_OUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 200ms);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 60s);
    EXPECT_EQ(KX_Link_Wait(arm.link, KX_LINK_READY, 0), 0);
    EXPECT_EQ(KX_Link_Wait(arm.link, KX_LINK_DOWN, 0), KX_TIMED_OUT);
    EXPECT_EQ(KX_Link_Wait(12, KX_LINK_READY, 0), KX_BAD_DESCRIPTOR);
    EXPECT_EQ(KX_Link_State(12), KX_LINK_CLOSED);
}

// --- callbacks

TEST(Callbacks, ThatAreSlowDelayAndLosePushesOnly)
{
    static std::promise<void> begun, release;
    static std::atomic<int> calls;
    KX_LINK_OPTIONS options = with();
    options.callback_queue = 4;
    options.on_push = [](const CallbackData* data, void*) {
        if (++calls == 3) KX_Link_Close(data->sockfd);
        if (calls > 1) return;
        begun.set_value();
        release.get_future().wait();
    };
    Linked arm(options);
    arm.end.say(push);
    begun.get_future().wait();
    for (int i = 0; i < 300; ++i)
        arm.end.say(push);
    arm.expect_answer(1, "which comes behind 300 pushes");
    EXPECT_EQ(arm.counters().pushes, 301u);
    EXPECT_EQ(arm.counters().callbacks_lost, 296u);
    release.set_value();
    EXPECT_TRUE(eventually([&] { return KX_Link_State(arm.link) == KX_LINK_CLOSED; }));
    EXPECT_EQ(calls, 3) << "what is behind a close is told no more";
}

TEST(Callbacks, OfTheProcessTakeThePushesOfALinkWithoutOne)
{
    static std::promise<CallbackData> heard;
    ASSERT_EQ(KX_API_Init([](CallbackData data) { heard.set_value(data); }), 0);
    Linked arm;
    arm.end.say(push);
    const CallbackData data = heard.get_future().get();
    EXPECT_EQ(data.sockfd, arm.link);
    EXPECT_EQ(data.push_type, 1);
    EXPECT_EQ(data.joint[5], 6);
    KX_API_UnInit();
}

TEST(Callbacks, OfTheLogTellLinesAndChangesAndNoPassword)
{
    static std::string log[4];
    static std::promise<void> ended;
    KX_LINK_OPTIONS options = with();
    options.on_log = [](int, KX_LINK_EVENT event, const char* text, int length, void*) {
        EXPECT_EQ(strlen(text), static_cast<size_t>(length));
        log[event] += std::string(text) + ";";
        if (event == KX_LINK_CHANGED && std::string_view(text).starts_with("down: ")) ended.set_value();
    };
    Linked arm(options);
    EXPECT_EQ(Set_WiFi_AP_Data(arm.link, "cell", "open sesame"), 0);
    EXPECT_NE(arm.end.request().find("open sesame"), std::string::npos);
    auto answer = arm.asked();
    arm.end.send("nonsense\n" + object(1) + "\n");
    answer.get();
    arm.end.close();
    ended.get_future().wait();
    const auto has = [](auto event, auto text) { return log[event].find(text) != std::string::npos; };
    EXPECT_TRUE(has(KX_LINK_CHANGED, "down: the controller closed the connection;"));
    EXPECT_TRUE(has(KX_LINK_LINE_OUT, "get_arm_plan_num"));
    EXPECT_FALSE(has(KX_LINK_LINE_OUT, "sesame"));
    EXPECT_TRUE(has(KX_LINK_LINE_IN, "plan_num"));
    EXPECT_TRUE(has(KX_LINK_DROPPED, "nonsense"));
}

TEST(Subscription, BringsStatesAtItsRateWithTheirTimes)
{
    static std::vector<KX_ARM_STATE> states;
    static std::atomic<int> told;
    Linked arm;
    int user = 0;
    const auto take = [](const KX_ARM_STATE* state, void* at) {
        EXPECT_NE(at, nullptr);
        states.push_back(*state);
        ++told;
    };
    ASSERT_EQ(KX_Link_Subscribe(arm.link, 100, take, &user), 0);
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(arm.end.command(), "get_current_arm_state");
        arm.end.say(R"({"command":"current_arm_state","arm_state":{"pose":[1000000,0,0,0,0,0],"joint":[)" +
                    std::to_string(1000 * i) + R"(,0,0,0,0,0],"arm_err":3,"sys_err":4}})");
    }
    ASSERT_TRUE(eventually([] { return told == 50; }));
    EXPECT_EQ(KX_Link_Subscribe(arm.link, 0, nullptr, nullptr), 0);
    for (size_t i = 0; i < states.size(); ++i) {
        const KX_ARM_STATE& s = states[i];
        EXPECT_TRUE(s.status == 0 && s.link == arm.link && s.joint[0] == static_cast<float>(i)) << i;
        EXPECT_TRUE(s.pose.x == 1 && s.arm_err == 3 && s.sys_err == 4) << i;
        EXPECT_LE(s.asked_ns, s.answered_ns);
        EXPECT_GE(s.asked_ns, i == 0 ? 0 : states[i - 1].answered_ns);
    }
    EXPECT_GT(states.back().asked_ns - states.front().asked_ns, 47 * 10'000'000u) << "it does not hurry";
}

TEST(Subscription, TellsALossAndGoesOnBehindIt)
{
    Linked arm(with([](auto& options) { options.reconnect = true; }));
    static std::atomic<int> last;
    last = -1;
    const auto take = [](const KX_ARM_STATE* state, void*) { last = state->status; };
    ASSERT_EQ(KX_Link_Subscribe(arm.link, 1e-300, take, nullptr), 0) << "however seldom";
    EXPECT_EQ(arm.end.command(), "get_current_arm_state");
    arm.end.say(R"({"command":"get_current_arm_state"})");
    EXPECT_TRUE(eventually([] { return last == KX_BAD_REPLY; }));
    arm.end.close();
    EXPECT_TRUE(eventually([] { return last == KX_LOST; })) << "when nothing was asked, too";
    arm.end = arm.door.accept();
    EXPECT_EQ(arm.end.command(), "get_current_arm_state");
}

// --- opening and closing

TEST(Handles, OfNoLinkAreRefusedByAllFunctions)
{
    Linked arm;
    KX_Link_Close(arm.link);
    char text[8];
    KX_LINK_COUNTERS counters = {};
    counters.size = sizeof counters;
    for (const int handle : {-1, 0, 7, arm.link, INT_MAX}) {
        SCOPED_TRACE(handle);
        EXPECT_EQ(KX_Link_Close(handle), KX_BAD_DESCRIPTOR);
        EXPECT_EQ(KX_Link_Cancel(handle), KX_BAD_DESCRIPTOR);
        EXPECT_EQ(KX_Link_State(handle), KX_LINK_CLOSED);
        EXPECT_EQ(KX_Link_Wait(handle, KX_LINK_READY, -1), KX_BAD_DESCRIPTOR);
        EXPECT_EQ(KX_Link_Timeout(handle, 100), KX_BAD_DESCRIPTOR);
        EXPECT_EQ(KX_Link_Ticket(handle), 0u);
        EXPECT_EQ(KX_Link_Await(handle, 1, -1), KX_BAD_DESCRIPTOR);
        EXPECT_EQ(KX_Link_Begin_Setup(handle), KX_BAD_DESCRIPTOR);
        EXPECT_EQ(KX_Link_End_Setup(handle), -KX_BAD_DESCRIPTOR);
        EXPECT_EQ(KX_Link_Reason(handle, text, sizeof text), KX_BAD_DESCRIPTOR);
        EXPECT_EQ(KX_Link_Counters(handle, &counters), KX_BAD_DESCRIPTOR);
        EXPECT_EQ(subscribe(handle, 10), KX_BAD_DESCRIPTOR);
    }
}

TEST(Arguments, ThatMakeNoSenseAreRefused)
{
    Linked arm;
    for (const int milliseconds : {0, -1})
        EXPECT_EQ(KX_Link_Timeout(arm.link, milliseconds), KX_WRONG_TYPE);
    for (const double hz : {-1.0, 1000.1, std::nan("")})
        EXPECT_EQ(subscribe(arm.link, hz), KX_WRONG_TYPE);
    EXPECT_EQ(KX_Link_Await(arm.link, UINT64_MAX, -1), KX_WRONG_TYPE);
    EXPECT_EQ(KX_Link_Counters(arm.link, nullptr), KX_WRONG_TYPE);
    char text[4] = "abc";
    EXPECT_EQ(KX_Link_Reason(arm.link, nullptr, 4), 0);
    EXPECT_EQ(KX_Link_Reason(arm.link, text, 0), 0);
    EXPECT_STREQ(text, "abc") << "nothing fits";

    KX_LINK_OPTIONS zeros = {};
    zeros.size = sizeof zeros;
    Linked(zeros).expect_answer(1, "by default");
}

TEST(Thread, RunsWhereItIsTold)
{
    const auto threads_on_one_processor = [] {
        int count = 0;
        for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
            cpu_set_t cpus;
            sched_getaffinity(std::stoi(task.path().filename()), sizeof cpus, &cpus);
            count += CPU_COUNT(&cpus) == 1;
        }
        return count;
    };
    if (std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "there is one processor";
    ASSERT_EQ(KX_Link_Thread(0, 0), 0);
    EXPECT_EQ(threads_on_one_processor(), 1);
    ASSERT_EQ(KX_Link_Thread(0, -1), 0);
    EXPECT_EQ(threads_on_one_processor(), 0);
    EXPECT_EQ(KX_Link_Thread(1000, -1), KX_REFUSED) << "there is no such priority";
    EXPECT_EQ(KX_Link_Thread(0, CPU_SETSIZE), KX_REFUSED) << "nor such a processor";
}

TEST(Opening, DoesNotTakeItselfForAController)
{
    asks_for_its_own_port = true;
    EXPECT_EQ(KX_Link_Open("127.0.0.1", 8080, 46, nullptr), -KX_BAD_DESCRIPTOR);
    asks_for_its_own_port = false;
}

TEST(Opening, OfOneMoreThanThereMayBeIsRefused)
{
    rlimit files;
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    if (files.rlim_max < 3000) GTEST_SKIP() << "the system opens no more than " << files.rlim_max << " files";
    std::vector<std::unique_ptr<Linked>> arms;
    while (arms.size() < 1024)
        arms.push_back(std::make_unique<Linked>());
    const auto open = [&] { return KX_Link_Open("127.0.0.1", arms[0]->door.port(), 46, nullptr); };
    EXPECT_EQ(open(), -KX_NO_SOCKET);
    arms.pop_back();
    EXPECT_GT(open(), 0);
}

#ifndef __SANITIZE_THREAD__ // which allows no threads in a child of threads
TEST(Fork, ByWhatAThreadLooksAtEndsTheChildsWait)
{
    const auto fork_once = [](void* child) {
        auto& pid = *static_cast<pid_t*>(child);
        if (pid < 0) pid = fork();
        return static_cast<int>(pid > 0); // which ends the parent's wait
    };
    for (const bool asks : {true, false}) {
        Linked arm;
        pid_t child = -1;
        KX_Link_Call_Check(fork_once, &child);
        const int status = asks ? -ask(arm.link) : KX_Link_Wait(arm.link, KX_LINK_DOWN, patience);
        if (child == 0) _exit(status);
        KX_Link_Call_Check(nullptr, nullptr);
        EXPECT_EQ(status, KX_CANCELLED);
        int ended = -1;
        waitpid(child, &ended, 0);
        EXPECT_TRUE(WIFEXITED(ended) && WEXITSTATUS(ended) == KX_CANCELLED) << ended;
    }
}

TEST(Fork, LeavesTheChildWithoutItsParentsLinksAndFreeToOpenItsOwn)
{
    Linked arm;
    int gate[2];
    ASSERT_EQ(pipe(gate), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(gate[1]);
        if (ask(arm.link) != -KX_BAD_DESCRIPTOR) _exit(1);
        if (KX_Link_Close(arm.link) != KX_BAD_DESCRIPTOR) _exit(2);
        const int own = KX_Link_Open("127.0.0.1", arm.door.port(), 46, nullptr);
        if (own < 0) _exit(3);
        Connection end = arm.door.accept();
        auto answer = started([own] { return ask(own); });
        end.request();
        end.say(object(5));
        const bool is_right = answer.get() == 5 && KX_Link_Close(own) == 0;
        char until_the_parent_has_looked;
        _exit(read(gate[0], &until_the_parent_has_looked, 1) == 0 && is_right ? 0 : 4);
    }
    arm.expect_answer(6, "the parent's link is as it was");
    KX_Link_Close(arm.link);
    EXPECT_TRUE(arm.end.is_told_of_the_end()) << "the child keeps none of its parent's connections open";
    close(gate[0]);
    close(gate[1]);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}
#endif
