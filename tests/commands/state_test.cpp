// State queries and the initial pose on the wire and back.
#include "support/command_rows.h"

#include "kx_base.h"

static const float home[7] = {1.2345f, -90, 0, 179.9999f, -0.0004f, 360, 7};

INSTANTIATE_TEST_SUITE_P(
    State, Setters,
    testing::Values(Setter{"Set_Arm_Init_Pose",
                           [](int fd, bool block) { return Set_Arm_Init_Pose(fd, home, block); },
                           R"({"command":"set_init_pose","init_pose":[1234,-90000,0,179999,0,360000]})",
                           "set_init_pose", "init_pose", 11, Entry::sleeping, 36},
                    Setter{"Set_Arm_Init_Pose_seven",
                           [](int fd, bool block) { return Set_Arm_Init_Pose(fd, home, block); },
                           R"({"command":"set_init_pose","init_pose":[1234,-90000,0,179999,0,360000,7000]})",
                           "set_init_pose", "init_pose", 11, Entry::sleeping, 47}),
    RowName());

// Outputs in the order joint[7], pose, arm_err, sys_err.
static int arm_state(int fd, std::vector<double>& values)
{
    POSE pose = {-1, -1, -1, -1, -1, -1};
    unsigned short arm_err = 9, sys_err = 9;
    const int status = filled<float, 7>(
        values, [&](float* joint) { return Get_Current_Arm_State(fd, joint, &pose, &arm_err, &sys_err); });
    values.insert(values.end(),
                  {pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz, double(arm_err), double(sys_err)});
    return status;
}

static std::string arm_state_reply(const std::string& members)
{
    return R"({"command":"current_arm_state","arm_state":)" + members + "}";
}

static const std::string a_pose = R"("pose":[123456,-1,0,-3141,1500,0])";
static const std::string six = R"("joint":[1000,2500,-3,0,5,6])";
static const std::string seven = R"("joint":[1000,2500,-3,0,5,6,7])";

// Expected outputs: joints and pose written or not, and the two error codes.
static std::vector<double> arm_outputs(bool joints, bool pose, double arm_err, double sys_err)
{
    std::vector<double> values(7, -1);
    if (joints) values = {1, 2.5, -0.003, 0, 0.005, 0.006, -1};
    for (double value : {0.123456, -0.000001, 0.0, -3.141, 1.5, 0.0})
        values.push_back(pose ? value : -1);
    values.insert(values.end(), {arm_err, sys_err});
    return values;
}

static auto floats(int (*get)(int, float*))
{
    return [get](int fd, std::vector<double>& values) {
        return filled<float, 7>(values, [&](float* out) { return get(fd, out); });
    };
}

static Getter joint_array(std::string name, int (*get)(int, float*), const std::string& command,
                          const std::string& reply_name, const std::string& key)
{
    const auto reply = [=](const std::string& value) {
        return "{\"command\":\"" + reply_name + "\",\"" + key + "\":" + value + "}";
    };
    const std::vector<double> untouched(7, -1);
    return {std::move(name),
            floats(get),
            "{\"command\":\"" + command + "\"}",
            reply_name,
            {{reply("[36500,0,-1,1,2,3]"), 0, {36.5, 0, -0.001, 0.001, 0.002, 0.003, -1}},
             {reply("[1,2,3,4,5,6,7]"), 11, untouched},
             {reply("[1,2,3,4,5]"), 11, untouched},
             {reply("null"), 11, untouched}}};
}

// Outputs in the order temperature[0], current[7], voltage[7], err_flag[7], sys_err and the two reserved
// fields.
static int all_state(int fd, std::vector<double>& values)
{
    JOINT_STATE state;
    memset(&state, 0x11, sizeof state);
    const JOINT_STATE before = state;
    for (int i = 0; i < 7; ++i)
        state.current[i] = state.voltage[i] = -1, state.err_flag[i] = 9;
    state.sys_err = 9;
    const int status = Get_Arm_All_State(fd, &state);
    EXPECT_EQ(memcmp(state.temperature, before.temperature, sizeof state.temperature), 0);
    EXPECT_EQ(memcmp(state.never_written, before.never_written, sizeof state.never_written), 0);
    EXPECT_EQ(memcmp(state.never_written_2, before.never_written_2, sizeof state.never_written_2), 0);
    values = {state.current[0],          state.current[6],          state.voltage[0],     state.voltage[6],
              double(state.err_flag[0]), double(state.err_flag[6]), double(state.sys_err)};
    return status;
}

static std::string all_state_reply(const std::string& members)
{
    return R"({"command":"arm_all_state","all_state":)" + members + "}";
}

static const std::string sevens = "[1500,2,3,4,5,6,7]";

