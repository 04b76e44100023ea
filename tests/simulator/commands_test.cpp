// What the virtual controller keeps and answers beside motions: parameters, frames, inputs and outputs.

#include "simulator/scenario.h"

#include "kx/replies.h"

using namespace kx::sim;

namespace {

const World inputs{.digital_inputs = {false, true}, .analogue_inputs = {0, 0, 2.5}, .tool_inputs = {true}};

const ScenarioRow commands_rows[] = {
    {"JointParametersAreKept", R"(
        0  set_joint_max_speed joint_max_speed [3,12345]   -> joint_max_speed true
           get_joint_max_speed                -> joint_speed [180000,180000,12345,180000,180000,180000]
           set_joint_max_acc joint_max_acc [1,1]           -> joint_max_acc true
           get_joint_max_acc                  -> joint_acc [1,600000,600000,600000,600000,600000]
           set_joint_min_pos joint_min_pos [2,-90500]      -> joint_min_pos true
           get_joint_min_pos                  -> min_pos [-180000,-90500,-135000,-180000,-128000,-360000]
           set_joint_max_pos joint_max_pos [2,90500]       -> joint_max_pos true
           get_joint_max_pos                  -> max_pos [180000,90500,135000,180000,128000,360000]
           get_joint_software_version         -> version [>0,*,*,*,*,>0]
           get_joint_err_flag                 -> err_flag [0,0,0,0,0,0]
           movej joint [0,90501,0,0,0,0] v 10 -> no "joint 2"
           set_init_pose init_pose [1,2,3,4,5,-6]          -> init_pose true
           get_init_pose                      -> init_pose [1,2,3,4,5,-6]
           get_arm_current_trajectory         -> type none data [0,0,0,0,0,0])"},
    {"ArmSettingsAreKept", R"(
        0  get_arm_max_line_speed             -> arm_line_speed 250
           set_arm_max_line_speed arm_line_speed 500       -> arm_line_speed true
           get_arm_max_line_speed             -> arm_line_speed 500
           set_arm_max_line_speed arm_line_speed 0         -> no above
           set_arm_max_line_acc arm_line_acc 1500          -> ok
           get_arm_max_line_acc               -> arm_line_acc 1500
           set_arm_max_line_acc arm_line_acc -1000         -> no
           set_arm_max_angular_speed arm_angular_speed 750 -> ok
           get_arm_max_angular_speed          -> arm_angular_speed 750
           set_arm_max_angular_speed arm_angular_speed 99000           -> no drives
           set_arm_max_angular_acc arm_angular_acc 3250    -> ok
           get_arm_max_angular_acc            -> arm_angular_acc 3250
           set_arm_init                       -> arm_init true
           get_arm_max_line_speed             -> arm_line_speed 250
           get_arm_max_angular_acc            -> arm_angular_acc 5000
           set_collision_stage collision_stage 3           -> command set_collision_state collision_state true
           set_collision_stage collision_stage 9           -> no 8
           get_collision_stage                -> collision_stage 3
           set_DH_data data [1,-2405,0,10,20] -> set_state true
           get_DH_data                        -> data [1,-2405,0,10,20]
           set_arm_dynamic_parm parm [1,2,3,4,5,6,7,8,9,10,11,12]      -> set_state true
           set_arm_dynamic_parm parm [1,2,3]  -> no 12
           set_install_pose pose [90,0]       -> set_state true
           get_tool_software_version          -> version >0)"},
    {"ChannelsReadBackAndInputsComeFromOutside", R"(
        0  set_DO_state IO_Num 1 state 1      -> state true
           set_DO_state IO_Num 0 state 1      -> no channel
           set_DO_state IO_Num 5 state 1      -> no channel
           set_AO_state IO_Num 2 voltage 1234 -> state true
           set_AO_state IO_Num 2 voltage 10500             -> no 10000
           set_AO_state IO_Num 2 voltage -10  -> no
           get_DO_state IO_Num 1              -> IO_state 1
           get_AO_state IO_Num 2              -> voltage 1234
           get_DI_state IO_Num 2              -> IO_state 1
           get_AI_state IO_Num 3              -> voltage 2500
           get_IO_output                      -> command IO_output_state DO [1,0,0,0] AO [0,1234,0,0]
           get_IO_input                       -> command IO_input_state DI [0,1,0,0] AI [0,0,2500,0]
           set_tool_DO_state IO_Num 2 state 1 -> set_state true
           set_tool_IO_mode IO_Num 1 state 0  -> set_state true
           set_tool_DO_state IO_Num 1 state 1 -> no input
           set_tool_IO_mode IO_Num 9 state 0  -> no channel
           get_tool_IO_state                  -> IO_Mode [0,1,1,1] IO_State [1,1,0,0]
           set_tool_voltage voltage_type 2    -> state true
           set_tool_voltage voltage_type 4    -> no type
           get_tool_voltage                   -> command tool_voltage_state voltage_type 2)",
     46, inputs},
    {"FramesLiveFromCreationToDeletion", R"(
        0  movej joint [20000,30000,-45000,10000,60000,0] v 100    -> done
           set_manual_tool_frame tool_name grip tool_pose [10000,-20000,120000,0,500,0] payload 1.5 position [10,0,123.4]  -> manual_tool_frame true
           set_manual_work_frame frame_name table frame_pose [0,0,100000,0,0,0]    -> command set_maual_work_frame manual_work_frame true
           get_current_tool_frame             -> tool_name flange pose [0,0,0,0,0,0] payload 0.0
           set_change_tool_frame tool_name grip            -> change_tool_frame true
           set_change_work_frame frame_name table          -> change_work_frame true
           get_current_tool_frame             -> tool_name grip pose [10000,-20000,120000,0,500,0] payload 1.5 position [10.0,0.0,123.4]
           set_payload payload 3 position [0,0,0]          -> set_state true
           set_payload payload 21 position [0,0,0]         -> no 20
           get_tool_frame tool_name grip      -> command given_tool_frame payload 3.0
           set_none_payload                   -> set_state true
           get_tool_frame tool_name grip      -> payload 0.0
           get_current_work_frame             -> frame_name table pose [0,0,100000,0,0,0]
           get_work_frame frame_name table    -> command given_work_frame pose [0,0,100000,0,0,0]
           get_total_tool_frame               -> tool_names ["flange","grip"]
           get_total_work_frame               -> frame_names ["base","table"]
           set_delete_tool_frame tool_name grip            -> no active
           set_delete_work_frame frame_name table          -> no active
           set_change_tool_frame tool_name flange          -> ok
           set_change_work_frame frame_name base           -> ok
           set_delete_tool_frame tool_name grip            -> delete_tool_frame true
           set_delete_work_frame frame_name table          -> command set_maual_work_frame manual_work_frame true
           get_total_tool_frame               -> tool_names ["flange"]
           set_delete_work_frame frame_name base           -> no deleted
           set_manual_tool_frame tool_name flange tool_pose [0,0,0,0,0,0] payload 0 position [0,0,0]   -> no changed
           set_delete_tool_frame tool_name grip            -> no "no frame"
           set_change_tool_frame tool_name grip            -> no "no frame"
           get_work_frame frame_name chair    -> no "no frame"
           set_manual_work_frame frame_name "tenletters" frame_pose [0,0,0,0,0,0]  -> no 9
           set_manual_work_frame frame_name NULL frame_pose [0,0,0,0,0,0]      -> no ends
           generate_auto_tool_frame tool_name grip payload 1 position [0,0,0]  -> no three
           set_auto_work_frame frame_name chair point_num 4        -> no 3)"},
    // Joints 4 to 6 turn about the centre of the wrist, 144 mm behind the flange.
    {"ToolsAreTaughtByPoints", R"(
        0  set_auto_tool_frame point_num 0    -> no
           movej joint [10000,20000,30000,20000,40000,0] v 100     -> done
           set_auto_tool_frame point_num 1    -> auto_tool_frame true
           generate_auto_tool_frame tool_name wrist payload 0 position [0,0,0]     -> no three
           movej joint [10000,20000,30000,60000,-30000,20000] v 100    -> done
           "" point_num 2                     -> command set_auto_tool_frame auto_tool_frame true
           movej joint [10000,20000,30000,-50000,60000,90000] v 100    -> done
           set_auto_tool_frame point_num 3    -> ok
           generate_auto_tool_frame tool_name wrist payload 0 position [0,0,0]     -> auto_tool_frame true
           get_tool_frame tool_name wrist     -> pose [0~2,0~2,-144000~2,0~1,0~1,0~1])"},
    {"WorkFramesAreTaughtByPoints", R"(
        0  movej joint [10000,20000,30000,0,20000,0] v 100         -> done
           set_auto_work_frame frame_name taught point_num 3       -> no "1 and 2"
           set_auto_work_frame frame_name taught point_num 1       -> auto_work_frame true
           movej joint [40000,20000,30000,0,20000,0] v 100         -> done
           set_auto_work_frame frame_name taught point_num 2       -> ok
           set_auto_work_frame frame_name taught point_num 3       -> no "too close"
           movej joint [10000,40000,30000,0,20000,0] v 100         -> done
           set_auto_work_frame frame_name taught point_num 3       -> ok
           set_change_work_frame frame_name taught         -> ok
           get_current_arm_state              -> arm_state.pose [*,>10000,0~2,*,*,*]
           movej joint [10000,20000,30000,0,20000,0] v 100         -> done
           get_current_arm_state              -> arm_state.pose [0~2,0~2,0~2,*,*,*]
           movej joint [40000,20000,30000,0,20000,0] v 100         -> done
           get_current_arm_state              -> arm_state.pose [>10000,0~2,0~2,*,*,*])"},
    // At (0.338, 0, 0.318) in the base; the frame's y axis is the base's -x axis.
    {"TheToolStepsAndJogsAlongTheWorkFrame", R"(
        0  movej joint [0,-30000,-60000,0,-90000,0] v 100          -> done
           set_manual_work_frame frame_name table frame_pose [200000,-300000,100000,0,0,1571]  -> ok
           set_change_work_frame frame_name table          -> ok
           get_current_arm_state              -> arm_state.pose [300000~70,-138000~70,218203~2,*,*,*]
           set_pos_step step_type y_step step -50000.0 v 100       -> done
           get_current_arm_state              -> arm_state.pose [300000~70,-188000~70,218203~2,*,*,-1571~2]
           set_ort_step step_type rz_step step 250.0 v 100 -> done
           get_current_arm_state              -> arm_state.pose [300000~70,-188000~70,218203~2,*,*,-1321~2]
           set_ort_step step_type rz_step step 3100.0 v 100        -> no 3000
           set_pos_step step_type rz_step step 1.0 v 100   -> no axis
           set_pos_teach teach_type x direction pos v 100  -> pos_teach true
           movel pose [300000,-188000,218203,3142,0,-1321] v 100   -> no jogged
     +0.5   set_stop_teach                    -> ok
       12  get_current_arm_state              -> arm_state.pose [>320000,-188000~70,218203~2,*,*,-1321~2]
           set_pos_teach teach_type z direction pos v 100  -> ok
       60  get_current_arm_state              -> arm_state.pose [>320000,-188000~70,>240000,*,*,-1321~2]
           set_pos_teach teach_type z direction pos v 100  -> no
           set_ort_teach teach_type rz direction neg v 100 -> ort_teach true
       61  set_stop_teach                     -> ok)"},
    {"VersionsRunTimeAndNetwork", R"(
        7400  get_system_runtime              -> day 0 hour 2 min 3 sec 20
              clear_system_runtime            -> clear_state true
        7461  get_system_runtime              -> hour 0 min 1 sec 1
              get_arm_hardware_version        -> version "kx-controller 1"
              get_arm_software_version        -> Plan_version 400 Ctrl_version 400
              set_high_speed_eth mode 1       -> set_state true
              set_high_speed_eth mode 2       -> no
              get_log_file                    -> no file
              set_wifi_sta router_name home password secret        -> later
              set_usb baudrate 115200         -> later
              set_RS485 baudrate 5            -> no baud
              set_ethernet                    -> later)"},
};

