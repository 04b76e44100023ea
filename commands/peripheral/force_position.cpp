// Force-position move: start, streamed targets, stop.
#include "kx/force_position.h"
#include "runtime/command.h"

#include <algorithm>
#include <limits.h>

using namespace kx;

static Request start_move()
{
    return Request("Start_Force_Position_Move", KeyCode::Start_Force_Position_Move);
}

int Start_Force_Position_Move_Block(int sockfd)
{
    return exchange(sockfd, start_move(), boolean_state("set_state"));
}

int Start_Force_Position_Move_NonBlock(int sockfd)
{
    return post(sockfd, start_move());
}

int Start_Force_Position_Move(int sockfd, bool block)
{
    return sleeping(sockfd, block, Start_Force_Position_Move_Block, Start_Force_Position_Move_NonBlock);
}

// Unlike in all other commands a value is cut to an integer first and scaled then; it saturates twice.
static Scaled whole_times(float value, int factor)
{
    const Scaled whole = truncated(value, 1.0f);
    const long long product = static_cast<long long>(whole.value) * factor;
    const int saturated = static_cast<int>(std::clamp<long long>(product, INT_MIN, INT_MAX));
    return {saturated, whole.is_true && saturated == product};
}

static Request with_force(Request target, unsigned char sensor, unsigned char mode, int dir, float force)
{
    return target.number("sensor", sensor)
        .number("mode", mode)
        .number("dir", dir)
        .number("force", force * 10.0f);
}

static Request target_pose(const POSE& pose, unsigned char sensor, unsigned char mode, int dir, float force)
{
    const float values[6] = {pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz};
    const auto scaled = [&](int i) { return whole_times(values[i], i < 3 ? 1000000 : 1000); };
    return with_force(Request("Force_Position_Move", KeyCode::Force_Position_State).array("pose", 6, scaled),
                      sensor, mode, dir, force);
}

// Any answer completes a target.
static int any_answer(Reply&)
{
    return KX_SUCCESS;
}

int Force_Position_Move_POSE_Block(int sockfd, POSE pose, unsigned char sensor, unsigned char mode, int dir,
                                   float force)
{
    return exchange(sockfd, target_pose(pose, sensor, mode, dir, force), any_answer);
}

int Force_Position_Move_POSE_NonBlock(int sockfd, POSE pose, unsigned char sensor, unsigned char mode,
                                      int dir, float force)
{
    return stream(sockfd, target_pose(pose, sensor, mode, dir, force));
}

// The suspend flag stands around either form.
int Force_Position_Move_POSE(int sockfd, POSE pose, unsigned char sensor, unsigned char mode, int dir,
                             float force, bool block)
{
    return quick_query(block ? Force_Position_Move_POSE_Block : Force_Position_Move_POSE_NonBlock, sockfd,
                       pose, sensor, mode, dir, force);
}

static Request target_joints(int sockfd, const float* joint, unsigned char sensor, unsigned char mode,
                             int dir, float force)
{
    const auto scaled = [=](int i) { return whole_times(joint[i], 1000); };
    return with_force(Request("Force_Position_Move", KeyCode::Force_Position_State)
                          .array("joint", request_joints(sockfd), scaled),
                      sensor, mode, dir, force);
}

int Force_Position_Move_Joint_Block(int sockfd, const float* joint, unsigned char sensor, unsigned char mode,
                                    int dir, float force)
{
    return exchange(sockfd, target_joints(sockfd, joint, sensor, mode, dir, force), any_answer);
}

int Force_Position_Move_Joint_NonBlock(int sockfd, const float* joint, unsigned char sensor,
                                       unsigned char mode, int dir, float force)
{
    return stream(sockfd, target_joints(sockfd, joint, sensor, mode, dir, force));
}

int Force_Position_Move_Joint(int sockfd, const float* joint, unsigned char sensor, unsigned char mode,
                              int dir, float force, bool block)
{
    return quick_query(block ? Force_Position_Move_Joint_Block : Force_Position_Move_Joint_NonBlock, sockfd,
                       joint, sensor, mode, dir, force);
}

static Request stop_move()
{
    return Request("Stop_Force_Position_Move", KeyCode::Stop_Force_Position_Move);
}

int Stop_Force_Postion_Move_Block(int sockfd)
{
    return exchange(sockfd, stop_move(), boolean_state("set_state"));
}

int Stop_Force_Postion_Move_NonBlock(int sockfd)
{
    return post(sockfd, stop_move());
}

int Stop_Force_Postion_Move(int sockfd, bool block)
{
    return sleeping(sockfd, block, Stop_Force_Postion_Move_Block, Stop_Force_Postion_Move_NonBlock);
}
