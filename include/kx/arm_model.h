/**
 * @defgroup arm_model Arm models: kinematics for programs
 * The arms' kinematics as functions of a model value: without a controller, without global state, without
 * allocation. Any number of threads may call any of them at once, on the same model too, as long as nobody
 * changes it.
 *
 *     ARM_MODEL arm;
 *     Arm_Model_Init(&arm, 47, 0);
 *     arm.tool = pos2matrix(gripper);                 // optional: the tool,
 *     arm.installation.rx = 3.14159265f;              // the arm hanging from a ceiling,
 *     Arm_Model_Limit(&arm, 4, 5, 120);               // joint 4 always bent
 *     KinPose tool = Arm_Model_Pose(&arm, joint);
 *     int found = Arm_Model_Inverse(&arm, joint, &tool, 4, solution);
 *
 * Lengths are metres, joint angles degrees, all other angles radians; rotations are R = Rz(rz)*Ry(ry)*Rx(rx).
 * Joint arrays hold six floats, or seven for model 47. Results have the same bits on every processor, from
 * every compiler, alone or in a batch.
 *
 * @{
 */
#ifndef KX_ARM_MODEL_H
#define KX_ARM_MODEL_H

#include "kx/types.h"

/** An arm. Members may be changed between calls. */
typedef struct ARM_MODEL {
    int32_t model;      /**< 36, 46 or 47; not to be changed */
    int32_t joints;     /**< 6 or 7; not to be changed */
    float flange;       /**< length from wrist to flange, m */
    Euler installation; /**< how the base stands in the world, fixed-axis angles, rad */
    Matrix tool;        /**< tool frame relative to the flange: a rigid 4x4 transform */
    float lower[7];     /**< lower joint limits, degrees; see Arm_Model_Limit */
    float upper[7];     /**< upper joint limits, degrees */
} ARM_MODEL;

/** What an inverse computation returns. */
typedef enum ARM_INVERSE KX_INT32 {
    ARM_SOLVED = 0,       /**< solution written */
    ARM_OUT_OF_REACH = 1, /**< no joint angles at all reach the target, but for rounding (2 to 4 micrometres),
                               or it is no number */
    ARM_UNKNOWN = 2,      /**< the model's code is none of 36, 46 and 47 */
    ARM_OUTSIDE_LIMITS = 3 /**< only joint angles beyond the limits (or the arm angle's range) reach it */
} ARM_INVERSE;

/**
 * Makes an arm with an identity tool, upright, with the limits that the arm has.
 * @param arm receives it; for an unknown model its `joints` are 0
 * @param model 36, 46 or 47
 * @param variant wrist-to-flange length: 0 plain, 1 or 2 a tool variant
 * @return 0, or 2 for an unknown model or variant
 */
KX_API int Arm_Model_Init(ARM_MODEL* arm, int model, int variant);

/**
 * Narrows the limits of a joint. They hold for the inverse functions and Arm_Model_Beyond_Limits.
 * @param arm the arm to change
 * @param number of the joint, from 1
 * @param lower, upper degrees, lower < upper, within the limits that Arm_Model_Init gives
 * @return 0, or 11 for an argument out of range, which changes nothing
 */
KX_API int Arm_Model_Limit(ARM_MODEL* arm, int number, float lower, float upper);

/**
 * Tool pose: position as Forward_Kinematics, orientation to within 2e-6 rad, but for the sign of the quaternion. Where
 * that loses digits, towards gimbal lock (a tool along +-x), quaternion and angles here still are the tool's.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @return the pose; Euler angles below -3.13 are given plus 2 pi, so that all are in [-3.13, 3.1532). Ten zeros
 * for an unknown model
 */
KX_API KinPose Arm_Model_Pose(const ARM_MODEL* arm, const float* joint);

/**
 * Flange pose, that is without the tool.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @return as Arm_Model_Pose
 */
KX_API KinPose Arm_Model_Flange(const ARM_MODEL* arm, const float* joint);

/**
 * Frames of all links.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @param frames receives one 4x4 matrix per joint: the frame of the link that the joint moves, in the world.
 * Its z axis is the joint's axis, its origin lies where the next link begins. The last one is the flange
 * @return the number of frames, 6 or 7; 0 for an unknown model
 */
KX_API int Arm_Model_Links(const ARM_MODEL* arm, const float* joint, Matrix frames[7]);

/** In which frame a Jacobian is expressed. Its reference point is the tool's origin in each. */
typedef enum ARM_FRAME KX_INT32 {
    ARM_WORLD = 0, /**< axes of the world */
    ARM_BASE = 1,  /**< axes of the arm's base, which `installation` turns */
    ARM_TOOL = 2   /**< axes of the tool */
} ARM_FRAME;

