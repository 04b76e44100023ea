// What an application sees of each fault on demand; recording, replay and proxy, end to end.
#include "support/application.h"
#include "support/own_file.h"

#include <atomic>
#include <set>

namespace {

const float far_away[7] = {90}; // takes 2.5 s of the arm's time

int ask(int arm)
{
    float joint[7];
    return Get_Joint_Degree(arm, joint);
}

int ask_speed(int arm)
{
    float speed[7];
    return Get_Joint_Speed(arm, speed);
}

int move(int arm)
{
    return Movej_Cmd(arm, far_away, 20, 0, true);
}

// The wire has other names for both.
int lift(int arm)
{
    return Set_Lift(arm, 10, 50, true);
}

int learn_tool(int arm)
{
    return Auto_Set_Tool_Frame(arm, 1, true);
}

// Errors of the second joint and of the controller; clearing them lets the arm move again.
void expect_cleared(int arm, int joint_error, int system_error)
{
    unsigned short errors[7] = {}, arm_err = 0, sys_err = 0, controller_err = 0;
    float joint[7], volts;
    POSE pose;
    EXPECT_EQ(Get_Joint_Err_Flag(arm, errors), 0);
    EXPECT_EQ(Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err), 0);
    EXPECT_EQ(Get_Controller_State(arm, &volts, &volts, &volts, &controller_err), 0);
    EXPECT_TRUE(errors[1] == joint_error && arm_err == joint_error && sys_err == system_error);
    EXPECT_EQ(controller_err, system_error);
    EXPECT_LT(joint[0], 89) << "the arm was stopped on its way";
    EXPECT_EQ(move(arm), 1) << "not before the error is cleared";
    EXPECT_EQ(Set_Joint_Err_Clear(arm, 2, true), 0);
    EXPECT_EQ(Clear_System_Err(arm, true), 0);
    EXPECT_EQ(move(arm), 0);
}

// A line that comes together with another is lost on a classic connection, and the end of a motion then waited for for ever:
// where they may, a link asks.
enum Way { classic, link };

struct FaultRow {
    const char* name;
    const char* faults; // a script
    Way way;
    int (*call)(int arm);
    int status;
    void (*after)(int arm) = {}; // what holds then
    int time_out = 20000;        // of replies, ms
    unsigned int at_least = 0;   // ms that the call takes
};

void PrintTo(const FaultRow& row, std::ostream* out)
{
    *out << row.name;
}

const FaultRow fault_rows[] = {
    {"ADelayIsWaitedFor", "0 delay 300 jitter 200", link, ask, 0, {}, 20000, 300},
    {"ADelayBeyondTheTimeOut", "0 delay 5000", classic, ask, 7, {}, 300, 300},
    {"ALostReply", "get_joint_degree drop 1", classic, ask, 7, {}, 300, 300},
    {"Pieces", "0 pieces 9 pause 20", link, ask, 0, {}, 20000, 160},
    // The reply to the liveness probe at the begin waits for that to the query.
    {"AChunkIsReadAsItsFirstLine", "0 together 2 wait 60000", classic, ask_speed, 0},
    {"AChunkHidesItsOtherLines", "0 together 2 wait 60000", classic, ask, 7, {}, 300},
    {"CompanyIsNotAwaitedForEver", "0 together 2 wait 50", link, ask, 0},
    {"NoiseIsPassedOver", "0 garbage 1", link, ask, 0},
    {"TheLongestLine", "0 long 299", link, ask, 0},
    {"Silence", "get_joint_degree silence", classic, ask, 7, {}, 300, 300},
    {"SilenceDuringAMotion", "movej silence", classic, move, 7, {}, 300, 300},
    {"AResetDuringAMotion", "movej reset", classic, move, 7,
     [](int arm) { EXPECT_EQ(ask(arm), 6) << "the connection is gone for good"; }, 3000},
    {"ARefusedMotion", "0 refuse movej movel", link, move, 1, [](int arm) { EXPECT_EQ(ask(arm), 0); }},
    {"ARefusedQuery", "0 refuse get_joint_degree", classic, ask, 11},
    {"ARefusalByName", "set_lift refuse set_lift set_auto_tool_frame", link, lift, 1,
     [](int arm) { EXPECT_EQ(learn_tool(arm), 1); }},
    {"RefusedOnlyForATime", "0 refuse movej\nget_joint_degree refuse off", link, move, 1,
     [](int arm) {
         EXPECT_EQ(ask(arm), 0);
         EXPECT_EQ(move(arm), 0);
     }},
    {"AJointError", "movej+0.5 joint-error 2 code 32", link, move, 1,
     [](int arm) { expect_cleared(arm, 32, 0); }},
    {"ACollision", "movej+0.5 collision", link, move, 1, [](int arm) { expect_cleared(arm, 0, 3); }},
    {"AnEmergencyStop", "movej+0.5 emergency-stop\nget_joint_err_flag emergency-stop off", link, move, 1,
     [](int arm) {
         EXPECT_EQ(Clear_System_Err(arm, true), 1) << "it is pressed";
         expect_cleared(arm, 0, 1);
     }},
};

struct Faults : testing::TestWithParam<FaultRow> {};

INSTANTIATE_TEST_SUITE_P(Each, Faults, testing::ValuesIn(fault_rows), testing::PrintToStringParamName());

