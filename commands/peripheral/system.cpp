// The controller itself: power, errors, versions, log, run time, odometers, high-speed Ethernet.
#include "kx/system.h"
#include "runtime/command.h"

#include <stdio.h>

using namespace kx;

static Request arm_power(bool on)
{
    constexpr int power_on = 1, power_off = 64; // the controller's numbers
    return Request("set_arm_power", KeyCode::set_arm_power).number("arm_power", on ? power_on : power_off);
}

int Set_Arm_Power_Block(int sockfd, bool on)
{
    return exchange(sockfd, arm_power(on), boolean_state("arm_power"));
}

int Set_Arm_Power_NonBlock(int sockfd, bool on)
{
    return post(sockfd, arm_power(on));
}

int Set_Arm_Power(int sockfd, bool on, bool block)
{
    return sleeping(sockfd, block, Set_Arm_Power_Block, Set_Arm_Power_NonBlock, on);
}

int Get_Arm_Power_State_Block(int sockfd, int* power_state)
{
    return exchange(sockfd, Request("get_arm_power_state", KeyCode::arm_power_state),
                    [=](Reply& reply) { return reply.integer("power_state", *power_state).code(); });
}

int Get_Arm_Power_State(int sockfd, int* power_state)
{
    return query(Get_Arm_Power_State_Block, sockfd, power_state);
}

static Request clear_system_err()
{
    return Request("clear_system_err", KeyCode::clear_system_err);
}

int Clear_System_Err_Block(int sockfd)
{
    return exchange(sockfd, clear_system_err(), boolean_state("clear_state"));
}

int Clear_System_Err_NonBlock(int sockfd)
{
    return post(sockfd, clear_system_err());
}

int Clear_System_Err(int sockfd, bool block)
{
    return sleeping(sockfd, block, Clear_System_Err_Block, Clear_System_Err_NonBlock);
}

static int is_string(Reply& reply, const char* key)
{
    reply.string(key);
    return reply.code();
}

// The version is looked at but not copied.
int Get_Arm_Hardware_Version_Block(int sockfd, char*)
{
    return exchange(sockfd, Request("get_arm_hardware_version", KeyCode::arm_hardware_version),
                    [](Reply& reply) { return is_string(reply, "version"); });
}

int Get_Arm_Hardware_Version(int sockfd, char* version)
{
    return query(Get_Arm_Hardware_Version_Block, sockfd, version);
}

static Reply& decimal_text(Reply& reply, const char* key, char* out)
{
    int number = 0;
    if (reply.integer(key, number).code() == KX_SUCCESS) snprintf(out, sizeof "-2147483648", "%d", number);
    return reply;
}

int Get_Arm_Software_Version_Block(int sockfd, char* plan_version, char* ctrl_version)
{
    return exchange(sockfd, Request("get_arm_software_version", KeyCode::arm_software_version),
                    [=](Reply& reply) {
                        decimal_text(reply, "Plan_version", plan_version);
                        return decimal_text(reply, "Ctrl_version", ctrl_version).code();
                    });
}

int Get_Arm_Software_Version(int sockfd, char* plan_version, char* ctrl_version)
{
    return query(Get_Arm_Software_Version_Block, sockfd, plan_version, ctrl_version);
}

static Request get_log_file()
{
    return Request("get_log_file", KeyCode::get_log_file);
}

int Get_Log_File_Block(int sockfd)
{
    return exchange(sockfd, get_log_file(), boolean_state("set_state"));
}

int Get_Log_File_NonBlock(int sockfd)
{
    return post(sockfd, get_log_file());
}

int Get_Log_File(int sockfd, bool block)
{
    return sleeping(sockfd, block, Get_Log_File_Block, Get_Log_File_NonBlock);
}

// Run time and odometers may come as a state text in their place, which is looked at but not copied.
static constexpr char sys_state[] = "sys_state";

int Get_System_Runtime_Block(int sockfd, char*, int* day, int* hour, int* min, int* sec)
{
    return exchange(sockfd, Request("get_system_runtime", KeyCode::get_system_runtime), [=](Reply& reply) {
        if (reply.find(sys_state)) return is_string(reply, sys_state);
        return reply.integer("day", *day)
            .integer("hour", *hour)
            .integer("min", *min)
            .integer("sec", *sec)
            .code();
    });
}

int Get_System_Runtime(int sockfd, char* state, int* day, int* hour, int* min, int* sec)
{
    return query(Get_System_Runtime_Block, sockfd, state, day, hour, min, sec);
}

static Request clear_system_runtime()
{
    return Request("clear_system_runtime", KeyCode::clear_system_runtime);
}

int Clear_System_Runtime_Block(int sockfd)
{
    return exchange(sockfd, clear_system_runtime(), boolean_state("clear_state"));
}

int Clear_System_Runtime_NonBlock(int sockfd)
{
    return post(sockfd, clear_system_runtime());
}

int Clear_System_Runtime(int sockfd, bool block)
{
    return sleeping(sockfd, block, Clear_System_Runtime_Block, Clear_System_Runtime_NonBlock);
}

int Get_Joint_Odom_Block(int sockfd, char*, float* odom)
{
    return exchange(sockfd, Request("get_joint_odom", KeyCode::get_joint_odom), [=](Reply& reply) {
        if (reply.find(sys_state)) return is_string(reply, sys_state);
        return reply.array("odom", up_to(joint_count(sockfd)), {}, plain(odom)).code();
    });
}

int Get_Joint_Odom(int sockfd, char* state, float* odom)
{
    return query(Get_Joint_Odom_Block, sockfd, state, odom);
}

static Request clear_joint_odom()
{
    return Request("clear_joint_odom", KeyCode::clear_joint_odom);
}

int Clear_Joint_Odom_Block(int sockfd)
{
    return exchange(sockfd, clear_joint_odom(), boolean_state("clear_state"));
}

int Clear_Joint_Odom_NonBlock(int sockfd)
{
    return post(sockfd, clear_joint_odom());
}

int Clear_Joint_Odom(int sockfd, bool block)
{
    return sleeping(sockfd, block, Clear_Joint_Odom_Block, Clear_Joint_Odom_NonBlock);
}

static Request high_speed_eth(unsigned char mode)
{
    return Request("set_high_speed_eth", KeyCode::set_high_speed_eth).number("mode", mode);
}

int Set_High_Speed_Eth_Block(int sockfd, unsigned char mode)
{
    return exchange(sockfd, high_speed_eth(mode), boolean_state("set_state"));
}

int Set_High_Speed_Eth_NonBlock(int sockfd, unsigned char mode)
{
    return post(sockfd, high_speed_eth(mode));
}

int Set_High_Speed_Eth(int sockfd, unsigned char mode, bool block)
{
    return sleeping(sockfd, block, Set_High_Speed_Eth_Block, Set_High_Speed_Eth_NonBlock, mode);
}
