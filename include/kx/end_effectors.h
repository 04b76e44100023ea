/**
 * @defgroup end_effectors Gripper, hand and PWM
 * What the arm holds things with: two-finger gripper, dexterous hand, PWM output of the tool port.
 *
 * Values are in the controller's units and go out as they are; the controller checks their ranges.
 *
 * - `speed` in the controller's unit
 * - `force` in the controller's unit
 *
 * Setters return: 0 done, 1 refused; blocking also 6 not sent, 7 no answer within m_nOutTime, 9 or 11 a reply
 * that cannot be read.
 *
 * @{
 */
#ifndef KX_END_EFFECTORS_H
#define KX_END_EFFECTORS_H

#include "kx/types.h"

/**
 * Sets the travel limits of the gripper.
 * @param min, max the limits
 */
KX_API int Set_Gripper_Route(int sockfd, int min, int max, bool block);

/**
 * Opens the gripper. A blocking release, pick or continuous pick asks the controller to answer only when the
 * fingers have come to rest, and waits for that at most m_nOutTime; a non-blocking one asks it to answer at
 * once.
 */
KX_API int Set_Gripper_Release(int sockfd, int speed, bool block);

/** Closes the gripper until the force is reached; blocks like Set_Gripper_Release. */
KX_API int Set_Gripper_Pick(int sockfd, int speed, int force, bool block);

/** Closes the gripper and keeps up the force; blocks like Set_Gripper_Release. */
KX_API int Set_Gripper_Pick_On(int sockfd, int speed, int force, bool block);

/**
 * Moves the gripper's fingers to a position.
 * @param position within the travel limits
 */
KX_API int Set_Gripper_Position(int sockfd, int position, bool block);

/**
 * Takes a posture stored in the hand.
 * @param posture_num its number
 */
KX_API int Set_Hand_Posture(int sockfd, int posture_num, bool block);

/**
 * Runs a sequence stored in the hand.
 * @param seq_num its number
 */
KX_API int Set_Hand_Seq(int sockfd, int seq_num, bool block);

/**
 * Moves the hand's fingers.
 * @param angle six values, one per degree of freedom
 */
KX_API int Set_Hand_Angle(int sockfd, const int* angle, bool block);

/** Sets the speed of the hand's fingers. */
KX_API int Set_Hand_Speed(int sockfd, int speed, bool block);

/** Sets the force of the hand's fingers. */
KX_API int Set_Hand_Force(int sockfd, int force, bool block);

/**
 * Starts the PWM output.
 * @param PWM_Frq frequency
 * @param PWM_Dpulse pulse width
 */
KX_API int Set_PWM(int sockfd, int PWM_Frq, int PWM_Dpulse, bool block);

/**
 * Reserved: sends nothing.
 * @param block without effect
 * @return 8, after 20 ms
 */
KX_API int Stop_PWM(int sockfd, bool block);

/* Workers. */
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

#endif
