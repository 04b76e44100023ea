// Planned motions and control of the running trajectory.
#include "kx/motion.h"
#include "kx/link.h"
#include "kx/state.h"
#include "runtime/command.h"

#include <string.h>

using namespace kx;

// While a motion runs, the controller proves itself alive by answering state queries.
static int answers_state_query(int sockfd)
{
    float joint[7];
    POSE pose;
    unsigned short arm_err, sys_err;
    return Get_Current_Arm_State(sockfd, joint, &pose, &arm_err, &sys_err);
}

constexpr KeyCode completion = KeyCode::current_trajectory_state; // of every move

static int move_and_wait(int sockfd, Request move)
{
    return exchange_while(answers_state_query, sockfd, std::move(move), boolean_state("trajectory_state"));
}

int KX_Link_Await(int link, uint64_t ticket, int timeout_ms)
{
    return await_queued(link, ticket, timeout_ms, answers_state_query);
}

static Request with_speed(Request move, unsigned char v, float r)
{
    return move.number("v", v).number("r", truncated(r, 1000.0f));
}

static Request movej(int sockfd, const float* joint, unsigned char v, float r)
{
    return with_speed(Request("movej", completion).joints("joint", joint, request_joints(sockfd)), v, r);
}

int Movej_Cmd_Block(int sockfd, const float* joint, unsigned char v, float r)
{
    return move_and_wait(sockfd, movej(sockfd, joint, v, r));
}

int Movej_Cmd_NonBlock(int sockfd, const float* joint, unsigned char v, float r)
{
    return post(sockfd, movej(sockfd, joint, v, r));
}

int Movej_Cmd(int sockfd, const float* joint, unsigned char v, float r, bool block)
{
    return sleeping(sockfd, block, Movej_Cmd_Block, Movej_Cmd_NonBlock, joint, v, r);
}

static Request movel(const POSE& pose, unsigned char v, float r)
{
    return with_speed(Request("movel", completion).pose("pose", pose), v, r);
}

int Movel_Cmd_Block(int sockfd, POSE pose, unsigned char v, float r)
{
    return move_and_wait(sockfd, movel(pose, v, r));
}

int Movel_Cmd_NonBlock(int sockfd, POSE pose, unsigned char v, float r)
{
    return post(sockfd, movel(pose, v, r));
}

int Movel_Cmd(int sockfd, POSE pose, unsigned char v, float r, bool block)
{
    return sleeping(sockfd, block, Movel_Cmd_Block, Movel_Cmd_NonBlock, pose, v, r);
}

static Request movec(const POSE& pose_via, const POSE& pose_to, unsigned char v, float r, unsigned char loop)
{
    Request poses = Request().pose("pose_via", pose_via).pose("pose_to", pose_to);
    return with_speed(Request("movec", completion).object("pose", std::move(poses)), v, r)
        .number("loop", loop);
}

int Movec_Cmd_Block(int sockfd, POSE pose_via, POSE pose_to, unsigned char v, float r, unsigned char loop)
{
    return move_and_wait(sockfd, movec(pose_via, pose_to, v, r, loop));
}

int Movec_Cmd_NonBlock(int sockfd, POSE pose_via, POSE pose_to, unsigned char v, float r, unsigned char loop)
{
    return post(sockfd, movec(pose_via, pose_to, v, r, loop));
}

int Movec_Cmd(int sockfd, POSE pose_via, POSE pose_to, unsigned char v, float r, unsigned char loop,
              bool block)
{
    return sleeping(sockfd, block, Movec_Cmd_Block, Movec_Cmd_NonBlock, pose_via, pose_to, v, r, loop);
}

static Request movej_p(const POSE& pose, unsigned char v, float r)
{
    return with_speed(Request("movej_p", completion).pose("pose", pose), v, r);
}

// Unlike the other moves it waits no longer than for any other reply.
int Movej_P_Cmd_Block(int sockfd, POSE pose, unsigned char v, float r)
{
    return exchange(sockfd, movej_p(pose, v, r), boolean_state("trajectory_state"));
}

int Movej_P_Cmd_NonBlock(int sockfd, POSE pose, unsigned char v, float r)
{
    return post(sockfd, movej_p(pose, v, r));
}

int Movej_P_Cmd(int sockfd, POSE pose, unsigned char v, float r, bool block)
{
    return sleeping(sockfd, block, Movej_P_Cmd_Block, Movej_P_Cmd_NonBlock, pose, v, r);
}

