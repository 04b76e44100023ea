// Frames, payload, realtime pass-through, jogging, waypoints and settings of the virtual controller, driven
// through the library.
#include "support/application.h"

#include "runtime/classic/pending.h"

#include <atomic>
#include <cmath>
#include <mutex>

using namespace kx;

static void expect_pose(const POSE& pose, const POSE& expected)
{
    EXPECT_NEAR(pose.x, expected.x, 2e-6);
    EXPECT_NEAR(pose.y, expected.y, 2e-6);
    EXPECT_NEAR(pose.z, expected.z, 2e-6);
    EXPECT_NEAR(pose.rx, expected.rx, 2e-3);
    EXPECT_NEAR(pose.ry, expected.ry, 2e-3);
    EXPECT_NEAR(pose.rz, expected.rz, 2e-3);
}

struct Frames : testing::Test {
    Application app;
    int arm = app.arm;

    void move(const std::vector<float>& target) const
    {
        EXPECT_EQ(Movej_Cmd(arm, target.data(), 100, 0, false), 0);
        sleep_cp(50);
        EXPECT_EQ(app.standing()[0], target[0]);
    }
    POSE pose() const
    {
        float joint[7];
        POSE pose = {};
        unsigned short arm_err, sys_err;
        EXPECT_EQ(Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err), 0);
        return pose;
    }
    std::string names(int (*get)(int, FRAME_NAME*)) const
    {
        FRAME_NAME list[100] = {};
        EXPECT_EQ(get(arm, list), 0);
        std::string all;
        for (const FRAME_NAME& frame : list)
            if (frame.name[0]) all += std::string(frame.name) + ' ';
        return all;
    }
};

TEST_F(Frames, LiveFromCreationToDeletion)
{
    const float bent[] = {20, 30, -45, 10, 60, 0};
    move({bent, bent + 6});
    const POSE flange = pose(), tip = {0.01f, -0.02f, 0.12f, 0, 0.5f, 0},
               table = {0.2f, -0.3f, 0.1f, 0, 0.25f, 1.5f};
    EXPECT_EQ(Manual_Set_Tool_Frame(arm, "grip", tip, 1.5f, 0.01f, 0, 0.1234f, true), 0);
    expect_pose(pose(), flange);
    EXPECT_EQ(Change_Tool_Frame(arm, "grip", true), 0);
    EXPECT_EQ(Manual_Set_Work_Frame(arm, "table", table, true), 0);
    EXPECT_EQ(Change_Work_Frame(arm, "table", true), 0);
    const auto full = [](const POSE& p) { return KinPose{{p.x, p.y, p.z}, {}, {p.rx, p.ry, p.rz}}; };
    const KinPose seen = end2tool(Forward_Kinematics(46, bent), full(tip), full(table));
    expect_pose(pose(), {seen.position.x, seen.position.y, seen.position.z, seen.euler.rx, seen.euler.ry,
                         seen.euler.rz});

    FRAME frame = {};
    EXPECT_EQ(Get_Current_Tool_Frame(arm, &frame), 0);
    EXPECT_STREQ(frame.frame_name, "grip");
    expect_pose(frame.pose, tip);
    EXPECT_EQ(frame.payload, 1);
    EXPECT_FLOAT_EQ(frame.x, 0.00001f); // millimetres go out, micrometres are read
    EXPECT_FLOAT_EQ(frame.z, 0.000123f);
    EXPECT_EQ(Set_Payload(arm, 3, 0, 0, 0, true), 0);
    EXPECT_EQ(Get_Given_Tool_Frame(arm, "grip", &frame), 0);
    EXPECT_EQ(frame.payload, 3);
    EXPECT_EQ(Set_None_Payload(arm, true), 0);
    EXPECT_EQ(Get_Current_Tool_Frame(arm, &frame), 0);
    EXPECT_EQ(frame.payload, 0);
    EXPECT_EQ(Get_Current_Work_Frame(arm, &frame), 0);
    EXPECT_STREQ(frame.frame_name, "table");
    POSE given = {};
    EXPECT_EQ(Get_Given_Work_Frame(arm, "table", &given), 0);
    expect_pose(given, table);

    EXPECT_EQ(names(Get_All_Tool_Frame), "flange grip ");
    EXPECT_EQ(names(Get_All_Work_Frame), "base table ");
    EXPECT_EQ(Change_Tool_Frame(arm, "flange", true), 0);
    EXPECT_EQ(Change_Work_Frame(arm, "base", true), 0);
    EXPECT_EQ(Delete_Tool_Frame(arm, "grip", true), 0);
    EXPECT_EQ(Delete_Work_Frame(arm, "table", false), 0);
    expect_pose(pose(), flange);
    EXPECT_EQ(names(Get_All_Tool_Frame), "flange ");
    EXPECT_EQ(names(Get_All_Work_Frame), "base ");
}

