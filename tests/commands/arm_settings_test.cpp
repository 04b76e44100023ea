// Settings of the arm as a whole, on the wire and back.
#include "support/command_rows.h"

#include "kx_base.h"

static const float offsets[7] = {1.2345f, -0.0009f, 0, 179.9999f, -90, 360, 7};
static const float parameters[14] = {0.0015f, -0.25f, 0, 1, 2, 3, 4, 5, 6, 7, 8, 0.0000625f, 13, -14};

static Setter limit(std::string name, int (*set)(int, float, bool), const std::string& kind)
{
    return {std::move(name),
            [set](int fd, bool block) { return set(fd, 0.2509f, block); },
            "{\"command\":\"set_arm_max_" + kind + "\",\"arm_" + kind + "\":250}",
            "set_arm_max_" + kind,
            "arm_" + kind,
            8};
}

static Setter zero_offset(std::string name, int model, const std::string& offset)
{
    return {std::move(name),
            [](int fd, bool block) { return Set_Joint_Zero_Offset(fd, offsets, block); },
            R"({"command":"set_joint_zero_offset","offset":)" + offset + "}",
            "set_joint_zero_offset",
            "set_state",
            11,
            Entry::sleeping,
            model};
}

static Setter dynamic_parm(std::string name, int model, const std::string& parm)
{
    return {std::move(name),
            [](int fd, bool block) { return Set_Arm_Dynamic_Parm(fd, parameters, block); },
            R"({"command":"set_arm_dynamic_parm","parm":)" + parm + "}",
            "set_arm_dynamic_parm",
            "set_state",
            11,
            Entry::sleeping,
            model};
}

INSTANTIATE_TEST_SUITE_P(
    ArmSettings, Setters,
    testing::Values(
        limit("Set_Arm_Line_Speed", Set_Arm_Line_Speed, "line_speed"),
        limit("Set_Arm_Line_Acc", Set_Arm_Line_Acc, "line_acc"),
        limit("Set_Arm_Angular_Speed", Set_Arm_Angular_Speed, "angular_speed"),
        limit("Set_Arm_Angular_Acc", Set_Arm_Angular_Acc, "angular_acc"),
        Setter{"Set_Arm_Tip_Init", Set_Arm_Tip_Init, R"({"command":"set_arm_init"})", "set_arm_init",
               "arm_init"},
        Setter{"Set_Collision_Stage", [](int fd, bool block) { return Set_Collision_Stage(fd, -3, block); },
               R"({"command":"set_collision_stage","collision_stage":-3})", "set_collision_state",
               "collision_state"},
        Setter{"Set_DH_Data",
               [](int fd, bool block) { return Set_DH_Data(fd, 0.1234f, -0.19f, 0, 240.5f, 1000, block); },
               R"({"command":"set_DH_data","data":[1,-1,0,2405,10000]})", "set_DH_data", "set_state"},
        zero_offset("Set_Joint_Zero_Offset", 46, "[1234,0,0,179999,-90000,360000]"),
        zero_offset("Set_Joint_Zero_Offset_seven", 47, "[1234,0,0,179999,-90000,360000,7000]"),
        dynamic_parm("Set_Arm_Dynamic_Parm", 36,
                     "[1.5,-250,0,1000,2000,3000,4000,5000,6000,7000,8000,0.0625]"),
        dynamic_parm("Set_Arm_Dynamic_Parm_seven", 47,
                     "[1.5,-250,0,1000,2000,3000,4000,5000,6000,7000,8000,0.0625,13000,-14000]"),
        Setter{"Set_Arm_Servo_State", [](int fd, bool block) { return Set_Arm_Servo_State(fd, true, block); },
               R"({"command":"set_arm_servo","arm_servo":1})", "set_arm_servo", "arm_servo"},
        Setter{"Set_System_State_Servo",
               [](int fd, bool block) { return Set_System_State_Servo(fd, false, block); },
               R"({"command":"set_system_state_servo","servo_state":0})", "set_system_state_servo",
               "servo_state"},
        Setter{"Set_Install_Pose", [](int fd, bool block) { return Set_Install_Pose(fd, 90, 0.5f, block); },
               R"({"command":"set_install_pose","pose":[90,0.5]})", "set_install_pose", "set_state"}),
    RowName());

template <class Number>
static auto reading(int (*get)(int, Number*))
{
    return [get](int fd, std::vector<double>& values) {
        return filled<Number, 1>(values, [&](Number* out) { return get(fd, out); });
    };
}

static std::string member(const std::string& reply_name, const std::string& key, const std::string& value)
{
    return "{\"command\":\"" + reply_name + "\",\"" + key + "\":" + value + "}";
}

static Getter limit(std::string name, int (*get)(int, float*), const std::string& kind)
{
    const auto reply = [=](const std::string& value) {
        return member("get_arm_max_" + kind, "arm_" + kind, value);
    };
    return {std::move(name),
            reading(get),
            "{\"command\":\"get_arm_max_" + kind + "\"}",
            "arm_max_" + kind,
            {{reply("250.9"), 0, {0.25}}, {reply("-1"), 0, {-0.001}}, {reply("\"250\""), 11, {-1}}}};
}

static Getter unchecked(std::string name, int (*get)(int, int*), const std::string& command,
                        const std::string& key)
{
    const auto reply = [=](const std::string& value) { return member(command, key, value); };
    return {std::move(name),
            reading(get),
            "{\"command\":\"" + command + "\"}",
            command,
            {{reply("-7.9"), 0, {-7}},
             {reply("\"7\""), 0, {0}},
             {reply("[7]"), 0, {0}},
             {reply("true"), 0, {1}}}};
}

static int dh_data(int fd, std::vector<double>& values)
{
    return filled<float, 5>(
        values, [&](float* out) { return Get_DH_Data(fd, out, out + 1, out + 2, out + 3, out + 4); });
}

static const std::vector<double> no_dh(5, -1);

INSTANTIATE_TEST_SUITE_P(
    ArmSettings, Getters,
    testing::Values(
        limit("Get_Arm_Line_Speed", Get_Arm_Line_Speed, "line_speed"),
        limit("Get_Arm_Line_Acc", Get_Arm_Line_Acc, "line_acc"),
        limit("Get_Arm_Angular_Speed", Get_Arm_Angular_Speed, "angular_speed"),
        limit("Get_Arm_Angular_Acc", Get_Arm_Angular_Acc, "angular_acc"),
        unchecked("Get_Collision_Stage", Get_Collision_Stage, "get_collision_stage", "collision_stage"),
        Getter{"Get_DH_Data",
               dh_data,
               R"({"command":"get_DH_data"})",
               "DH_data",
               {{member("DH_data", "data", "[1,-1,0,2405,10000]"), 0, {0.1, -0.1, 0, 240.5, 1000}},
                {member("DH_data", "data", "[1,2,3,4,5,6]"), 0, {0.1, 0.2, 0.3, 0.4, 0.5}},
                {member("DH_data", "data", "[1,2,3,4]"), 11, no_dh},
                {member("DH_data", "data", "[]"), 11, no_dh},
                {member("DH_data", "data", "{}"), 11, no_dh}}},
        unchecked("Get_Tool_Software_Version", Get_Tool_Software_Version, "get_tool_software_version",
                  "version")),
    RowName());