static Request arm_stop()
{
    return Request("set_arm_stop", KeyCode::set_arm_stop);
}

int Move_Stop_Cmd_Block(int sockfd)
{
    return exchange(sockfd, arm_stop(), boolean_state("arm_stop"));
}

int Move_Stop_Cmd_NonBlock(int sockfd)
{
    return post(sockfd, arm_stop());
}

int Move_Stop_Cmd(int sockfd, bool block)
{
    return sleeping(sockfd, block, Move_Stop_Cmd_Block, Move_Stop_Cmd_NonBlock);
}

static Request arm_pause()
{
    return Request("set_arm_pause", KeyCode::set_arm_pause);
}

int Move_Pause_Cmd_Block(int sockfd)
{
    return exchange(sockfd, arm_pause(), boolean_state("arm_pause"));
}

int Move_Pause_Cmd_NonBlock(int sockfd)
{
    return post(sockfd, arm_pause());
}

int Move_Pause_Cmd(int sockfd, bool block)
{
    return sleeping(sockfd, block, Move_Pause_Cmd_Block, Move_Pause_Cmd_NonBlock);
}

static Request arm_continue()
{
    return Request("set_arm_continue", KeyCode::set_arm_continue);
}

int Move_Continue_Cmd_Block(int sockfd)
{
    return exchange(sockfd, arm_continue(), boolean_state("arm_continue"));
}

int Move_Continue_Cmd_NonBlock(int sockfd)
{
    return post(sockfd, arm_continue());
}

int Move_Continue_Cmd(int sockfd, bool block)
{
    return sleeping(sockfd, block, Move_Continue_Cmd_Block, Move_Continue_Cmd_NonBlock);
}

static Request delete_current_trajectory()
{
    return Request("set_delete_current_trajectory", KeyCode::set_delete_current_trajectory);
}

int Clear_Current_Trajectory_Block(int sockfd)
{
    return exchange(sockfd, delete_current_trajectory(), boolean_state("delete_current_trajectory"));
}

int Clear_Current_Trajectory_NonBlock(int sockfd)
{
    return post(sockfd, delete_current_trajectory());
}

int Clear_Current_Trajectory(int sockfd, bool block)
{
    return sleeping(sockfd, block, Clear_Current_Trajectory_Block, Clear_Current_Trajectory_NonBlock);
}

static Request arm_delete_trajectory()
{
    return Request("set_arm_delete_trajectory", KeyCode::set_arm_delete_trajectory);
}

int Clear_All_Trajectory_Block(int sockfd)
{
    return exchange(sockfd, arm_delete_trajectory(), boolean_state("arm_delete_trajectory"));
}

int Clear_All_Trajectory_NonBlock(int sockfd)
{
    return post(sockfd, arm_delete_trajectory());
}

int Clear_All_Trajectory(int sockfd, bool block)
{
    return sleeping(sockfd, block, Clear_All_Trajectory_Block, Clear_All_Trajectory_NonBlock);
}

// The reply's data are looked at but not stored; what the caller has in `data` is rescaled in place.
static int decode_trajectory(Reply& reply, int joints, ARM_CTRL_MODES* type, float* data)
{
    static constexpr const char* names[] = {"none", "movej", "movel", "movec"};
    const char* name = reply.array("data", any_length, {}, ignored).string("type");
    if (!name) return reply.code();

    for (int mode = None_Mode; mode <= Circle_Mode; ++mode) {
        if (strcmp(name, names[mode]) != 0) continue;
        const bool is_pose = mode == Line_Mode || mode == Circle_Mode;
        for (int i = 0; i < (is_pose ? 6 : joints); ++i)
            data[i] /= is_pose && i < 3 ? 1000000.0f : 1000.0f;
        *type = static_cast<ARM_CTRL_MODES>(mode);
        return KX_SUCCESS;
    }
    return KX_WRONG_TYPE;
}

int Get_Current_Trajectory_Block(int sockfd, ARM_CTRL_MODES* type, float* data)
{
    return exchange(sockfd, Request("get_arm_current_trajectory", KeyCode::arm_current_trajectory),
                    [=](Reply& reply) { return decode_trajectory(reply, joint_count(sockfd), type, data); });
}

int Get_Current_Trajectory(int sockfd, ARM_CTRL_MODES* type, float* data)
{
    return query(Get_Current_Trajectory_Block, sockfd, type, data);
}
