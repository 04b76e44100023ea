#include "arm/model.h"

#include <cmath>

#include "arm/refused.h"
#include "kx/arm_model.h"
#include "kx/inverse_kinematics.h"
#include "kx/kinematics.h"
#include "kx/model.h"

namespace kx::sim {

namespace {

constexpr double radian = 180 / 3.14159265358979; // degrees

// By so much a pose may be missed: what single precision needs, and the elbow's tolerance when it is
// stretched.
constexpr double missed_position = 5e-5, missed_rotation = 1e-4; // m, rad

bool same_pose(const KDL::Frame& a, const KDL::Frame& b)
{
    const KDL::Twist apart = KDL::diff(a, b);
    return apart.vel.Norm() < missed_position && apart.rot.Norm() < missed_rotation;
}

} // namespace

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
    lengths = code == 36   ? std::array<double, 5>{d1, a2, a3, d4, lwt}
              : code == 46 ? std::array<double, 5>{lsb, lse, lew, lwt}
                           : std::array<double, 5>{dbs, dse, dew, lwt};
    for (double& length : lengths)
        length *= 1000;
}

POSE Model::tool_pose(const Joints& angles) const
{
    const std::vector<float> single(angles.begin(), angles.end());
    const KinPose pose = Forward_Kinematics(code, single.data());
    return {pose.position.x, pose.position.y, pose.position.z, pose.euler.rx, pose.euler.ry, pose.euler.rz};
}

KDL::Frame Model::flange(const Joints& angles) const
{
    ARM_MODEL arm;
    Arm_Model_Init(&arm, code, 0);
    const std::vector<float> single(angles.begin(), angles.end());
    Matrix links[7];
    const auto& m = links[Arm_Model_Links(&arm, single.data(), links) - 1].data;
    return {{m[0][0], m[0][1], m[0][2], m[1][0], m[1][1], m[1][2], m[2][0], m[2][1], m[2][2]},
            {m[0][3], m[1][3], m[2][3]}};
}

std::vector<Model::Hinge> Model::hinges() const
{
    const Joints zero(lower.size());
    const KDL::Frame rest = flange(zero).Inverse();
    std::vector<Hinge> hinges;
    for (std::size_t i = 0; i < zero.size(); ++i) {
        Joints turned = zero;
        turned[i] = 90;
        const KDL::Frame turn = flange(turned) * rest;
        KDL::Vector direction = turn.M.GetRot();
        direction.Normalize();
        // What a quarter turn shifts the origin by is a side of a square; its centre stays in place.
        hinges.push_back({(turn.p + direction * turn.p) / 2, direction});
    }
    return hinges;
}

Joints Model::joints_for(const KDL::Frame& target, const Joints& reference, Elbow elbow) const
{
    Joints found = nearest(target, reference, elbow);
    if (!same_pose(flange(found), target) && code != 47)
        found = nearest(target, bent_towards(target, found), elbow);
    if (!same_pose(flange(found), target)) throw Refused("out of reach");
    return found;
}

/**
 * In a nearly straight wrist of six joints, axes 4 and 6 are nearly one line, and the library turns joints 4
 * and 6 as little as the flange's turn needs. What it leaves open is the direction in which joint 5 bends:
 * joint 4 turns to it here and joint 6 back.
 */
Joints Model::bent_towards(const KDL::Frame& target, Joints found) const
{
    Joints straight = found;
    straight[4] = 0;
    const KDL::Vector axis = flange(straight).M.UnitZ();
    const KDL::Vector bent = flange(found).M.UnitZ(), wanted = target.M.UnitZ();
    const KDL::Vector from = axis * bent, to = axis * wanted; // cross products
    double turn = std::atan2(dot(axis, from * to), dot(from, to)) * radian;
    if (std::abs(turn) > 90) turn -= std::copysign(180, turn); // joint 5 bends the other way
    found[3] += turn;
    found[5] -= dot(axis, bent) > 0 ? turn : -turn;
    return found;
}

Joints Model::nearest(const KDL::Frame& target, const Joints& reference, Elbow elbow) const
{
    double x, y, z, w;
    target.M.GetQuaternion(x, y, z, w);
    const auto single = [](double value) { return static_cast<float>(value); };
    const KINEMATIC pose = {{single(target.p.x()), single(target.p.y()), single(target.p.z())},
                            {single(w), single(x), single(y), single(z)},
                            {}};
    const std::vector<float> near(reference.begin(), reference.end());
    std::vector<float> found(near.size());
    const unsigned char flag = near.size() == 7 && elbow == Elbow::anywhere ? 2 : 0;
    const int result = inverse_kinematics(code, near.data(), &pose, found.data(), flag);
    if (result == 1) return Joints(found.begin(), found.end());

    const bool out_of_reach = result == (code == 47 ? -1 : -9);
    if (out_of_reach) throw Refused("out of reach");
    const int joint = (code == 47 ? -4 : -2) - result;
    if (joint < 1) throw Refused("no position of the elbow keeps the joints within their limits");
    throw Refused("joint " + std::to_string(joint) + " would leave its limits");
}

} // namespace kx::sim