INSTANTIATE_TEST_SUITE_P(
    State, Getters,
    testing::Values(
        Getter{"Get_Current_Arm_State",
               arm_state,
               R"({"command":"get_current_arm_state"})",
               "current_arm_state",
               {{arm_state_reply("{" + a_pose + "," + six + R"(,"arm_err":4097,"sys_err":65537})"), 0,
                 arm_outputs(true, true, 4097, 1)},
                {arm_state_reply("{" + six + "}"), 9, arm_outputs(false, false, 9, 9)},
                {arm_state_reply(R"({"pose":[1,2,3,4,5]})"), 12, arm_outputs(false, false, 9, 9)},
                {arm_state_reply(R"({"pose":{}})"), 11, arm_outputs(false, false, 9, 9)},
                {arm_state_reply("{" + a_pose + "}"), 9, arm_outputs(false, true, 9, 9)},
                {arm_state_reply("{" + a_pose + "," + seven + "}"), 11, arm_outputs(false, true, 9, 9)},
                {arm_state_reply("{" + a_pose + R"(,"joint":1})"), 11, arm_outputs(false, true, 9, 9)},
                {arm_state_reply("{" + a_pose + "," + six + "}"), 9, arm_outputs(true, true, 9, 9)},
                {arm_state_reply("{" + a_pose + "," + six + R"(,"arm_err":"7"})"), 11, arm_outputs(true, true, 9, 9)},
                {arm_state_reply("{" + a_pose + "," + six + R"(,"arm_err":7})"), 9, arm_outputs(true, true, 7, 9)},
                {arm_state_reply("{" + a_pose + "," + six + R"(,"arm_err":7,"sys_err":true})"), 11,
                 arm_outputs(true, true, 7, 9)},
                {arm_state_reply("[]"), 11, arm_outputs(false, false, 9, 9)}}},
        Getter{"Get_Current_Arm_State_seven",
               arm_state,
               R"({"command":"get_current_arm_state"})",
               "current_arm_state",
               {{arm_state_reply("{" + a_pose + "," + six + R"(,"arm_err":7,"sys_err":1})"), 11,
                 arm_outputs(false, true, 9, 9)}},
               47},
        joint_array("Get_Joint_Temperature", Get_Joint_Temperature, "get_current_joint_temperature",
                    "current_joint_temperature", "joint_temperature"),
        joint_array("Get_Joint_Current", Get_Joint_Current, "get_current_joint_current", "current_joint_current",
                    "joint_current"),
        joint_array("Get_Joint_Voltage", Get_Joint_Voltage, "get_current_joint_voltage", "current_joint_voltage",
                    "joint_voltage"),
        joint_array("Get_Arm_Init_Pose", Get_Arm_Init_Pose, "get_init_pose", "get_init_pose", "init_pose"),
        Getter{"Get_Joint_Degree",
               floats(Get_Joint_Degree),
               R"({"command":"get_joint_degree"})",
               "joint_degree",
               {{R"({"command":"joint_degree","joint":[1000,2,3,4,5,6,-7500]})", 0,
                 {1, 0.002, 0.003, 0.004, 0.005, 0.006, -7.5}},
                {R"({"command":"joint_degree","joint":[2000]})", 0, {2, -1, -1, -1, -1, -1, -1}},
                {R"({"command":"joint_degree","joint":{}})", 11, std::vector<double>(7, -1)}}},
        Getter{"Get_Arm_All_State",
               all_state,
               R"({"command":"get_arm_all_state"})",
               "arm_all_state",
               {{all_state_reply(R"({"temperature":)" + sevens + R"(,"current":)" + sevens + R"(,"voltage":)" + sevens +
                                 R"(,"err_flag":)" + sevens + R"(,"sys_err":3})"),
                 0,
                 {1.5, 0.007, 1.5, 0.007, 1500, 7, 3}},
                {all_state_reply("{}"), 9, {-1, -1, -1, -1, 9, 9, 9}},
                {all_state_reply("true"), 11, {-1, -1, -1, -1, 9, 9, 9}},
                {all_state_reply(R"({"temperature":[1],"current":)" + sevens + "}"), 11, {-1, -1, -1, -1, 9, 9, 9}},
                {all_state_reply(R"({"temperature":)" + sevens + R"(,"current":)" + sevens + "}"), 9,
                 {1.5, 0.007, -1, -1, 9, 9, 9}},
                {all_state_reply(R"({"temperature":)" + sevens + R"(,"current":)" + sevens + R"(,"voltage":)" + sevens +
                                 R"(,"err_flag":0})"),
                 11,
                 {1.5, 0.007, 1.5, 0.007, 9, 9, 9}},
                {all_state_reply(R"({"temperature":)" + sevens + R"(,"current":)" + sevens + R"(,"voltage":)" + sevens +
                                 R"(,"err_flag":)" + sevens + R"(,"sys_err":"3"})"),
                 11,
                 {1.5, 0.007, 1.5, 0.007, 1500, 7, 9}}},
               47},
        Getter{"Get_Arm_Plan_Num",
               [](int fd, std::vector<double>& values) {
                   return filled<int, 1>(values, [&](int* plan) { return Get_Arm_Plan_Num(fd, plan); });
               },
               R"({"command":"get_arm_plan_num"})",
               "arm_plan_num",
               {{R"({"command":"arm_plan_num","plan_num":3.0})", 0, {3}},
                {R"({"command":"arm_plan_num","plan_num":"3"})", 11, {-1}}}}),
    RowName());
