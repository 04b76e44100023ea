/**
 * @defgroup frame_transforms Frame transforms
 * Poses between base, work frame, flange and tool, and poses turned about an axis; computed without a
 * controller. A frame given as a Matrix is a 4x4 homogeneous transform in base coordinates; of a frame or
 * pose given as a KinPose the position (m) and the Euler angles (rad) count, not the quaternion. All
 * functions are reentrant; a singular frame gives infinities or NaNs.
 *
 * @{
 */
#ifndef KX_FRAME_TRANSFORMS_H
#define KX_FRAME_TRANSFORMS_H

#include "kx/types.h"

/**
 * Expresses a pose, given in the base frame, in the work frame.
 * @param pose the pose in the base frame
 * @param work_frame the work frame in the base frame
 * @return the pose in the work frame
 */
KX_API KinPose Base_To_WorkFrame(KinPose pose, Matrix work_frame);

/**
 * Expresses a pose, given in the work frame, in the base frame.
 * @param pose the pose in the work frame
 * @param work_frame the work frame in the base frame
 * @return the pose in the base frame
 */
KX_API KinPose WorkFrame_To_Base(KinPose pose, Matrix work_frame);

/**
 * Tool pose of a flange pose.
 * @param flange flange in the base frame
 * @param tool tool frame relative to the flange
 * @param work_frame work frame in the base frame
 * @return the tool in the work frame
 */
KX_API KinPose end2tool(KinPose flange, KinPose tool, KinPose work_frame);

/**
 * Flange pose of a tool pose; undoes end2tool.
 * @param pose tool in the work frame
 * @param tool tool frame relative to the flange
 * @param work_frame work frame in the base frame
 * @return the flange in the base frame
 */
KX_API KinPose tool2end(KinPose pose, KinPose tool, KinPose work_frame);

/**
 * Turns a pose about one of its own axes, in place.
 * @param pose the pose to turn
 * @param axis 1, 2 or 3: the pose's own x, y or z axis; another value turns about none
 * @param angle radians, right-handed
 * @return the same position with the new orientation; its Euler angles are as matrix2pos gives them
 */
KX_API KinPose RotateMove(KinPose pose, int axis, float angle);

/**
 * Turns a pose about an axis of a frame of the given orientation: {0, 0, 0} for the base axes, a work frame's
 * angles for its axes, the pose's own angles for its own (which is RotateMove).
 * @param orientation the frame whose axes are meant, relative to the base frame
 * @param angle radians, right-handed
 * @param ax,ay,az axis components: 1, or -1 to turn the other way; any other value counts as 0. Several
 *        components together name the diagonal between them; none turns about no axis
 * @param pose the pose to turn; only its Euler angles matter
 * @return the orientation of the turned pose
 */
KX_API Euler Rodrigues_rotate_simplify(Euler orientation, float angle, int ax, int ay, int az, KinPose pose);

/** @} */

#endif
