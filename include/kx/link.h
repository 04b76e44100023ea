/**
 * @defgroup link Links
 * The second kind of connection, for new applications: many callers at once, on any arms; replies within microseconds of
 * their arrival; no lost replies; loss told at once, and mended if wished.
 *
 *     int arm = KX_Link_Open("192.0.2.10", 8080, 46, NULL);        // negative: why not
 *     int status = Movej_Cmd(arm, home, 20, 0, true);              // the same functions as on a classic connection
 *     KX_Link_Close(arm);
 *
 * A link needs no KX_API_Init. Its handle goes wherever the functions of this library take a descriptor, from any number
 * of threads at once, the same arm included. No entry sleeps on a link, requests leave at once. Codes that only links
 * return are KX_LOST, KX_CANCELLED, KX_OUTBOX_FULL, KX_NOT_FINITE, KX_TOO_LONG, KX_NO_MEMORY and KX_NOT_A_SETTING; a handle
 * that was closed, or that a forked child inherited, gives KX_BAD_DESCRIPTOR.
 *
 * Replies and requests. A reply goes to the oldest request of its kind that is unanswered, queued (non-blocking) ones
 * included. A call that times out leaves its place to its late reply, for `late_reply_ms`: that reply never answers a
 * later call. Where a reply is lost, the next call's is taken for it, so that call times out too; requests of that kind are then held
 * back, unsent, until the missing reply has come or `late_reply_ms` is over, and nobody gets another's answer, unless several of that kind
 * were open already when the reply was lost: the oldest gets the next one's then, since replies carry no numbers. Stops
 * are never held back. A reply that comes later than `late_reply_ms` allows is one that nobody expects any more: choose
 * it longer than the slowest controller takes. With time-outs shorter than it, more than one call may time out.
 * 1008 requests may be open on a link, and 16 stops more; the next one gets KX_OUTBOX_FULL.
 *
 * Replies carry no numbers, so this needs a controller that answers requests of one kind in their order. A motion that is
 * refused before an earlier one has ended is answered out of turn, and the refusal goes to the earlier one: ask for one
 * motion at a time, or queue only what the arm can do.
 *
 * Callbacks run on a thread of their own, one for all links and one at a time. They may call every function here that does
 * not wait, and KX_Link_Close; a slow one delays other callbacks, and nothing else. What they are too slow for is dropped and
 * counted.
 *
 * All functions here may be called from any thread at any time, unless they say otherwise.
 * @{
 */
#ifndef KX_LINK_H
#define KX_LINK_H

#include "kx/types.h"

#include <stddef.h>
#include <stdint.h>

/** How a link is. */
typedef enum KX_LINK_STATE KX_INT32 {
    KX_LINK_CLOSED = 0,     /**< closed, or never opened */
    KX_LINK_DOWN = 1,       /**< lost, and not to be mended */
    KX_LINK_CONNECTING = 2, /**< lost; being connected again, or set up anew */
    KX_LINK_READY = 3       /**< takes commands */
} KX_LINK_STATE;

/** What a log callback is told. */
typedef enum KX_LINK_EVENT KX_INT32 {
    KX_LINK_LINE_OUT = 0, /**< a request as it left; a password in it is masked */
    KX_LINK_LINE_IN = 1,  /**< a line as it came */
    KX_LINK_DROPPED = 2,  /**< a line that was no JSON object, or longer than 64 KiB, of which a part */
    KX_LINK_CHANGED = 3   /**< the state changed; the text says to what, and why */
} KX_LINK_EVENT;

/** Receives a realtime push: in `push` the handle stands for `sockfd`, and `pose` and `joint` are zeros where it had none. */
typedef void (*KX_LINK_PUSH_CALLBACK)(const CallbackData* push, void* user);

/** Is told what goes on. `text` has `length` characters and a zero, and is valid during the call. */
typedef void (*KX_LINK_LOG_CALLBACK)(int link, KX_LINK_EVENT event, const char* text, int length, void* user);

