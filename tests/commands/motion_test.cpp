// Planned motions: requests, the wait for their end, control of the trajectory.
#include "support/command_rows.h"
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/pending.h"

static const float target[7] = {10.0005f, -20, 30, -40, 50, -60, 70};
static const POSE via = {0.1234567f, -0.5f, 1, -3.14159f, 0.0005f, 1.5f};
static const POSE to = {0, 0, 0.25f, 0, 0, 0};

static int movej(int fd, bool block)
{
    return Movej_Cmd(fd, target, 20, 1.5f, block);
}
static int movel(int fd, bool block)
{
    return Movel_Cmd(fd, via, 255, 0, block);
}
static int movec(int fd, bool block)
{
    return Movec_Cmd(fd, via, to, 20, 0, 2, block);
}
static int movej_p(int fd, bool block)
{
    return Movej_P_Cmd(fd, to, 1, -0.001f, block);
}

INSTANTIATE_TEST_SUITE_P(
    Motion, Setters,
    testing::Values(
        Setter{"Movej_P_Cmd", movej_p, R"({"command":"movej_p","pose":[0,0,250000,0,0,0],"v":1,"r":-1})",
               "current_trajectory_state", "trajectory_state"},
        Setter{"Move_Stop_Cmd", Move_Stop_Cmd, R"({"command":"set_arm_stop"})", "set_arm_stop", "arm_stop"},
        Setter{"Move_Pause_Cmd", Move_Pause_Cmd, R"({"command":"set_arm_pause"})", "set_arm_pause",
               "arm_pause"},
        Setter{"Move_Continue_Cmd", Move_Continue_Cmd, R"({"command":"set_arm_continue"})",
               "set_arm_continue", "arm_continue"},
        Setter{"Clear_Current_Trajectory", Clear_Current_Trajectory,
               R"({"command":"set_delete_current_trajectory"})", "set_delete_current_trajectory",
               "delete_current_trajectory"},
        Setter{"Clear_All_Trajectory", Clear_All_Trajectory, R"({"command":"set_arm_delete_trajectory"})",
               "set_arm_delete_trajectory", "arm_delete_trajectory"}),
    RowName());

// Every data entry starts as 5 and every reply brings other data, which must not be stored.
static int trajectory(int fd, std::vector<double>& values)
{
    ARM_CTRL_MODES type = static_cast<ARM_CTRL_MODES>(77);
    float data[7] = {5, 5, 5, 5, 5, 5, 5};
    const int status = Get_Current_Trajectory(fd, &type, data);
    values.assign(data, data + 7);
    values.push_back(type);
    return status;
}

static std::string trajectory_reply(const std::string& data, const std::string& type)
{
    return R"({"command":"arm_current_trajectory","data":)" + data + R"(,"type":)" + type + "}";
}

static std::vector<double> rescaled(double first_three, double next_three, double seventh, double type)
{
    return {first_three, first_three, first_three, next_three, next_three, next_three, seventh, type};
}

INSTANTIATE_TEST_SUITE_P(
    Motion, Getters,
    testing::Values(Getter{"Get_Current_Trajectory",
                           trajectory,
                           R"({"command":"get_arm_current_trajectory"})",
                           "arm_current_trajectory",
                           {{trajectory_reply("[1,2,3,4,5,6]", R"("none")"), 0, rescaled(0.005, 0.005, 5, 0)},
                            {trajectory_reply("[1,2,3,4,5,6]", R"("movej")"), 0,
                             rescaled(0.005, 0.005, 5, 1)},
                            {trajectory_reply("[]", R"("movel")"), 0, rescaled(0.000005, 0.005, 5, 2)},
                            {trajectory_reply("[1]", R"("movec")"), 0, rescaled(0.000005, 0.005, 5, 3)},
                            {trajectory_reply("[1]", R"("MOVEC")"), 11, rescaled(5, 5, 5, 77)},
                            {trajectory_reply("[1]", R"("movej_p")"), 11, rescaled(5, 5, 5, 77)},
                            {trajectory_reply("[1]", "1"), 11, rescaled(5, 5, 5, 77)},
                            {trajectory_reply("6", R"("none")"), 11, rescaled(5, 5, 5, 77)},
                            {R"({"command":"arm_current_trajectory","data":[]})", 9, rescaled(5, 5, 5, 77)}}},
                    Getter{"Get_Current_Trajectory_seven",
                           trajectory,
                           R"({"command":"get_arm_current_trajectory"})",
                           "arm_current_trajectory",
                           {{trajectory_reply("[]", R"("movej")"), 0, rescaled(0.005, 0.005, 0.005, 1)}},
                           47}),
    RowName());

