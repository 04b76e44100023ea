/**
 * @defgroup replies Replies
 * How replies are recognised, and the decoders that many commands share; exported for tools and tests. Each decoder takes
 * a reply text and returns a status code.
 *
 * @{
 */
#ifndef KX_REPLIES_H
#define KX_REPLIES_H

#include "kx/types.h"

/**
 * The kind of a reply, found by the first of the known names that occurs anywhere in its text.
 * @param text the reply
 * @return a key code of 1 to 162; 162 also for a text with no known name
 */
KX_API int Get_Json_KeyCode(const char* text);

/**
 * Reads the status "set_state" of a reply.
 * @param text the reply, one JSON object
 * @return 0 true, 1 false, 9 no JSON or no such member, 11 neither true nor false
 */
KX_API int Parser_Set_DH_Data(const char* text);

/**
 * Parser_Set_DH_Data under a second name.
 * @param text the reply, one JSON object
 * @return as Parser_Set_DH_Data
 */
KX_API int Parser_Set_Hand(const char* text);

/**
 * Reads the status "trajectory_state" of a reply: how a motion ended.
 * @param text the reply, one JSON object
 * @return 0 arrived, 1 refused or broken off, 9 no JSON or no such member, 11 neither true nor false
 */
KX_API int Parser_Plan_Feedback(const char* text);

/**
 * Reads the status "clear_state" of a reply.
 * @param text the reply, one JSON object
 * @return as Parser_Set_DH_Data
 */
KX_API int Parser_Clear_System_Err(const char* text);

/**
 * Reads the status "state" of a reply.
 * @param text the reply, one JSON object
 * @return as Parser_Set_DH_Data
 */
KX_API int Parser_Set_DO_State(const char* text);

/**
 * Reads the status "stop_state" of a reply.
 * @param text the reply, one JSON object
 * @return as Parser_Set_DH_Data
 */
KX_API int Parser_Stop_Drag_Trajectory(const char* text);

/**
 * Reads the status "joint_max_speed" of a reply.
 * @param text the reply, one JSON object
 * @return 0 true, 1 false, 8 neither, 9 no JSON or no such member
 */
KX_API int Parser_Joint_Speed(const char* text);

/**
 * Reads the number "IO_state" of a reply.
 * @param text the reply, one JSON object
 * @param state receives the low byte of its integer part
 * @return 0, 9 no JSON or no such member, 11 no number; `state` is untouched unless 0
 */
KX_API int Parser_Get_DO_State(const char* text, unsigned char* state);

/**
 * Reads the number "voltage" of a reply, millivolts.
 * @param text the reply, one JSON object
 * @param volts receives whole volts
 * @return 0, 9 no JSON or no such member, 11 no number; `volts` is untouched unless 0
 */
KX_API int Parser_Get_AO_State(const char* text, unsigned char* volts);

/**
 * Reads a realtime push of the arm's state. Numbers stay as they came: millionths of a metre, thousandths of
 * a radian, thousandths of a degree.
 * @never_waits
 * @param text the push, one JSON object
 * @param pose receives its "pose": six numbers, or fewer if it has fewer
 * @param joint receives its "joint": six numbers, seven for model 47
 * @return 0, 9 no JSON, no "arm_err" or no "joint"; what the push lacks stays untouched
 */
KX_API int Parser_Movej_CANFD(int sockfd, const char* text, float* pose, float* joint);

/**
 * Accepts any text as the answer to a force-position target.
 * @param text not looked at
 * @return 0
 */
KX_API int Parser_Force_Position_Move(const char* text);

/** @} */

#endif
