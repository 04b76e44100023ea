// Per-joint settings: limits, enable state, zero position, errors, calibration.
#include "kx/joint_parameters.h"
#include "commands/shared.h"

using namespace kx;

// [joint, value in thousandths] under the command's value key.
static Request joint_value(const char* command, KeyCode answer, const char* key, unsigned char joint,
                           float value)
{
    return Request(command, answer).pair(key, joint, truncated(value, 1000.0f));
}

static Request joint_speed(unsigned char joint, float speed)
{
    return joint_value("set_joint_max_speed", KeyCode::set_joint_max_speed, "joint_max_speed", joint, speed);
}

int Set_Joint_Speed_Block(int sockfd, unsigned char joint, float speed)
{
    return exchange(sockfd, joint_speed(joint, speed), parameter_set("joint_max_speed"));
}

int Set_Joint_Speed_NonBlock(int sockfd, unsigned char joint, float speed)
{
    return post(sockfd, joint_speed(joint, speed));
}

int Set_Joint_Speed(int sockfd, unsigned char joint, float speed, bool block)
{
    return guarded(sockfd, block, Set_Joint_Speed_Block, Set_Joint_Speed_NonBlock, joint, speed);
}

static Request joint_acc(unsigned char joint, float acc)
{
    return joint_value("set_joint_max_acc", KeyCode::set_joint_max_acc, "joint_max_acc", joint, acc);
}

int Set_Joint_Acc_Block(int sockfd, unsigned char joint, float acc)
{
    return exchange(sockfd, joint_acc(joint, acc), parameter_set("joint_max_acc"));
}

int Set_Joint_Acc_NonBlock(int sockfd, unsigned char joint, float acc)
{
    return post(sockfd, joint_acc(joint, acc));
}

int Set_Joint_Acc(int sockfd, unsigned char joint, float acc, bool block)
{
    return guarded(sockfd, block, Set_Joint_Acc_Block, Set_Joint_Acc_NonBlock, joint, acc);
}

static Request joint_min_pos(unsigned char joint, float joint_pos)
{
    return joint_value("set_joint_min_pos", KeyCode::set_joint_min_pos, "joint_min_pos", joint, joint_pos);
}

int Set_Joint_Min_Pos_Block(int sockfd, unsigned char joint, float joint_pos)
{
    return exchange(sockfd, joint_min_pos(joint, joint_pos), parameter_set("joint_min_pos"));
}

int Set_Joint_Min_Pos_NonBlock(int sockfd, unsigned char joint, float joint_pos)
{
    return post(sockfd, joint_min_pos(joint, joint_pos));
}

int Set_Joint_Min_Pos(int sockfd, unsigned char joint, float joint_pos, bool block)
{
    return direct(sockfd, block, Set_Joint_Min_Pos_Block, Set_Joint_Min_Pos_NonBlock, joint, joint_pos);
}

static Request joint_max_pos(unsigned char joint, float joint_pos)
{
    return joint_value("set_joint_max_pos", KeyCode::set_joint_max_pos, "joint_max_pos", joint, joint_pos);
}

int Set_Joint_Max_Pos_Block(int sockfd, unsigned char joint, float joint_pos)
{
    return exchange(sockfd, joint_max_pos(joint, joint_pos), parameter_set("joint_max_pos"));
}

int Set_Joint_Max_Pos_NonBlock(int sockfd, unsigned char joint, float joint_pos)
{
    return post(sockfd, joint_max_pos(joint, joint_pos));
}

int Set_Joint_Max_Pos(int sockfd, unsigned char joint, float joint_pos, bool block)
{
    return direct(sockfd, block, Set_Joint_Max_Pos_Block, Set_Joint_Max_Pos_NonBlock, joint, joint_pos);
}

static Request joint_enable(unsigned char joint, bool state)
{
    return Request("set_joint_en_state", KeyCode::set_joint_en_state).pair("joint_en_state", joint, state);
}

int Set_Joint_EN_State_Block(int sockfd, unsigned char joint, bool state)
{
    return exchange(sockfd, joint_enable(joint, state), parameter_set("joint_en_state"));
}

int Set_Joint_EN_State_NonBlock(int sockfd, unsigned char joint, bool state)
{
    return post(sockfd, joint_enable(joint, state));
}

int Set_Joint_EN_State(int sockfd, unsigned char joint, bool state, bool block)
{
    return direct(sockfd, block, Set_Joint_EN_State_Block, Set_Joint_EN_State_NonBlock, joint, state);
}

static Request joint_zero_pos(unsigned char joint)
{
    return Request("set_joint_zero_pos", KeyCode::joint_zero_pos).number("joint_zero_pos", joint);
}

int Set_Joint_Zero_Pos_Block(int sockfd, unsigned char joint)
{
    return exchange(sockfd, joint_zero_pos(joint), parameter_set("joint_zero_pos"));
}

int Set_Joint_Zero_Pos_NonBlock(int sockfd, unsigned char joint)
{
    return post(sockfd, joint_zero_pos(joint));
}

int Set_Joint_Zero_Pos(int sockfd, unsigned char joint, bool block)
{
    entry_delay(sockfd);
    return guarded(sockfd, block, Set_Joint_Zero_Pos_Block, Set_Joint_Zero_Pos_NonBlock, joint);
}

static Request joint_clear_err(unsigned char joint)
{
    return Request("set_joint_clear_err", KeyCode::set_joint_clear_err).number("joint_clear_err", joint);
}