// The moves that wait for the end of the motion however long it takes.
struct Move {
    std::string name;
    int (*call)(int fd, bool block);
    std::string request;
    int model;
};

class Moves : public testing::TestWithParam<Move> {};

static const char state_reply[] = R"({"command":"current_arm_state","arm_state":{"pose":[0,0,0,0,0,0],)"
                                  R"("joint":[0,0,0,0,0,0],"arm_err":0,"sys_err":0}})"
                                  "\n";
static const char state_reply_seven[] = R"({"command":"current_arm_state","arm_state":{"pose":[0,0,0,0,0,0],)"
                                        R"("joint":[0,0,0,0,0,0,0],"arm_err":0,"sys_err":0}})"
                                        "\n";

TEST_P(Moves, QueueTheirRequest)
{
    Arm arm(GetParam().model);
    EXPECT_EQ(GetParam().call(arm.sockfd, false), 0);
    EXPECT_EQ(arm.peer.next_request(), on_the_wire(GetParam().request));
    EXPECT_EQ(GetParam().call(-1, true), 6);
    EXPECT_EQ(m_nSockeRIinfosLen, 0);
}

TEST_P(Moves, WaitForTheEndOfTheMotionWhileTheControllerAnswers)
{
    Arm arm(GetParam().model);
    m_nOutTime = 300; // far shorter than the motion
    arm.peer.answer("");
    for (int i = 0; i < 3; ++i)
        arm.peer.answer(GetParam().model == 47 ? state_reply_seven : state_reply);

    std::thread end_of_motion([&] {
        EXPECT_EQ(arm.peer.next_request(), on_the_wire(GetParam().request));
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(arm.peer.next_request(), on_the_wire(R"({"command":"get_current_arm_state"})"));
        sleep_cp(100); // after the second answer was taken: replies in one chunk would be one reply
        arm.peer.send("{\"command\":\"current_trajectory_state\",\"trajectory_state\":false}\n");
    });
    const unsigned int start = Get_Program_Runtime();
    EXPECT_EQ(GetParam().call(arm.sockfd, true), 1);
    EXPECT_GE(Get_Program_Runtime() - start, 2000u) << "it looks once a second";
    EXPECT_EQ(m_nSockeRIinfosLen, 0);
    end_of_motion.join();
}

TEST_P(Moves, GiveUpWhenTheControllerStopsAnswering)
{
    Arm arm(GetParam().model);
    m_nOutTime = 200;
    const unsigned int start = Get_Program_Runtime();
    EXPECT_EQ(GetParam().call(arm.sockfd, true), 7);
    EXPECT_GE(Get_Program_Runtime() - start, 200u);
    EXPECT_EQ(m_nSockeRIinfosLen, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Motion, Moves,
    testing::Values(
        Move{"Movej_Cmd", movej,
             R"({"command":"movej","joint":[10000,-20000,30000,-40000,50000,-60000],"v":20,"r":1500})", 46},
        Move{"Movej_Cmd_seven", movej,
             R"({"command":"movej","joint":[10000,-20000,30000,-40000,50000,-60000,70000],"v":20,"r":1500})",
             47},
        Move{"Movel_Cmd", movel,
             R"({"command":"movel","pose":[123456,-500000,1000000,-3141,0,1500],"v":255,"r":0})", 36},
        Move{"Movec_Cmd", movec,
             R"({"command":"movec","pose":{"pose_via":[123456,-500000,1000000,-3141,0,1500],)"
             R"("pose_to":[0,0,250000,0,0,0]},"v":20,"r":0,"loop":2})",
             46}),
    RowName());
