/**
 * @defgroup teaching Jogging, steps and waypoints
 * Teaching from the application: jogging until stopped, single steps, a list of waypoints that the controller
 * plays back, and a wait on the controller's side.
 *
 * @{
 */
#ifndef KX_TEACHING_H
#define KX_TEACHING_H

#include "kx/types.h"

/**
 * Moves one joint until Teach_Stop_Cmd.
 * @param joint counted from 1
 * @param direction 0 negative, anything else positive
 * @param v speed, percent of the limits, 1 to 100; not checked by the library
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Joint_Teach_Cmd(int sockfd, unsigned char joint, unsigned char direction, unsigned char v,
                           bool block);

/**
 * Moves the tool along a Cartesian axis until Teach_Stop_Cmd.
 * @param type axis; another value than the three sends the request without an axis
 * @param direction 0 negative, anything else positive
 * @param v speed, percent of the limits, 1 to 100; not checked by the library
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Pos_Teach_Cmd(int sockfd, POS_TEACH_MODES type, unsigned char direction, unsigned char v,
                         bool block);

/**
 * Turns the tool about an axis until Teach_Stop_Cmd.
 * @param type axis; another value than the three sends the request without an axis
 * @param direction 0 negative, anything else positive
 * @param v speed, percent of the limits, 1 to 100; not checked by the library
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Ort_Teach_Cmd(int sockfd, ORT_TEACH_MODES type, unsigned char direction, unsigned char v,
                         bool block);

/**
 * Ends the jogging motion.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Teach_Stop_Cmd(int sockfd, bool block);

/**
 * Moves one joint by a step.
 * @param joint counted from 1
 * @param step degrees, signed; sent in thousandths and, unlike all other angles, with its fraction
 * @param v speed, percent of the limits, 1 to 100; not checked by the library
 * @waits_for_the_end_or_queues
 * @return @done_or_refused
 */
KX_API int Joint_Step_Cmd(int sockfd, unsigned char joint, float step, unsigned char v, bool block);

/**
 * Moves the tool along a Cartesian axis by a step.
 * @param type axis; another value than the three sends the request without an axis
 * @param step metres, -3 to 3; sent in millionths, truncated
 * @param v speed, percent of the limits, 1 to 100; not checked by the library
 * @waits_for_the_end_or_queues
 * @return @done_or_refused
 */
KX_API int Pos_Step_Cmd(int sockfd, POS_TEACH_MODES type, float step, unsigned char v, bool block);

/**
 * Turns the tool about an axis by a step.
 * @param type axis; another value than the three sends the request without an axis
 * @param step radians, -3 to 3; sent in thousandths, truncated
 * @param v speed, percent of the limits, 1 to 100; not checked by the library
 * @waits_for_the_end_or_queues
 * @return @done_or_refused
 */
KX_API int Ort_Step_Cmd(int sockfd, ORT_TEACH_MODES type, float step, unsigned char v, bool block);

/**
 * Appends a waypoint to the controller's list.
 * @param joint joint angles, degrees: 6 values, 7 for model 47
 * @waits_or_queues
 * @return 0 done, also for a status that is neither true nor false; 1 refused; blocking also 6 not sent, 7
 *   no answer in time, 9 a reply that cannot be read
 */
KX_API int Add_Waypoint(int sockfd, const float* joint, bool block);

/**
 * Starts playing back the waypoints.
 * @param frequency waypoints a second, 1 to 1000
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Start_Waypoint(int sockfd, int frequency, bool block);

/**
 * Empties the list of waypoints.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Clear_Waypoint(int sockfd, bool block);

/**
 * Stops playing back the waypoints. No reply is recognised as the answer to it: use the non-blocking form.
 * @waits_or_queues
 * @return 0 queued; blocking 7, though the request was sent, or 6 not sent
 */
KX_API int Stop_Waypoint(int sockfd, bool block);

/**
 * Lets the controller wait between two planned motions.
 * @param wait_time milliseconds, 1 to 3600000
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Timer(int sockfd, int wait_time, bool block);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Joint_Teach_Cmd_Block(int sockfd, unsigned char joint, unsigned char direction, unsigned char v);
KX_API int Joint_Teach_Cmd_NonBlock(int sockfd, unsigned char joint, unsigned char direction,
                                    unsigned char v);
KX_API int Pos_Teach_Cmd_Block(int sockfd, POS_TEACH_MODES type, unsigned char direction, unsigned char v);
KX_API int Pos_Teach_Cmd_NonBlock(int sockfd, POS_TEACH_MODES type, unsigned char direction, unsigned char v);
KX_API int Ort_Teach_Cmd_Block(int sockfd, ORT_TEACH_MODES type, unsigned char direction, unsigned char v);
KX_API int Ort_Teach_Cmd_NonBlock(int sockfd, ORT_TEACH_MODES type, unsigned char direction, unsigned char v);
KX_API int Teach_Stop_Cmd_Blcok(int sockfd);
KX_API int Teach_Stop_Cmd_NonBlcok(int sockfd);
KX_API int Joint_Step_Cmd_Block(int sockfd, unsigned char joint, float step, unsigned char v);
KX_API int Joint_Step_Cmd_NonBlock(int sockfd, unsigned char joint, float step, unsigned char v);
KX_API int Pos_Step_Cmd_Block(int sockfd, POS_TEACH_MODES type, float step, unsigned char v);
KX_API int Pos_Step_Cmd_NonBlock(int sockfd, POS_TEACH_MODES type, float step, unsigned char v);
KX_API int Ort_Step_Cmd_Block(int sockfd, ORT_TEACH_MODES type, float step, unsigned char v);
KX_API int Ort_Step_Cmd_NonBlock(int sockfd, ORT_TEACH_MODES type, float step, unsigned char v);
KX_API int Add_Waypoint_Block(int sockfd, const float* joint);
KX_API int Add_Waypoint_NonBlock(int sockfd, const float* joint);
KX_API int Start_Waypoint_Block(int sockfd, int frequency);
KX_API int Start_Waypoint_NonBlock(int sockfd, int frequency);
KX_API int Clear_Waypoint_Block(int sockfd);
KX_API int Clear_Waypoint_NonBlock(int sockfd);
KX_API int Stop_Waypoint_Block(int sockfd);
KX_API int Stop_Waypoint_NonBlock(int sockfd);
KX_API int Timer_Block(int sockfd, int wait_time);
KX_API int Timer_NonBlock(int sockfd, int wait_time);
/**
 * The decoder of Timer.
 * @param text the reply, one JSON object
 * @return 0 done, 1 refused, 9 or 11 a reply that cannot be read
 */
KX_API int Paser_Timer(const char* text);

/** @} */
/** @} */

#endif
