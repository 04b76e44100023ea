// What the arm is doing now, and its initial position.
#include "kx/state.h"
#include "commands/shared.h"
#include "kx/link.h"

using namespace kx;

static int decode_arm_state(Reply& reply, int joints, float* joint, POSE* pose, unsigned short* arm_err,
                            unsigned short* sys_err)
{
    return reply.object("arm_state")
        .pose("pose", *pose)
        .array("joint", exactly(joints), {}, thousandths(joint))
        .integer("arm_err", *arm_err)
        .integer("sys_err", *sys_err)
        .code();
}

static Request current_arm_state()
{
    return Request("get_current_arm_state", KeyCode::current_arm_state);
}

int Get_Current_Arm_State_Block(int sockfd, float* joint, POSE* pose, unsigned short* arm_err,
                                unsigned short* sys_err)
{
    return exchange(sockfd, current_arm_state(), [=](Reply& reply) {
        return decode_arm_state(reply, joint_count(sockfd), joint, pose, arm_err, sys_err);
    });
}

int Get_Current_Arm_State(int sockfd, float* joint, POSE* pose, unsigned short* arm_err,
                          unsigned short* sys_err)
{
    return query(Get_Current_Arm_State_Block, sockfd, joint, pose, arm_err, sys_err);
}

static void hand_over(Reply& reply, int link, uint64_t asked, uint64_t answered, void (*callback)(),
                      void* user)
{
    KX_ARM_STATE state = {};
    state.link = link;
    state.asked_ns = asked;
    state.answered_ns = answered;
    state.status = decoded(std::move(reply), [&](Reply& came) {
        return decode_arm_state(came, joint_count(link), state.joint, &state.pose, &state.arm_err,
                                &state.sys_err);
    });
    reinterpret_cast<KX_ARM_STATE_CALLBACK>(callback)(&state, user);
}

int KX_Link_Subscribe(int link, double hz, KX_ARM_STATE_CALLBACK callback, void* user)
{
    return subscribe(link, callback ? hz : 0, current_arm_state(), hand_over,
                     reinterpret_cast<void (*)()>(callback), user);
}

int Get_Joint_Temperature_Block(int sockfd, float* temperature)
{
    return get_joints(sockfd, Request("get_current_joint_temperature", KeyCode::current_joint_temperature),
                      "joint_temperature", temperature);
}

int Get_Joint_Temperature(int sockfd, float* temperature)
{
    return query(Get_Joint_Temperature_Block, sockfd, temperature);
}

int Get_Joint_Current_Block(int sockfd, float* current)
{
    return get_joints(sockfd, Request("get_current_joint_current", KeyCode::current_joint_current),
                      "joint_current", current);
}

int Get_Joint_Current(int sockfd, float* current)
{
    return query(Get_Joint_Current_Block, sockfd, current);
}

int Get_Joint_Voltage_Block(int sockfd, float* voltage)
{
    return get_joints(sockfd, Request("get_current_joint_voltage", KeyCode::current_joint_voltage),
                      "joint_voltage", voltage);
}

int Get_Joint_Voltage(int sockfd, float* voltage)
{
    return query(Get_Joint_Voltage_Block, sockfd, voltage);
}

static int decode_degrees(Reply& reply, ArrayLength joints, float* joint)
{
    return reply.array("joint", joints, {}, thousandths(joint)).code();
}

int Paser_Get_Joint_Degreee(const char* text, float* joint)
{
    Reply reply(text);
    return decode_degrees(reply, any_length, joint);
}

int Get_Joint_Degree_Block(int sockfd, float* joint)
{
    return exchange(sockfd, Request("get_joint_degree", KeyCode::joint_degree),
                    [=](Reply& reply) { return decode_degrees(reply, up_to(joint_count(sockfd)), joint); });
}

int Get_Joint_Degree(int sockfd, float* joint)
{
    return query(Get_Joint_Degree_Block, sockfd, joint);
}

int Get_Arm_All_State_Block(int sockfd, JOINT_STATE* joint_state)
{
    return exchange(sockfd, Request("get_arm_all_state", KeyCode::arm_all_state), [=](Reply& reply) {
        const ArrayLength joints = exactly(joint_count(sockfd));
        return reply.object("all_state")
            .array("temperature", joints, {}, ignored)
            .array("current", joints, {}, thousandths(joint_state->current))
            .array("voltage", joints, {}, thousandths(joint_state->voltage))
            .array("err_flag", joints, {}, plain(joint_state->err_flag))
            .integer("sys_err", joint_state->sys_err)
            .code();
    });
}

int Get_Arm_All_State(int sockfd, JOINT_STATE* joint_state)
{
    return query(Get_Arm_All_State_Block, sockfd, joint_state);
}

int Get_Arm_Plan_Num_Block(int sockfd, int* plan)
{
    return exchange(sockfd, Request("get_arm_plan_num", KeyCode::arm_plan_num),
                    [=](Reply& reply) { return reply.integer("plan_num", *plan).code(); });
}

int Get_Arm_Plan_Num(int sockfd, int* plan)
{
    return query(Get_Arm_Plan_Num_Block, sockfd, plan);
}

static Request init_pose(int sockfd, const float* target)
{
    return Request("set_init_pose", KeyCode::set_init_pose)
        .joints("init_pose", target, request_joints(sockfd));
}

int Set_Arm_Init_Pose_Block(int sockfd, const float* target)
{
    return exchange(sockfd, init_pose(sockfd, target), boolean_state("init_pose"));
}

int Set_Arm_Init_Pose_NonBlock(int sockfd, const float* target)
{
    return post(sockfd, init_pose(sockfd, target));
}

int Set_Arm_Init_Pose(int sockfd, const float* target, bool block)
{
    return sleeping(sockfd, block, Set_Arm_Init_Pose_Block, Set_Arm_Init_Pose_NonBlock, target);
}

int Get_Arm_Init_Pose_Block(int sockfd, float* joint)
{
    return get_joints(sockfd, Request("get_init_pose", KeyCode::init_pose), "init_pose", joint);
}

int Get_Arm_Init_Pose(int sockfd, float* joint)
{
    return query(Get_Arm_Init_Pose_Block, sockfd, joint);
}
