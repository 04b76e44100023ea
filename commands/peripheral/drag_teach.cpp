// Teaching by hand: recording a dragged path and replaying it.
#include "kx/drag_teach.h"
#include "runtime/command.h"

using namespace kx;

static Request start_drag_teach()
{
    return Request("start_drag_teach", KeyCode::start_drag_teach).number("trajectory_record", 1);
}

int Start_Drag_Teach_Block(int sockfd)
{
    return exchange(sockfd, start_drag_teach(), boolean_state("drag_teach"));
}

int Start_Drag_Teach_NonBlock(int sockfd)
{
    return post(sockfd, start_drag_teach());
}

int Start_Drag_Teach(int sockfd, bool block)
{
    return sleeping(sockfd, block, Start_Drag_Teach_Block, Start_Drag_Teach_NonBlock);
}

static Request stop_drag_teach()
{
    return Request("stop_drag_teach", KeyCode::stop_drag_teach);
}

int Stop_Drag_Teach_Block(int sockfd)
{
    return exchange(sockfd, stop_drag_teach(), boolean_state("drag_teach"));
}

int Stop_Drag_Teach_NonBlock(int sockfd)
{
    return post(sockfd, stop_drag_teach());
}

int Stop_Drag_Teach(int sockfd, bool block)
{
    return sleeping(sockfd, block, Stop_Drag_Teach_Block, Stop_Drag_Teach_NonBlock);
}

static Request run_trajectory()
{
    return Request("run_drag_trajectory", KeyCode::run_drag_trajectory);
}

int Run_Drag_Trajectory_Block(int sockfd)
{
    return exchange(sockfd, run_trajectory(), boolean_state("run_state"));
}

int Run_Drag_Trajectory_NonBlock(int sockfd)
{
    return post(sockfd, run_trajectory());
}

int Run_Drag_Trajectory(int sockfd, bool block)
{
    return sleeping(sockfd, block, Run_Drag_Trajectory_Block, Run_Drag_Trajectory_NonBlock);
}

static Request pause_trajectory()
{
    return Request("pause_drag_trajectory", KeyCode::pause_drag_trajectory);
}

int Pause_Drag_Trajectory_Block(int sockfd)
{
    return exchange(sockfd, pause_trajectory(), boolean_state("pause_state"));
}

int Pause_Drag_Trajectory_NonBlock(int sockfd)
{
    return post(sockfd, pause_trajectory());
}

int Pause_Drag_Trajectory(int sockfd, bool block)
{
    return sleeping(sockfd, block, Pause_Drag_Trajectory_Block, Pause_Drag_Trajectory_NonBlock);
}

static Request continue_trajectory()
{
    return Request("continue_drag_trajectory", KeyCode::continue_drag_trajectory);
}

int Continue_Drag_Trajectory_Block(int sockfd)
{
    return exchange(sockfd, continue_trajectory(), boolean_state("continue_state"));
}

int Continue_Drag_Trajectory_NonBlock(int sockfd)
{
    return post(sockfd, continue_trajectory());
}

int Continue_Drag_Trajectory(int sockfd, bool block)
{
    return sleeping(sockfd, block, Continue_Drag_Trajectory_Block, Continue_Drag_Trajectory_NonBlock);
}

static Request stop_trajectory()
{
    return Request("stop_drag_trajectory", KeyCode::stop_drag_trajectory);
}

int Stop_Drag_Trajectory_Block(int sockfd)
{
    return exchange(sockfd, stop_trajectory(), boolean_state("stop_state"));
}

int Stop_Drag_Trajectory_NonBlock(int sockfd)
{
    return post(sockfd, stop_trajectory());
}

int Stop_Drag_Trajectory(int sockfd, bool block)
{
    return sleeping(sockfd, block, Stop_Drag_Trajectory_Block, Stop_Drag_Trajectory_NonBlock);
}

static Request trajectory_origin()
{
    return Request("drag_trajectory_origin", KeyCode::current_trajectory_state);
}

// It waits for the end of the motion, but no longer than for any other reply.
int Drag_Trajectory_Origin_Block(int sockfd)
{
    return exchange(sockfd, trajectory_origin(), boolean_state("trajectory_state"));
}

int Drag_Trajectory_Origin_NonBlock(int sockfd)
{
    return post(sockfd, trajectory_origin());
}

int Drag_Trajectory_Origin(int sockfd, bool block)
{
    return sleeping(sockfd, block, Drag_Trajectory_Origin_Block, Drag_Trajectory_Origin_NonBlock);
}

static Request start_multi_drag_teach(int mode)
{
    return Request("start_multi_drag_teach", KeyCode::start_multi_drag_teach).number("mode", mode);
}

int Start_Multi_Drag_Teach_Block(int sockfd, int mode)
{
    return exchange(sockfd, start_multi_drag_teach(mode), boolean_state("set_state"));
}

int Start_Multi_Drag_Teach_NonBlock(int sockfd, int mode)
{
    return post(sockfd, start_multi_drag_teach(mode));
}

int Start_Multi_Drag_Teach(int sockfd, int mode, bool block)
{
    return sleeping(sockfd, block, Start_Multi_Drag_Teach_Block, Start_Multi_Drag_Teach_NonBlock, mode);
}