/** Is told a new state. */
typedef void (*KX_LINK_STATE_CALLBACK)(int link, KX_LINK_STATE state, void* user);

/** What a link shall be like. Start from KX_Link_Defaults; a time of 0 or less, or any other value of 0, is the default. */
typedef struct KX_LINK_OPTIONS {
    size_t size;            /**< sizeof(KX_LINK_OPTIONS), so that later versions can tell */
    int connect_timeout_ms; /**< for opening, the name's look-up included, and for each later attempt; 3000 */
    int reply_timeout_ms;   /**< for a reply; 3000. See KX_Link_Call_Timeout */
    int motion_timeout_ms;  /**< for the end of a motion that is waited for until it ends; 600000 */
    int late_reply_ms;      /**< how much later than its time-out a reply may still come; 2000 */
    int silence_ms; /**< how long a peer may be silent towards the network (keep-alive, unacknowledged bytes) or
                                 towards requests before it counts as lost; 5000. Towards requests it is noticed when a
                                 wait for a reply ends. During a motion it is asked when it has been silent for half of
                                 that, so it is lost at most 1.5 times as long after its last line */
    bool reconnect;   /**< connect again after a loss: after 0.1 s, doubling up to 5 s, with jitter; false */
    int outbox_bytes; /**< that may wait for a peer that does not read; 65536 */
    int callback_queue; /**< pushes, and as many log lines, that may wait for a slow callback; 256 */
    KX_LINK_PUSH_CALLBACK
    on_push; /**< receives every push; null: the callback given to KX_API_Init does, if any */
    KX_LINK_LOG_CALLBACK on_log;     /**< may be null */
    KX_LINK_STATE_CALLBACK on_state; /**< may be null */
    void* user;                      /**< handed to these three */
} KX_LINK_OPTIONS;

/** What a link has done since it was opened. */
typedef struct KX_LINK_COUNTERS {
    size_t size;             /**< set it to sizeof(KX_LINK_COUNTERS) before the call */
    uint64_t sent;           /**< requests */
    uint64_t received;       /**< lines, whatever they were */
    uint64_t answered;       /**< replies that found their request */
    uint64_t refused;        /**< of these, those that said false */
    uint64_t pushes;         /**< realtime pushes */
    uint64_t timed_out;      /**< calls that ended in KX_TIMED_OUT */
    uint64_t late;           /**< replies that came after their call had ended */
    uint64_t foreign;        /**< replies that no request was open for */
    uint64_t dropped;        /**< lines that were no JSON object, or too long */
    uint64_t callbacks_lost; /**< pushes and log lines that a slow callback had no room for */
    uint64_t states_missed;  /**< subscribed states that were due before the last one had been answered */
    uint64_t losses;         /**< of the connection */
    uint64_t reconnects;     /**< that succeeded */
    uint64_t waiting;        /**< requests that are open now */
    uint64_t outbox;         /**< bytes that wait to be sent now */
    uint64_t round_trips
        [24]; /**< of the waiting calls; element i counts those of at least 2^(i-1) and less than 2^i us */
} KX_LINK_COUNTERS;

/** A state of an arm, as subscribed. */
typedef struct KX_ARM_STATE {
    int link; /**< the handle */
    int status; /**< 0, or why there is nothing else in it: as Get_Current_Arm_State returns, or KX_LOST, once a loss */
    uint64_t asked_ns;    /**< CLOCK_MONOTONIC when the question left */
    uint64_t answered_ns; /**< CLOCK_MONOTONIC when the reply had come; the state is from between the two */
    float joint[7];       /**< joint angles, degrees; [6] is 0 for six joints */
    POSE pose;            /**< m, rad */
    uint16_t arm_err;     /**< error code of the arm, 0 when healthy */
    uint16_t sys_err;     /**< error code of the controller, 0 when healthy */
} KX_ARM_STATE;

