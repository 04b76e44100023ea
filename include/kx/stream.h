/**
 * @defgroup stream Streams of targets
 * Smooth motion through targets that a program makes as it goes: from a camera, a hand, a planner, a file.
 *
 *     int stream = KX_Stream_Open(link, NULL);                  // negative: why not
 *     while (KX_Stream_Joints(stream, next(), KX_Stream_Clock()) == KX_SUCCESS)
 *         wait_for_the_next_picture();                          // 30 a second, or whenever they come
 *     KX_Stream_Wait(stream, 10000);                            // no more will follow: until the arm stands
 *     KX_Stream_Close(stream);
 *
 * A stream has a sender of its own, which sends the arm one set-point a cycle, 200 a second, whatever the
 * application does. Each set-point keeps the limits of velocity, acceleration and jerk, of every joint and along
 * the tool's path, whatever the targets were: late, jumping, repeated. From each the arm can come to rest within
 * these limits and those of the joints.
 *
 * Targets are joint angles or poses. One with a time is passed `look_ahead` later than that time: so much may
 * targets be late, and so far the stream sees ahead. The way between them is a cubic, and their unevenness is
 * smoothed. As long as more may follow, the stream goes through the last one as fast as it gets there, and comes
 * back to it if none does; KX_Stream_Wait tells it that it is the last. A target with the time 0 is gone for at
 * once, so as to rest there, on the fastest way for all joints together; it takes the place of all before.
 *
 * A stream ends once, for a reason (KX_STREAM_END). Then its functions return KX_ENDED; open another. The
 * set-points brake within the limits; but where they cannot do any good (KX_STREAM_REFUSED, KX_STREAM_ARM_ERROR,
 * KX_STREAM_LOST, KX_STREAM_HICCUP: the arm has stopped, or cannot be told anything), no more are sent.
 *
 * All functions here may be called from any thread at any time, callbacks of links included. None waits, but
 * KX_Stream_Open, KX_Stream_Wait and KX_Stream_Close. A stream sends targets and nothing else; whoever else moves the arm
 * meanwhile disturbs it. One stream a link.
 * @{
 */
#ifndef KX_STREAM_H
#define KX_STREAM_H

#include "kx/arm_model.h"
#include "kx/types.h"

#include <stddef.h>
#include <stdint.h>

/** Why a stream has ended. KX_Stream_Words has them in words. */
typedef enum KX_STREAM_END KX_INT32 {
    KX_STREAM_RUNS = 0,    /**< it has not */
    KX_STREAM_ARRIVED = 1, /**< KX_Stream_Wait was called, and the arm stands where the last target leads */
    KX_STREAM_STOPPED = 2, /**< KX_Stream_Stop or KX_Stream_Close */
    KX_STREAM_STALLED = 3, /**< no target came for as long as the watchdog waits */
    KX_STREAM_JOINT_LIMIT = 4, /**< a target lies beyond a joint's limits */
    KX_STREAM_UNREACHABLE = 5, /**< a pose cannot be reached within the joints' limits */
    KX_STREAM_POSTURE = 6,     /**< a pose can be reached only in another posture of the arm */
    KX_STREAM_LEFT_BEHIND = 7, /**< the arm is further from its set-point than `following_error` */
    KX_STREAM_REFUSED = 8,     /**< the controller refused a set-point, as after an emergency stop */
    KX_STREAM_ARM_ERROR = 9,   /**< the arm told an error */
    KX_STREAM_SILENT = 10,     /**< the controller did not answer set-points for `silence` */
    KX_STREAM_LOST = 11,       /**< the link is lost, or was closed */
    KX_STREAM_HICCUP = 12      /**< this machine held the sender up for longer than can be caught up: 0.1 s */
} KX_STREAM_END;

/** One cycle of a stream, as its callback sees it. */
typedef struct KX_STREAM_CYCLE {
    double time;        /**< when the set-point left, on KX_Stream_Clock */
    float target[7];    /**< where the application's targets lead at that time, degrees */
    float sent[7];      /**< the set-point, within the limits, degrees */
    float measured[7];  /**< what the arm last told, degrees */
    double measured_at; /**< when that came, on KX_Stream_Clock; 0: nothing came yet */
    bool is_limited;    /**< the limits kept the set-point from where the targets lead */
} KX_STREAM_CYCLE;