/**
 * Geometric Jacobian of the tool's origin.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @param frame whose axes
 * @param jacobian receives six rows, one column per joint: metres per radian in x, y, z, then radians per
 * radian about x, y, z. A seventh column is zero for six joints, all are for an unknown model
 */
KX_API void Arm_Model_Jacobian(const ARM_MODEL* arm, const float* joint, ARM_FRAME frame,
                               double jacobian[6][7]);

/** How well an arm can move where it stands. Lengths count in metres. */
typedef struct ARM_DEXTERITY {
    double manipulability; /**< product of the Jacobian's singular values (Yoshikawa, 1985); 0 at a
                              singularity */
    double distance;  /**< smallest singular value: by how much, in the 2-norm, the Jacobian must change to be
                         singular; the tool's least speed (m/s and rad/s) for joint speeds of norm 1 rad/s */
    double condition; /**< smallest singular value over the greatest, 0 to 1 */
} ARM_DEXTERITY;

/**
 * Manipulability at the tool's origin, and how near the next singularity is.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @return the measures; NaN for joints that are not numbers, zeros for an unknown model
 */
KX_API ARM_DEXTERITY Arm_Model_Dexterity(const ARM_MODEL* arm, const float* joint);

/**
 * Of all joint angles within the limits that put the tool at a pose, those nearest to a reference: with the
 * least sum of squared differences. Singular places are no exception: where joints turn about one axis, to within
 * 5e-5 rad (3e-6 rad with seven joints), they share the turn so that the sum is least. Where inverse_kinematics
 * returns 1, this finds the same, except in a nearly straight wrist, where inverse_kinematics lets the flange lean and
 * this does not, and with joint 3 of model 36 beyond -149.4 degrees, where only this goes.
 * @param arm the arm, made by Arm_Model_Init
 * @param reference joint angles to stay near, degrees; may lie outside the limits. Near one that is no number
 * nothing is found
 * @param target tool pose: its position and its quaternion, of any length
 * @param range how far the arm angle (see Arm_Model_Angle) may be from the reference's, radians, for seven
 * joints; pi or more: anywhere, 0 or less: nowhere else
 * @param result receives the joint angles, degrees, if 0 is returned; may be `reference`
 * @return an ARM_INVERSE
 */
KX_API int Arm_Model_Inverse(const ARM_MODEL* arm, const float* reference, const KinPose* target, float range,
                             float* result);

/**
 * All joint angles within the limits that put the tool of a six-joint arm at a pose, in no particular order.
 * Joint 6 is given nearest to zero; one full turn more or less may also lie within its limits. At a singular
 * place, where joints share a turn, one representative of each family.
 * @param arm the arm, made by Arm_Model_Init
 * @param target tool pose: its position and its quaternion, of any length
 * @param result receives them, degrees
 * @return how many, 0 to 8; 0 for seven joints
 */
KX_API int Arm_Model_Solutions(const ARM_MODEL* arm, const KinPose* target, float result[8][7]);

/**
 * Arm angle of a seven-joint arm: the turn of the elbow about the line from shoulder to wrist, counted from
 * the vertical plane (of the base) through it: 0 with the elbow above the line, pi below.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @return radians, within +-pi; NaN for six joints, or if the wrist stands straight above the shoulder
 */
KX_API double Arm_Model_Angle(const ARM_MODEL* arm, const float* joint);

/**
 * All joint angles within the limits that put the tool of a seven-joint arm at a pose with a given arm angle.
 * @param arm the arm, made by Arm_Model_Init
 * @param target tool pose: its position and its quaternion, of any length
 * @param angle arm angle, radians
 * @param result receives them, degrees; of angles a turn apart the one nearest to zero
 * @return how many, 0 to 8; 0 for six joints
 */
KX_API int Arm_Model_Solutions_At(const ARM_MODEL* arm, const KinPose* target, double angle,
                                  float result[8][7]);

/** Arm angles from one to another, radians. */
typedef struct ARM_INTERVAL {
    double from; /**< within +-pi */
    double to;   /**< at least `from`, less than `from` + 2 pi unless all are feasible */
} ARM_INTERVAL;

/** The most intervals that Arm_Model_Angles finds. */
enum { ARM_INTERVALS = 40 };

/**
 * Arm angles at which the tool of a seven-joint arm reaches a pose within the limits.
 * @param arm the arm, made by Arm_Model_Init
 * @param target tool pose: its position and its quaternion, of any length
 * @param intervals receives them in ascending order; one that contains pi goes on beyond it
 * @return how many; 0 if none, or for six joints
 */
