// Jogging, single steps, waypoints, timer.
#include "kx/teaching.h"
#include "commands/shared.h"

using namespace kx;

// Only the three axes have names; for any other value the key is left out.
static Request with_axis(Request request, const char* key, int axis, const char* const (&names)[3])
{
    if (axis >= 0 && axis < 3) request.text(key, names[axis]);
    return request;
}

static Request with_direction(Request jog, unsigned char direction, unsigned char v)
{
    return jog.text("direction", direction ? "pos" : "neg").number("v", v);
}

static Request joint_teach(unsigned char joint, unsigned char direction, unsigned char v)
{
    return with_direction(Request("set_joint_teach", KeyCode::set_joint_teach).number("teach_joint", joint),
                          direction, v);
}

int Joint_Teach_Cmd_Block(int sockfd, unsigned char joint, unsigned char direction, unsigned char v)
{
    return exchange(sockfd, joint_teach(joint, direction, v), boolean_state("joint_teach"));
}

int Joint_Teach_Cmd_NonBlock(int sockfd, unsigned char joint, unsigned char direction, unsigned char v)
{
    return post(sockfd, joint_teach(joint, direction, v));
}

int Joint_Teach_Cmd(int sockfd, unsigned char joint, unsigned char direction, unsigned char v, bool block)
{
    return sleeping(sockfd, block, Joint_Teach_Cmd_Block, Joint_Teach_Cmd_NonBlock, joint, direction, v);
}

static Request pos_teach(POS_TEACH_MODES type, unsigned char direction, unsigned char v)
{
    return with_direction(
        with_axis(Request("set_pos_teach", KeyCode::set_pos_teach), "teach_type", type, {"x", "y", "z"}),
        direction, v);
}

int Pos_Teach_Cmd_Block(int sockfd, POS_TEACH_MODES type, unsigned char direction, unsigned char v)
{
    return exchange(sockfd, pos_teach(type, direction, v), boolean_state("pos_teach"));
}

int Pos_Teach_Cmd_NonBlock(int sockfd, POS_TEACH_MODES type, unsigned char direction, unsigned char v)
{
    return post(sockfd, pos_teach(type, direction, v));
}

int Pos_Teach_Cmd(int sockfd, POS_TEACH_MODES type, unsigned char direction, unsigned char v, bool block)
{
    return sleeping(sockfd, block, Pos_Teach_Cmd_Block, Pos_Teach_Cmd_NonBlock, type, direction, v);
}

static Request ort_teach(ORT_TEACH_MODES type, unsigned char direction, unsigned char v)
{
    return with_direction(
        with_axis(Request("set_ort_teach", KeyCode::set_ort_teach), "teach_type", type, {"rx", "ry", "rz"}),
        direction, v);
}

int Ort_Teach_Cmd_Block(int sockfd, ORT_TEACH_MODES type, unsigned char direction, unsigned char v)
{
    return exchange(sockfd, ort_teach(type, direction, v), boolean_state("ort_teach"));
}

int Ort_Teach_Cmd_NonBlock(int sockfd, ORT_TEACH_MODES type, unsigned char direction, unsigned char v)
{
    return post(sockfd, ort_teach(type, direction, v));
}

int Ort_Teach_Cmd(int sockfd, ORT_TEACH_MODES type, unsigned char direction, unsigned char v, bool block)
{
    return sleeping(sockfd, block, Ort_Teach_Cmd_Block, Ort_Teach_Cmd_NonBlock, type, direction, v);
}

static Request stop_teach()
{
    return Request("set_stop_teach", KeyCode::set_stop_teach);
}

int Teach_Stop_Cmd_Blcok(int sockfd)
{
    return exchange(sockfd, stop_teach(), boolean_state("stop_teach"));
}

int Teach_Stop_Cmd_NonBlcok(int sockfd)
{
    return post(sockfd, stop_teach());
}

int Teach_Stop_Cmd(int sockfd, bool block)
{
    return sleeping(sockfd, block, Teach_Stop_Cmd_Blcok, Teach_Stop_Cmd_NonBlcok);
}

// A step is answered like a planned move, but waited for no longer than for any other reply.
static int step_and_wait(int sockfd, Request step)
{
    return exchange(sockfd, std::move(step), boolean_state("trajectory_state"));
}

// Unlike all other angles a joint's step is not truncated.
static Request joint_step(unsigned char joint, float step, unsigned char v)
{
    return Request("set_joint_step", KeyCode::current_trajectory_state)
        .pair("joint_step", joint, fractional_thousandths(step))
        .number("v", v);
}

int Joint_Step_Cmd_Block(int sockfd, unsigned char joint, float step, unsigned char v)
{
    return step_and_wait(sockfd, joint_step(joint, step, v));
}

int Joint_Step_Cmd_NonBlock(int sockfd, unsigned char joint, float step, unsigned char v)
{
    return post(sockfd, joint_step(joint, step, v));
}

int Joint_Step_Cmd(int sockfd, unsigned char joint, float step, unsigned char v, bool block)
{
    return sleeping(sockfd, block, Joint_Step_Cmd_Block, Joint_Step_Cmd_NonBlock, joint, step, v);
}