TEST_F(Frames, ThatAreUnknownActiveOrBuiltInAreLeftAlone)
{
    EXPECT_EQ(Manual_Set_Work_Frame(arm, "table", {}, true), 0);
    EXPECT_EQ(Change_Work_Frame(arm, "table", true), 0);
    FRAME frame;
    POSE given;
    const struct {
        const char* what;
        int status, expected;
    } rows[] = {
        {"active", Delete_Work_Frame(arm, "table", true), 1},
        {"built in", Delete_Work_Frame(arm, "base", true), 1},
        {"built in", Manual_Set_Tool_Frame(arm, "flange", {}, 0, 0, 0, 0, true), 1},
        {"unknown", Delete_Tool_Frame(arm, "grip", true), 1},
        {"unknown", Change_Tool_Frame(arm, "grip", true), 1},
        {"unknown", Change_Work_Frame(arm, "chair", true), 1},
        {"unknown", Get_Given_Tool_Frame(arm, "grip", &frame), 9},
        {"unknown", Get_Given_Work_Frame(arm, "chair", &given), 11},
        {"would be cut", Manual_Set_Work_Frame(arm, "0123456789", {}, true), 1},
        {"would end a list", Manual_Set_Work_Frame(arm, "NULL", {}, true), 1},
        {"too heavy", Set_Payload(arm, 21, 0, 0, 0, true), 1},
        {"untaught", Generate_Auto_Tool_Frame(arm, "grip", 1, 0, 0, 0, true), 1},
        {"no such point", Auto_Set_Work_Frame(arm, "chair", 4, true), 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.status, row.expected) << row.what;

    for (int i = 1; i < 20; ++i)
        EXPECT_EQ(Manual_Set_Tool_Frame(arm,
                                        ("longname" + std::string(1, static_cast<char>('a' + i))).c_str(), {},
                                        0, 0, 0, 0, true),
                  0);
    EXPECT_EQ(Manual_Set_Tool_Frame(arm, "onemore", {}, 0, 0, 0, 0, true), 1);
    EXPECT_EQ(names(Get_All_Tool_Frame).size(), 7 + 19 * 10u) << "as many as there may be fit into a reply";
}

TEST_F(Frames, AreTaughtByPoints)
{
    // Joints 4 to 6 turn about the centre of the wrist, 144 mm behind the flange.
    const float wrist[][3] = {{20, 40, 0}, {60, -30, 20}, {-50, 60, 90}, {100, 20, -60}};
    EXPECT_EQ(Auto_Set_Tool_Frame(arm, 0, true), 1);
    for (unsigned char i = 0; i < 4; ++i) {
        move({10, 20, 30, wrist[i][0], wrist[i][1], wrist[i][2]});
        EXPECT_EQ(Auto_Set_Tool_Frame(arm, static_cast<unsigned char>(i + 1), true), 0);
    }
    EXPECT_EQ(Generate_Auto_Tool_Frame(arm, "wrist", 0, 0, 0, 0, true), 0);
    FRAME frame;
    EXPECT_EQ(Get_Given_Tool_Frame(arm, "wrist", &frame), 0);
    expect_pose(frame.pose, {0, 0, -0.144f, 0, 0, 0});

    for (unsigned char i = 0; i < 3; ++i) {
        move({i == 1 ? 40.0f : 10.0f, i == 2 ? 40.0f : 20.0f, 30, 0, 20, 0});
        EXPECT_EQ(Auto_Set_Work_Frame(arm, "taught", static_cast<unsigned char>(i + 1), true), 0);
    }
    EXPECT_EQ(Change_Work_Frame(arm, "taught", true), 0);
    EXPECT_NEAR(pose().z, 0, 2e-6);
    EXPECT_GT(pose().y, 0.01);
    move({10, 20, 30, 0, 20, 0});
    const POSE origin = pose();
    EXPECT_NEAR(std::hypot(origin.x, origin.y, origin.z), 0, 2e-6);
    move({40, 20, 30, 0, 20, 0});
    EXPECT_NEAR(std::hypot(pose().y, pose().z), 0, 2e-6);
    EXPECT_GT(pose().x, 0.01);
}

struct Teaching : testing::Test {
    Application app{46, {"--speed", "2"}};
    int arm = app.arm;
};

TEST_F(Teaching, JogsToTheLimitOrUntilStopped)
{
    ASSERT_EQ(Set_Joint_Max_Pos(arm, 1, 20.5f, true), 0);
    EXPECT_EQ(Joint_Teach_Cmd(arm, 1, 1, 100, true), 0);
    EXPECT_EQ(Joint_Teach_Cmd(arm, 2, 1, 100, true), 1) << "one at a time";
    const float target[6] = {};
    EXPECT_EQ(Movej_Cmd(arm, target, 100, 0, true), 1) << "while it is jogged";
    EXPECT_EQ(app.standing()[0], 20.5f);

    EXPECT_EQ(Joint_Teach_Cmd(arm, 1, 0, 10, true), 0);
    sleep_cp(500);
    EXPECT_EQ(Teach_Stop_Cmd(arm, true), 0);
    EXPECT_EQ(Joint_Teach_Cmd(arm, 2, 0, 10, true), 0) << "as soon as it was stopped";
    sleep_cp(500);
    EXPECT_EQ(Teach_Stop_Cmd(arm, true), 0);
    const auto stopped = app.standing();
    EXPECT_LT(stopped[0], 15);
    EXPECT_GT(stopped[0], -50);
    EXPECT_LT(stopped[1], -5);
    EXPECT_EQ(Joint_Teach_Cmd(arm, 7, 1, 10, true), 1);
    EXPECT_EQ(Joint_Teach_Cmd(arm, 1, 1, 0, true), 1);
}

TEST_F(Teaching, StepsAndWaits)
{
    EXPECT_EQ(Joint_Step_Cmd(arm, 3, -5.5f, 100, true), 0);
    EXPECT_EQ(Joint_Step_Cmd(arm, 3, -5.5f, 100, true), 0);
    EXPECT_EQ(app.joints()[2], -11);
    EXPECT_EQ(Joint_Step_Cmd(arm, 3, -500, 100, true), 1);

    EXPECT_EQ(Timer(arm, 1000, true), 0);
    const unsigned int begin = Get_Program_Runtime();
    EXPECT_EQ(Joint_Step_Cmd(arm, 3, 11, 100, true), 0);
    EXPECT_GE(Get_Program_Runtime() - begin, 400u) << "1 s of simulated time, less what the calls take";
    EXPECT_EQ(app.joints()[2], 0);
    EXPECT_EQ(Timer(arm, 0, true), 1);
}

TEST_F(Frames, AreWhereTheToolJogsAndSteps)
{
    move({20, 30, -45, 10, 60, 0});
    const POSE table = {0.2f, -0.3f, 0.1f, 0, 0, 1.5f};
    EXPECT_EQ(Manual_Set_Work_Frame(arm, "table", table, true), 0);
    EXPECT_EQ(Change_Work_Frame(arm, "table", true), 0);
    POSE expected = pose();
    EXPECT_EQ(Pos_Step_Cmd(arm, Y_Dir, -0.05f, 100, true), 0);
    expected.y -= 0.05f;
    expect_pose(pose(), expected);
    EXPECT_EQ(Ort_Step_Cmd(arm, RZ_Rotate, 0.25f, 100, true), 0);
    expected.rz += 0.25f;
    expect_pose(pose(), expected);
    EXPECT_EQ(Ort_Step_Cmd(arm, RZ_Rotate, 3.1f, 100, true), 1) << "half a turn and more has two ways";
    EXPECT_EQ(Pos_Step_Cmd(arm, static_cast<POS_TEACH_MODES>(3), 0.01f, 100, true), 1) << "no axis";

    EXPECT_EQ(Pos_Teach_Cmd(arm, X_Dir, 1, 100, true), 0);
    sleep_cp(100);
    EXPECT_EQ(Teach_Stop_Cmd(arm, true), 0);
    app.standing();
    EXPECT_GT(pose().x, expected.x + 0.02f);
    EXPECT_NEAR(pose().z, expected.z, 2e-5);

    move({20, 30, -45, 10, 60, 0}); // how far it jogged depends on the machine
    expected = pose();
    EXPECT_EQ(Pos_Teach_Cmd(arm, Z_Dir, 1, 100, true), 0);
    sleep_cp(50);
    app.standing();
    EXPECT_GT(pose().z, expected.z + 0.02f) << "as far as the arm can go";
    EXPECT_EQ(Pos_Teach_Cmd(arm, Z_Dir, 1, 100, true), 1) << "it can go no farther";
    EXPECT_EQ(Ort_Teach_Cmd(arm, RZ_Rotate, 0, 100, true), 0);
    EXPECT_EQ(Teach_Stop_Cmd(arm, true), 0);
}

TEST_F(Teaching, PlaysWaypointsAtTheirFrequency)
{
    EXPECT_EQ(Start_Waypoint(arm, 2, true), 1) << "there are none";
    const float points[][6] = {{10}, {20}, {30}, {40, -5, 0, 0, 0, 12}}, beyond[6] = {0, 131};
    for (const auto& point : points)
        EXPECT_EQ(Add_Waypoint(arm, point, true), 0);
    EXPECT_EQ(Add_Waypoint(arm, beyond, true), 1);
    EXPECT_EQ(Start_Waypoint(arm, 0, true), 1);

    EXPECT_EQ(Start_Waypoint(arm, 1, true), 0); // each 1 s of simulated time, 0.5 s of real time
    EXPECT_EQ(Clear_Waypoint(arm, true), 1) << "while they are played";
    sleep_cp(600);
    EXPECT_EQ(app.joints()[0], 20);
    EXPECT_EQ(app.standing()[0], 20) << "between two waypoints";
    sleep_cp(1000);
    const auto end = app.standing();
    EXPECT_EQ(end[0], 40);
    EXPECT_EQ(end[5], 12);

    EXPECT_EQ(Start_Waypoint(arm, 1, true), 0);
    sleep_cp(300);
    EXPECT_EQ(Stop_Waypoint(arm, false), 0);
    sleep_cp(1000);
    EXPECT_EQ(app.joints()[0], 10) << "where it was stopped";
    EXPECT_EQ(Clear_Waypoint(arm, true), 0);
    EXPECT_EQ(Start_Waypoint(arm, 1, true), 1) << "there are none any more";
}

// What the callback was given.
static std::atomic<int> joint_pushes, pose_pushes, unreadable;
static std::mutex last_push_mutex;
static CallbackData last_push;

static void take(CallbackData push)
{
    ++(push.push_type == 2 ? pose_pushes : joint_pushes);
    if (push.result != 0) ++unreadable;
    const std::lock_guard lock(last_push_mutex);
    last_push = push;
}

struct Stream : testing::TestWithParam<int> {
    Application app{GetParam(), {}};
    int arm = app.arm;

    Stream() { KX_API_Init(take); }

    static void expect_all(int joints, int poses, int without_state)
    {
        for (int i = 0; i < 100 && joint_pushes + pose_pushes < joints + poses; ++i)
            sleep_cp(20);
        sleep_cp(
            400); // for pushes that nobody waits for: the receiver would take them for one line with a reply
        EXPECT_EQ(joint_pushes, joints);
        EXPECT_EQ(pose_pushes, poses);
        EXPECT_EQ(unreadable, without_state);
        EXPECT_EQ(m_nSockeRIinfosLen, 0) << "registrations left";
    }
};

INSTANTIATE_TEST_SUITE_P(Arm, Stream, testing::Values(46, 47));

TEST_P(Stream, MovesTheArmAndIsAnsweredTargetByTarget)
{
    float target[7] = {};
    for (int burst : {1, 2, 3, 7}) {
        const int before = joint_pushes;
        for (int i = 0; i < burst; ++i)
            EXPECT_EQ(Movej_CANFD(arm, target), 0);
        expect_all(before + burst, 0, 0);
    }
    const int before = joint_pushes, count = 300;
    for (int i = 1; i <= count; ++i) {
        for (int j = 0; j < 7; ++j)
            target[j] = static_cast<float>(10 + j) * static_cast<float>(i) / count;
        EXPECT_EQ(Movej_CANFD(arm, target), 0);
        sleep_cp(5);
    }
    expect_all(before + count, 0, 0);
    const std::lock_guard lock(last_push_mutex);
    for (int j = 0; j < 6; ++j)
        EXPECT_NEAR(last_push.joint[j], 1000 * target[j], 1000) << "at most a degree behind";
    EXPECT_EQ(last_push.joint[6] != 0, GetParam() == 47);
    EXPECT_EQ(app.standing()[5], target[5]);
}

TEST_P(Stream, TakesPosesOfTheTool)
{
    const float bent[7] = {20, 30, -45, 40, 60, 10, 0};
    ASSERT_EQ(Movej_Cmd(arm, bent, 100, 0, true), 0);
    float joint[7];
    POSE pose, reached;
    unsigned short arm_err, sys_err;
    ASSERT_EQ(Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err), 0);
    for (int i = 0; i < 100; ++i) {
        pose.z -= 0.0002f;
        EXPECT_EQ(Movep_CANFD(arm, pose), 0);
        sleep_cp(5);
    }
    expect_all(0, 100, 0);
    app.standing();
    ASSERT_EQ(Get_Current_Arm_State(arm, joint, &reached, &arm_err, &sys_err), 0);
    expect_pose(reached, pose);
}