INSTANTIATE_TEST_SUITE_P(Command, Scenarios, testing::ValuesIn(commands_rows),
                         testing::PrintToStringParamName());

TEST(Frames, AreManyAndStillFitIntoAReply)
{
    Scenario arm;
    for (char letter = 'a'; letter < 'a' + 20; ++letter) {
        const std::string name = std::string("longname") + letter;
        arm.play("set_manual_work_frame frame_name " + name + " frame_pose [0,0,0,0,0,0] -> " +
                 (letter < 't' ? "ok" : "no room"));
    }
    EXPECT_EQ(arm.ask({{"command", "get_total_work_frame"}}).at("frame_names").size(), 20u);
}

TEST(Commands, StateQueriesOfSevenJointsFitALineWhenAllNumbersAreLong)
{
    Scenario arm(47);
    arm.play(R"(0   movej joint [-179999,-129999,-179999,-134999,-179999,-127999,-359999] v 100 -> done)");
    for (std::size_t i = 0; i < 7; ++i)
        arm.controller.arm().drives.fail(i, 65535);
    arm.play(R"(get_current_arm_state  -> arm_state.joint [*,*,*,*,*,*,-359999] arm_state.pose [*,*,*,*,*,*]
                 get_arm_all_state      -> all_state.err_flag [65535,65535,65535,65535,65535,65535,65535] all_state.voltage [*,*,*,*,*,*,>40000])");
}

