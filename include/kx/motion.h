/**
 * @defgroup motion Motion
 * Planned motions and control of the running trajectory.
 *
 * @{
 */
#ifndef KX_MOTION_H
#define KX_MOTION_H

#include "kx/types.h"

/**
 * Moves all joints to a target, arriving together.
 *
 * Blocking, it returns when the motion has ended, however long that takes. A link gets the completion as it comes. A
 * classic connection looks for it once a second, asks the controller for its state in between, and gives up with 7 when
 * that fails; meanwhile other threads may only use non-blocking commands. Either way Move_Stop_Cmd(sockfd, false) from
 * another thread makes this call return 1.
 * @param joint target angles, degrees: 6 values, 7 for model 47; sent in thousandths, truncated
 * @param v speed, percent of the arm's limits, 1 to 100; not checked by the library
 * @param r blend radius, m, 0 or more; sent in thousandths, truncated, not checked by the library
 * @waits_for_arrival_or_queues
 * @return 0 arrived (not blocking: queued), 1 refused or broken off, 6 not sent, 7 the controller stopped
 *   answering, 9 or 11 a reply that cannot be read
 */
KX_API int Movej_Cmd(int sockfd, const float* joint, unsigned char v, float r, bool block);

/**
 * Moves the tool along a straight line to a pose; blocks like Movej_Cmd.
 * @param pose target of the tool in the active frames, metres and radians; sent in millionths and
 *   thousandths, truncated
 * @param v speed, percent of the arm's limits, 1 to 100; not checked by the library
 * @param r blend radius, m, 0 or more; sent in thousandths, truncated, not checked by the library
 * @waits_for_arrival_or_queues
 * @return as Movej_Cmd
 */
KX_API int Movel_Cmd(int sockfd, POSE pose, unsigned char v, float r, bool block);

/**
 * Moves the tool along the circle through a via pose and an end pose; blocks like Movej_Cmd.
 * @param pose_via a pose on the way, metres and radians
 * @param pose_to the end, metres and radians
 * @param v speed, percent of the arm's limits, 1 to 100; not checked by the library
 * @param r blend radius, m, 0 or more; sent in thousandths, truncated, not checked by the library
 * @param loop how often the circle is repeated, 0 to 255
 * @waits_for_arrival_or_queues
 * @return as Movej_Cmd
 */
KX_API int Movec_Cmd(int sockfd, POSE pose_via, POSE pose_to, unsigned char v, float r, unsigned char loop,
                     bool block);

/**
 * Moves to a pose in joint space.
 * @param pose target of the tool in the active frames, metres and radians; sent in millionths and
 *   thousandths, truncated
 * @param v speed, percent of the arm's limits, 1 to 100; not checked by the library
 * @param r blend radius, m, 0 or more; sent in thousandths, truncated, not checked by the library
 * @waits_for_the_end_or_queues
 * @return @done_or_refused
 */
KX_API int Movej_P_Cmd(int sockfd, POSE pose, unsigned char v, float r, bool block);

/**
 * Stops the arm and drops all planned motions.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Move_Stop_Cmd(int sockfd, bool block);

/**
 * Pauses the running motion, keeping its plan.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Move_Pause_Cmd(int sockfd, bool block);

/**
 * Continues a paused motion.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Move_Continue_Cmd(int sockfd, bool block);

/**
 * Drops the motion being executed.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Clear_Current_Trajectory(int sockfd, bool block);

/**
 * Drops all planned motions.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Clear_All_Trajectory(int sockfd, bool block);

/**
 * Reads the kind of the running motion.
 *
 * The reply's data are not stored. The caller's own `data` are rescaled in place instead: for None_Mode and
 * Joint_Mode one entry per joint is divided by 1000, for Line_Mode and Circle_Mode data[0..2] by 1000000
 * and data[3..5] by 1000.
 * @param type receives the kind
 * @param data room for 7 floats, rescaled as above
 * @waits
 * @return @read_or_failed, 11 wrong type or unknown kind
 */
KX_API int Get_Current_Trajectory(int sockfd, ARM_CTRL_MODES* type, float* data);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Movej_Cmd_Block(int sockfd, const float* joint, unsigned char v, float r);
KX_API int Movej_Cmd_NonBlock(int sockfd, const float* joint, unsigned char v, float r);
KX_API int Movel_Cmd_Block(int sockfd, POSE pose, unsigned char v, float r);
KX_API int Movel_Cmd_NonBlock(int sockfd, POSE pose, unsigned char v, float r);
KX_API int Movec_Cmd_Block(int sockfd, POSE pose_via, POSE pose_to, unsigned char v, float r,
                           unsigned char loop);
KX_API int Movec_Cmd_NonBlock(int sockfd, POSE pose_via, POSE pose_to, unsigned char v, float r,
                              unsigned char loop);
KX_API int Movej_P_Cmd_Block(int sockfd, POSE pose, unsigned char v, float r);
KX_API int Movej_P_Cmd_NonBlock(int sockfd, POSE pose, unsigned char v, float r);
KX_API int Move_Stop_Cmd_Block(int sockfd);
KX_API int Move_Stop_Cmd_NonBlock(int sockfd);
KX_API int Move_Pause_Cmd_Block(int sockfd);
KX_API int Move_Pause_Cmd_NonBlock(int sockfd);
KX_API int Move_Continue_Cmd_Block(int sockfd);
KX_API int Move_Continue_Cmd_NonBlock(int sockfd);
KX_API int Clear_Current_Trajectory_Block(int sockfd);
KX_API int Clear_Current_Trajectory_NonBlock(int sockfd);
KX_API int Clear_All_Trajectory_Block(int sockfd);
KX_API int Clear_All_Trajectory_NonBlock(int sockfd);
KX_API int Get_Current_Trajectory_Block(int sockfd, ARM_CTRL_MODES* type, float* data);

/** @} */
/** @} */

#endif
