// Jogging, steps, waypoints and the timer on the wire and back.
#include "support/command_rows.h"
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/pending.h"

static const float waypoint[7] = {10.0005f, -20, 30, -40, 50, -60, 70};

static Setter add_waypoint(std::string name, int model, const std::string& joint)
{
    return {std::move(name),
            [](int fd, bool block) { return Add_Waypoint(fd, waypoint, block); },
            R"({"command":"add_waypoint","joint":)" + joint + "}",
            "add_waypoint",
            "waypoint_state",
            0,
            Entry::sleeping,
            model};
}

INSTANTIATE_TEST_SUITE_P(
    Teaching, Setters,
    testing::Values(
        Setter{"Joint_Teach_Cmd", [](int fd, bool block) { return Joint_Teach_Cmd(fd, 3, 0, 20, block); },
               R"({"command":"set_joint_teach","teach_joint":3,"direction":"neg","v":20})", "set_joint_teach",
               "joint_teach"},
        Setter{"Pos_Teach_Cmd", [](int fd, bool block) { return Pos_Teach_Cmd(fd, X_Dir, 7, 50, block); },
               R"({"command":"set_pos_teach","teach_type":"x","direction":"pos","v":50})", "set_pos_teach",
               "pos_teach"},
        Setter{"Ort_Teach_Cmd",
               [](int fd, bool block) { return Ort_Teach_Cmd(fd, RY_Rotate, 0, 255, block); },
               R"({"command":"set_ort_teach","teach_type":"ry","direction":"neg","v":255})", "set_ort_teach",
               "ort_teach"},
        Setter{"Teach_Stop_Cmd", Teach_Stop_Cmd, R"({"command":"set_stop_teach"})", "set_stop_teach",
               "stop_teach"},
        Setter{"Joint_Step_Cmd", [](int fd, bool block) { return Joint_Step_Cmd(fd, 2, 0.0015f, 10, block); },
               R"({"command":"set_joint_step","joint_step":[2,1.5],"v":10})", "current_trajectory_state",
               "trajectory_state"},
        Setter{"Pos_Step_Cmd",
               [](int fd, bool block) { return Pos_Step_Cmd(fd, Z_Dir, 0.0000015f, 10, block); },
               R"({"command":"set_pos_step","step_type":"z_step","step":1,"v":10})",
               "current_trajectory_state", "trajectory_state"},
        Setter{"Ort_Step_Cmd",
               [](int fd, bool block) { return Ort_Step_Cmd(fd, RX_Rotate, -0.0199f, 10, block); },
               R"({"command":"set_ort_step","step_type":"rx_step","step":-19,"v":10})",
               "current_trajectory_state", "trajectory_state"},
        add_waypoint("Add_Waypoint", 36, "[10000,-20000,30000,-40000,50000,-60000]"),
        add_waypoint("Add_Waypoint_seven", 47, "[10000,-20000,30000,-40000,50000,-60000,70000]"),
        Setter{"Start_Waypoint", [](int fd, bool block) { return Start_Waypoint(fd, -100000, block); },
               R"({"command":"start_waypoint","frequency":-100000})", "start_waypoint", "waypoint_state"},
        Setter{"Clear_Waypoint", Clear_Waypoint, R"({"command":"clear_waypoint"})", "clear_waypoint",
               "waypoint_state"},
        Setter{"Timer", [](int fd, bool block) { return Timer(fd, 1500, block); },
               R"({"command":"timer","wait_time":1500})", "timer", "wait_time"}),
    RowName());

// Any other value than the three leaves the key out.
TEST(Axes, AreNamedOrLeftOut)
{
    Arm arm;
    for (int axis : {0, 1, 2, 3}) {
        const auto sends = [&](const std::string& command, const std::string& key, const std::string& before,
                               const std::string& behind, const std::string& rest) {
            const std::string name = before + "xyz"[axis] + behind;
            const std::string type = axis < 3 ? ",\"" + key + "\":\"" + name + "\"" : "";
            EXPECT_EQ(arm.peer.next_request(),
                      on_the_wire("{\"command\":\"" + command + "\"" + type + "," + rest + "}"));
        };
        const auto along = static_cast<POS_TEACH_MODES>(axis);
        const auto about = static_cast<ORT_TEACH_MODES>(axis);
        Pos_Teach_Cmd_NonBlock(arm.sockfd, along, 1, 5);
        sends("set_pos_teach", "teach_type", "", "", R"("direction":"pos","v":5)");
        Ort_Teach_Cmd_NonBlock(arm.sockfd, about, 1, 5);
        sends("set_ort_teach", "teach_type", "r", "", R"("direction":"pos","v":5)");
        Pos_Step_Cmd_NonBlock(arm.sockfd, along, 1, 5);
        sends("set_pos_step", "step_type", "", "_step", R"("step":1000000,"v":5)");
        Ort_Step_Cmd_NonBlock(arm.sockfd, about, 1, 5);
        sends("set_ort_step", "step_type", "r", "_step", R"("step":1000,"v":5)");
    }
}

TEST(StopWaypoint, FindsNoReplyThatAnswersIt)
{
    Arm arm;
    m_nOutTime = 100;
    EXPECT_EQ(Stop_Waypoint(arm.sockfd, false), 0);
    EXPECT_EQ(arm.peer.next_request(), on_the_wire(R"({"command":"stop_waypoint"})"));
    for (const char* name : {"stop_waypoint", "start_waypoint", "clear_waypoint"}) {
        arm.peer.answer("{\"command\":\"" + std::string(name) + "\",\"waypoint_state\":true}\n");
        EXPECT_EQ(Stop_Waypoint(arm.sockfd, true), 7) << name;
        EXPECT_EQ(arm.peer.next_request(), on_the_wire(R"({"command":"stop_waypoint"})"));
        EXPECT_EQ(m_nSockeRIinfosLen, 0);
    }
    EXPECT_EQ(Stop_Waypoint(-1, true), 6);
}

// What it would make of a reply, put where the receiver would put one.
TEST(StopWaypoint, DecodesTheStateOfTheWaypoints)
{
    Arm arm;
    const struct {
        std::string reply;
        int status;
    } rows[] = {{R"({"waypoint_state":true})", 0},
                {R"({"waypoint_state":false})", 1},
                {R"({"waypoint_state":5})", 11},
                {"{}", 9}};
    for (const auto& row : rows) {
        std::thread receiver([&] {
            ASSERT_TRUE(eventually([] { return m_nSockeRIinfosLen == 1; }));
            EXPECT_EQ(SockeRIinfos[0].key, 76);
            for (size_t i = 0; i < row.reply.size(); ++i)
                SockeRIinfos[0].text[i] = row.reply[i];
            SockeRIinfos[0].received = 1;
        });
        EXPECT_EQ(Stop_Waypoint_Block(arm.sockfd), row.status) << row.reply;
        receiver.join();
    }
}

TEST(Decoders, ReadTheAnswerOfTheTimer)
{
    EXPECT_EQ(Paser_Timer(R"({"wait_time":true})"), 0);
    EXPECT_EQ(Paser_Timer(R"({"wait_time":1500})"), 11);
}
