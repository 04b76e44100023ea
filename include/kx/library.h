/**
 * @defgroup library Library and time
 * Starting the library, its clock; its mutex and queue, exported for tools and tests.
 *
 * @{
 */
#ifndef KX_LIBRARY_H
#define KX_LIBRARY_H

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
 * The library's clock; from any thread.
 * @return milliseconds of the monotonic clock, wrapping after 49.7 days; compare as a signed difference
 */
KX_API unsigned int Get_Program_Runtime(void);

/**
 * Puts the calling thread to sleep.
 * @param milliseconds how long, up to 4294967
 */
KX_API void sleep_cp(unsigned int milliseconds);

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

/** @} */

#endif
