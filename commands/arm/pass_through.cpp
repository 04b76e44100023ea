// Realtime pass-through of joint angles and poses to the drives.
#include "kx/pass_through.h"
#include "runtime/command.h"
#include "runtime/push.h"

using namespace kx;

// The status of a push whose values nobody wants.
static auto push_status(int sockfd)
{
    return [sockfd](Reply& push) {
        float pose[6], joint[7];
        return decode_push(push.tree(), joint_count(sockfd), pose, joint);
    };
}

static Request movej_canfd(int sockfd, const float* joint)
{
    return Request("movej_canfd", KeyCode::joint_state).joints("joint", joint, request_joints(sockfd));
}

int Movej_CANFD_Block(int sockfd, const float* joint)
{
    return exchange(sockfd, movej_canfd(sockfd, joint), push_status(sockfd));
}

int Movej_CANFD_NonBlock(int sockfd, const float* joint)
{
    return stream(sockfd, movej_canfd(sockfd, joint));
}

int Movej_CANFD(int sockfd, const float* joint)
{
    return quick_query(Movej_CANFD_NonBlock, sockfd, joint);
}

static Request movep_canfd(const POSE& pose)
{
    return Request("movep_canfd", KeyCode::pose_state).pose("pose", pose);
}

int Movep_CANFD_Block(int sockfd, POSE pose)
{
    return exchange(sockfd, movep_canfd(pose), push_status(sockfd));
}

int Movep_CANFD_NonBlock(int sockfd, POSE pose)
{
    return stream(sockfd, movep_canfd(pose));
}

int Movep_CANFD(int sockfd, POSE pose)
{
    return quick_query(Movep_CANFD_NonBlock, sockfd, pose);
}
