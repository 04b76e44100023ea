/**
 * @defgroup model Model parameters
 * The process-wide parameters of the kinematics, for programs that want to read an arm's geometry or limits.
 * Zero until Init_Sys_Data loads a model; every computation writes them anew, but computes from constants of its
 * own. Only the installation angles and the tool are read, and by Forward_Kinematics_e the lengths. Not part of
 * kx_base.h, since such short names would get in an application's way: a global variable of one of these
 * names in an application takes its place and is written, too.
 *
 * @{
 */
#ifndef KX_MODEL_H
#define KX_MODEL_H

#include "kx/types.h"

/** @name Link lengths and offsets of model 36
 * @{ */
/** Metres. */
KX_API float d1, d3, d4, a2, a3, a4;
/** @} */

/** @name Base-shoulder, shoulder-elbow and elbow-wrist of model 46
 * @{ */
/** Metres. */
KX_API float lsb, lse, lew;
/** @} */

/** @name Base-shoulder, shoulder-elbow and elbow-wrist of model 47
 * @{ */
/** Metres. */
KX_API float dbs, dse, dew;
/** @} */

/** @name Wrist-flange: plain, with two tool variants, and the one in use
 * @{ */
/** Metres. */
KX_API float dwt, dwt_ZF, dwt_SF, lwt;
/** @} */

/** @name Joint limits
 * @{ */
/** Degrees. */
KX_API float JOINT1_LOWER, JOINT2_LOWER, JOINT3_LOWER, JOINT4_LOWER, JOINT5_LOWER, JOINT6_LOWER, JOINT7_LOWER,
    JOINT1_UPPER, JOINT2_UPPER, JOINT3_UPPER, JOINT4_UPPER, JOINT5_UPPER, JOINT6_UPPER, JOINT7_UPPER;
/** @} */

/** @name Limits of the chain angles: joint angle plus the model's offset
 * @{ */
/** Radians. */
KX_API float theta1_l, theta2_l, theta3_l, theta4_l, theta5_l, theta6_l, theta7_l, theta1_u, theta2_u,
    theta3_u, theta4_u, theta5_u, theta6_u, theta7_u;
/** @} */

/** @name Installation angles of the base about X, Y and Z
 * @{ */
/** Radians. */
KX_API float angleU, angleV, angleZ;
/** @} */

/** Tool transform appended to every forward chain. */
KX_API Matrix Tool_Matrix;

/** @} */

#endif
