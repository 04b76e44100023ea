// Gripper, dexterous hand and the PWM output of the tool port.
#include "kx/end_effectors.h"
#include "runtime/command.h"

using namespace kx;

static Request gripper_route(int min, int max)
{
    return Request("set_gripper_route", KeyCode::set_gripper_route).number("min", min).number("max", max);
}

int Set_Gripper_Route_Block(int sockfd, int min, int max)
{
    return exchange(sockfd, gripper_route(min, max), boolean_state("state"));
}

int Set_Gripper_Route_NonBlock(int sockfd, int min, int max)
{
    return post(sockfd, gripper_route(min, max));
}

int Set_Gripper_Route(int sockfd, int min, int max, bool block)
{
    return sleeping(sockfd, block, Set_Gripper_Route_Block, Set_Gripper_Route_NonBlock, min, max);
}

// All gripper motions are answered alike. Release and both picks tell the controller by "block" whether to
// answer when the motion has ended or at once, so their two forms send different requests.
static int move_gripper(int sockfd, Request motion)
{
    return exchange(sockfd, std::move(motion), boolean_state("state"));
}

static Request gripper_release(int speed, bool block)
{
    return Request("set_gripper_release", KeyCode::set_gripper).number("speed", speed).number("block", block);
}

int Set_Gripper_Release_Block(int sockfd, int speed)
{
    return move_gripper(sockfd, gripper_release(speed, true));
}

int Set_Gripper_Release_NonBlock(int sockfd, int speed)
{
    return post(sockfd, gripper_release(speed, false));
}

int Set_Gripper_Release(int sockfd, int speed, bool block)
{
    return sleeping(sockfd, block, Set_Gripper_Release_Block, Set_Gripper_Release_NonBlock, speed);
}

static Request gripper_pick(const char* command, int speed, int force, bool block)
{
    return Request(command, KeyCode::set_gripper)
        .number("speed", speed)
        .number("force", force)
        .number("block", block);
}

int Set_Gripper_Pick_Block(int sockfd, int speed, int force)
{
    return move_gripper(sockfd, gripper_pick("set_gripper_pick", speed, force, true));
}

int Set_Gripper_Pick_NonBlock(int sockfd, int speed, int force)
{
    return post(sockfd, gripper_pick("set_gripper_pick", speed, force, false));
}

int Set_Gripper_Pick(int sockfd, int speed, int force, bool block)
{
    return sleeping(sockfd, block, Set_Gripper_Pick_Block, Set_Gripper_Pick_NonBlock, speed, force);
}

int Set_Gripper_Pick_On_Block(int sockfd, int speed, int force)
{
    return move_gripper(sockfd, gripper_pick("set_gripper_pick_on", speed, force, true));
}

int Set_Gripper_Pick_On_NonBlock(int sockfd, int speed, int force)
{
    return post(sockfd, gripper_pick("set_gripper_pick_on", speed, force, false));
}

int Set_Gripper_Pick_On(int sockfd, int speed, int force, bool block)
{
    return sleeping(sockfd, block, Set_Gripper_Pick_On_Block, Set_Gripper_Pick_On_NonBlock, speed, force);
}

static Request gripper_position(int position)
{
    return Request("set_gripper_position", KeyCode::set_gripper).number("position", position);
}

int Set_Gripper_Position_Block(int sockfd, int position)
{
    return move_gripper(sockfd, gripper_position(position));
}

int Set_Gripper_Position_NonBlock(int sockfd, int position)
{
    return post(sockfd, gripper_position(position));
}

int Set_Gripper_Position(int sockfd, int position, bool block)
{
    return sleeping(sockfd, block, Set_Gripper_Position_Block, Set_Gripper_Position_NonBlock, position);
}

static Request hand_posture(int posture_num)
{
    return Request("set_hand_posture", KeyCode::set_hand_posture).number("posture_num", posture_num);
}

int Set_Hand_Posture_Block(int sockfd, int posture_num)
{
    return exchange(sockfd, hand_posture(posture_num), boolean_state("set_state"));
}

int Set_Hand_Posture_NonBlock(int sockfd, int posture_num)
{
    return post(sockfd, hand_posture(posture_num));
}

