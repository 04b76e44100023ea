// Vertical lift and wheeled base.
#include "kx/lift_and_base.h"
#include "runtime/command.h"

using namespace kx;

static Request vehicle(int speed, int angular)
{
    return Request("set_vehicle", KeyCode::set_vehicle).number("speed", speed).number("angular", angular);
}

int Set_Vehicle_Block(int sockfd, int speed, int angular)
{
    return exchange(sockfd, vehicle(speed, angular), boolean_state("set_state"));
}

int Set_Vehicle_NonBlock(int sockfd, int speed, int angular)
{
    return post(sockfd, vehicle(speed, angular));
}

int Set_Vehicle(int sockfd, int speed, int angular, bool block)
{
    return sleeping(sockfd, block, Set_Vehicle_Block, Set_Vehicle_NonBlock, speed, angular);
}

static Request lift_to(const char* command, KeyCode answer, int height, int speed)
{
    return Request(command, answer).number("height", height).number("speed", speed);
}

static Request lift(int height, int speed) // the controller knows it with this blank
{
    return lift_to("set_lift ", KeyCode::set_lift, height, speed);
}

int Set_Lift_Block(int sockfd, int height, int speed)
{
    return exchange(sockfd, lift(height, speed), boolean_state("set_state"));
}

int Set_Lift_NonBlock(int sockfd, int height, int speed)
{
    return post(sockfd, lift(height, speed));
}

int Set_Lift(int sockfd, int height, int speed, bool block)
{
    return sleeping(sockfd, block, Set_Lift_Block, Set_Lift_NonBlock, height, speed);
}

static Request lift_speed(int speed)
{
    return Request("set_lift_speed", KeyCode::set_lift_speed).number("speed", speed);
}

int Set_Lift_Speed_Block(int sockfd, int speed)
{
    return exchange(sockfd, lift_speed(speed), boolean_state("set_state"));
}

int Set_Lift_Speed_NonBlock(int sockfd, int speed)
{
    return post(sockfd, lift_speed(speed));
}

int Set_Lift_Speed(int sockfd, int speed, bool block)
{
    return sleeping(sockfd, block, Set_Lift_Speed_Block, Set_Lift_Speed_NonBlock, speed);
}

static Request lift_height(int height, int speed)
{
    return lift_to("set_lift_height", KeyCode::current_trajectory_state, height, speed);
}

// It waits for the end of the motion, but no longer than for any other reply.
int Set_Lift_Height_BLock(int sockfd, int height, int speed)
{
    return exchange(sockfd, lift_height(height, speed), boolean_state("trajectory_state"));
}

int Set_Lift_Height_NonBLock(int sockfd, int height, int speed)
{
    return post(sockfd, lift_height(height, speed));
}

int Set_Lift_Height(int sockfd, int height, int speed, bool block)
{
    return sleeping(sockfd, block, Set_Lift_Height_BLock, Set_Lift_Height_NonBLock, height, speed);
}

int Get_Lift_State_Block(int sockfd, int* height, int* current, int* err_flag)
{
    return exchange(sockfd, Request("get_lift_state", KeyCode::lift_state), [=](Reply& reply) {
        return reply.integer("height", *height)
            .integer("current", *current)
            .integer("err_flag", *err_flag)
            .code();
    });
}

int Get_Lift_State(int sockfd, int* height, int* current, int* err_flag)
{
    return query(Get_Lift_State_Block, sockfd, height, current, err_flag);
}

static Request car_move(int linear_speed, int angular_speed)
{
    return Request("set_car_move", KeyCode::set_car_move)
        .number("linear_speed", linear_speed)
        .number("angular_speed", angular_speed);
}

int Set_Car_Move_Block(int sockfd, int linear_speed, int angular_speed)
{
    return exchange(sockfd, car_move(linear_speed, angular_speed), boolean_state("set_state"));
}

int Set_Car_Move_NonBlock(int sockfd, int linear_speed, int angular_speed)
{
    return post(sockfd, car_move(linear_speed, angular_speed));
}

int Set_Car_Move(int sockfd, int linear_speed, int angular_speed, bool block)
{
    return sleeping(sockfd, block, Set_Car_Move_Block, Set_Car_Move_NonBlock, linear_speed, angular_speed);
}