KX_API int Arm_Model_Angles(const ARM_MODEL* arm, const KinPose* target,
                            ARM_INTERVAL intervals[ARM_INTERVALS]);

/**
 * Tool poses of many joint angles, as Arm_Model_Pose gives them, several at a time.
 * @param arm the arm, made by Arm_Model_Init
 * @param count how many
 * @param joints count * arm->joints joint angles, degrees, one after the other
 * @param poses receives one pose for each
 * @param threads how many threads may share the work, this one included; 1 starts none
 */
KX_API void Arm_Model_Poses(const ARM_MODEL* arm, int count, const float* joints, KinPose* poses,
                            int threads);

/**
 * Arm_Model_Inverse for many targets, each with a reference of its own. For seven joints each thread needs 200 KiB of stack.
 * @param arm the arm, made by Arm_Model_Init
 * @param count how many
 * @param references count * arm->joints joint angles, degrees
 * @param targets one tool pose for each
 * @param range as for Arm_Model_Inverse
 * @param results receives count * arm->joints joint angles, degrees, where the code is 0; may be `references`
 * @param codes receives an ARM_INVERSE for each
 * @param threads how many threads may share the work, this one included; 1 starts none
 * @return how many were solved
 */
KX_API int Arm_Model_Inverses(const ARM_MODEL* arm, int count, const float* references,
                              const KinPose* targets, float range, float* results, int* codes, int threads);

/**
 * Holds joint angles against the limits.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @return the first joint that is beyond them, from 1, or 0; not a number is beyond them
 */
KX_API int Arm_Model_Beyond_Limits(const ARM_MODEL* arm, const float* joint);

/** What a drawn body is part of; they differ in colour. */
typedef enum ARM_SURFACE KX_INT32 {
    ARM_SHELL = 0, /**< tubes, and the caps of drums */
    ARM_DRUM = 1,  /**< around a joint at which the arm bends */
    ARM_SEAM = 2,  /**< rings between parts that turn */
    ARM_FOOT = 3   /**< what the pedestal stands on */
} ARM_SURFACE;

/** A drawn body of the arm: a cylinder that may grow thinner; a ball where both its ends are one point. */
typedef struct ARM_BODY {
    int32_t link;        /**< the joint that moves it; 0 for the pedestal */
    ARM_SURFACE surface; /**< what it is part of */
    Position from;       /**< the middle of one end, in the world, m */
    Position to;         /**< of the other end */
    float from_radius;   /**< at the one end, m */
    float to_radius;     /**< at the other */
} ARM_BODY;

/** The most drawn bodies of an arm. */
enum { ARM_BODIES = 96 };

/**
 * The arm as kx-controller's page draws it: tubes along the links, drums about the joints at which the arm
 * bends, the pedestal. Not the tool.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @param bodies receives them
 * @return how many; 0 for an unknown model
 */
KX_API int Arm_Model_Bodies(const ARM_MODEL* arm, const float* joint, ARM_BODY bodies[ARM_BODIES]);

/** A body of the arm for collisions: all points within a radius of a line segment. */
typedef struct ARM_CAPSULE {
    int32_t link;  /**< the joint that moves it; 0 for the pedestal */
    Position from; /**< one end of the segment, in the world, m */
    Position to;   /**< the other end */
    float radius;  /**< m */
} ARM_CAPSULE;

/** The most capsules of an arm. */
enum { ARM_CAPSULES = 32 };

/**
 * Capsules around the arm's drawn bodies, but for the rim of the foot and the caps of drums. Not the tool.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @param capsules receives them
 * @return how many; 0 for an unknown model
 */
KX_API int Arm_Model_Capsules(const ARM_MODEL* arm, const float* joint, ARM_CAPSULE capsules[ARM_CAPSULES]);

/**
 * How far two capsules are apart: of an arm, of two arms, or of an arm and what stands around it.
 * @param a, b capsules; their `link` is not heeded
 * @return metres; negative if they overlap: how deep
 */
KX_API double Arm_Capsule_Distance(const ARM_CAPSULE* a, const ARM_CAPSULE* b);

/**
 * The least distance between two bodies of the arm that are not neighbours. Neighbours are bodies that touch,
 * to within 5 cm, while all joints are at zero; so an elbow folded onto itself does not show.
 * @param arm the arm, made by Arm_Model_Init
 * @param joint joint angles, degrees
 * @return metres; negative if they overlap: how deep; NaN for joints that are not numbers, infinity for an unknown
 * model
 */
KX_API double Arm_Model_Clearance(const ARM_MODEL* arm, const float* joint);

/** @} */

#endif