static Request pos_step(POS_TEACH_MODES type, float step, unsigned char v)
{
    return with_axis(Request("set_pos_step", KeyCode::current_trajectory_state), "step_type", type,
                     {"x_step", "y_step", "z_step"})
        .number("step", truncated(step, 1000000.0f))
        .number("v", v);
}

int Pos_Step_Cmd_Block(int sockfd, POS_TEACH_MODES type, float step, unsigned char v)
{
    return step_and_wait(sockfd, pos_step(type, step, v));
}

int Pos_Step_Cmd_NonBlock(int sockfd, POS_TEACH_MODES type, float step, unsigned char v)
{
    return post(sockfd, pos_step(type, step, v));
}

int Pos_Step_Cmd(int sockfd, POS_TEACH_MODES type, float step, unsigned char v, bool block)
{
    return sleeping(sockfd, block, Pos_Step_Cmd_Block, Pos_Step_Cmd_NonBlock, type, step, v);
}

static Request ort_step(ORT_TEACH_MODES type, float step, unsigned char v)
{
    return with_axis(Request("set_ort_step", KeyCode::current_trajectory_state), "step_type", type,
                     {"rx_step", "ry_step", "rz_step"})
        .number("step", truncated(step, 1000.0f))
        .number("v", v);
}

int Ort_Step_Cmd_Block(int sockfd, ORT_TEACH_MODES type, float step, unsigned char v)
{
    return step_and_wait(sockfd, ort_step(type, step, v));
}

int Ort_Step_Cmd_NonBlock(int sockfd, ORT_TEACH_MODES type, float step, unsigned char v)
{
    return post(sockfd, ort_step(type, step, v));
}

int Ort_Step_Cmd(int sockfd, ORT_TEACH_MODES type, float step, unsigned char v, bool block)
{
    return sleeping(sockfd, block, Ort_Step_Cmd_Block, Ort_Step_Cmd_NonBlock, type, step, v);
}

static Request waypoint(int sockfd, const float* joint)
{
    return Request("add_waypoint", KeyCode::add_waypoint).joints("joint", joint, request_joints(sockfd));
}

// Lenient, unlike the other waypoint commands: whatever is not false counts as done.
int Add_Waypoint_Block(int sockfd, const float* joint)
{
    return exchange(sockfd, waypoint(sockfd, joint),
                    [](Reply& reply) { return reply.boolean("waypoint_state", KX_SUCCESS); });
}

int Add_Waypoint_NonBlock(int sockfd, const float* joint)
{
    return post(sockfd, waypoint(sockfd, joint));
}

int Add_Waypoint(int sockfd, const float* joint, bool block)
{
    return sleeping(sockfd, block, Add_Waypoint_Block, Add_Waypoint_NonBlock, joint);
}

static Request start_waypoint(int frequency)
{
    return Request("start_waypoint", KeyCode::start_waypoint).number("frequency", frequency);
}

int Start_Waypoint_Block(int sockfd, int frequency)
{
    return exchange(sockfd, start_waypoint(frequency), boolean_state("waypoint_state"));
}

int Start_Waypoint_NonBlock(int sockfd, int frequency)
{
    return post(sockfd, start_waypoint(frequency));
}

int Start_Waypoint(int sockfd, int frequency, bool block)
{
    return sleeping(sockfd, block, Start_Waypoint_Block, Start_Waypoint_NonBlock, frequency);
}

static Request clear_waypoint()
{
    return Request("clear_waypoint", KeyCode::clear_waypoint);
}

int Clear_Waypoint_Block(int sockfd)
{
    return exchange(sockfd, clear_waypoint(), boolean_state("waypoint_state"));
}

int Clear_Waypoint_NonBlock(int sockfd)
{
    return post(sockfd, clear_waypoint());
}

int Clear_Waypoint(int sockfd, bool block)
{
    return sleeping(sockfd, block, Clear_Waypoint_Block, Clear_Waypoint_NonBlock);
}

static Request stop_waypoint()
{
    return Request("stop_waypoint", KeyCode::stop_waypoint);
}

// No reply has this key code, so the wait ends in 7.
int Stop_Waypoint_Block(int sockfd)
{
    return exchange(sockfd, stop_waypoint(), boolean_state("waypoint_state"));
}

int Stop_Waypoint_NonBlock(int sockfd)
{
    return post(sockfd, stop_waypoint());
}

int Stop_Waypoint(int sockfd, bool block)
{
    return sleeping(sockfd, block, Stop_Waypoint_Block, Stop_Waypoint_NonBlock);
}

int Paser_Timer(const char* text)
{
    Reply reply(text);
    return boolean_state("wait_time")(reply);
}

static Request timer(int wait_time)
{
    return Request("timer", KeyCode::timer).number("wait_time", wait_time);
}

int Timer_Block(int sockfd, int wait_time)
{
    return exchange(sockfd, timer(wait_time), boolean_state("wait_time"));
}

int Timer_NonBlock(int sockfd, int wait_time)
{
    return post(sockfd, timer(wait_time));
}

int Timer(int sockfd, int wait_time, bool block)
{
    return sleeping(sockfd, block, Timer_Block, Timer_NonBlock, wait_time);
}
