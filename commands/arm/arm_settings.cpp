// Cartesian limits, collision stage, DH lengths, zero offsets, dynamic parameters, servos, installation.
#include "kx/arm_settings.h"
#include "commands/shared.h"

using namespace kx;

// A limit goes out and comes back in thousandths under one key.
static Request limit(const char* command, KeyCode answer, const char* key, float value)
{
    return Request(command, answer).number(key, truncated(value, 1000.0f));
}

static int get_limit(int sockfd, Request question, const char* key, float* out)
{
    return exchange(sockfd, std::move(question),
                    [=](Reply& reply) { return reply.scaled(key, *out, 1000.0f).code(); });
}

static Request line_speed(float speed)
{
    return limit("set_arm_max_line_speed", KeyCode::set_arm_max_line_speed, "arm_line_speed", speed);
}

int Set_Arm_Line_Speed_Block(int sockfd, float speed)
{
    return exchange(sockfd, line_speed(speed), parameter_set("arm_line_speed"));
}

int Set_Arm_Line_Speed_NonBlock(int sockfd, float speed)
{
    return post(sockfd, line_speed(speed));
}

int Set_Arm_Line_Speed(int sockfd, float speed, bool block)
{
    return sleeping(sockfd, block, Set_Arm_Line_Speed_Block, Set_Arm_Line_Speed_NonBlock, speed);
}

int Get_Arm_Line_Speed_Block(int sockfd, float* speed)
{
    return get_limit(sockfd, Request("get_arm_max_line_speed", KeyCode::arm_max_line_speed), "arm_line_speed",
                     speed);
}

int Get_Arm_Line_Speed(int sockfd, float* speed)
{
    return query(Get_Arm_Line_Speed_Block, sockfd, speed);
}

static Request line_acc(float acc)
{
    return limit("set_arm_max_line_acc", KeyCode::set_arm_max_line_acc, "arm_line_acc", acc);
}

int Set_Arm_Line_Acc_Block(int sockfd, float acc)
{
    return exchange(sockfd, line_acc(acc), parameter_set("arm_line_acc"));
}

int Set_Arm_Line_Acc_NonBlock(int sockfd, float acc)
{
    return post(sockfd, line_acc(acc));
}

int Set_Arm_Line_Acc(int sockfd, float acc, bool block)
{
    return sleeping(sockfd, block, Set_Arm_Line_Acc_Block, Set_Arm_Line_Acc_NonBlock, acc);
}

int Get_Arm_Line_Acc_Block(int sockfd, float* acc)
{
    return get_limit(sockfd, Request("get_arm_max_line_acc", KeyCode::arm_max_line_acc), "arm_line_acc", acc);
}

int Get_Arm_Line_Acc(int sockfd, float* acc)
{
    return query(Get_Arm_Line_Acc_Block, sockfd, acc);
}

static Request angular_speed(float speed)
{
    return limit("set_arm_max_angular_speed", KeyCode::set_arm_max_angular_speed, "arm_angular_speed", speed);
}

int Set_Arm_Angular_Speed_Block(int sockfd, float speed)
{
    return exchange(sockfd, angular_speed(speed), parameter_set("arm_angular_speed"));
}

int Set_Arm_Angular_Speed_NonBlock(int sockfd, float speed)
{
    return post(sockfd, angular_speed(speed));
}

int Set_Arm_Angular_Speed(int sockfd, float speed, bool block)
{
    return sleeping(sockfd, block, Set_Arm_Angular_Speed_Block, Set_Arm_Angular_Speed_NonBlock, speed);
}

int Get_Arm_Angular_Speed_Block(int sockfd, float* speed)
{
    return get_limit(sockfd, Request("get_arm_max_angular_speed", KeyCode::arm_max_angular_speed),
                     "arm_angular_speed", speed);
}

int Get_Arm_Angular_Speed(int sockfd, float* speed)
{
    return query(Get_Arm_Angular_Speed_Block, sockfd, speed);
}

static Request angular_acc(float acc)
{
    return limit("set_arm_max_angular_acc", KeyCode::set_arm_max_angular_acc, "arm_angular_acc", acc);
}

int Set_Arm_Angular_Acc_Block(int sockfd, float acc)
{
    return exchange(sockfd, angular_acc(acc), parameter_set("arm_angular_acc"));
}

int Set_Arm_Angular_Acc_NonBlock(int sockfd, float acc)
{
    return post(sockfd, angular_acc(acc));
}

