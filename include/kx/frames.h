/**
 * @defgroup frames Frames and payload
 * Named tool and work frames stored by the controller, and the payload carried at the tool.
 *
 * Centres of mass go out in thousandths of the given unit and come back in millionths: 0.01 is read back as
 * 0.00001. Masses pass unchanged in both directions, and are read back without their fraction.
 *
 * A frame's name is the caller's own. Longer ones than 9 characters are cut when they are read back, and one
 * that makes a request longer than 299 bytes is refused by a link, while a classic connection ends the process.
 * A null name is left out.
 *
 * @{
 */
#ifndef KX_FRAMES_H
#define KX_FRAMES_H

#include "kx/types.h"

/**
 * Teaches the tool frame from the arm's present position: one call per teaching point.
 * @param point_num which teaching point, 1 to 255
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Auto_Set_Tool_Frame(int sockfd, unsigned char point_num, bool block);

/**
 * Computes a tool frame from the taught points and stores it.
 * @param name its name, at most 9 characters
 * @param payload mass carried, 0 to 20 kg
 * @param x, y, z centre of mass of the payload, m
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Generate_Auto_Tool_Frame(int sockfd, const char* name, float payload, float x, float y, float z,
                                    bool block);

/**
 * Stores a tool frame of given values.
 * @param name its name, at most 9 characters
 * @param pose the frame relative to the flange, metres and radians
 * @param payload mass carried, 0 to 20 kg
 * @param x, y, z centre of mass of the payload, m
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Manual_Set_Tool_Frame(int sockfd, const char* name, POSE pose, float payload, float x, float y,
                                 float z, bool block);

/**
 * Makes a stored tool frame the active one.
 * @param name its name, at most 9 characters
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Change_Tool_Frame(int sockfd, const char* name, bool block);

/**
 * Deletes a stored tool frame.
 * @param name its name, at most 9 characters
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Delete_Tool_Frame(int sockfd, const char* name, bool block);

/**
 * Sets the payload at the tool.
 * @param payload mass, 0 to 20 kg
 * @param cx, cy, cz its centre of mass, m; sent in thousandths, truncated
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Payload(int sockfd, int payload, float cx, float cy, float cz, bool block);

/**
 * Clears the payload.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_None_Payload(int sockfd, bool block);

/**
 * Reads the active tool frame.
 * @param frame receives name, pose, payload, centre of mass
 * @waits
 * @return @read_up_to_a_fault, 11 a member of the wrong type or length, 12 an incomplete pose; also 9 for a
 *   centre of mass that is no array
 */
KX_API int Get_Current_Tool_Frame(int sockfd, FRAME* frame);

/**
 * Reads a stored tool frame.
 * @param name its name, at most 9 characters
 * @param frame receives pose, payload, centre of mass; `frame_name` stays untouched
 * @waits
 * @return @read_up_to_a_fault, 11 a member of the wrong type or length, 12 an incomplete pose
 */
KX_API int Get_Given_Tool_Frame(int sockfd, const char* name, FRAME* frame);

/**
 * Reads the names of all tool frames, one per entry from the first on, up to the name "NULL" or the end of
 * the reply. The number of names is not returned, so clear the array before.
 * @param names as many entries as the controller may report; 100 are enough for any reply
 * @waits
 * @return 0, also for an empty list; 6 not sent, 7 no answer, 9 a missing member or no JSON; 11 no list,
 *   and nothing is written
 */
KX_API int Get_All_Tool_Frame(int sockfd, FRAME_NAME* names);

/**
 * Teaches a work frame from the arm's present position: one call per teaching point.
 * @param name its name, at most 9 characters
 * @param point_num which teaching point, 1 to 255
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Auto_Set_Work_Frame(int sockfd, const char* name, unsigned char point_num, bool block);

/**
 * Stores a work frame.
 * @param name its name, at most 9 characters
 * @param pose the frame relative to the base, metres and radians
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Manual_Set_Work_Frame(int sockfd, const char* name, POSE pose, bool block);

/**
 * Makes a stored work frame the active one.
 * @param name its name, at most 9 characters
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Change_Work_Frame(int sockfd, const char* name, bool block);

/**
 * Deletes a stored work frame. Its blocking form takes the reply of Manual_Set_Work_Frame for its own; a
 * controller that answers under another name lets it end in 7.
 * @param name its name, at most 9 characters
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Delete_Work_Frame(int sockfd, const char* name, bool block);

/**
 * Reads the active work frame.
 * @param frame receives name and pose; payload and centre of mass stay untouched
 * @waits
 * @return @read_up_to_a_fault, 11 a member of the wrong type or length, 12 an incomplete pose
 */
