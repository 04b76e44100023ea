/**
 * @defgroup joint_parameters Joint parameters
 * Per-joint settings held by the controller: limits, enable state, zero position, errors, calibration.
 *
 * Values travel as integers in thousandths, truncated toward zero, so finer steps are lost.
 *
 * @{
 */
#ifndef KX_JOINT_PARAMETERS_H
#define KX_JOINT_PARAMETERS_H

#include "kx/types.h"

/**
 * Sets a joint's maximum speed.
 * @param joint counted from 1
 * @param speed degrees/s, above 0
 * @waits_or_queues{at once}
 * @return @done_or_refused{8 or 9}; also 5 for a descriptor below 1, 2 before KX_API_Init
 */
KX_API int Set_Joint_Speed(int sockfd, unsigned char joint, float speed, bool block);

/**
 * Sets a joint's maximum acceleration.
 * @param joint counted from 1
 * @param acc degrees/s^2, above 0
 * @waits_or_queues{at once}
 * @return @done_or_refused{8 or 9}; also 5 for a descriptor below 1, 2 before KX_API_Init
 */
KX_API int Set_Joint_Acc(int sockfd, unsigned char joint, float acc, bool block);

/**
 * Sets a joint's lower position limit.
 * @param joint counted from 1
 * @param joint_pos degrees
 * @waits_or_queues{at once}
 * @return @done_or_refused{8 or 9}
 */
KX_API int Set_Joint_Min_Pos(int sockfd, unsigned char joint, float joint_pos, bool block);

/**
 * Sets a joint's upper position limit.
 * @param joint counted from 1
 * @param joint_pos degrees
 * @waits_or_queues{at once}
 * @return @done_or_refused{8 or 9}
 */
KX_API int Set_Joint_Max_Pos(int sockfd, unsigned char joint, float joint_pos, bool block);

/**
 * Enables or disables a joint.
 * @param joint counted from 1
 * @param state true to enable
 * @waits_or_queues{at once}
 * @return @done_or_refused{8 or 9}
 */
KX_API int Set_Joint_EN_State(int sockfd, unsigned char joint, bool state, bool block);

/**
 * Makes a joint's present position its zero.
 * @param joint counted from 1
 * @waits_or_queues
 * @return @done_or_refused{8 or 9}; also 5 for a descriptor below 1, 2 before KX_API_Init
 */
KX_API int Set_Joint_Zero_Pos(int sockfd, unsigned char joint, bool block);

/**
 * Clears a joint's error.
 * @param joint counted from 1
 * @waits_or_queues
 * @return @done_or_refused{8 or 9}
 */
KX_API int Set_Joint_Err_Clear(int sockfd, unsigned char joint, bool block);

/**
 * Starts the controller's calibration run.
 * @waits_or_queues
 * @return @done_or_refused{8 or 9}
 */
KX_API int Start_Calibrate(int sockfd, bool block);

/**
 * Stops the controller's calibration run.
 * @waits_or_queues
 * @return @done_or_refused{8 or 9}
 */
KX_API int Stop_Calibrate(int sockfd, bool block);

/**
 * Reads the maximum speed of every joint.
 * @param speed receives degrees/s, one per joint
 * @waits
 * @return @read_or_failed, 10 no array or wrong length
 */
KX_API int Get_Joint_Speed(int sockfd, float* speed);

/**
 * Reads the maximum acceleration of every joint.
 * @param acc receives degrees/s^2, one per joint
 * @waits
 * @return @read_or_failed, 10 no array or wrong length
 */
KX_API int Get_Joint_Acc(int sockfd, float* acc);

/**
 * Reads the lower position limit of every joint.
 * @param min_joint receives degrees, one per joint
 * @waits
 * @return @read_or_failed, 10 no array or wrong length
 */
KX_API int Get_Joint_Min_Pos(int sockfd, float* min_joint);

