// Force sensing: force-position control, force data, calibration of both sensors.
#include "kx/force.h"
#include "commands/shared.h"

using namespace kx;

static Request force_position(int sensor, int mode, int direction, int N)
{
    return Request("set_force_position", KeyCode::set_force_position)
        .number("sensor", sensor)
        .number("mode", mode)
        .number("direction", direction)
        .number("N", N);
}

int Set_Force_Postion_Block(int sockfd, int sensor, int mode, int direction, int N)
{
    return exchange(sockfd, force_position(sensor, mode, direction, N), boolean_state("set_state"));
}

int Set_Force_Postion_NonBlock(int sockfd, int sensor, int mode, int direction, int N)
{
    return post(sockfd, force_position(sensor, mode, direction, N));
}

// The one block flag that is a number: only 1 blocks.
int Set_Force_Postion(int sockfd, int sensor, int mode, int direction, int N, int block)
{
    return sleeping(sockfd, block == 1, Set_Force_Postion_Block, Set_Force_Postion_NonBlock, sensor, mode,
                    direction, N);
}

static Request stop_force_position()
{
    return Request("stop_force_positon", KeyCode::stop_force_positon); // the controller's spelling
}

int Stop_Force_Postion_Block(int sockfd)
{
    return exchange(sockfd, stop_force_position(), boolean_state("stop_state"));
}

int Stop_Force_Postion_NonBlock(int sockfd)
{
    return post(sockfd, stop_force_position());
}

int Stop_Force_Postion(int sockfd, bool block)
{
    return sleeping(sockfd, block, Stop_Force_Postion_Block, Stop_Force_Postion_NonBlock);
}

constexpr int force_values = 6; // three forces, three torques

// Thousandths come, whole units are reported: the division is one of integers.
int Get_Force_Data_Block(int sockfd, float* force_data)
{
    const auto whole_units = [=](int i, int value) {
        const int units = value / 1000;
        force_data[i] = static_cast<float>(units);
    };
    return exchange(sockfd, Request("get_force_data", KeyCode::get_force_data), [=](Reply& reply) {
        return reply.array("force_data", up_to(force_values), {}, whole_units).code();
    });
}

int Get_Force_Data(int sockfd, float* force_data)
{
    return query(Get_Force_Data_Block, sockfd, force_data);
}

static Request clear_force_data()
{
    return Request("clear_force_data", KeyCode::clear_force_data);
}

int Clear_Force_Data_Block(int sockfd)
{
    return exchange(sockfd, clear_force_data(), boolean_state("clear_state"));
}

int Clear_Force_Data_NonBlock(int sockfd)
{
    return post(sockfd, clear_force_data());
}

int Clear_Force_Data(int sockfd, bool block)
{
    return sleeping(sockfd, block, Clear_Force_Data_Block, Clear_Force_Data_NonBlock);
}

// Every calibration, of either sensor, is confirmed by this one reply.
static Request calibration(const char* command)
{
    return Request(command, KeyCode::set_force_sensor);
}

static int calibrate(int sockfd, Request calibration)
{
    return exchange(sockfd, std::move(calibration), boolean_state("set_state"));
}

static Request set_force_sensor()
{
    return calibration("set_force_sensor");
}

int Set_Force_Sensor_Block(int sockfd)
{
    return calibrate(sockfd, set_force_sensor());
}

int Set_Force_Sensor_NonBlock(int sockfd)
{
    return post(sockfd, set_force_sensor());
}

int Set_Force_Sensor(int sockfd, bool block)
{
    return sleeping(sockfd, block, Set_Force_Sensor_Block, Set_Force_Sensor_NonBlock);
}

static Request force_pose_command(int type)
{
    switch (type) {
    case 1:
        return calibration("manual_set_force_pose1");
    case 2:
        return calibration("manual_set_force_pose2");
    case 3:
        return calibration("manual_set_force_pose3");
    case 4:
        return calibration("manual_set_force_pose4");
    default:
        return Request(KeyCode::set_force_sensor); // left to the controller to refuse
    }
}

int Manual_Set_Force_Block(int sockfd, int type, const float* joint)
{
    return calibrate(sockfd, force_pose_command(type).array("joint", 6, fractional_thousandths(joint)));
}

int Manual_Set_Force(int sockfd, int type, const float* joint)
{
    return query(Manual_Set_Force_Block, sockfd, type, joint);
}

static Request stop_set_force_sensor()
{
    return Request("stop_set_force_sensor", KeyCode::stop_set_force_sensor);
}

int Stop_Set_Force_Sensor_Block(int sockfd)
{
    return exchange(sockfd, stop_set_force_sensor(), boolean_state("stop_state"));
}

int Stop_Set_Force_Sensor_NonBlock(int sockfd)
{
    return post(sockfd, stop_set_force_sensor());
}

int Stop_Set_Force_Sensor(int sockfd, bool block)
{
    return sleeping(sockfd, block, Stop_Set_Force_Sensor_Block, Stop_Set_Force_Sensor_NonBlock);
}

// A refusal counts as an unreadable reply here, and a missing value has a code of its own.
int Get_Fz_Block(int sockfd, float* Fz)
{
    constexpr int no_value = 8;
    return exchange(sockfd, Request("get_Fz", KeyCode::get_Fz), [=](Reply& reply) -> int {
        if (cJSON_IsFalse(reply.find("set_state"))) return KX_BAD_REPLY;
        return reply.integer("Fz", *Fz, any_type, no_value).code();
    });
}

int Get_Fz(int sockfd, float* Fz)
{
    return query(Get_Fz_Block, sockfd, Fz);
}

static Request clear_Fz()
{
    return Request("clear_Fz", KeyCode::clear_Fz);
}

int Clear_Fz_Block(int sockfd)
{
    return exchange(sockfd, clear_Fz(), boolean_state("set_state"));
}

int Clear_Fz_NonBlock(int sockfd)
{
    return post(sockfd, clear_Fz());
}

int Clear_Fz(int sockfd, bool block)
{
    return sleeping(sockfd, block, Clear_Fz_Block, Clear_Fz_NonBlock);
}

static Request auto_set_Fz()
{
    return calibration("auto_set_Fz");
}

int Auto_Set_Fz_Block(int sockfd)
{
    return calibrate(sockfd, auto_set_Fz());
}

int Auto_Set_Fz_NonBlock(int sockfd)
{
    return post(sockfd, auto_set_Fz());
}

int Auto_Set_Fz(int sockfd, bool block)
{
    return sleeping(sockfd, block, Auto_Set_Fz_Block, Auto_Set_Fz_NonBlock);
}

// Controllers of seven-joint arms expect the seventh angles of both poses behind the first: eight and six.
int Manual_Set_Fz_Block(int sockfd, const float* pose1, const float* pose2)
{
    const auto first = [=](int i) { return fractional_thousandths(i < 7 ? pose1[i] : pose2[6]); };
    return calibrate(sockfd, calibration("manual_set_Fz")
                                 .array("pose1", request_joints(sockfd) == 7 ? 8 : 6, first)
                                 .array("pose2", 6, fractional_thousandths(pose2)));
}

int Manual_Set_Fz(int sockfd, const float* pose1, const float* pose2)
{
    return query(Manual_Set_Fz_Block, sockfd, pose1, pose2);
}