KX_API int Get_Current_Work_Frame(int sockfd, FRAME* frame);

/**
 * Reads a stored work frame.
 * @param name its name, at most 9 characters
 * @param pose receives the frame relative to the base, metres and radians
 * @waits
 * @return @read_up_to_a_fault, 11 a member of the wrong type or length, 12 an incomplete pose
 */
KX_API int Get_Given_Work_Frame(int sockfd, const char* name, POSE* pose);

/**
 * Reads the names of all work frames, as Get_All_Tool_Frame does.
 * @param names as many entries as the controller may report; 100 are enough for any reply
 * @waits
 * @return 0, also for an empty list; 6 not sent, 7 no answer, 9 a missing member or no JSON; 11 no list,
 *   and nothing is written
 */
KX_API int Get_All_Work_Frame(int sockfd, FRAME_NAME* names);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Auto_Set_Tool_Frame_Block(int sockfd, unsigned char point_num);
KX_API int Auto_Set_Tool_Frame_NonBlock(int sockfd, unsigned char point_num);
KX_API int Generate_Auto_Tool_Frame_Block(int sockfd, const char* name, float payload, float x, float y,
                                          float z);
KX_API int Generate_Auto_Tool_Frame_NonBlock(int sockfd, const char* name, float payload, float x, float y,
                                             float z);
KX_API int Manual_Set_Tool_Frame_Block(int sockfd, const char* name, POSE pose, float payload, float x,
                                       float y, float z);
KX_API int Manual_Set_Tool_Frame_NonBlock(int sockfd, const char* name, POSE pose, float payload, float x,
                                          float y, float z);
KX_API int Change_Tool_Frame_Block(int sockfd, const char* name);
KX_API int Change_Tool_Frame_NonBlock(int sockfd, const char* name);
KX_API int Delete_Tool_Frame_Block(int sockfd, const char* name);
KX_API int Delete_Tool_Frame_NonBlock(int sockfd, const char* name);
KX_API int Set_Payload_Block(int sockfd, int payload, float cx, float cy, float cz);
KX_API int Set_Payload_NonBlock(int sockfd, int payload, float cx, float cy, float cz);
KX_API int Set_None_Payload_Block(int sockfd);
KX_API int Set_None_Payload_NonBlock(int sockfd);
KX_API int Get_Current_Tool_Frame_Block(int sockfd, FRAME* frame);
KX_API int Get_Given_Tool_Frame_Block(int sockfd, const char* name, FRAME* frame);
KX_API int Get_All_Tool_Frame_Block(int sockfd, FRAME_NAME* names);
KX_API int Auto_Set_Work_Frame_Block(int sockfd, const char* name, unsigned char point_num);
KX_API int Auto_Set_Work_Frame_NonBlock(int sockfd, const char* name, unsigned char point_num);
KX_API int Manual_Set_Work_Frame_Block(int sockfd, const char* name, POSE pose);
KX_API int Manual_Set_Work_Frame_NonBlock(int sockfd, const char* name, POSE pose);
KX_API int Change_Work_Frame_Block(int sockfd, const char* name);
KX_API int Change_Work_Frame_NonBlock(int sockfd, const char* name);
KX_API int Delete_Work_Frame_Block(int sockfd, const char* name);
KX_API int Delete_Work_Frame_NonBlock(int sockfd, const char* name);
KX_API int Get_Current_Work_Frame_Block(int sockfd, FRAME* frame);
KX_API int Get_Given_Work_Frame_Block(int sockfd, const char* name, POSE* pose);
KX_API int Get_All_Work_Frame_Blcok(int sockfd, FRAME_NAME* names);

/** @} */
/** @} */

#endif
