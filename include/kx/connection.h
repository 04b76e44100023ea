/**
 * @defgroup connection Library and connections
 * Starting the library, connecting to arms, time.
 *
 * @{
 */
#ifndef KX_CONNECTION_H
#define KX_CONNECTION_H

#include "kx/types.h"

/**
 * How long a blocking command waits for its reply, in milliseconds. KX_API_Init sets it to 3000; an
 * application may change it afterwards, from any thread, for all arms at once.
 */
KX_API int m_nOutTime;

/**
 * Starts the library: remembers the callback, resets m_nOutTime to 3000 ms, creates empty transmit queues
 * and, on the first call only, starts the writer and receiver threads, which then run as long as the process.
 *
 * Call it once, from one thread, before anything else. A later call replaces the callback and drops requests
 * that are still queued.
 * @param callback receives realtime pushes on the receiver thread; may be null if none are requested
 * @return 0
 */
KX_API int KX_API_Init(KX_Callback callback);

/**
 * Frees the transmit queue. Threads and connections stay as they are; blocking commands still work, and
 * requests of non-blocking commands are dropped until KX_API_Init is called again. From any thread.
 * @return 0
 */
KX_API int KX_API_UnInit(void);

/**
 * The library's version. Needs no KX_API_Init; from any thread.
 * @return "4.0.0"
 */
KX_API const char* API_Version(void);

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
 * The library's clock; from any thread.
 * @return milliseconds of the monotonic clock, wrapping after 49.7 days; compare as a signed difference
 */
KX_API unsigned int Get_Program_Runtime(void);

/**
 * Puts the calling thread to sleep.
 * @param milliseconds how long, up to 4294967
 */
KX_API void sleep_cp(unsigned int milliseconds);

/* Workers and internals, exported for tools and tests. */
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
/**
 * Locks the library's mutex, which guards queue and pending replies. It is not recursive: call no command
 * while holding it.
 * @return 0, or what pthread_mutex_lock returned
 */
KX_API int KX_Mutex_Lock(void);
/**
 * Unlocks the library's mutex.
 * @return 0, or what pthread_mutex_unlock returned
 */
KX_API int KX_Mutex_UnLock(void);
/**
 * Queues a line for the writer thread; drops it when 599 wait already. More than 300 bytes end the process.
 * @param bytes the line with its CR LF
 * @param length how many bytes, 0 to 300
 * @never_waits
 */
KX_API void Add_Queue(int sockfd, const char* bytes, int length);
/**
 * The kind of a reply, found by the first of the known names that occurs anywhere in its text.
 * @param text the reply
 * @return a key code of 1 to 162; 162 also for a text with no known name
 */
KX_API int Get_Json_KeyCode(const char* text);

/* Reply decoders shared by many commands: each takes a reply text and returns a status code. */
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
