// Force sensing on the wire and back.
#include "support/command_rows.h"
#include "support/peer.h"

#include "kx_base.h"

INSTANTIATE_TEST_SUITE_P(
    Force, Setters,
    testing::Values(Setter{"Set_Force_Postion", with(Set_Force_Postion, 1, 0, 2, 5),
                           R"({"command":"set_force_position","sensor":1,"mode":0,"direction":2,"N":5})",
                           "set_force_position", "set_state"},
                    Setter{"Stop_Force_Postion", Stop_Force_Postion, R"({"command":"stop_force_positon"})",
                           "stop_force_positon", "stop_state"},
                    Setter{"Clear_Force_Data", Clear_Force_Data, R"({"command":"clear_force_data"})",
                           "clear_force_data", "clear_state"},
                    Setter{"Set_Force_Sensor", Set_Force_Sensor, R"({"command":"set_force_sensor"})",
                           "set_force_sensor", "set_state"},
                    Setter{"Stop_Set_Force_Sensor", Stop_Set_Force_Sensor,
                           R"({"command":"stop_set_force_sensor"})", "stop_set_force_sensor", "stop_state"},
                    Setter{"Clear_Fz", Clear_Fz, R"({"command":"clear_Fz"})", "clear_Fz", "set_state"},
                    Setter{"Auto_Set_Fz", Auto_Set_Fz, R"({"command":"auto_set_Fz"})", "set_force_sensor",
                           "set_state"}),
    RowName());

TEST(Force, BlocksOnlyOnExactlyOne)
{
    Arm arm;
    m_nOutTime = 50;
    const std::string request =
        on_the_wire(R"({"command":"set_force_position","sensor":1,"mode":0,"direction":2,"N":5})");
    for (int block : {2, -1, 256, 257}) {
        EXPECT_EQ(Set_Force_Postion(arm.sockfd, 1, 0, 2, 5, block), 0);
        EXPECT_EQ(arm.peer.next_request(), request);
    }
    EXPECT_EQ(Set_Force_Postion(arm.sockfd, 1, 0, 2, 5, 1), 7);
}

// Exact in binary, so that every digit of the products is known.
static const float joints[7] = {10.25f, -0.015625f, 0, 179.5f, 0.0078125f, -360, 77};
static const float other_joints[7] = {1, 2, 3, 4, 5, 6, -8.0009765625f};

template <class Call>
static Getter calibration(std::string name, Call call, std::string request, int model)
{
    const std::string reply = R"({"command":"set_force_sensor","set_state":)";
    return {std::move(name),
            [=](int fd, std::vector<double>&) { return call(fd); },
            std::move(request),
            "set_force_sensor",
            {{reply + "true}", 0, {}}, {reply + "false}", 1, {}}, {reply + "1}", 11, {}}},
            model};
}

static Getter force_pose(int type, int model, const std::string& command)
{
    return calibration(
        "Manual_Set_Force_" + std::to_string(type),
        [=](int fd) { return Manual_Set_Force(fd, type, joints); },
        "{" + command + R"("joint":[10250,-15.625,0,179500,7.8125,-360000]})", model);
}

static int manual_set_Fz(int fd)
{
    return Manual_Set_Fz(fd, joints, other_joints);
}

INSTANTIATE_TEST_SUITE_P(
    Force, Getters,
    testing::Values(
        force_pose(1, 46, R"("command":"manual_set_force_pose1",)"),
        force_pose(2, 36, R"("command":"manual_set_force_pose2",)"),
        force_pose(3, 47, R"("command":"manual_set_force_pose3",)"),
        force_pose(4, 47, R"("command":"manual_set_force_pose4",)"), force_pose(5, 46, ""),
        force_pose(0, 47, ""),
        calibration("Manual_Set_Fz", manual_set_Fz,
                    R"({"command":"manual_set_Fz","pose1":[10250,-15.625,0,179500,7.8125,-360000],)"
                    R"("pose2":[1000,2000,3000,4000,5000,6000]})",
                    46),
        calibration("Manual_Set_Fz_seven", manual_set_Fz,
                    R"({"command":"manual_set_Fz",)"
                    R"("pose1":[10250,-15.625,0,179500,7.8125,-360000,77000,-8000.9765625],)"
                    R"("pose2":[1000,2000,3000,4000,5000,6000]})",
                    47),
        Getter{"Get_Force_Data",
               [](int fd, std::vector<double>& values) {
                   return filled<float, 7>(values, [&](float* data) { return Get_Force_Data(fd, data); });
               },
               R"({"command":"get_force_data"})",
               "get_force_data",
               {{R"({"command":"get_force_data","force_data":[1999,-1999,999,-999,2000,-25000]})",
                 0,
                 {1, -1, 0, 0, 2, -25, -1}},
                {R"({"command":"get_force_data","force_data":[3000]})", 0, {3, -1, -1, -1, -1, -1, -1}},
                {R"({"command":"get_force_data","force_data":3000})", 11, std::vector<double>(7, -1)}}},
        Getter{"Get_Fz",
               [](int fd, std::vector<double>& values) {
                   return filled<float, 1>(values, [&](float* Fz) { return Get_Fz(fd, Fz); });
               },
               R"({"command":"get_Fz"})",
               "get_Fz",
               {{R"({"command":"get_Fz","Fz":12})", 0, {12}},
                {R"({"command":"get_Fz","set_state":true,"Fz":-3.9})", 0, {-3}},
                {R"({"command":"get_Fz","set_state":0,"Fz":2147483647})", 0, {2147483648.0}},
                {R"({"command":"get_Fz","Fz":"12"})", 0, {0}},
                {R"({"command":"get_Fz","set_state":false,"Fz":12})", 9, {-1}},
                {R"({"command":"get_Fz","set_state":false})", 9, {-1}},
                {R"({"command":"get_Fz","set_state":true})", 8, {-1}}},
               46,
               8}),
    RowName());

TEST(ForceDeathTest, CalibrationPosesOfManyDigitsEndTheProcess)
{
    const float third = -0.1f / 3; // -33.333332061767578 on the wire
    const float pose[6] = {third, third, third, third, third, third};
    EXPECT_EXIT(Manual_Set_Fz(-1, pose, pose), testing::KilledBySignal(SIGABRT), "");
}
