/**
 * @defgroup arm_settings Settings of the arm
 * Settings of the arm as a whole: Cartesian limits, collision detection, kinematic and dynamic parameters,
 * servos, installation.
 *
 * @{
 */
#ifndef KX_ARM_SETTINGS_H
#define KX_ARM_SETTINGS_H

#include "kx/types.h"

/**
 * Sets the tool's maximum speed.
 * @param speed m/s; sent in thousandths, truncated
 * @waits_or_queues
 * @return @done_or_refused{8 or 9}
 */
KX_API int Set_Arm_Line_Speed(int sockfd, float speed, bool block);

/**
 * Sets the tool's maximum acceleration.
 * @param acc m/s^2; sent in thousandths, truncated
 * @waits_or_queues
 * @return @done_or_refused{8 or 9}
 */
KX_API int Set_Arm_Line_Acc(int sockfd, float acc, bool block);

/**
 * Sets the tool's maximum angular speed.
 * @param speed rad/s; sent in thousandths, truncated
 * @waits_or_queues
 * @return @done_or_refused{8 or 9}
 */
KX_API int Set_Arm_Angular_Speed(int sockfd, float speed, bool block);

/**
 * Sets the tool's maximum angular acceleration.
 * @param acc rad/s^2; sent in thousandths, truncated
 * @waits_or_queues
 * @return @done_or_refused{8 or 9}
 */
KX_API int Set_Arm_Angular_Acc(int sockfd, float acc, bool block);

/**
 * Reads the tool's maximum speed.
 * @param speed receives m/s
 * @waits
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_Arm_Line_Speed(int sockfd, float* speed);

/**
 * Reads the tool's maximum acceleration.
 * @param acc receives m/s^2
 * @waits
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_Arm_Line_Acc(int sockfd, float* acc);

/**
 * Reads the tool's maximum angular speed.
 * @param speed receives rad/s
 * @waits
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_Arm_Angular_Speed(int sockfd, float* speed);

/**
 * Reads the tool's maximum angular acceleration.
 * @param acc receives rad/s^2
 * @waits
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_Arm_Angular_Acc(int sockfd, float* acc);

/**
 * Restores the arm's initial parameters.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Arm_Tip_Init(int sockfd, bool block);

/**
 * Sets the stage of the collision detection.
 * @param stage 0 off to 8 most sensitive; not checked by the library
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Collision_Stage(int sockfd, int stage, bool block);

/**
 * Reads the stage of the collision detection.
 * @param stage receives the stage; what is no number reads as 0, true as 1
 * @waits
 * @return @read_or_failed
 */
KX_API int Get_Collision_Stage(int sockfd, int* stage);

/**
 * Sets the lengths of the arm's five links; sent in tenths, truncated.
 * @param dh1, dh2, dh3, dh4, dh5 the lengths from the base on, mm
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_DH_Data(int sockfd, float dh1, float dh2, float dh3, float dh4, float dh5, bool block);

/**
 * Reads the lengths of the arm's five links, to a tenth.
 * @param dh1, dh2, dh3, dh4, dh5 receive the lengths from the base on, mm
 * @waits
 * @return @read_or_failed, 11 wrong type or fewer than five
 */
KX_API int Get_DH_Data(int sockfd, float* dh1, float* dh2, float* dh3, float* dh4, float* dh5);

/**
 * Sets the zero offset of every joint.
 * @param offset degrees: 6 values, 7 for model 47; sent in thousandths, truncated
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Joint_Zero_Offset(int sockfd, const float* offset, bool block);

/**
 * Sets the parameters of the arm's dynamic model.
 *
 * A fraction may take 17 digits, and a request longer than 299 bytes is refused by a link, while
 * a classic connection ends the process: the numbers, with
 * two more characters between any two of them, may take 246. Multiples of 0.125 always fit, having no
 * fraction.
 * @param parm 12 values, 14 for model 47, in the controller's order; sent in thousandths with their
 *   fraction
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Arm_Dynamic_Parm(int sockfd, const float* parm, bool block);

/**
 * Reads the end tool's software version.
 * @param version receives the version; what is no number reads as 0, true as 1
 * @waits
 * @return @read_or_failed
 */
KX_API int Get_Tool_Software_Version(int sockfd, int* version);

/**
 * Switches the arm's servos.
 * @param cmd true on, false off
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Arm_Servo_State(int sockfd, bool cmd, bool block);

/**
 * Switches the system's servo state.
 * @param cmd true on, false off
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_System_State_Servo(int sockfd, bool cmd, bool block);

/**
 * Sets the two angles under which the arm is installed.
 * @param x, y degrees about the base's x and y axis; sent as they are
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Install_Pose(int sockfd, float x, float y, bool block);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Set_Arm_Line_Speed_Block(int sockfd, float speed);
KX_API int Set_Arm_Line_Speed_NonBlock(int sockfd, float speed);
KX_API int Set_Arm_Line_Acc_Block(int sockfd, float acc);
KX_API int Set_Arm_Line_Acc_NonBlock(int sockfd, float acc);
KX_API int Set_Arm_Angular_Speed_Block(int sockfd, float speed);
KX_API int Set_Arm_Angular_Speed_NonBlock(int sockfd, float speed);
KX_API int Set_Arm_Angular_Acc_Block(int sockfd, float acc);
KX_API int Set_Arm_Angular_Acc_NonBlock(int sockfd, float acc);
KX_API int Get_Arm_Line_Speed_Block(int sockfd, float* speed);
KX_API int Get_Arm_Line_Acc_Block(int sockfd, float* acc);
KX_API int Get_Arm_Angular_Speed_Block(int sockfd, float* speed);
KX_API int Get_Arm_Angular_Acc_Block(int sockfd, float* acc);
KX_API int Set_Arm_Tip_Init_Block(int sockfd);
KX_API int Set_Arm_Tip_Init_NonBlock(int sockfd);
KX_API int Set_Collision_Stage_Block(int sockfd, int stage);
KX_API int Set_Collision_Stage_NonBlock(int sockfd, int stage);
KX_API int Get_Collision_Stage_Block(int sockfd, int* stage);
KX_API int Set_DH_Data_Block(int sockfd, float dh1, float dh2, float dh3, float dh4, float dh5);
KX_API int Set_DH_Data_NonBlock(int sockfd, float dh1, float dh2, float dh3, float dh4, float dh5);
KX_API int Get_DH_Data_Block(int sockfd, float* dh1, float* dh2, float* dh3, float* dh4, float* dh5);
KX_API int Set_Joint_Zero_Offset_Block(int sockfd, const float* offset);
KX_API int Set_Joint_Zero_Offset_NonBlock(int sockfd, const float* offset);
KX_API int Set_Arm_Dynamic_Parm_Block(int sockfd, const float* parm);
KX_API int Set_Arm_Dynamic_Parm_NonBlock(int sockfd, const float* parm);
KX_API int Get_Tool_Software_Version_Block(int sockfd, int* version);
KX_API int Set_Arm_Servo_State_Block(int sockfd, bool cmd);
KX_API int Set_Arm_Servo_State_NonBlock(int sockfd, bool cmd);
KX_API int Set_System_State_Servo_Block(int sockfd, bool cmd);
KX_API int Set_System_State_Servo_NonBlock(int sockfd, bool cmd);
KX_API int Set_Install_Pose_Block(int sockfd, float x, float y);
KX_API int Set_Install_Pose_NonBlock(int sockfd, float x, float y);

/** @} */
/** @} */

#endif