int Set_Arm_Angular_Acc(int sockfd, float acc, bool block)
{
    return sleeping(sockfd, block, Set_Arm_Angular_Acc_Block, Set_Arm_Angular_Acc_NonBlock, acc);
}

int Get_Arm_Angular_Acc_Block(int sockfd, float* acc)
{
    return get_limit(sockfd, Request("get_arm_max_angular_acc", KeyCode::arm_max_angular_acc),
                     "arm_angular_acc", acc);
}

int Get_Arm_Angular_Acc(int sockfd, float* acc)
{
    return query(Get_Arm_Angular_Acc_Block, sockfd, acc);
}

static Request arm_init()
{
    return Request("set_arm_init", KeyCode::set_arm_init);
}

int Set_Arm_Tip_Init_Block(int sockfd)
{
    return exchange(sockfd, arm_init(), boolean_state("arm_init"));
}

int Set_Arm_Tip_Init_NonBlock(int sockfd)
{
    return post(sockfd, arm_init());
}

int Set_Arm_Tip_Init(int sockfd, bool block)
{
    return sleeping(sockfd, block, Set_Arm_Tip_Init_Block, Set_Arm_Tip_Init_NonBlock);
}

static Request collision_stage(int stage)
{
    return Request("set_collision_stage", KeyCode::set_collision_state).number("collision_stage", stage);
}

// A stage goes out, a state comes back.
int Set_Collision_Stage_Block(int sockfd, int stage)
{
    return exchange(sockfd, collision_stage(stage), boolean_state("collision_state"));
}

int Set_Collision_Stage_NonBlock(int sockfd, int stage)
{
    return post(sockfd, collision_stage(stage));
}

int Set_Collision_Stage(int sockfd, int stage, bool block)
{
    return sleeping(sockfd, block, Set_Collision_Stage_Block, Set_Collision_Stage_NonBlock, stage);
}

int Get_Collision_Stage_Block(int sockfd, int* stage)
{
    return exchange(sockfd, Request("get_collision_stage", KeyCode::get_collision_stage),
                    [=](Reply& reply) { return reply.integer("collision_stage", *stage, any_type).code(); });
}

int Get_Collision_Stage(int sockfd, int* stage)
{
    return query(Get_Collision_Stage_Block, sockfd, stage);
}

// DH lengths travel in tenths.
static Request dh_data(float dh1, float dh2, float dh3, float dh4, float dh5)
{
    const float lengths[5] = {dh1, dh2, dh3, dh4, dh5};
    return Request("set_DH_data", KeyCode::set_DH_data).array("data", 5, [&](int i) {
        return truncated(lengths[i], 10.0f);
    });
}

int Set_DH_Data_Block(int sockfd, float dh1, float dh2, float dh3, float dh4, float dh5)
{
    return exchange(sockfd, dh_data(dh1, dh2, dh3, dh4, dh5), boolean_state("set_state"));
}

int Set_DH_Data_NonBlock(int sockfd, float dh1, float dh2, float dh3, float dh4, float dh5)
{
    return post(sockfd, dh_data(dh1, dh2, dh3, dh4, dh5));
}

int Set_DH_Data(int sockfd, float dh1, float dh2, float dh3, float dh4, float dh5, bool block)
{
    return sleeping(sockfd, block, Set_DH_Data_Block, Set_DH_Data_NonBlock, dh1, dh2, dh3, dh4, dh5);
}

// Items beyond the fifth are ignored; fewer than five write nothing.
static int decode_dh_data(Reply& reply, float* const (&out)[5])
{
    float lengths[5];
    int count = 0;
    const auto store = [&](int i, int value) {
        if (i < 5) lengths[i] = static_cast<float>(value) / 10.0f;
        count = i + 1;
    };
    if (reply.array("data", any_length, {}, store).code() != KX_SUCCESS) return reply.code();
    if (count < 5) return KX_WRONG_TYPE;
    for (int i = 0; i < 5; ++i)
        *out[i] = lengths[i];
    return KX_SUCCESS;
}

int Get_DH_Data_Block(int sockfd, float* dh1, float* dh2, float* dh3, float* dh4, float* dh5)
{
    return exchange(sockfd, Request("get_DH_data", KeyCode::DH_data), [=](Reply& reply) {
        return decode_dh_data(reply, {dh1, dh2, dh3, dh4, dh5});
    });
}

