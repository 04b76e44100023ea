#include "model.h"

#include "kx/kinematics.h"
#include "kx/model.h"

namespace kx::sim {

Model::Model(int arm_code) : code(arm_code)
{
    Init_Sys_Data(46); // model 36 sets no tool transform of its own; this one leaves the identity behind
    Init_Sys_Data(code);
    lower = {JOINT1_LOWER, JOINT2_LOWER, JOINT3_LOWER, JOINT4_LOWER, JOINT5_LOWER, JOINT6_LOWER};
    upper = {JOINT1_UPPER, JOINT2_UPPER, JOINT3_UPPER, JOINT4_UPPER, JOINT5_UPPER, JOINT6_UPPER};
    if (code == 47) {
        lower.push_back(JOINT7_LOWER);
        upper.push_back(JOINT7_UPPER);
    }
}

POSE Model::tool_pose(const Joints& angles) const
{
    const std::vector<float> single(angles.begin(), angles.end());
    const KinPose pose = Forward_Kinematics(code, single.data());
    return {pose.position.x, pose.position.y, pose.position.z, pose.euler.rx, pose.euler.ry, pose.euler.rz};
}

} // namespace kx::sim
