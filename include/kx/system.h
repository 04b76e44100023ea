/**
 * @defgroup system Power, errors and versions
 * The controller itself: arm power, errors, versions, log, run time, odometers, high-speed Ethernet.
 *
 * @{
 */
#ifndef KX_SYSTEM_H
#define KX_SYSTEM_H

#include "kx/types.h"

/**
 * Switches the arm's power.
 * @param on true on, false off
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Arm_Power(int sockfd, bool on, bool block);

/**
 * Reads the arm's power state.
 * @param power_state receives 1 on, 0 off
 * @waits
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_Arm_Power_State(int sockfd, int* power_state);

/**
 * Clears the controller's error.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Clear_System_Err(int sockfd, bool block);

/**
 * Checks that the controller tells a hardware version.
 * @param version kept for compatibility, left untouched
 * @waits
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_Arm_Hardware_Version(int sockfd, char* version);

/**
 * Reads the software versions as decimal text. The first is written before the second is looked at, and
 * stays written when that cannot be read.
 * @param plan_version version of the planner; room for 12 characters
 * @param ctrl_version version of the control; room for 12 characters
 * @waits
 * @return @read_up_to_a_fault, 11 wrong type
 */
KX_API int Get_Arm_Software_Version(int sockfd, char* plan_version, char* ctrl_version);

/**
 * Asks the controller to write its log file.
 * @waits_or_queues
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_Log_File(int sockfd, bool block);

/**
 * Reads how long the controller has run. Outputs are written in the order of the parameters up to the first
 * fault in the reply. When the controller sends its state as a text instead, the result is 0 too and all
 * outputs stay untouched: set them beforehand to tell.
 * @param state kept for compatibility, left untouched
 * @param day, hour, min, sec receive the parts of the time
 * @waits
 * @return @read_up_to_a_fault, 11 wrong type
 */
KX_API int Get_System_Runtime(int sockfd, char* state, int* day, int* hour, int* min, int* sec);

/**
 * Sets the controller's run time back to zero.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Clear_System_Runtime(int sockfd, bool block);

/**
 * Reads the joints' odometers, whole degrees to and fro added up; the controller may send its state instead,
 * as for Get_System_Runtime.
 * @param state kept for compatibility, left untouched
 * @param odom as many values as the controller sends, one per joint
 * @waits
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_Joint_Odom(int sockfd, char* state, float* odom);

/**
 * Sets the joints' odometers back to zero.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Clear_Joint_Odom(int sockfd, bool block);

/**
 * Chooses the mode of the high-speed Ethernet.
 * @param mode 0 off, 1 on
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_High_Speed_Eth(int sockfd, unsigned char mode, bool block);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Set_Arm_Power_Block(int sockfd, bool on);
KX_API int Set_Arm_Power_NonBlock(int sockfd, bool on);
KX_API int Get_Arm_Power_State_Block(int sockfd, int* power_state);
KX_API int Clear_System_Err_Block(int sockfd);
KX_API int Clear_System_Err_NonBlock(int sockfd);
KX_API int Get_Arm_Hardware_Version_Block(int sockfd, char* version);
KX_API int Get_Arm_Software_Version_Block(int sockfd, char* plan_version, char* ctrl_version);
KX_API int Get_Log_File_Block(int sockfd);
KX_API int Get_Log_File_NonBlock(int sockfd);
KX_API int Get_System_Runtime_Block(int sockfd, char* state, int* day, int* hour, int* min, int* sec);
KX_API int Clear_System_Runtime_Block(int sockfd);
KX_API int Clear_System_Runtime_NonBlock(int sockfd);
KX_API int Get_Joint_Odom_Block(int sockfd, char* state, float* odom);
KX_API int Clear_Joint_Odom_Block(int sockfd);
KX_API int Clear_Joint_Odom_NonBlock(int sockfd);
KX_API int Set_High_Speed_Eth_Block(int sockfd, unsigned char mode);
KX_API int Set_High_Speed_Eth_NonBlock(int sockfd, unsigned char mode);

/** @} */
/** @} */

#endif