/** All that can be read of the arm. */
std::string everything(Scenario& arm)
{
    std::string state;
    for (const char* name :
         {"get_joint_max_speed", "get_joint_max_acc", "get_joint_min_pos", "get_joint_max_pos",
          "get_joint_en_state", "get_calibrate_state", "get_joint_degree", "get_init_pose",
          "get_current_arm_state", "get_arm_all_state", "get_arm_plan_num"})
        state += arm.ask({{"command", name}}).dump();
    return state;
}

TEST(Commands, ARefusalIsTheAnswerOfItsCommandAndChangesNothing)
{
    // The command, the kind of reply by which clients wait for it, and why.
    const struct {
        const char* request;
        int recognised;
        const char* why;
    } refused[] = {
        {"set_joint_max_speed joint_max_speed [0,1000]", 2, "from 1 to 6"},
        {"set_joint_max_speed joint_max_speed [7,1000]", 2, "from 1 to 6"},
        {"set_joint_max_speed joint_max_speed [1.5,1000]", 2, "whole"},
        {"set_joint_max_speed joint_max_speed [1,0]", 2, "above 0"},
        {"set_joint_max_speed joint_max_speed [1,2147483647]", 2, "360"},
        {R"(set_joint_max_speed joint_max_speed [1,"fast"])", 2, "a number was"},
        {"set_joint_max_speed joint_max_speed [1,2,3]", 2, "array"},
        {"set_joint_max_speed joint_max_speed 5", 2, "array"},
        {"set_joint_max_speed", 2, "joint_max_speed"},
        {"set_joint_max_acc joint_max_acc [1,0]", 3, "above 0"},
        {"set_joint_min_pos joint_min_pos [2,130500]", 4, "below the upper"},
        {"set_joint_min_pos joint_min_pos [2,-130001]", 4, "mechanical"},
        {"set_joint_max_pos joint_max_pos [2,-130500]", 5, "above the lower"},
        {"set_joint_max_pos joint_max_pos [2,1e300]", 5, "mechanical"},
        {"set_joint_en_state joint_en_state [2,2]", 6, "from 0 to 1"},
        {"set_joint_en_state joint_en_state [2,true]", 6, "from 0 to 1"},
        {"set_joint_zero_pos joint_zero_pos [1]", 7, "the joint"},
        {"set_joint_clear_err joint_clear_err -1", 8, "the joint"},
        {"set_init_pose init_pose [1,2,3,4,5]", 61, "6 numbers"},
        {"set_init_pose init_pose [0,131000,0,0,0,0]", 61, "joint 2"},
        {"movej joint [0,0,0,0,0,0,0] v 10", 64, "6 numbers"},
        {"movej joint [0,0,0,0,0,null] v 10", 64, "number"},
        {"movej joint [1,0,0,0,0,0] v 0", 64, "the speed"},
        {"movej joint [1,0,0,0,0,0] v 101", 64, "the speed"},
        {"movej joint [1,0,0,0,0,0]", 64, "\"v\""},
        {"movej joint [1,0,0,0,0,0] v 10 r -1", 64, "radius"},
        {"set_arm_pause", 68, "nothing"},
        {"set_arm_continue", 69, "not paused"},
    };
    Scenario arm;
    const std::string before = everything(arm);
    for (const auto& row : refused) {
        const Scenario::Json reply = arm.ask(Scenario::request(row.request));
        EXPECT_EQ(Get_Json_KeyCode(reply.dump().c_str()), row.recognised) << reply;
        EXPECT_NE(reply.value("error", "").find(row.why), std::string::npos) << row.request << reply;
        EXPECT_EQ(std::ranges::count(reply, Scenario::Json(false)), 1) << reply;
        EXPECT_EQ(everything(arm), before) << row.request;
    }
}

TEST(Commands, WhatIsNoCommandGetsOneErrorThatFitsALine)
{
    Scenario arm;
    for (const std::string& request :
         {std::string("{}"), std::string(R"({"command":5})"), std::string(R"({"command":"fly"})"),
          std::string("{oops}"), "{\"command\":\"" + std::string(5000, 'x') + "\"}",
          "{\"command\":\"" + std::string(500, '\x01') + "\"}",
          "{\"command\":\"" + std::string(39, 'x') + "\xc3\xa4\"}", // would be cut inside a letter
          "{\"a\":" + std::string(20000, '[') + "}"}) {
        arm.controller.handle(request, 0, arm.client());
        EXPECT_NE(arm.take().value("error", ""), "") << request.substr(0, 50);
        EXPECT_TRUE(arm.came.empty());
    }
}

} // namespace
