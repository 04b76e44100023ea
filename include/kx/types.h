/**
 * @defgroup types Records and status codes
 * Records, enumerations and status codes shared by every function of the library. C11 and C++17.
 * @{
 */
#ifndef KX_TYPES_H
#define KX_TYPES_H

#include <stdbool.h>
#include <stdint.h>

/** Marks an exported function or variable: C linkage, visible outside the shared object. */
#ifdef __cplusplus
#define KX_API extern "C" __attribute__((visibility("default")))
#else
#define KX_API extern __attribute__((visibility("default")))
#endif

/** Gives enumerations 32 bits, and in C++ the right to hold values beyond their names, as in C. */
#ifdef __cplusplus
#define KX_INT32 : int32_t
#else
#define KX_INT32
#endif

/**
 * What a command returns. Commands return plain `int`; which codes apply, and any further ones, stand with
 * each function. The joint-parameter getters also return 10 for an array of the wrong type or length.
 */
typedef enum KX_STATUS KX_INT32 {
    KX_SUCCESS = 0,          /**< confirmed by the controller (blocking), or queued (non-blocking) */
    KX_REFUSED = 1,          /**< the controller answered false */
    KX_NOT_RUNNING = 2,      /**< KX_API_Init was not called; at connect: unsupported model code */
    KX_NO_SOCKET = 4,        /**< at connect: no socket, or the connection table is full */
    KX_BAD_DESCRIPTOR = 5,   /**< descriptor below 1; at connect: the controller cannot be reached */
    KX_SEND_FAILED = 6,      /**< the request could not be sent, or no pending entry was free */
    KX_TIMED_OUT = 7,        /**< no matching reply within m_nOutTime */
    KX_NOT_BOOLEAN = 8,      /**< parameter set replies: the status is neither true nor false */
    KX_BAD_REPLY = 9,        /**< the reply is not JSON or lacks the expected member */
    KX_WRONG_SHAPE = 10,     /**< joint-parameter getters: not an array, or of the wrong length */
    KX_WRONG_TYPE = 11,      /**< a member has the wrong JSON type or array length; argument out of range */
    KX_INCOMPLETE_POSE = 12, /**< a pose array does not hold six numbers */
    KX_LOST = 13,            /**< links: the connection is down, or went down while this call waited */
    KX_CANCELLED =
        14, /**< links: the wait was ended by KX_Link_Cancel or KX_Link_Close, the request taken back by a stop */
    KX_OUTBOX_FULL =
        15, /**< links: the controller does not read, or too many requests are open; nothing was sent */
    KX_NOT_FINITE = 16,    /**< links: a value is not finite or does not fit the wire; nothing was sent */
    KX_TOO_LONG = 17,      /**< links: the request does not fit a line of 299 bytes; nothing was sent */
    KX_NO_MEMORY = 18,     /**< links: no memory */
    KX_UNKNOWN_HOST = 19,  /**< links, at opening: the name cannot be resolved */
    KX_NOT_A_SETTING = 20, /**< links: cannot be registered as set-up; nothing was sent */
    KX_ENDED = 21          /**< streams: it has ended; KX_Stream_Reason says why */
} KX_STATUS;

/** A Cartesian pose: position in metres, then the angles of Rz(rz)*Ry(ry)*Rx(rx) in radians. */
typedef struct POSE {
    float x;  /**< position, m */
    float y;  /**< position, m */
    float z;  /**< position, m */
    float rx; /**< fixed-axis angles, rad */
    float ry; /**< fixed-axis angles, rad */
    float rz; /**< fixed-axis angles, rad */
} POSE;

/** A named frame as the controller reports it. */
typedef struct FRAME {
    char frame_name[10]; /**< at most 9 characters, NUL-terminated */
    POSE pose;           /**< the frame, relative to flange (tool frame) or base (work frame) */
    float payload;       /**< mass carried, kg */
    float x;             /**< its centre of mass, m */
    float y;             /**< its centre of mass, m */
    float z;             /**< its centre of mass, m */
} FRAME;

