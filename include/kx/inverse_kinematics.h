/**
 * @defgroup inverse Inverse kinematics
 * Joint angles for a tool pose, computed without a controller.
 *
 * @{
 */
#ifndef KX_INVERSE_KINEMATICS_H
#define KX_INVERSE_KINEMATICS_H

#include "kx/types.h"

/**
 * Finds the joint angles that put an arm's tool at a pose, nearest to a reference.
 *
 * Of all solutions the one with the smallest sum of squared joint distances to the reference is chosen. For
 * six joints every solution of the closed form takes part whose joints 1 and 3 are where the chain may be (joint 3 of
 * model 36: from -149.4 to 165.06 degrees; all others: their limits), with joint 6 within half a turn of the
 * reference's, and only the chosen one is held against all joint limits. For seven joints those inside the
 * limits take part whose arm angle (the turn of the elbow about the line from shoulder to wrist, counted from
 * the vertical plane through it) is no farther from the reference's own than the flag allows; only joint 4,
 * which the target alone bends, may be outside. Take the arm's present joints as reference, and consecutive
 * targets give consecutive joints.
 *
 * The base's installation angles (setAngle) and, for model 36, Tool_Matrix count as in Forward_Kinematics,
 * which this inverts. Not reentrant: call the kinematics from one thread at a time.
 *
 * In a nearly straight wrist (joint 5 within 0.087 rad of zero for model 46; within 0.3 degrees of zero or of
 * +-180 for model 36) joints 4 and 6 share the turn that both make about nearly the same line, and keep the
 * reference's difference (folded back: its sum), lest they spin. The pose is met there if the reference's
 * joint 4 stands as the pose wants it; else the flange may lean by up to twice the angle that joint 5 makes.
 *
 * @param model 36, 46 or 47
 * @param reference joint angles to stay near, degrees: six, or seven for model 47. One that lies up to 0.05
 *        degrees beyond its limit counts as on the limit.
 * @param target tool pose: its position, metres, and one of its two forms of orientation
 * @param result receives the joint angles, degrees: six, or seven for model 47; may be `reference` itself
 * @param flag which orientation is used, and how far the arm angle may move:
 *        | flag | six joints   | seven joints                        |
 *        |------|--------------|-------------------------------------|
 *        | 0    | quaternion   | quaternion, within 0.26 rad         |
 *        | 1    | Euler angles | Euler angles, within 0.26 rad       |
 *        | 2    | Euler angles | quaternion, anywhere (6.28318 rad)  |
 * @return 1 (not 0) for a solution inside all limits, else
 *        | code       | six joints                      | seven joints                         |
 *        |------------|---------------------------------|--------------------------------------|
 *        | 2          | unknown model, nothing written  | unknown model, nothing written       |
 *        | -1         |                                 | target out of reach                  |
 *        | -3         | joint 1 outside its limits      | no arm angle satisfies the limits    |
 *        | -4         | joint 2 outside its limits      |                                      |
 *        | -5 ... -8  | joint 3 ... 6 outside its limits | joint 1 ... 4 outside its limits    |
 *        | -9         | no solution                     | joint 5 outside its limits           |
 *        | -10, -11   |                                 | joint 6, 7 outside its limits        |
 *
 *        A code for a joint outside its limits names the first such joint, and `result` holds that solution.
 * Without a solution it holds the reference (-9 of six joints) or is left as it is (-1, -3 of seven). A
 * target that is not a number gives joints that are none, and 1 for seven joints.
 */
KX_API int inverse_kinematics(int model, const float* reference, const KINEMATIC* target, float* result,
                              unsigned char flag);

/** @} */

#endif