/** Receives subscribed states. */
typedef void (*KX_ARM_STATE_CALLBACK)(const KX_ARM_STATE* state, void* user);

/**
 * The defaults of all options.
 * @param options receives them, with `size` set
 */
KX_API void KX_Link_Defaults(KX_LINK_OPTIONS* options);

/**
 * Connects to a controller. Up to 1024 links may be open at once.
 * @param host a name, or an IPv4 or IPv6 address
 * @param port TCP port, 1 to 65535
 * @param model arm model code: 36, 46 (six joints) or 47 (seven)
 * @param options null for the defaults; copied
 * @return the handle, a number of 1073741824 or more that is never used again; or, negative, a status code:
 *         -KX_NOT_RUNNING unsupported model, -KX_NO_SOCKET no socket, thread or room for one more,
 *         -KX_BAD_DESCRIPTOR refused or unreachable, or no such port, -KX_TIMED_OUT, -KX_UNKNOWN_HOST, -KX_NO_MEMORY
 */
KX_API int KX_Link_Open(const char* host, int port, int model, const KX_LINK_OPTIONS* options);

/**
 * Closes a link. Whoever waits on it gets KX_CANCELLED; no callback of it runs when this returns, but the one that calls it.
 * Arm_Socket_Close does the same.
 * @link_handle
 * @return 0, or KX_BAD_DESCRIPTOR
 */
KX_API int KX_Link_Close(int link);

/**
 * Ends every present wait on a link with KX_CANCELLED. What was sent stays sent: this stops no arm.
 * @link_handle
 * @return 0, or KX_BAD_DESCRIPTOR
 */
KX_API int KX_Link_Cancel(int link);

/**
 * How a link is.
 * @link_handle
 * @return KX_LINK_CLOSED for what is no link
 */
KX_API KX_LINK_STATE KX_Link_State(int link);

/**
 * Waits until a link has a state.
 * @link_handle
 * @param state which
 * @param timeout_ms at most so long; 0 looks once, a negative number waits as long as it takes
 * @return 0, KX_TIMED_OUT, KX_CANCELLED (closed or cancelled), KX_LOST (it will not come: the link is down for good), or
 *         KX_BAD_DESCRIPTOR
 */
KX_API int KX_Link_Wait(int link, KX_LINK_STATE state, int timeout_ms);

/**
 * Sets how long replies are waited for on a link.
 * @link_handle
 * @param timeout_ms milliseconds, 1 or more
 * @return 0, KX_BAD_DESCRIPTOR, or KX_WRONG_TYPE for less than 1
 */
KX_API int KX_Link_Timeout(int link, int timeout_ms);

/**
 * Sets how long the calling thread waits for replies and for the ends of motions, on whatever link.
 * @param timeout_ms milliseconds for its next calls, until set anew; 0: what is set for each link
 * @return what was set before
 */
KX_API int KX_Link_Call_Timeout(int timeout_ms);

/**
 * The request that the calling thread queued last (`block` false), to be waited for by KX_Link_Await.
 * @link_handle
 * @return its ticket, or 0 if this thread queued its last request on another link, or has queued none. Targets of streams have no tickets
 */
KX_API uint64_t KX_Link_Ticket(int link);

/**
 * Waits until a queued request has been answered; a motion is answered when it has ended.
 *
 *     Movej_Cmd(arm, there, 20, 0, false);
 *     uint64_t motion = KX_Link_Ticket(arm);
 *     ...
 *     int status = KX_Link_Await(arm, motion, 0);     // KX_TIMED_OUT: still on its way
 *
 * Any number of threads may wait for the same one, and ask again.
 * @link_handle
 * @param ticket what KX_Link_Ticket gave
 * @param timeout_ms at most so long; 0 looks once, a negative number waits as long as it takes
 * @return 0 done, for a motion: arrived; 1 refused or broken off, KX_Link_Reason tells why; KX_TIMED_OUT not yet; KX_LOST the link
 *         went down before the answer; KX_CANCELLED the request was taken back by a stop, the wait ended by
 *         KX_Link_Cancel or KX_Link_Close, or nobody knows any more: the answer is lost, or came before those of 64 later
 *         queued requests; KX_BAD_DESCRIPTOR, or KX_WRONG_TYPE: there is no such ticket
 */