/** Sees every cycle, on the sender's thread: it must take less than a cycle and must not wait. */
typedef void (*KX_STREAM_CALLBACK)(int stream, const KX_STREAM_CYCLE* cycle, void* user);

/** What a stream shall be like. Start from KX_Stream_Defaults. */
typedef struct KX_STREAM_OPTIONS {
    size_t size; /**< sizeof(KX_STREAM_OPTIONS), so that later versions can tell */
    double rate; /**< set-points a second, 10 to 1000; 200 */
    /** s, 0 to 5; 0.1. Two periods of the targets, and what they may be late, make a smooth path: docs/streams.md */
    double look_ahead;
    /** s without a new target after which the stream brakes, 0: never; 0.2. It rests while paused, while a file is played,
        and once KX_Stream_Wait was called */
    double watchdog;
    double silence; /**< s without an answer of the controller after which the stream ends, 0: never; 0.5 */
    float velocity[7];       /**< limits of the joints, degrees/s; 90 */
    float acceleration[7];   /**< degrees/s^2; 400 */
    float jerk[7];           /**< degrees/s^3; 4000 */
    float tool_velocity;     /**< limit of the tool's speed along its path, m/s; 0: none */
    float tool_acceleration; /**< m/s^2, with its part across the path; 0: none */
    float tool_jerk;         /**< m/s^3, likewise; 0: none */
    float following_error;   /**< degrees that any joint may be from its set-point, 0: any; 20 */
    /** of the sender's thread: SCHED_FIFO with 1 to 99, 0: as all others; 20. Where the system does not allow it the sender
        goes without, and KX_STREAM_COUNTERS tells */
    int priority;
    /** its limits of the joints hold, its tool and installation are those of pose targets; null: as Arm_Model_Init makes the
        link's model; copied */
    const ARM_MODEL* arm;
    KX_STREAM_CALLBACK on_cycle; /**< may be null */
    void* user;                  /**< handed to it */
} KX_STREAM_OPTIONS;

/** What a stream has done since it was opened. Times are ms, -1 where nothing was measured yet. */
typedef struct KX_STREAM_COUNTERS {
    size_t size;      /**< set it to sizeof(KX_STREAM_COUNTERS) before the call */
    int32_t priority; /**< what the sender runs with: 0 where SCHED_FIFO was not allowed or not asked for */
    uint64_t targets; /**< that were taken */
    uint64_t ignored; /**< that were not: not finite, or not after the one before */
    uint64_t late_targets;   /**< of those taken: came when they should already have been passed */
    uint64_t cycles;         /**< set-points sent */
    uint64_t late_cycles;    /**< of these: left more than half a period late */
    uint64_t limited_cycles; /**< of these: the limits kept them from where the targets lead */
    uint64_t pushes;         /**< answers of the controller */
    double jitter_median;    /**< how late the sender wakes */
    double jitter_p99;       /**< of 100 wakes the latest but one */
    double jitter_most;      /**< the latest of all */
    double lag_median;       /**< how long the arm takes to be where its set-points were, while it moves */
    double lag_p99;          /**< likewise */
    double
        following_error; /**< largest distance of a joint from its set-point when it was told, degrees; now */
    double following_most; /**< since opening, degrees */
} KX_STREAM_COUNTERS;

/** What keeps a trajectory from being played. KX_Trajectory_Words has them in words. */
typedef enum KX_TRAJECTORY_VIOLATION KX_INT32 {
    KX_TRAJECTORY_FINE = 0,          /**< nothing */
    KX_TRAJECTORY_UNREADABLE = 1,    /**< there is no such file, or nothing in it */
    KX_TRAJECTORY_NO_ROW = 2,        /**< a line holds no time and joint angles, all finite */
    KX_TRAJECTORY_TIME = 3,          /**< a time is not after the one before */
    KX_TRAJECTORY_JOINT_LIMIT = 4,   /**< a joint beyond its limits */
    KX_TRAJECTORY_VELOCITY = 5,      /**< a joint faster than its limit */
    KX_TRAJECTORY_ACCELERATION = 6,  /**< a joint accelerated more than its limit */
    KX_TRAJECTORY_TOOL_VELOCITY = 7, /**< the tool faster than its limit */
    KX_TRAJECTORY_NO_MEMORY = 8      /**< it does not fit the memory */
} KX_TRAJECTORY_VIOLATION;