int Set_Joint_Err_Clear_Block(int sockfd, unsigned char joint)
{
    return exchange(sockfd, joint_clear_err(joint), parameter_set("joint_clear_err"));
}

int Set_Joint_Err_Clear_NonBlock(int sockfd, unsigned char joint)
{
    return post(sockfd, joint_clear_err(joint));
}

int Set_Joint_Err_Clear(int sockfd, unsigned char joint, bool block)
{
    return sleeping(sockfd, block, Set_Joint_Err_Clear_Block, Set_Joint_Err_Clear_NonBlock, joint);
}

static Request start_calibrate()
{
    return Request("start_calibrate", KeyCode::start_calibrate);
}

int Start_Calibrate_Block(int sockfd)
{
    return exchange(sockfd, start_calibrate(), parameter_set("calibrate_state"));
}

int Start_Calibrate_NonBlock(int sockfd)
{
    return post(sockfd, start_calibrate());
}

int Start_Calibrate(int sockfd, bool block)
{
    return sleeping(sockfd, block, Start_Calibrate_Block, Start_Calibrate_NonBlock);
}

static Request stop_calibrate()
{
    return Request("stop_calibrate", KeyCode::stop_calibrate);
}

int Stop_Calibrate_Block(int sockfd)
{
    return exchange(sockfd, stop_calibrate(), parameter_set("calibrate_state"));
}

int Stop_Calibrate_NonBlock(int sockfd)
{
    return post(sockfd, stop_calibrate());
}

int Stop_Calibrate(int sockfd, bool block)
{
    return sleeping(sockfd, block, Stop_Calibrate_Block, Stop_Calibrate_NonBlock);
}

// The getters differ in the codes for a reply that is no array, or not of one item per joint.
constexpr ArrayFaults one_code = {KX_WRONG_SHAPE, KX_WRONG_SHAPE};
constexpr ArrayFaults two_codes = {KX_WRONG_SHAPE, KX_WRONG_TYPE};

int Get_Joint_Speed_Block(int sockfd, float* speed)
{
    return get_joints(sockfd, Request("get_joint_max_speed", KeyCode::joint_max_speed), "joint_speed",
                      one_code, thousandths(speed));
}

int Get_Joint_Speed(int sockfd, float* speed)
{
    return query(Get_Joint_Speed_Block, sockfd, speed);
}

int Get_Joint_Acc_Block(int sockfd, float* acc)
{
    return get_joints(sockfd, Request("get_joint_max_acc", KeyCode::joint_max_acc), "joint_acc", one_code,
                      thousandths(acc));
}

int Get_Joint_Acc(int sockfd, float* acc)
{
    return query(Get_Joint_Acc_Block, sockfd, acc);
}

int Get_Joint_Min_Pos_Block(int sockfd, float* min_joint)
{
    return get_joints(sockfd, Request("get_joint_min_pos", KeyCode::joint_min_pos), "min_pos", one_code,
                      thousandths(min_joint));
}

int Get_Joint_Min_Pos(int sockfd, float* min_joint)
{
    return query(Get_Joint_Min_Pos_Block, sockfd, min_joint);
}

int Get_Joint_Max_Pos_Block(int sockfd, float* max_joint)
{
    return get_joints(sockfd, Request("get_joint_max_pos", KeyCode::joint_max_pos), "max_pos", two_codes,
                      thousandths(max_joint));
}

int Get_Joint_Max_Pos(int sockfd, float* max_joint)
{
    return query(Get_Joint_Max_Pos_Block, sockfd, max_joint);
}

int Get_Joint_EN_State_Block(int sockfd, unsigned char* state)
{
    return get_joints(sockfd, Request("get_joint_en_state", KeyCode::joint_en_state), "en_state", two_codes,
                      plain(state));
}

int Get_Joint_EN_State(int sockfd, unsigned char* state)
{
    return query(Get_Joint_EN_State_Block, sockfd, state);
}

int Get_Joint_Err_Flag_Block(int sockfd, unsigned short* state)
{
    return get_joints(sockfd, Request("get_joint_err_flag", KeyCode::joint_err_flag), "err_flag", two_codes,
                      plain(state));
}

int Get_Joint_Err_Flag(int sockfd, unsigned short* state)
{
    return query(Get_Joint_Err_Flag_Block, sockfd, state);
}

int Get_Joint_Software_Version_Block(int sockfd, float* version)
{
    return get_joints(sockfd, Request("get_joint_software_version", KeyCode::joint_software_version),
                      "version", two_codes, thousandths(version));
}

int Get_Joint_Software_Version(int sockfd, float* version)
{
    return query(Get_Joint_Software_Version_Block, sockfd, version);
}

int Get_Calibrate_State_Block(int sockfd, float* joint_state, unsigned short*, int*)
{
    const auto low_byte = [=](int i, int value) { joint_state[i] = static_cast<float>(value & 0xFF); };
    return get_joints(sockfd, Request("get_calibrate_state", KeyCode::calibrate_state), "joint_state",
                      {KX_BAD_REPLY, KX_WRONG_SHAPE}, low_byte);
}

int Get_Calibrate_State(int sockfd, float* joint_state, unsigned short* err_flag, int* calibrate_state)
{
    return query(Get_Calibrate_State_Block, sockfd, joint_state, err_flag, calibrate_state);
}