/**
 * Reads the upper position limit of every joint.
 * @param max_joint receives degrees, one per joint
 * @waits
 * @return @read_or_failed, 10 no array, 11 wrong length
 */
KX_API int Get_Joint_Max_Pos(int sockfd, float* max_joint);

/**
 * Reads the enable state of every joint.
 * @param state receives 1 enabled or 0, one per joint
 * @waits
 * @return @read_or_failed, 10 no array, 11 wrong length
 */
KX_API int Get_Joint_EN_State(int sockfd, unsigned char* state);

/**
 * Reads the error code of every joint.
 * @param state receives the codes, 0 when healthy, one per joint
 * @waits
 * @return @read_or_failed, 10 no array, 11 wrong length
 */
KX_API int Get_Joint_Err_Flag(int sockfd, unsigned short* state);

/**
 * Reads the software version of every joint.
 * @param version receives the versions, in thousandths of what the controller sends, one per joint
 * @waits
 * @return @read_or_failed, 10 no array, 11 wrong length
 */
KX_API int Get_Joint_Software_Version(int sockfd, float* version);

/**
 * Reads the calibration state of every joint, the low byte of what the controller reports.
 * @param joint_state receives the states, one per joint
 * @param err_flag kept for compatibility, left untouched
 * @param calibrate_state kept for compatibility, left untouched
 * @waits
 * @return @read_or_failed, 10 wrong length
 */
KX_API int Get_Calibrate_State(int sockfd, float* joint_state, unsigned short* err_flag,
                               int* calibrate_state);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Set_Joint_Speed_Block(int sockfd, unsigned char joint, float speed);
KX_API int Set_Joint_Speed_NonBlock(int sockfd, unsigned char joint, float speed);
KX_API int Set_Joint_Acc_Block(int sockfd, unsigned char joint, float acc);
KX_API int Set_Joint_Acc_NonBlock(int sockfd, unsigned char joint, float acc);
KX_API int Set_Joint_Min_Pos_Block(int sockfd, unsigned char joint, float joint_pos);
KX_API int Set_Joint_Min_Pos_NonBlock(int sockfd, unsigned char joint, float joint_pos);
KX_API int Set_Joint_Max_Pos_Block(int sockfd, unsigned char joint, float joint_pos);
KX_API int Set_Joint_Max_Pos_NonBlock(int sockfd, unsigned char joint, float joint_pos);
KX_API int Set_Joint_EN_State_Block(int sockfd, unsigned char joint, bool state);
KX_API int Set_Joint_EN_State_NonBlock(int sockfd, unsigned char joint, bool state);
KX_API int Set_Joint_Zero_Pos_Block(int sockfd, unsigned char joint);
KX_API int Set_Joint_Zero_Pos_NonBlock(int sockfd, unsigned char joint);
KX_API int Set_Joint_Err_Clear_Block(int sockfd, unsigned char joint);
KX_API int Set_Joint_Err_Clear_NonBlock(int sockfd, unsigned char joint);
KX_API int Start_Calibrate_Block(int sockfd);
KX_API int Start_Calibrate_NonBlock(int sockfd);
KX_API int Stop_Calibrate_Block(int sockfd);
KX_API int Stop_Calibrate_NonBlock(int sockfd);
KX_API int Get_Joint_Speed_Block(int sockfd, float* speed);
KX_API int Get_Joint_Acc_Block(int sockfd, float* acc);
KX_API int Get_Joint_Min_Pos_Block(int sockfd, float* min_joint);
KX_API int Get_Joint_Max_Pos_Block(int sockfd, float* max_joint);
KX_API int Get_Joint_EN_State_Block(int sockfd, unsigned char* state);
KX_API int Get_Joint_Err_Flag_Block(int sockfd, unsigned short* state);
KX_API int Get_Joint_Software_Version_Block(int sockfd, float* version);
KX_API int Get_Calibrate_State_Block(int sockfd, float* joint_state, unsigned short* err_flag,
                                     int* calibrate_state);

/** @} */
/** @} */

#endif
