/*
 * Force-position move: the application streams targets together with a force to be held, and the controller
 * moves while it regulates that force. The order is start, any number of targets, stop; the library enforces
 * none.
 *
 * Targets are cut to whole numbers before they are scaled: positions to whole metres, pose angles to whole
 * radians, joint angles to whole degrees, each toward zero (0.35 m goes out as 0, 45.9 degrees as 45). Values
 * beyond 32 bits on the wire are sent as the nearest within. The force goes out in tenths of the caller's
 * unit, not cut.
 *
 * Sensor, mode and direction go out as the controller numbers them.
 */
#ifndef KX_FORCE_POSITION_H
#define KX_FORCE_POSITION_H

#include "kx/types.h"

/** Starts the mode, after 20 ms. 0 done, 1 refused, 9 or 11 unreadable status; blocking also 6, 7. */
KX_API int Start_Force_Position_Move(int sockfd, bool block);

/**
 * Sends a target pose at once, without passing through the queue; meant to be called at the streaming rate.
 *
 * Non-blocking, each call lets one answer of the controller reach the callback of KX_API_Init, as a push of
 * type 3; when 300 replies are pending, the target is sent all the same but its answer is not delivered.
 * Blocking, it waits for such an answer and returns 0 whatever that says, and the callback is not called.
 * @return 0 sent (blocking: answered), 6 not sent; blocking also 7
 */
KX_API int Force_Position_Move_POSE(int sockfd, POSE pose, unsigned char sensor, unsigned char mode, int dir,
                                    float force, bool block);

/** The same with target joint angles: 6 values, 7 for model 47. */
KX_API int Force_Position_Move_Joint(int sockfd, const float* joint, unsigned char sensor, unsigned char mode,
                                     int dir, float force, bool block);

/** Stops the mode, after 20 ms. Codes as for the start. */
KX_API int Stop_Force_Postion_Move(int sockfd, bool block);

/* Workers. */
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

#endif