// The controller's name for going to a station is set_car_speed.
static Request car_station(int station, int speed)
{
    return Request("set_car_speed", KeyCode::set_car_speed).number("station", station).number("speed", speed);
}

int Set_Car_Station_Block(int sockfd, int station, int speed)
{
    return exchange(sockfd, car_station(station, speed), boolean_state("navigation_state"));
}

int Set_Car_Station_NonBlock(int sockfd, int station, int speed)
{
    return post(sockfd, car_station(station, speed));
}

int Set_Car_Station(int sockfd, int station, int speed, bool block)
{
    return sleeping(sockfd, block, Set_Car_Station_Block, Set_Car_Station_NonBlock, station, speed);
}

static Request navigation_speed(int speed)
{
    return Request("set_car_navigation_speed", KeyCode::set_car_navigation_speed).number("speed", speed);
}

int Set_Car_Navigation_Speed_Block(int sockfd, int speed)
{
    return exchange(sockfd, navigation_speed(speed), boolean_state("navigation_state"));
}

int Set_Car_Navigation_Speed_NonBlock(int sockfd, int speed)
{
    return post(sockfd, navigation_speed(speed));
}

int Set_Car_Navigation_Speed(int sockfd, int speed, bool block)
{
    return sleeping(sockfd, block, Set_Car_Navigation_Speed_Block, Set_Car_Navigation_Speed_NonBlock, speed);
}

static Request navigation_mode(int mode)
{
    return Request("set_car_navigation_mode", KeyCode::set_car_navigation_mode).number("mode", mode);
}

int Set_Car_Navigation_Mode_Block(int sockfd, int mode)
{
    return exchange(sockfd, navigation_mode(mode), boolean_state("navigation_state"));
}

int Set_Car_Navigation_Mode_NonBlock(int sockfd, int mode)
{
    return post(sockfd, navigation_mode(mode));
}

int Set_Car_Navigation_Mode(int sockfd, int mode, bool block)
{
    return sleeping(sockfd, block, Set_Car_Navigation_Mode_Block, Set_Car_Navigation_Mode_NonBlock, mode);
}

int Get_Car_State_Block(int sockfd, int* battery_volume, int* voltage, int* current, int* car_err,
                        int* car_state, int* station_num)
{
    constexpr int no_state = 4; // the one missing value with a code of its own
    return exchange(sockfd, Request("get_car_state", KeyCode::get_car_state), [=](Reply& reply) {
        return reply.integer("battery_volume", *battery_volume)
            .integer("voltage", *voltage)
            .integer("current", *current)
            .integer("car_err", *car_err)
            .integer("car_state", *car_state, cJSON_Number, no_state)
            .integer("station_num", *station_num)
            .code();
    });
}

int Get_Car_State(int sockfd, int* battery_volume, int* voltage, int* current, int* car_err, int* car_state,
                  int* station_num)
{
    return query(Get_Car_State_Block, sockfd, battery_volume, voltage, current, car_err, car_state,
                 station_num);
}

static Request car_charge(int charge_state)
{
    return Request("set_car_charge", KeyCode::set_car_charge).number("charge_state", charge_state);
}

int Set_Car_Charge_Block(int sockfd, int charge_state)
{
    return exchange(sockfd, car_charge(charge_state), boolean_state("navigation_state"));
}

int Set_Car_Charge_NonBlock(int sockfd, int charge_state)
{
    return post(sockfd, car_charge(charge_state));
}

int Set_Car_Charge(int sockfd, int charge_state, bool block)
{
    return sleeping(sockfd, block, Set_Car_Charge_Block, Set_Car_Charge_NonBlock, charge_state);
}

static Request car_station_num(int station_num)
{
    return Request("set_car_station_num", KeyCode::set_car_station_num).number("station_num", station_num);
}

int Set_Car_Station_Num_Block(int sockfd, int station_num)
{
    return exchange(sockfd, car_station_num(station_num), boolean_state("navigation_state"));
}

int Set_Car_Station_Num_NonBlock(int sockfd, int station_num)
{
    return post(sockfd, car_station_num(station_num));
}

int Set_Car_Station_Num(int sockfd, int station_num, bool block)
{
    return sleeping(sockfd, block, Set_Car_Station_Num_Block, Set_Car_Station_Num_NonBlock, station_num);
}
