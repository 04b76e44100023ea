// The controller itself on the wire and back: power, versions, run time, odometers.
#include "support/command_rows.h"

#include "kx_base.h"

#include <cstring>

INSTANTIATE_TEST_SUITE_P(
    System, Setters,
    testing::Values(
        Setter{"Set_Arm_Power_on", with(Set_Arm_Power, true), R"({"command":"set_arm_power","arm_power":1})",
               "set_arm_power", "arm_power"},
        Setter{"Set_Arm_Power_off", with(Set_Arm_Power, false),
               R"({"command":"set_arm_power","arm_power":64})", "set_arm_power", "arm_power"},
        Setter{"Clear_System_Err", Clear_System_Err, R"({"command":"clear_system_err"})", "clear_system_err",
               "clear_state"},
        Setter{"Get_Log_File", Get_Log_File, R"({"command":"get_log_file"})", "get_log_file", "set_state"},
        Setter{"Clear_System_Runtime", Clear_System_Runtime, R"({"command":"clear_system_runtime"})",
               "clear_system_runtime", "clear_state"},
        Setter{"Clear_Joint_Odom", Clear_Joint_Odom, R"({"command":"clear_joint_odom"})", "clear_joint_odom",
               "clear_state"},
        Setter{"Set_High_Speed_Eth", with(Set_High_Speed_Eth, 255),
               R"({"command":"set_high_speed_eth","mode":255})", "set_high_speed_eth", "set_state"}),
    RowName());

static int hardware_version(int fd, std::vector<double>&)
{
    char version[4] = "old";
    const int status = Get_Arm_Hardware_Version(fd, version);
    EXPECT_STREQ(version, "old");
    return status;
}

// A version text as a number; -1 when nothing was written.
static double number(const char* text)
{
    if (strcmp(text, "untouched..") == 0) return -1;
    EXPECT_EQ(std::to_string(std::atoi(text)), text);
    return std::atoi(text);
}

static int software_version(int fd, std::vector<double>& values)
{
    char plan[12] = "untouched..", ctrl[12] = "untouched..";
    const int status = Get_Arm_Software_Version(fd, plan, ctrl);
    values = {number(plan), number(ctrl)};
    return status;
}

static int runtime(int fd, std::vector<double>& values)
{
    char state[4] = "old";
    const int status = filled<int, 4>(
        values, [&](int* out) { return Get_System_Runtime(fd, state, &out[0], &out[1], &out[2], &out[3]); });
    EXPECT_STREQ(state, "old");
    return status;
}

static int odometers(int fd, std::vector<double>& values)
{
    char state[4] = "old";
    const int status = filled<float, 3>(values, [&](float* odom) { return Get_Joint_Odom(fd, state, odom); });
    EXPECT_STREQ(state, "old");
    return status;
}

static ReplyCase reply(const std::string& name, const std::string& members, int status,
                       std::vector<double> values)
{
    return {"{\"command\":\"" + name + "\"," + members + "}", status, std::move(values)};
}

INSTANTIATE_TEST_SUITE_P(
    System, Getters,
    testing::Values(
        Getter{"Get_Arm_Power_State",
               [](int fd, std::vector<double>& values) {
                   return filled<int, 1>(values, [&](int* state) { return Get_Arm_Power_State(fd, state); });
               },
               R"({"command":"get_arm_power_state"})",
               "arm_power_state",
               {reply("arm_power_state", R"("power_state":65600)", 0, {65600}),
                reply("arm_power_state", R"("power_state":true)", 11, {-1})}},
        Getter{"Get_Arm_Hardware_Version",
               hardware_version,
               R"({"command":"get_arm_hardware_version"})",
               "arm_hardware_version",
               {reply("arm_hardware_version", R"("version":"1.2")", 0, {}),
                reply("arm_hardware_version", R"("version":1.2)", 11, {})}},
        Getter{"Get_Arm_Software_Version",
               software_version,
               R"({"command":"get_arm_software_version"})",
               "arm_software_version",
               {reply("arm_software_version", R"("Plan_version":110,"Ctrl_version":7)", 0, {110, 7}),
                reply("arm_software_version", R"("Plan_version":-2147483648,"Ctrl_version":7.9)", 0,
                      {-2147483648.0, 7}),
                reply("arm_software_version", R"("Ctrl_version":7)", 9, {-1, -1}),
                reply("arm_software_version", R"("Plan_version":"110","Ctrl_version":7)", 11, {-1, -1}),
                reply("arm_software_version", R"("Plan_version":110)", 9, {110, -1}),
                reply("arm_software_version", R"("Plan_version":110,"Ctrl_version":"7")", 11, {110, -1})}},
        Getter{"Get_System_Runtime",
               runtime,
               R"({"command":"get_system_runtime"})",
               "get_system_runtime",
               {reply("get_system_runtime", R"("day":1,"hour":2,"min":3,"sec":4)", 0, {1, 2, 3, 4}),
                reply("get_system_runtime", R"("sys_state":"","day":1,"hour":2,"min":3,"sec":4)", 0,
                      {-1, -1, -1, -1}),
                reply("get_system_runtime", R"("sys_state":true,"day":1,"hour":2,"min":3,"sec":4)", 11,
                      {-1, -1, -1, -1}),
                reply("get_system_runtime", R"("day":1,"hour":2,"min":"3","sec":4)", 11, {1, 2, -1, -1}),
                reply("get_system_runtime", R"("day":1,"hour":2,"min":3)", 9, {1, 2, 3, -1})}},
        Getter{"Get_Joint_Odom",
               odometers,
               R"({"command":"get_joint_odom"})",
               "get_joint_odom",
               {reply("get_joint_odom", R"("odom":[1500,-20])", 0, {1500, -20, -1}),
                reply("get_joint_odom", R"("sys_state":"ready","odom":[1500,-20])", 0, {-1, -1, -1}),
                reply("get_joint_odom", R"("sys_state":1,"odom":[1500,-20])", 11, {-1, -1, -1}),
                reply("get_joint_odom", R"("odom":1500)", 11, {-1, -1, -1})}}),
    RowName());
