/**
 * @defgroup end_effectors Gripper, hand and PWM
 * What the arm holds things with: two-finger gripper, dexterous hand, PWM output of the tool port.
 *
 * Values go out as they are, and the controller refuses what lies beyond its ranges; units and ranges are
 * those of kx-controller. All of it runs on 24 V of the tool flange (Set_Tool_Voltage).
 *
 * @{
 */
#ifndef KX_END_EFFECTORS_H
#define KX_END_EFFECTORS_H

#include "kx/types.h"

/**
 * Sets the travel limits of the gripper.
 * @param min, max openings, 0 to 1000 tenths of a millimetre
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Gripper_Route(int sockfd, int min, int max, bool block);

/**
 * Opens the gripper. A blocking release, pick or continuous pick asks the controller to answer only when
 * the fingers have come to rest, and waits for that as for any answer; a non-blocking one asks it to
 * answer at once.
 * @param speed 1 to 1000 tenths of a millimetre per second
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Gripper_Release(int sockfd, int speed, bool block);

/**
 * Closes the gripper until the force is reached; blocks like Set_Gripper_Release.
 * @param speed 1 to 1000 tenths of a millimetre per second
 * @param force 10 to 1000 tenths of a newton
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Gripper_Pick(int sockfd, int speed, int force, bool block);

/**
 * Closes the gripper and keeps up the force; blocks like Set_Gripper_Release.
 * @param speed 1 to 1000 tenths of a millimetre per second
 * @param force 10 to 1000 tenths of a newton
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Gripper_Pick_On(int sockfd, int speed, int force, bool block);

/**
 * Moves the gripper's fingers to a position.
 * @param position opening within the travel limits, tenths of a millimetre
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Gripper_Position(int sockfd, int position, bool block);

/**
 * Takes a posture stored in the hand.
 * @param posture_num 1 open, 2 fist, 3 pinch, 4 point, 5 thumb up
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Hand_Posture(int sockfd, int posture_num, bool block);

/**
 * Runs a sequence stored in the hand.
 * @param seq_num 1 grasp twice, 2 pinch twice, 3 show all postures
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Hand_Seq(int sockfd, int seq_num, bool block);

/**
 * Moves the hand's fingers.
 * @param angle six values, 0 bent to 1000 stretched: little, ring, middle and index finger, thumb bent,
 *   thumb turned
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Hand_Angle(int sockfd, const int* angle, bool block);

/**
 * Sets the speed of the hand's fingers.
 * @param speed 1 to 1000 thousandths of a finger's way per second
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Hand_Speed(int sockfd, int speed, bool block);

/**
 * Sets the force of the hand's fingers.
 * @param force 1 to 1000 thousandths of the largest
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Hand_Force(int sockfd, int force, bool block);

/**
 * Starts the PWM output.
 * @param PWM_Frq frequency, 1 to 100000 Hz
 * @param PWM_Dpulse width of a pulse, microseconds, at most the period
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_PWM(int sockfd, int PWM_Frq, int PWM_Dpulse, bool block);

/**
 * Reserved: sends nothing.
 * @param block without effect
 * @never_waits
 * @return 8, after 20 ms
 */
KX_API int Stop_PWM(int sockfd, bool block);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Set_Gripper_Route_Block(int sockfd, int min, int max);
KX_API int Set_Gripper_Route_NonBlock(int sockfd, int min, int max);
KX_API int Set_Gripper_Release_Block(int sockfd, int speed);
KX_API int Set_Gripper_Release_NonBlock(int sockfd, int speed);
KX_API int Set_Gripper_Pick_Block(int sockfd, int speed, int force);
KX_API int Set_Gripper_Pick_NonBlock(int sockfd, int speed, int force);
KX_API int Set_Gripper_Pick_On_Block(int sockfd, int speed, int force);
KX_API int Set_Gripper_Pick_On_NonBlock(int sockfd, int speed, int force);
KX_API int Set_Gripper_Position_Block(int sockfd, int position);
KX_API int Set_Gripper_Position_NonBlock(int sockfd, int position);
KX_API int Set_Hand_Posture_Block(int sockfd, int posture_num);
KX_API int Set_Hand_Posture_NonBlock(int sockfd, int posture_num);
KX_API int Set_Hand_Seq_Block(int sockfd, int seq_num);
KX_API int Set_Hand_Seq_NonBlock(int sockfd, int seq_num);
KX_API int Set_Hand_Angle_Block(int sockfd, const int* angle);
KX_API int Set_Hand_Angle_NonBlock(int sockfd, const int* angle);
KX_API int Set_Hand_Speed_Block(int sockfd, int speed);
KX_API int Set_Hand_Speed_NonBlock(int sockfd, int speed);
KX_API int Set_Hand_Force_Block(int sockfd, int force);
KX_API int Set_Hand_Force_NonBlock(int sockfd, int force);
KX_API int Set_PWM_Block(int sockfd, int PWM_Frq, int PWM_Dpulse);
KX_API int Set_PWM_NoBlock(int sockfd, int PWM_Frq, int PWM_Dpulse);
/**
 * Reserved: sends nothing.
 * @return 8
 */
KX_API int Stop_PWM_Block(int sockfd);
/**
 * Reserved: sends nothing.
 * @return 8
 */
KX_API int Stop_PWM_NonBlock(int sockfd);

/** @} */
/** @} */

#endif
