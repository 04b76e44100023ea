// Per-joint settings on the wire and back.
#include "support/command_rows.h"

#include "kx_base.h"

INSTANTIATE_TEST_SUITE_P(
    JointParameters, Setters,
    testing::Values(
        Setter{"Set_Joint_Speed", [](int fd, bool block) { return Set_Joint_Speed(fd, 3, 12.3456f, block); },
               R"({"command":"set_joint_max_speed","joint_max_speed":[3,12345]})", "set_joint_max_speed",
               "joint_max_speed", 8, Entry::guarded},
        Setter{"Set_Joint_Acc", [](int fd, bool block) { return Set_Joint_Acc(fd, 255, 600.0f, block); },
               R"({"command":"set_joint_max_acc","joint_max_acc":[255,600000]})", "set_joint_max_acc",
               "joint_max_acc", 8, Entry::guarded},
        Setter{"Set_Joint_Min_Pos",
               [](int fd, bool block) { return Set_Joint_Min_Pos(fd, 1, -0.0009f, block); },
               R"({"command":"set_joint_min_pos","joint_min_pos":[1,0]})", "set_joint_min_pos",
               "joint_min_pos", 8, Entry::direct},
        Setter{"Set_Joint_Max_Pos",
               [](int fd, bool block) { return Set_Joint_Max_Pos(fd, 6, -170.5f, block); },
               R"({"command":"set_joint_max_pos","joint_max_pos":[6,-170500]})", "set_joint_max_pos",
               "joint_max_pos", 8, Entry::direct},
        Setter{"Set_Joint_EN_State",
               [](int fd, bool block) { return Set_Joint_EN_State(fd, 2, true, block); },
               R"({"command":"set_joint_en_state","joint_en_state":[2,1]})", "set_joint_en_state",
               "joint_en_state", 8, Entry::direct},
        Setter{"Set_Joint_Zero_Pos", [](int fd, bool block) { return Set_Joint_Zero_Pos(fd, 4, block); },
               R"({"command":"set_joint_zero_pos","joint_zero_pos":4})", "set_joint_zero_pos",
               "joint_zero_pos", 8, Entry::sleeping_guarded},
        Setter{"Set_Joint_Err_Clear", [](int fd, bool block) { return Set_Joint_Err_Clear(fd, 5, block); },
               R"({"command":"set_joint_clear_err","joint_clear_err":5})", "set_joint_clear_err",
               "joint_clear_err", 8},
        Setter{"Start_Calibrate", Start_Calibrate, R"({"command":"start_calibrate"})", "start_calibrate",
               "calibrate_state", 8},
        Setter{"Stop_Calibrate", Stop_Calibrate, R"({"command":"stop_calibrate"})", "stop_calibrate",
               "calibrate_state", 8}),
    RowName());

template <class Number>
static auto reading(int (*get)(int, Number*))
{
    return [get](int fd, std::vector<double>& values) {
        return filled<Number, 7>(values, [&](Number* out) { return get(fd, out); });
    };
}

// The float getters differ in nothing but names and in the codes for a reply of the wrong shape.
static Getter float_getter(std::string name, int (*get)(int, float*), const std::string& command,
                           const std::string& key, int wrong_length)
{
    const auto reply = [=](const std::string& value) {
        return "{\"command\":\"" + command + "\",\"" + key + "\":" + value + "}";
    };
    const std::vector<double> untouched(7, -1);
    return {std::move(name),
            reading(get),
            "{\"command\":\"" + command + "\"}",
            command,
            {{reply("[180000,-1,0,2.9,1500,-1500]"), 0, {180, -0.001, 0, 0.002, 1.5, -1.5, -1}},
             {reply("[1,2,3,4,5,6,7]"), wrong_length, untouched},
             {reply("[]"), wrong_length, untouched},
             {reply("{}"), 10, untouched},
             {reply("6"), 10, untouched}}};
}

INSTANTIATE_TEST_SUITE_P(
    JointParameters, Getters,
    testing::Values(
        float_getter("Get_Joint_Speed", Get_Joint_Speed, "get_joint_max_speed", "joint_speed", 10),
        float_getter("Get_Joint_Acc", Get_Joint_Acc, "get_joint_max_acc", "joint_acc", 10),
        float_getter("Get_Joint_Min_Pos", Get_Joint_Min_Pos, "get_joint_min_pos", "min_pos", 10),
        float_getter("Get_Joint_Max_Pos", Get_Joint_Max_Pos, "get_joint_max_pos", "max_pos", 11),
        float_getter("Get_Joint_Software_Version", Get_Joint_Software_Version, "get_joint_software_version",
                     "version", 11),
        Getter{"Get_Joint_EN_State",
               reading(Get_Joint_EN_State),
               R"({"command":"get_joint_en_state"})",
               "get_joint_en_state",
               {{R"({"command":"get_joint_en_state","en_state":[1,0,256,257,-1,1,1]})",
                 0,
                 {1, 0, 0, 1, 255, 1, 1}},
                {R"({"command":"get_joint_en_state","en_state":[1,0,1,1,1,1]})", 11,
                 std::vector<double>(7, 255)},
                {R"({"command":"get_joint_en_state","en_state":true})", 10, std::vector<double>(7, 255)}},
               47},
        Getter{"Get_Joint_Err_Flag",
               reading(Get_Joint_Err_Flag),
               R"({"command":"get_joint_err_flag"})",
               "get_joint_err_flag",
               {{R"({"command":"get_joint_err_flag","err_flag":[0,4096,65537,0,0,1]})",
                 0,
                 {0, 4096, 1, 0, 0, 1, 65535}},
                {R"({"command":"get_joint_err_flag","err_flag":[0]})", 11, std::vector<double>(7, 65535)},
                {R"({"command":"get_joint_err_flag","err_flag":"0"})", 10, std::vector<double>(7, 65535)}},
               36},
        Getter{
            "Get_Calibrate_State",
            [](int fd, std::vector<double>& values) {
                unsigned short err_flag = 9;
                int state = 9;
                const int status = filled<float, 7>(
                    values, [&](float* out) { return Get_Calibrate_State(fd, out, &err_flag, &state); });
                values.insert(values.end(), {double(err_flag), double(state)});
                return status;
            },
            R"({"command":"get_calibrate_state"})",
            "calibrate_state",
            {{R"({"command":"calibrate_state","joint_state":[257,0,1,2,255,-1]})",
              0,
              {1, 0, 1, 2, 255, 255, -1, 9, 9}},
             {R"({"command":"calibrate_state","joint_state":[1]})", 10, {-1, -1, -1, -1, -1, -1, -1, 9, 9}},
             {R"({"command":"calibrate_state","joint_state":1})", 9, {-1, -1, -1, -1, -1, -1, -1, 9, 9}}}}),
    RowName());
