/**
 * @defgroup connection Classic connections
 * Connecting to arms and parting from them.
 *
 * @{
 */
#ifndef KX_CONNECTION_H
#define KX_CONNECTION_H

#include "kx/types.h"

/**
 * Connects to an arm controller and records the arm in the connection table (300 entries, never reused).
 * Call it from one thread at a time, after KX_API_Init.
 * @param ip IPv4 address in dotted form
 * @param port TCP port
 * @param model arm model code: 36 or 46 (six joints), 47 (seven joints)
 * @param recv_timeout kept for compatibility; replies are bounded by m_nOutTime instead
 * @return the descriptor, a positive number that every other call takes; or 2 unsupported model, 4 no socket or
 *   table full, 5 cannot connect. Descriptors 2, 4 and 5 cannot be told from these codes: keep standard input,
 *   output and error open, and 3 is the first descriptor that a process hands out
 */
KX_API int Arm_Socket_Start(const char* ip, int port, int model, int recv_timeout);

/**
 * Closes a connection; does nothing for a descriptor below 1. Not while another call works on this arm.
 *
 * The arm's table entry stays: when the system hands the same number to a later connection, the older entry's
 * model applies to it, so close arms only when done, or reconnect arms of one model in the order in which
 * they were closed.
 * @never_waits
 */
KX_API void Arm_Socket_Close(int sockfd);

/**
 * Probes whether the connection still takes data: sends a small query and ignores its answer.
 * @sends
 * @return 0 sent, 2 library not started, 5 descriptor below 1, 6 connection lost
 */
KX_API int Arm_Sockrt_State(int sockfd);

/**
 * The probe itself, without the checks and the 20 ms.
 * @sends{at once}
 * @return 0 sent, 6 connection lost
 */
KX_API int Arm_Sockrt_State_Block(int sockfd);

/**
 * Appends an entry to the connection table, as Arm_Socket_Start does; nothing when all 300 are used. One
 * thread at a time.
 * @param model arm model code: 36, 46 or 47
 * @never_waits
 */
KX_API void Init_Socket_Joint(int model, int sockfd);

/**
 * Looks a descriptor up in the connection table.
 * @never_waits
 * @return index of the first entry with this descriptor, or the number of entries if there is none
 */
KX_API int Get_Socket_Idx(int sockfd);

/** @} */

#endif