TEST_P(Stream, TellsOfRefusedTargets)
{
    const float beyond[7] = {0, 131}, near[7] = {1};
    EXPECT_EQ(Movej_CANFD(arm, beyond), 0);
    EXPECT_EQ(Movep_CANFD(arm, {}), 0);
    expect_all(1, 1, 2);
    EXPECT_EQ(Set_Arm_Servo_State(arm, false, true), 0);
    EXPECT_EQ(Movej_CANFD(arm, near), 0);
    expect_all(2, 1, 3);
    EXPECT_EQ(Movej_Cmd(arm, near, 100, 0, true), 1);
    EXPECT_EQ(Set_Arm_Servo_State(arm, true, true), 0);
    EXPECT_EQ(Movej_CANFD(arm, near), 0);
    expect_all(3, 1, 3);
    EXPECT_EQ(app.standing()[0], 1);
}

TEST(ArmSettings, AreKeptAndReadBack)
{
    Application app(47);
    const int arm = app.arm;
    const struct {
        int (*set)(int, float, bool);
        int (*get)(int, float*);
        float value, refused;
    } limits[] = {
        {Set_Arm_Line_Speed, Get_Arm_Line_Speed, 0.25f, 0},
        {Set_Arm_Line_Acc, Get_Arm_Line_Acc, 1.5f, -1},
        {Set_Arm_Angular_Speed, Get_Arm_Angular_Speed, 0.75f, 100},
        {Set_Arm_Angular_Acc, Get_Arm_Angular_Acc, 3.25f, 0.0001f},
    };
    std::vector<float> initial;
    float value;
    for (const auto& limit : limits) {
        EXPECT_EQ(limit.get(arm, &value), 0);
        initial.push_back(value);
        EXPECT_EQ(limit.set(arm, limit.value, true), 0);
        EXPECT_EQ(limit.set(arm, limit.refused, true), 1);
        EXPECT_EQ(limit.get(arm, &value), 0);
        EXPECT_EQ(value, limit.value);
    }
    EXPECT_EQ(Set_Arm_Tip_Init(arm, true), 0);
    for (std::size_t i = 0; i < initial.size(); ++i) {
        EXPECT_EQ(limits[i].get(arm, &value), 0);
        EXPECT_EQ(value, initial[i]);
    }

    int stage = -1, version = 0;
    EXPECT_EQ(Set_Collision_Stage(arm, 3, true), 0);
    EXPECT_EQ(Set_Collision_Stage(arm, 9, true), 1);
    EXPECT_EQ(Get_Collision_Stage(arm, &stage), 0);
    EXPECT_EQ(stage, 3);
    float dh[5] = {};
    EXPECT_EQ(Set_DH_Data(arm, 0.1234f, -240.5f, 0, 1, 2, true), 0);
    EXPECT_EQ(Get_DH_Data(arm, &dh[0], &dh[1], &dh[2], &dh[3], &dh[4]), 0);
    EXPECT_FLOAT_EQ(dh[0], 0.1f);
    EXPECT_FLOAT_EQ(dh[1], -240.5f);
    EXPECT_EQ(Get_Tool_Software_Version(arm, &version), 0);
    EXPECT_GT(version, 0);
    const float parameters[14] = {0.0015f}, offset[7] = {1, -2}, too_much[7] = {200};
    EXPECT_EQ(Set_Arm_Dynamic_Parm(arm, parameters, true), 0);
    EXPECT_EQ(Set_Joint_Zero_Offset(arm, offset, true), 0);
    EXPECT_EQ(Set_Joint_Zero_Offset(arm, too_much, true), 1);
    EXPECT_EQ(app.joints()[1], -2);
    EXPECT_EQ(Set_Install_Pose(arm, 90, 0.5f, true), 0);
    EXPECT_EQ(Set_System_State_Servo(arm, false, true), 0);
    EXPECT_EQ(Joint_Step_Cmd(arm, 1, 1, 100, true), 1);
    EXPECT_EQ(Set_System_State_Servo(arm, true, true), 0);
}