TEST_P(Faults, ShowAs)
{
    const FaultRow& row = GetParam();
    const OwnFile script("script", row.faults);
    const Application app(46, {"--speed", "10", "--fault-script", script.path});
    m_nOutTime = row.time_out;
    const int arm =
        row.way == link ? KX_Link_Open("127.0.0.1", app.controller->port(), 46, nullptr) : app.arm;
    KX_Link_Timeout(arm, row.time_out);
    const unsigned int start = Get_Program_Runtime();
    EXPECT_EQ(row.call(arm), row.status);
    EXPECT_GE(Get_Program_Runtime() - start, row.at_least);
    if (row.after) row.after(arm);
    KX_Link_Close(arm);
}

TEST(Faults, TheClockRunsFasterFromNowOn)
{
    const OwnFile script("script", "movej speed 20");
    const Application app(46, {"--speed", "0.001", "--fault-script", script.path});
    EXPECT_EQ(move(app.arm), 0) << "or 40 minutes later";
}

// The circle takes long to plan.
TEST(Faults, ComeAtTheSamePlaceHoweverFastTimeRuns)
{
    const OwnFile script("script", "movec+0.4 collision");
    std::set<std::vector<float>> places;
    for (const char* speed : {"20", "1000"}) {
        const Application app(46, {"--speed", speed, "--script", script.path});
        const int arm = KX_Link_Open("127.0.0.1", app.controller->port(), 46, nullptr);
        const float bent[7] = {0, 20, 70, 0, 80, 0};
        float joint[7];
        POSE via, to;
        unsigned short error;
        EXPECT_EQ(Movej_Cmd(arm, bent, 50, 0, true), 0);
        EXPECT_EQ(Get_Current_Arm_State(arm, joint, &via, &error, &error), 0);
        to = via;
        via.y += 0.1f, to.y += 0.2f, via.z += 0.05f, to.z -= 0.1f;
        EXPECT_EQ(Movec_Cmd(arm, via, to, 20, 0, 1, true), 1);
        places.insert(app.standing());
        KX_Link_Close(arm);
    }
    EXPECT_EQ(places.size(), 1u);
}

class Recording : public testing::TestWithParam<const char*> {};

TEST_P(Recording, AnswersAsTheArmDid)
{
    const OwnFile recording(GetParam());
    const auto session = [](int arm) {
        float speed[7], joint[7];
        std::vector<float> seen;
        for (float limit : {100.f, 50.f}) { // the same query, answered otherwise the second time
            EXPECT_EQ(Set_Joint_Speed(arm, 1, limit, true), 0);
            EXPECT_EQ(Get_Joint_Speed(arm, speed), 0);
            seen.push_back(speed[0]);
        }
        EXPECT_EQ(Set_Joint_Speed(arm, 9, 1, true), 1);
        EXPECT_EQ(move(arm), 0);
        EXPECT_EQ(Get_Joint_Degree(arm, joint), 0);
        seen.push_back(joint[0]);
        return seen;
    };
    {
        Application app(46, {"--speed", "10", "--record", recording.path});
        EXPECT_EQ(session(app.arm), (std::vector<float>{100, 50, 90}));
    }
    Application app(46, {"--replay", recording.path});
    EXPECT_EQ(session(app.arm), (std::vector<float>{100, 50, 90}));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(app.joints()[0], 90) << "asked more often than recorded";
    m_nOutTime = 300;
    EXPECT_EQ(Set_Joint_Speed(app.arm, 1, 70, true), 7) << "not in the recording";
}

TEST(Replay, KnowsARequestHoweverItIsSpelled)
{
    const OwnFile recording("recording", R"({"recording":"kx-controller","version":1}
{"time":0,"client":1,"request":"{\"IO_Num\": 1, \"command\": \"get_DO_state\"}"}
{"time":0,"client":1,"reply":{"command":"get_DO_state","IO_state":7}}
)");
    const Application app(46, {"--replay", recording.path});
    unsigned char state;
    EXPECT_EQ(Get_DO_State(app.arm, 1, &state), 0);
    EXPECT_EQ(state, 7);
}

INSTANTIATE_TEST_SUITE_P(, Recording, testing::Values("recording", "recording.mcap"));

std::atomic<int> pushes = 0;

TEST(Proxy, PassesEverythingAndRecordsIt)
{
    const OwnFile recording("recording");
    Controller arm({"--speed", "10"});
    const std::string there = "127.0.0.1:" + std::to_string(arm.port());
    Application app(46, {"--proxy", there, "--record", recording.path});
    KX_API_Init([](CallbackData) { ++pushes; });
    EXPECT_EQ(move(app.arm), 0);
    EXPECT_EQ(app.joints()[0], 90);
    EXPECT_EQ(Set_Joint_Speed(app.arm, 9, 1, true), 1);
    for (int i = 1; i <= 3; ++i) {
        float next[7] = {90.f + static_cast<float>(i) / 100};
        EXPECT_EQ(Movej_CANFD(app.arm, next), 0);
        while (pushes < i) // two pushes that come together would be one
            sleep_cp(10);
    }

    arm.end(SIGTERM);
    m_nOutTime = 300;
    int status = 0;
    for (int i = 0; i < 20 && status != 6; ++i)
        EXPECT_NE(status = ask(app.arm), 0);
    EXPECT_EQ(status, 6) << "a controller that is gone takes the connection with it";
    app.controller->end(SIGTERM);

    Application again(46, {"--replay", recording.path});
    EXPECT_EQ(move(again.arm), 0);
    EXPECT_EQ(again.joints()[0], 90);
}

} // namespace
