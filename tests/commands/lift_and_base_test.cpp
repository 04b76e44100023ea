// Lift and mobile base on the wire and back.
#include "support/command_rows.h"

#include "kx_base.h"

INSTANTIATE_TEST_SUITE_P(
    LiftAndBase, Setters,
    testing::Values(
        Setter{"Set_Vehicle", with(Set_Vehicle, 10, -20),
               R"({"command":"set_vehicle","speed":10,"angular":-20})", "set_vehicle", "set_state"},
        Setter{"Set_Lift", with(Set_Lift, 300, 50), R"({"command":"set_lift ","height":300,"speed":50})",
               "set_lift", "set_state"},
        Setter{"Set_Lift_Speed", with(Set_Lift_Speed, -50), R"({"command":"set_lift_speed","speed":-50})",
               "set_lift_speed", "set_state"},
        Setter{"Set_Lift_Height", with(Set_Lift_Height, 300, 50),
               R"({"command":"set_lift_height","height":300,"speed":50})", "current_trajectory_state",
               "trajectory_state"},
        Setter{"Set_Car_Move", with(Set_Car_Move, 1, 2),
               R"({"command":"set_car_move","linear_speed":1,"angular_speed":2})", "set_car_move",
               "set_state"},
        Setter{"Set_Car_Station", with(Set_Car_Station, 4, 30),
               R"({"command":"set_car_speed","station":4,"speed":30})", "set_car_speed", "navigation_state"},
        Setter{"Set_Car_Navigation_Speed", with(Set_Car_Navigation_Speed, 7),
               R"({"command":"set_car_navigation_speed","speed":7})", "set_car_navigation_speed",
               "navigation_state"},
        Setter{"Set_Car_Navigation_Mode", with(Set_Car_Navigation_Mode, 2),
               R"({"command":"set_car_navigation_mode","mode":2})", "set_car_navigation_mode",
               "navigation_state"},
        Setter{"Set_Car_Charge", with(Set_Car_Charge, 1), R"({"command":"set_car_charge","charge_state":1})",
               "set_car_charge", "navigation_state"},
        Setter{"Set_Car_Station_Num", with(Set_Car_Station_Num, 12),
               R"({"command":"set_car_station_num","station_num":12})", "set_car_station_num",
               "navigation_state"}),
    RowName());

static int lift_state(int fd, std::vector<double>& values)
{
    return filled<int, 3>(values, [&](int* out) { return Get_Lift_State(fd, &out[0], &out[1], &out[2]); });
}

static int car_state(int fd, std::vector<double>& values)
{
    return filled<int, 6>(values, [&](int* out) {
        return Get_Car_State(fd, &out[0], &out[1], &out[2], &out[3], &out[4], &out[5]);
    });
}

static ReplyCase lift(const std::string& members, int status, std::vector<double> values)
{
    return {R"({"command":"lift_state",)" + members + "}", status, std::move(values)};
}

static ReplyCase car(const std::string& members, int status, std::vector<double> values)
{
    return {R"({"command":"get_car_state",)" + members + "}", status, std::move(values)};
}

static const std::string first_four = R"("battery_volume":80,"voltage":24000,"current":-5,"car_err":9)";

INSTANTIATE_TEST_SUITE_P(
    LiftAndBase, Getters,
    testing::Values(
        Getter{"Get_Lift_State",
               lift_state,
               R"({"command":"get_lift_state"})",
               "lift_state",
               {lift(R"("err_flag":65536,"current":-20,"height":300.9)", 0, {300, -20, 65536}),
                lift(R"("height":300)", 9, {300, -1, -1}), lift(R"("current":20)", 9, {-1, -1, -1}),
                lift(R"("height":300,"current":null,"err_flag":0)", 11, {300, -1, -1}),
                lift(R"("height":300,"current":20)", 9, {300, 20, -1}),
                lift(R"("height":300,"current":20,"err_flag":true)", 11, {300, 20, -1})}},
        Getter{"Get_Car_State",
               car_state,
               R"({"command":"get_car_state"})",
               "get_car_state",
               {car(first_four + R"(,"car_state":3,"station_num":4)", 0, {80, 24000, -5, 9, 3, 4}),
                car(first_four + R"(,"station_num":4)", 4, {80, 24000, -5, 9, -1, -1}),
                car(first_four + R"(,"car_state":"3","station_num":4)", 11, {80, 24000, -5, 9, -1, -1}),
                car(first_four + R"(,"car_state":3)", 9, {80, 24000, -5, 9, 3, -1}),
                car(R"("battery_volume":80,"voltage":true)", 11, {80, -1, -1, -1, -1, -1}),
                car(R"("battery_volume":80,"current":1,"car_err":2)", 9, {80, -1, -1, -1, -1, -1}),
                car(R"("battery_volume":80,"voltage":1,"current":2)", 9, {80, 1, 2, -1, -1, -1})}}),
    RowName());