int Set_Hand_Posture(int sockfd, int posture_num, bool block)
{
    return sleeping(sockfd, block, Set_Hand_Posture_Block, Set_Hand_Posture_NonBlock, posture_num);
}

static Request hand_seq(int seq_num)
{
    return Request("set_hand_seq", KeyCode::set_hand_seq).number("seq_num", seq_num);
}

int Set_Hand_Seq_Block(int sockfd, int seq_num)
{
    return exchange(sockfd, hand_seq(seq_num), boolean_state("set_state"));
}

int Set_Hand_Seq_NonBlock(int sockfd, int seq_num)
{
    return post(sockfd, hand_seq(seq_num));
}

int Set_Hand_Seq(int sockfd, int seq_num, bool block)
{
    return sleeping(sockfd, block, Set_Hand_Seq_Block, Set_Hand_Seq_NonBlock, seq_num);
}

static Request hand_angle(const int* angle)
{
    return Request("set_hand_angle", KeyCode::set_hand_angle).array("hand_angle", 6, [=](int i) {
        return angle[i];
    });
}

int Set_Hand_Angle_Block(int sockfd, const int* angle)
{
    return exchange(sockfd, hand_angle(angle), boolean_state("set_state"));
}

int Set_Hand_Angle_NonBlock(int sockfd, const int* angle)
{
    return post(sockfd, hand_angle(angle));
}

int Set_Hand_Angle(int sockfd, const int* angle, bool block)
{
    return sleeping(sockfd, block, Set_Hand_Angle_Block, Set_Hand_Angle_NonBlock, angle);
}

static Request hand_speed(int speed)
{
    return Request("set_hand_speed", KeyCode::set_hand_speed).number("hand_speed", speed);
}

int Set_Hand_Speed_Block(int sockfd, int speed)
{
    return exchange(sockfd, hand_speed(speed), boolean_state("set_state"));
}

int Set_Hand_Speed_NonBlock(int sockfd, int speed)
{
    return post(sockfd, hand_speed(speed));
}

int Set_Hand_Speed(int sockfd, int speed, bool block)
{
    return sleeping(sockfd, block, Set_Hand_Speed_Block, Set_Hand_Speed_NonBlock, speed);
}

static Request hand_force(int force)
{
    return Request("set_hand_force", KeyCode::set_hand_force).number("hand_force", force);
}

int Set_Hand_Force_Block(int sockfd, int force)
{
    return exchange(sockfd, hand_force(force), boolean_state("set_state"));
}

int Set_Hand_Force_NonBlock(int sockfd, int force)
{
    return post(sockfd, hand_force(force));
}

int Set_Hand_Force(int sockfd, int force, bool block)
{
    return sleeping(sockfd, block, Set_Hand_Force_Block, Set_Hand_Force_NonBlock, force);
}

static Request pwm(int PWM_Frq, int PWM_Dpulse)
{
    return Request("set_PWM", KeyCode::set_PWM).number("PWM_Frq", PWM_Frq).number("PWM_Dpulse", PWM_Dpulse);
}

int Set_PWM_Block(int sockfd, int PWM_Frq, int PWM_Dpulse)
{
    return exchange(sockfd, pwm(PWM_Frq, PWM_Dpulse), boolean_state("set_state"));
}

int Set_PWM_NoBlock(int sockfd, int PWM_Frq, int PWM_Dpulse)
{
    return post(sockfd, pwm(PWM_Frq, PWM_Dpulse));
}

int Set_PWM(int sockfd, int PWM_Frq, int PWM_Dpulse, bool block)
{
    return sleeping(sockfd, block, Set_PWM_Block, Set_PWM_NoBlock, PWM_Frq, PWM_Dpulse);
}

static constexpr int reserved = 8; // no request stops the output yet

int Stop_PWM_Block(int)
{
    return reserved;
}

int Stop_PWM_NonBlock(int)
{
    return reserved;
}

int Stop_PWM(int sockfd, bool block)
{
    return sleeping(sockfd, block, Stop_PWM_Block, Stop_PWM_NonBlock);
}
