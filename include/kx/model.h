/**
 * @defgroup model Model parameters
 * The process-wide parameters of the kinematics, for programs that want to read an arm's geometry or limits.
 * Zero until Init_Sys_Data loads a model; reloaded by every computation. Not part of kx_base.h, since such
 * short names would get in an application's way. An application must not define global variables of these
 * names.
 *
 * @{
 */
#ifndef KX_MODEL_H
#define KX_MODEL_H

#include "kx/types.h"

/** Link lengths and offsets of model 36, metres. */
KX_API float d1, d3, d4, a2, a3, a4;

/** Base-shoulder, shoulder-elbow and elbow-wrist of model 46, metres. */
KX_API float lsb, lse, lew;

/** Base-shoulder, shoulder-elbow and elbow-wrist of model 47, metres. */
KX_API float dbs, dse, dew;

/** Wrist-flange, metres: plain, and with two tool variants. */
KX_API float dwt, dwt_ZF, dwt_SF;
/** Wrist-flange in use, metres. */
KX_API float lwt;

/** Joint limits, degrees. */
KX_API float JOINT1_LOWER, JOINT2_LOWER, JOINT3_LOWER, JOINT4_LOWER, JOINT5_LOWER, JOINT6_LOWER, JOINT7_LOWER;
/** Joint limits, degrees. */
KX_API float JOINT1_UPPER, JOINT2_UPPER, JOINT3_UPPER, JOINT4_UPPER, JOINT5_UPPER, JOINT6_UPPER, JOINT7_UPPER;

/** Limits of the chain angles (joint angle plus the model's offset), radians. */
KX_API float theta1_l, theta2_l, theta3_l, theta4_l, theta5_l, theta6_l, theta7_l;
/** Limits of the chain angles (joint angle plus the model's offset), radians. */
KX_API float theta1_u, theta2_u, theta3_u, theta4_u, theta5_u, theta6_u, theta7_u;

/** Installation angles of the base about X, Y and Z, radians. */
KX_API float angleU, angleV, angleZ;

/** Tool transform appended to every forward chain. */
KX_API Matrix Tool_Matrix;

/** @} */

#endif