int Get_DH_Data(int sockfd, float* dh1, float* dh2, float* dh3, float* dh4, float* dh5)
{
    return query(Get_DH_Data_Block, sockfd, dh1, dh2, dh3, dh4, dh5);
}

static Request zero_offset(int sockfd, const float* offset)
{
    return Request("set_joint_zero_offset", KeyCode::set_joint_zero_offset)
        .joints("offset", offset, request_joints(sockfd));
}

int Set_Joint_Zero_Offset_Block(int sockfd, const float* offset)
{
    return exchange(sockfd, zero_offset(sockfd, offset), boolean_state("set_state"));
}

int Set_Joint_Zero_Offset_NonBlock(int sockfd, const float* offset)
{
    return post(sockfd, zero_offset(sockfd, offset));
}

int Set_Joint_Zero_Offset(int sockfd, const float* offset, bool block)
{
    return sleeping(sockfd, block, Set_Joint_Zero_Offset_Block, Set_Joint_Zero_Offset_NonBlock, offset);
}

// Two parameters per joint. Unlike other values they are not truncated.
static Request dynamic_parm(int sockfd, const float* parm)
{
    return Request("set_arm_dynamic_parm", KeyCode::set_arm_dynamic_parm)
        .array("parm", 2 * request_joints(sockfd), fractional_thousandths(parm));
}

int Set_Arm_Dynamic_Parm_Block(int sockfd, const float* parm)
{
    return exchange(sockfd, dynamic_parm(sockfd, parm), boolean_state("set_state"));
}

int Set_Arm_Dynamic_Parm_NonBlock(int sockfd, const float* parm)
{
    return post(sockfd, dynamic_parm(sockfd, parm));
}

int Set_Arm_Dynamic_Parm(int sockfd, const float* parm, bool block)
{
    return sleeping(sockfd, block, Set_Arm_Dynamic_Parm_Block, Set_Arm_Dynamic_Parm_NonBlock, parm);
}

int Get_Tool_Software_Version_Block(int sockfd, int* version)
{
    return exchange(sockfd, Request("get_tool_software_version", KeyCode::tool_software_version),
                    [=](Reply& reply) { return reply.integer("version", *version, any_type).code(); });
}

int Get_Tool_Software_Version(int sockfd, int* version)
{
    return query(Get_Tool_Software_Version_Block, sockfd, version);
}

static Request arm_servo(bool cmd)
{
    return Request("set_arm_servo", KeyCode::set_arm_servo).number("arm_servo", cmd);
}

int Set_Arm_Servo_State_Block(int sockfd, bool cmd)
{
    return exchange(sockfd, arm_servo(cmd), boolean_state("arm_servo"));
}

int Set_Arm_Servo_State_NonBlock(int sockfd, bool cmd)
{
    return post(sockfd, arm_servo(cmd));
}

int Set_Arm_Servo_State(int sockfd, bool cmd, bool block)
{
    return sleeping(sockfd, block, Set_Arm_Servo_State_Block, Set_Arm_Servo_State_NonBlock, cmd);
}

static Request system_servo(bool cmd)
{
    return Request("set_system_state_servo", KeyCode::set_system_state_servo).number("servo_state", cmd);
}

int Set_System_State_Servo_Block(int sockfd, bool cmd)
{
    return exchange(sockfd, system_servo(cmd), boolean_state("servo_state"));
}

int Set_System_State_Servo_NonBlock(int sockfd, bool cmd)
{
    return post(sockfd, system_servo(cmd));
}

int Set_System_State_Servo(int sockfd, bool cmd, bool block)
{
    return sleeping(sockfd, block, Set_System_State_Servo_Block, Set_System_State_Servo_NonBlock, cmd);
}

static Request install_pose(float x, float y)
{
    return Request("set_install_pose", KeyCode::set_install_pose).pair("pose", x, y);
}

int Set_Install_Pose_Block(int sockfd, float x, float y)
{
    return exchange(sockfd, install_pose(x, y), boolean_state("set_state"));
}

int Set_Install_Pose_NonBlock(int sockfd, float x, float y)
{
    return post(sockfd, install_pose(x, y));
}

int Set_Install_Pose(int sockfd, float x, float y, bool block)
{
    return sleeping(sockfd, block, Set_Install_Pose_Block, Set_Install_Pose_NonBlock, x, y);
}