TEST(ControllerState, FollowsTheLoadAndNetworkSettingsKeepTheirSecrets)
{
    Application app(46, {"--trace"});
    const int arm = app.arm;
    float voltage[2], current[2], temperature;
    unsigned short error = 9;
    EXPECT_EQ(Get_Controller_State(arm, &voltage[0], &current[0], &temperature, &error), 0);
    EXPECT_EQ(error, 0);
    EXPECT_GT(temperature, 20);
    EXPECT_EQ(Joint_Teach_Cmd(arm, 1, 1, 100, true), 0);
    sleep_cp(300);
    EXPECT_EQ(Get_Controller_State(arm, &voltage[1], &current[1], &temperature, &error), 0);
    EXPECT_GT(current[1], current[0] + 0.5);
    EXPECT_LT(voltage[1], voltage[0]);

    const std::string too_long(300, 'x');
    EXPECT_EQ(Set_WiFi_AP_Data(arm, too_long.c_str(), "secret"), 11);
    EXPECT_EQ(Set_WiFI_STA_Data(arm, "home", "secret \"2\""), 0);
    EXPECT_EQ(Set_USB_Data(arm, 115200), 0);
    EXPECT_EQ(Set_RS485(arm, 9600), 0);
    EXPECT_EQ(Set_Ethernet(arm), 0);
    EXPECT_EQ(Get_Controller_State(arm, &voltage[1], &current[1], &temperature, &error), 0)
        << "the connection goes on";
    const std::string trace = app.controller->printed();
    EXPECT_EQ(trace.find("set_wifi_ap"), trace.npos) << "nothing was sent";
    EXPECT_NE(trace.find("set_wifi_sta"), trace.npos);
    EXPECT_NE(trace.find("home"), trace.npos);
    EXPECT_NE(trace.find("set_RS485"), trace.npos);
    EXPECT_EQ(trace.find("secret"), trace.npos);
}
