/**
 * @defgroup force_position Force-position move
 * The application streams targets together with a force to be held, and the controller moves while it
 * regulates that force. The order is start, any number of targets, stop; the library enforces none.
 *
 * Targets are cut to whole numbers before they are scaled: positions to whole metres, pose angles to whole
 * radians, joint angles to whole degrees, each toward zero (0.35 m goes out as 0, 45.9 degrees as 45). Values
 * beyond 32 bits on the wire are sent as the nearest within.
 *
 * @{
 */
#ifndef KX_FORCE_POSITION_H
#define KX_FORCE_POSITION_H

#include "kx/types.h"

/**
 * Starts the mode.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Start_Force_Position_Move(int sockfd, bool block);

/**
 * Sends a target pose at once, without passing through the queue; meant to be called at the streaming rate.
 *
 * Non-blocking, each call lets one answer of the controller reach the callback of KX_API_Init, as a push of
 * type 3; when 300 replies are pending, the target is sent all the same but its answer is not delivered.
 * Blocking, it waits for such an answer and returns 0 whatever that says, and the callback is not called.
 * @param pose target, metres and radians, cut to whole ones
 * @param sensor 0 the Fz sensor, 1 the force sensor of six axes
 * @param mode 0 along the axes of the base, 1 of the flange
 * @param dir 0 to 2 force along x, y, z; 3 to 5 torque about them
 * @param force to be held, 0 to 200 N or Nm; sent in tenths, not cut
 * @waits_or_sends{at once}
 * @return 0 sent (blocking: answered), 6 not sent; blocking also 7
 */
KX_API int Force_Position_Move_POSE(int sockfd, POSE pose, unsigned char sensor, unsigned char mode, int dir,
                                    float force, bool block);

/**
 * Sends target joint angles at once; answers and waiting are those of Force_Position_Move_POSE.
 * @param joint target, degrees, cut to whole ones: 6 values, 7 for model 47
 * @param sensor 0 the Fz sensor, 1 the force sensor of six axes
 * @param mode 0 along the axes of the base, 1 of the flange
 * @param dir 0 to 2 force along x, y, z; 3 to 5 torque about them
 * @param force to be held, 0 to 200 N or Nm; sent in tenths, not cut
 * @waits_or_sends{at once}
 * @return 0 sent (blocking: answered), 6 not sent; blocking also 7
 */
KX_API int Force_Position_Move_Joint(int sockfd, const float* joint, unsigned char sensor, unsigned char mode,
                                     int dir, float force, bool block);

/**
 * Stops the mode.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Stop_Force_Postion_Move(int sockfd, bool block);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Start_Force_Position_Move_Block(int sockfd);
KX_API int Start_Force_Position_Move_NonBlock(int sockfd);
KX_API int Force_Position_Move_POSE_Block(int sockfd, POSE pose, unsigned char sensor, unsigned char mode,
                                          int dir, float force);
KX_API int Force_Position_Move_POSE_NonBlock(int sockfd, POSE pose, unsigned char sensor, unsigned char mode,
                                             int dir, float force);
KX_API int Force_Position_Move_Joint_Block(int sockfd, const float* joint, unsigned char sensor,
                                           unsigned char mode, int dir, float force);
KX_API int Force_Position_Move_Joint_NonBlock(int sockfd, const float* joint, unsigned char sensor,
                                              unsigned char mode, int dir, float force);
KX_API int Stop_Force_Postion_Move_Block(int sockfd);
KX_API int Stop_Force_Postion_Move_NonBlock(int sockfd);

/** @} */
/** @} */

#endif
