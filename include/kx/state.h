/**
 * @defgroup state State of the arm
 * What the arm is doing now, and its initial (home) position.
 *
 * @{
 */
#ifndef KX_STATE_H
#define KX_STATE_H

#include "kx/types.h"

/**
 * Reads joint angles, tool pose and error codes, in one reply. Outputs are written in the order pose,
 * joint, arm_err, sys_err; when the reply breaks off, what was decoded before stays written.
 * @param joint receives joint angles, degrees, one per joint
 * @param pose receives the tool's pose in the active frames, metres and radians
 * @param arm_err receives the error code of the arm, 0 when healthy
 * @param sys_err receives the error code of the controller, 0 when healthy
 * @waits
 * @return @read_up_to_a_fault, 11 wrong type or joint count, 12 incomplete pose
 */
KX_API int Get_Current_Arm_State(int sockfd, float* joint, POSE* pose, unsigned short* arm_err,
                                 unsigned short* sys_err);

/**
 * Reads the temperature of every joint.
 * @param temperature receives degrees Celsius, one per joint
 * @waits
 * @return @read_or_failed, 11 no array or wrong length
 */
KX_API int Get_Joint_Temperature(int sockfd, float* temperature);

/**
 * Reads the current of every joint.
 * @param current receives A, one per joint
 * @waits
 * @return @read_or_failed, 11 no array or wrong length
 */
KX_API int Get_Joint_Current(int sockfd, float* current);

/**
 * Reads the voltage of every joint.
 * @param voltage receives V, one per joint
 * @waits
 * @return @read_or_failed, 11 no array or wrong length
 */
KX_API int Get_Joint_Voltage(int sockfd, float* voltage);

/**
 * Reads the joint angles.
 * @param joint receives degrees, as many as the controller sends, whatever the arm's joint count: give room
 *   for seven
 * @waits
 * @return @read_or_failed, 11 no array
 */
KX_API int Get_Joint_Degree(int sockfd, float* joint);

/**
 * Reads current, voltage and error code of every joint and the controller's error code, written in this
 * order up to the first fault in the reply. The reply's temperatures are checked but not stored:
 * `temperature` stays untouched; use Get_Joint_Temperature.
 * @param joint_state receives the state
 * @waits
 * @return @read_up_to_a_fault, 11 wrong type or length
 */
KX_API int Get_Arm_All_State(int sockfd, JOINT_STATE* joint_state);

/**
 * Reads the number of the running plan.
 * @param plan receives the number
 * @waits
 * @return @read_or_failed, 11 not a number
 */
KX_API int Get_Arm_Plan_Num(int sockfd, int* plan);

/**
 * Sets the arm's initial joint position.
 * @param target degrees: 6 values, 7 for model 47; sent in thousandths, truncated
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Arm_Init_Pose(int sockfd, const float* target, bool block);

/**
 * Reads the arm's initial joint position.
 * @param joint receives degrees, one per joint
 * @waits
 * @return @read_or_failed, 11 no array or wrong length
 */
KX_API int Get_Arm_Init_Pose(int sockfd, float* joint);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Get_Current_Arm_State_Block(int sockfd, float* joint, POSE* pose, unsigned short* arm_err,
                                       unsigned short* sys_err);
KX_API int Get_Joint_Temperature_Block(int sockfd, float* temperature);
KX_API int Get_Joint_Current_Block(int sockfd, float* current);
KX_API int Get_Joint_Voltage_Block(int sockfd, float* voltage);
KX_API int Get_Joint_Degree_Block(int sockfd, float* joint);
KX_API int Get_Arm_All_State_Block(int sockfd, JOINT_STATE* joint_state);
KX_API int Get_Arm_Plan_Num_Block(int sockfd, int* plan);
KX_API int Set_Arm_Init_Pose_Block(int sockfd, const float* target);
KX_API int Set_Arm_Init_Pose_NonBlock(int sockfd, const float* target);
KX_API int Get_Arm_Init_Pose_Block(int sockfd, float* joint);
/**
 * The decoder of Get_Joint_Degree.
 * @param text the reply, one JSON object
 * @param joint receives degrees, as many as the reply holds
 * @return 0, 9 unreadable reply, 11 no array; untouched unless 0
 */
KX_API int Paser_Get_Joint_Degreee(const char* text, float* joint);

/** @} */
/** @} */

#endif