KX_API int KX_Link_Await(int link, uint64_t ticket, int timeout_ms);

/** What a thread looks at while it waits; what it returns other than 0 ends the wait with KX_CANCELLED. */
typedef int (*KX_LINK_CHECK)(void* user);

/**
 * Has the calling thread look at something whenever it waits in a function of this library on a link, KX_Link_Open included: a signal to be handled,
 * a button. What is waited for goes on all the same: this stops no arm.
 * @param check is called every 50 ms, and whenever a signal interrupts the wait, on this thread; it may call anything that
 *        does not wait. Null for none
 * @param user handed to it
 */
KX_API void KX_Link_Call_Check(KX_LINK_CHECK check, void* user);

/**
 * From now on the calling thread registers set-up: each setting that it makes on this link (limits, frames, payload,
 * modes) is made now and again on every later connection, in this order, before the link is ready. Forgets what was
 * registered before. Until KX_Link_End_Setup this thread's other commands on this link are refused with
 * KX_NOT_A_SETTING, but for questions: no motion, and nothing that acts once, is ever repeated.
 *
 * When a controller refuses a setting on a new connection, or does not answer, that connection is given up and counts as
 * lost again: an arm does not move with the wrong payload. A setting that returns KX_LOST is not registered, nor is the
 * 65th, which returns KX_NO_MEMORY.
 * @link_handle
 * @return 0, KX_BAD_DESCRIPTOR, or KX_NO_MEMORY
 */
KX_API int KX_Link_Begin_Setup(int link);

/**
 * Ends what KX_Link_Begin_Setup began.
 * @link_handle
 * @return how many settings are registered, or, negative, -KX_BAD_DESCRIPTOR
 */
KX_API int KX_Link_End_Setup(int link);

/**
 * What the controller said when it last refused a request of this thread that this thread waited for; if there is none,
 * when it last refused any request of the link.
 * @link_handle
 * @param text receives the words, cut to what fits; empty if there are none
 * @param capacity bytes that fit into `text`, with the terminating zero
 * @return 0, or KX_BAD_DESCRIPTOR
 */
KX_API int KX_Link_Reason(int link, char* text, int capacity);

/**
 * What a link has done.
 * @link_handle
 * @param counters receives it; its `size` says how much of it
 * @return 0, KX_BAD_DESCRIPTOR, or KX_WRONG_TYPE: `counters` is null
 */
KX_API int KX_Link_Counters(int link, KX_LINK_COUNTERS* counters);

/**
 * Has the state of an arm asked for again and again. A second subscription takes the place of the first.
 * @link_handle
 * @param hz how often a second, from once a day up to 1000; 0 ends it, and no callback of it runs when this returns, but the one that calls it
 * @param callback receives each state, or why there is none
 * @param user handed to the callback
 * @return 0, KX_BAD_DESCRIPTOR, or KX_WRONG_TYPE for another rate
 */
KX_API int KX_Link_Subscribe(int link, double hz, KX_ARM_STATE_CALLBACK callback, void* user);

/**
 * How the library's thread that serves all links shall run.
 * @param priority 1 to 99: first come, first served with that priority (SCHED_FIFO); 0: as all others
 * @param cpu the processor to stay on; -1: any
 * @return 0, KX_REFUSED if the system does not allow it (what it allowed is done), -KX_NO_SOCKET if there is no thread
 */
KX_API int KX_Link_Thread(int priority, int cpu);

/** @} */

#endif