/** One name of a list of frames: at most 9 characters, NUL-terminated. */
typedef struct FRAME_NAME {
    char name[10]; /**< the name */
} FRAME_NAME;

/** Per-joint state, filled by Get_Arm_All_State. Entries beyond the arm's joint count stay untouched. */
typedef struct JOINT_STATE {
    float temperature[7];             /**< degrees Celsius; see Get_Arm_All_State: left untouched */
    float never_written[7];           /**< reserved; the library leaves it untouched */
    float voltage[7];                 /**< V */
    float current[7];                 /**< A */
    unsigned char never_written_2[8]; /**< reserved; the library leaves it untouched */
    uint16_t err_flag[7];             /**< error code per joint, 0 when healthy */
    uint16_t sys_err;                 /**< error code of the controller, 0 when healthy */
} JOINT_STATE;

/** Kind of the motion that the controller is executing. */
typedef enum ARM_CTRL_MODES KX_INT32 {
    None_Mode = 0,  /**< the arm stands or follows streamed targets */
    Joint_Mode = 1, /**< joint move, Movej_Cmd and Movej_P_Cmd */
    Line_Mode = 2,  /**< straight line, Movel_Cmd */
    Circle_Mode = 3 /**< circle, Movec_Cmd */
} ARM_CTRL_MODES;

/** Cartesian axis of a position jog or step. */
typedef enum POS_TEACH_MODES KX_INT32 {
    X_Dir = 0, /**< along x */
    Y_Dir = 1, /**< along y */
    Z_Dir = 2  /**< along z */
} POS_TEACH_MODES;

/** Rotation axis of an orientation jog or step. */
typedef enum ORT_TEACH_MODES KX_INT32 {
    RX_Rotate = 0, /**< about x */
    RY_Rotate = 1, /**< about y */
    RZ_Rotate = 2  /**< about z */
} ORT_TEACH_MODES;

/** A realtime push, handed by value to the callback given to KX_API_Init. */
typedef struct CallbackData {
    int sockfd;     /**< descriptor of the arm that pushed */
    int push_type;  /**< 1 joint pass-through, 2 pose pass-through, 3 force-position */
    int result;     /**< 0, or 9 when the push could not be read */
    float pose[6];  /**< the push's "pose" as it came; keeps the previous push's value when it brought none */
    float joint[7]; /**< the push's "joint" as it came; zeros when it brought none, [6] is 0 for six joints */
} CallbackData;

/** Receives realtime pushes on the library's receiver thread; must return quickly and must not block. */
typedef void (*KX_Callback)(CallbackData data);

/** A small matrix, row-major with a row stride of 4; 4x4 homogeneous transforms translate in column 3. */
typedef struct Matrix {
    int32_t rows;     /**< rows in use: 3 or 4 */
    int32_t cols;     /**< columns in use: 3 or 4 */
    float data[4][4]; /**< data[row][column] */
} Matrix;

/** A point or translation, metres. */
typedef struct Position {
    float x; /**< m */
    float y; /**< m */
    float z; /**< m */
} Position;

/** A rotation as a unit quaternion, scalar first. */
typedef struct Quaternion {
    float w; /**< scalar, then vector part */
    float x; /**< scalar, then vector part */
    float y; /**< scalar, then vector part */
    float z; /**< scalar, then vector part */
} Quaternion;

/** A rotation as fixed-axis angles in radians: R = Rz(rz) * Ry(ry) * Rx(rx). */
typedef struct Euler {
    float rx; /**< rad */
    float ry; /**< rad */
    float rz; /**< rad */
} Euler;

/** The pose record of the kinematics: one position and the same rotation in two forms. */
typedef struct KINEMATIC {
    Position position;     /**< m */
    Quaternion quaternion; /**< the rotation, as a unit quaternion */
    Euler euler;           /**< the same rotation, as fixed-axis angles, rad */
} KINEMATIC;

/** The same record; functions that compute or take a pose, not a target, call it so. */
typedef KINEMATIC KinPose;

/** @} */

#endif