/** The first violation in a trajectory. */
typedef struct KX_TRAJECTORY_FAULT {
    KX_TRAJECTORY_VIOLATION violation; /**< which */
    int32_t line;                      /**< of the file, from 1 */
    int32_t joint;                     /**< from 1; 0: none in particular */
    double time;                       /**< of that line, s */
    double value;                      /**< what stands there, degrees or metres, per s or s^2 */
    double limit;                      /**< what is allowed */
} KX_TRAJECTORY_FAULT;

/**
 * The defaults of all options.
 * @param options receives them, with `size` set
 */
KX_API void KX_Stream_Defaults(KX_STREAM_OPTIONS* options);

/**
 * Opens a stream on a link, asking the arm where it stands; set-points leave from the first target on.
 * @link_handle
 * @param options null for the defaults; copied
 * @return the handle, a number of 536870912 or more that is never used again; or, negative, a status code: as
 *         Get_Joint_Degree returns, -KX_BAD_DESCRIPTOR no open link, -KX_WRONG_TYPE an option out of range, -KX_NO_SOCKET no
 *         thread or room for one more (32 may be open) or the link has a stream, -KX_NO_MEMORY
 */
KX_API int KX_Stream_Open(int link, const KX_STREAM_OPTIONS* options);

/**
 * The clock of targets.
 * @return s, of CLOCK_MONOTONIC
 */
KX_API double KX_Stream_Clock(void);

/**
 * Gives the next target as joint angles.
 * @param stream the handle
 * @param joint degrees: 6 values, 7 for model 47; beyond the limits of the joints, the stream ends
 * @param time on KX_Stream_Clock, after that of the last target: it is passed `look_ahead` later; 0: as soon as possible
 * @return 0 taken, KX_ENDED, KX_NOT_FINITE or KX_WRONG_TYPE (time not after the last one) and ignored, KX_OUTBOX_FULL
 *         (4096 are still to be passed), KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_Joints(int stream, const float* joint, double time);

/**
 * Gives the next target as a pose of the tool, reached in the posture of the target before: shoulder, elbow and
 * wrist do not turn over. Where that cannot be, the stream ends.
 * @param stream the handle
 * @param pose m and rad, in the base of `arm` of the options
 * @param time as for KX_Stream_Joints
 * @return as KX_Stream_Joints
 */
KX_API int KX_Stream_Pose(int stream, POSE pose, double time);

/**
 * Plays a trajectory: goes to its first row on the fastest way, then passes the rows at their times.
 * @param stream the handle; other targets are refused with KX_WRONG_TYPE until the last row was passed
 * @param path a text file of rows `time, joint 1, ..., joint n` in s and degrees, separated by commas, with times from
 *        anywhere; lines that begin with # or a letter, and empty ones, are passed over
 * @param fault receives the first violation if the result is KX_REFUSED; may be null
 * @return 0 it begins, KX_REFUSED nothing moves for a violation (see KX_Stream_Check), KX_ENDED, KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_Play(int stream, const char* path, KX_TRAJECTORY_FAULT* fault);

/**
 * Holds a trajectory against the limits of joints, velocities and accelerations, without an arm: velocities are
 * those from row to row, and accelerations those from one of these to the next, less what a rounding to thousandths
 * makes of them. Jerk is not looked at: playing smooths it.
 * @param path as for KX_Stream_Play
 * @param model 36, 46 or 47; if `options` has an `arm`, that one's limits and tool hold
 * @param options whose limits hold; null: the defaults
 * @param fault receives the first violation; may be null
 * @return 0 none, KX_REFUSED there is one, KX_NOT_RUNNING unknown model, KX_WRONG_TYPE an option out of range
 */
