/**
 * @defgroup kinematics Forward kinematics and pose mathematics
 * The arms' own kinematics, computed without a controller: pose mathematics, model parameters, forward chain.
 *
 * Lengths are metres, joint angles degrees, all other angles radians; rotations are R = Rz(rz)*Ry(ry)*Rx(rx).
 * Model codes are 36 and 46 (six joints) and 47 (seven). The pose mathematics is reentrant; everything that
 * takes a model code works on process-wide parameters (kx/model.h) and must be called from one thread at a
 * time.
 *
 * @{
 */
#ifndef KX_KINEMATICS_H
#define KX_KINEMATICS_H

#include "kx/types.h"

/**
 * Product of two square matrices of equal size; sums are kept in double and rounded once.
 * @param a, b the factors, 3x3 or 4x4
 * @return a times b
 */
KX_API Matrix matrix_m(Matrix a, Matrix b);

/**
 * Inverse by Gauss-Jordan elimination with full pivoting.
 * @param m a square matrix, 3x3 or 4x4
 * @return its inverse; infinities or NaNs for a singular matrix
 */
KX_API Matrix matrix_inv(Matrix m);

/**
 * Rotation matrix of fixed-axis angles.
 * @param rx, ry, rz the angles, radians
 * @return a 3x3 matrix
 */
KX_API Matrix euler2matrix(float rx, float ry, float rz);

/**
 * Homogeneous transform of a pose.
 * @param pose its position and Euler angles count, not its quaternion
 * @return a 4x4 matrix
 */
KX_API Matrix pos2matrix(KinPose pose);

/**
 * Pose of a homogeneous transform.
 * @param m a 4x4 matrix
 * @return the pose; the quaternion is that of the Euler angles found. No gimbal-lock handling
 */
KX_API KinPose matrix2pos(Matrix m);

/**
 * Quaternion of fixed-axis angles.
 * @param rx, ry, rz the angles, radians
 * @return the unit quaternion, scalar first
 */
KX_API Quaternion euler2quaternion(float rx, float ry, float rz);

/**
 * Fixed-axis angles of a unit quaternion.
 * @param w, x, y, z the quaternion; one that is not of unit length may give NaN
 * @return the angles, radians
 */
KX_API Euler quaternion2euler(float w, float x, float y, float z);

/**
 * Arc tangent through acos: like atan2, but +pi for x < 0 and y = -0, and NaN at the origin.
 * @param y, x coordinates of a point
 * @return its angle, radians
 */
KX_API float my_atan2f(float y, float x);

/**
 * Loads the parameters of a model (kx/model.h). Every forward and inverse computation does this first. Model
 * 36 does not set the tool transform, which is zero until another model was loaded once: call
 * Init_Sys_Data(46) once before computing model 36.
 * @param model 36, 46 or 47; other codes change nothing
 */
KX_API void Init_Sys_Data(int model);

/**
 * Sets the installation angles of the base. Model 36 keeps and uses U and V, model 46 uses Z; the others are
 * reset to zero by each computation, so they have no effect on models 46 and 47.
 * @param U about X, radians
 * @param V about Y, radians
 * @param Z about Z, radians
 */
KX_API void setAngle(float U, float V, float Z);

/**
 * Chooses the wrist-to-flange length, for Forward_Kinematics_e alone: every other computation resets it to 0.
 * @param variant 0 plain, 1 or 2 a tool variant
 */
KX_API void setLwt(int variant);

/**
 * Tool pose of an arm.
 * @param model 36, 46 or 47; another code gives ten zeros
 * @param joint joint angles, degrees: six, or seven for model 47
 * @return the pose; Euler angles below -3.13 are given plus 2 pi, so that all are in [-3.13, 3.1532)
 */
KX_API KinPose Forward_Kinematics(int model, const float* joint);

/**
 * Transform from base to flange, without tool, of chain angles. It loads nothing: call Init_Sys_Data before,
 * and after it setLwt for another flange.
 * @param model 36, 46 or 47
 * @param theta chain angles, degrees, which are the joint angles plus the model's offsets:
 *        | model | 1   | 2  | 3  | 4 | 5   | 6  | 7 |
 *        |-------|-----|----|----|---|-----|----|---|
 *        | 36    | -90 | 90 | 90 | 0 | 180 | 90 |   |
 *        | 46    | 0   | 90 | 90 | 0 | 0   | 0  |   |
 *        | 47    | 0   | 0  | 0  | 0 | 0   | 0  | 0 |
 * @return a 4x4 matrix; zeros for an unknown model
 */
KX_API Matrix Forward_Kinematics_e(int model, const float* theta);

/**
 * The seven link transforms of model 47; reads the loaded parameters.
 * @param theta seven chain angles, degrees
 * @param out receives one 4x4 matrix per link, each relative to the link before
 */
KX_API void Homogeneous_transformation_matrix(const float* theta, Matrix out[7]);

/** @} */

#endif