KX_API int KX_Stream_Check(const char* path, int model, const KX_STREAM_OPTIONS* options,
                           KX_TRAJECTORY_FAULT* fault);

/**
 * Sets the speed along the path, as an operator's dial does: time passes so much faster for the targets. The change
 * is gradual, within the limits, and so is what is faster than they allow. At 0 the stream pauses, and waits on the
 * path.
 * @param stream the handle
 * @param factor 0 to 1.5; 1 at opening. Above 1 the path can get ahead of targets that are still to come: then it waits for them
 * @return 0, KX_WRONG_TYPE for another factor, KX_ENDED, KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_Speed(int stream, double factor);

/**
 * Brakes on the path and waits there.
 * @param stream the handle
 * @return 0, KX_ENDED, KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_Pause(int stream);

/**
 * Goes on after KX_Stream_Pause, with the speed set before. Targets with times stay as much later as the pause took.
 * @param stream the handle
 * @return 0, KX_ENDED, KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_Resume(int stream);

/**
 * Brakes as fast as the limits allow, and ends the stream. Returns at once; KX_Stream_Wait waits for the rest.
 * @param stream the handle
 * @return 0, KX_ENDED, KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_Stop(int stream);

/**
 * Says that no more targets follow, and waits until the stream has ended and, if it can still tell, the arm stands.
 * @param stream the handle
 * @param timeout_ms at most so long; 0 looks once, a negative number waits as long as it takes
 * @return 0 arrived, KX_ENDED for any other reason, KX_TIMED_OUT (it goes on to its last target), KX_CANCELLED (closed
 *         meanwhile), KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_Wait(int stream, int timeout_ms);

/**
 * Why a stream has ended.
 * @param stream the handle
 * @return the reason, as soon as it is decided: braking may go on. KX_STREAM_STOPPED for what is no open stream
 */
KX_API KX_STREAM_END KX_Stream_Reason(int stream);

/**
 * The last cycle of a stream.
 * @param stream the handle
 * @param cycle receives it; before the first one, where the arm stood at opening
 * @return 0, KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_State(int stream, KX_STREAM_CYCLE* cycle);

/**
 * What a stream has done.
 * @param stream the handle
 * @param counters receives it; its `size` says how much of it
 * @return 0, or KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_Counters(int stream, KX_STREAM_COUNTERS* counters);

/**
 * Brakes and closes a stream. The link stays open. No callback of it runs when this returns, but the one that calls
 * it.
 * @param stream the handle
 * @return 0, or KX_BAD_DESCRIPTOR
 */
KX_API int KX_Stream_Close(int stream);

/**
 * What the end of a stream says.
 * @param end the reason
 * @return a few words without a full stop; never null
 */
static inline const char* KX_Stream_Words(KX_STREAM_END end)
{
    static const char* const words[] = {"it runs",
                                        "the arm has arrived",
                                        "it was stopped",
                                        "no targets came any more",
                                        "a target lies beyond a joint's limits",
                                        "a pose cannot be reached",
                                        "a pose cannot be reached in the arm's posture",
                                        "the arm did not follow",
                                        "the controller refused a set-point",
                                        "the arm told an error",
                                        "the controller fell silent",
                                        "the connection is lost",
                                        "this machine held the stream up"};
    return end >= KX_STREAM_RUNS && end <= KX_STREAM_HICCUP ? words[end] : "unknown reason";
}

/**
 * What a violation says.
 * @param violation of a trajectory
 * @return a few words without a full stop; never null
 */
static inline const char* KX_Trajectory_Words(KX_TRAJECTORY_VIOLATION violation)
{
    static const char* const words[] = {"nothing is wrong",
                                        "the file cannot be read, or is empty",
                                        "the line does not hold a time and all joint angles",
                                        "the time is not after the one before",
                                        "a joint is beyond its limits",
                                        "a joint is too fast",
                                        "a joint accelerates too much",
                                        "the tool is too fast",
                                        "out of memory"};
    return violation >= KX_TRAJECTORY_FINE && violation <= KX_TRAJECTORY_NO_MEMORY ? words[violation]
                                                                                   : "unknown violation";
}

/** @} */

#endif
