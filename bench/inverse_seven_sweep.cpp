// Success table of the seven-joint inverse kinematics over random joints inside the limits:
//     inverse_seven_sweep [samples, a million by default]
// with the joints themselves as reference, and with other random joints. For one sample in 200 the plain
// judge searches all branches and arm angles in steps of 0.002 radians for the nearest solution.
#include "kinematics/seven_joint_judge.h"
#include "tally.h"

#include "kx_base.h"

#include <cstdlib>
#include <map>
#include <random>

namespace {

using Joints = std::array<float, 7>; // degrees
using judge::degree, kdl_arms::greatest_difference;

double squared_distance(const Joints& a, const Joints& b) // rad^2
{
    double sum = 0;
    for (int i = 0; i < 7; ++i)
        sum += std::pow((a[i] - b[i]) * degree, 2);
    return sum;
}

bool within_chain_limits(const Joints& joint)
{
    for (int i = 0; i < 7; ++i)
        if (!(std::fabs(joint[i]) * degree <= judge::chain_limits[i] + 3e-6)) return false;
    return true;
}

// The arm angle: the wrist is not over or under the shoulder, and the elbow is bent.
bool well_defined(const Joints& joint)
{
    const KDL::Vector wrist = judge::wrist_centre(judge::forward(joint.data()));
    return std::hypot(wrist.x(), wrist.y()) > 0.005 && std::fabs(joint[3]) > 0.1;
}

struct Reproduction {
    Tally position, orientation;

    void add(const KDL::Frame& target, const Joints& joint)
    {
        const KDL::Twist off = KDL::diff(target, judge::forward(joint.data()));
        position.add(off.vel.Norm(), 5e-6);
        orientation.add(off.rot.Norm(), 2e-5);
    }
    void print() const
    {
        position.print("position reproduced within 5e-6 m");
        orientation.print("orientation reproduced within 2e-5 rad");
    }
};

void sweep(long samples)
{
    std::mt19937 bits(2026);
    const auto random_joints = [&] {
        Joints joint;
        for (int i = 0; i < 7; ++i) {
            const float limit = static_cast<float>(judge::joint_limits[i]);
            joint[i] = std::uniform_real_distribution<float>(-limit, limit)(bits);
        }
        return joint;
    };

    Tally code, same, code_anywhere, limits, nearest, in_range, limits_in_range, nearest_in_range, same_code;
    Reproduction reproduction, reproduction_anywhere, reproduction_in_range;
    std::map<int, long> codes_in_range;
    for (long n = 0; n < samples; ++n) {
        const Joints joint = random_joints(), reference = random_joints();
        const KinPose target = Forward_Kinematics(47, joint.data());
        const KDL::Frame flange = kdl_arms::frame_by_quaternion(target);
        judge::Seven radians;
        for (int i = 0; i < 7; ++i)
            radians[i] = reference[i] * degree;
        Joints result;

        code.add(inverse_kinematics(47, joint.data(), &target, result.data(), 0) == 1);
        reproduction.add(flange, result);
        same.add(greatest_difference(result, joint), 0.01);

        code_anywhere.add(inverse_kinematics(47, reference.data(), &target, result.data(), 2) == 1);
        reproduction_anywhere.add(flange, result);
        limits.add(within_chain_limits(result));
        if (n % 200 == 0) {
            const double best = judge::Redundancy(flange).nearest(radians, -M_PI, M_PI, 3142);
            nearest.add(squared_distance(result, reference) - best, 1e-4);
        }

        const int given = inverse_kinematics(47, reference.data(), &target, result.data(), 0);
        ++codes_in_range[given];
        const double psi = judge::arm_angle(reference.data());
        if (given == 1) {
            if (well_defined(reference) && well_defined(result))
                in_range.add(std::fabs(std::remainder(judge::arm_angle(result.data()) - psi, 2 * M_PI)),
                             0.26 + 1e-4);
            limits_in_range.add(within_chain_limits(result));
            reproduction_in_range.add(flange, result);
        }
        if (n % 200 == 0) {
            const double best = judge::Redundancy(flange).nearest(radians, psi - 0.26, psi + 0.26, 260);
            same_code.add(given == (best < INFINITY ? 1 : -3));
            if (given == 1 && best < INFINITY)
                nearest_in_range.add(squared_distance(result, reference) - best, 1e-4);
        }
    }

    std::printf("model 47, reference = the joints themselves\n");
    code.print("code 1");
    reproduction.print();
    same.print("joints within 0.01 degrees");
    std::printf("model 47, reference = other random joints, flag 2\n");
    code_anywhere.print("code 1");
    reproduction_anywhere.print();
    limits.print("within the chain's limits");
    nearest.print("no farther than the judge's, within 1e-4 rad^2");
    std::printf("model 47, reference = other random joints, flag 0\n");
    in_range.print("arm angle within 0.26 rad of the reference's, if well defined");
    reproduction_in_range.print();
    limits_in_range.print("within the chain's limits");
    nearest_in_range.print("no farther than the judge's, within 1e-4 rad^2");
    same_code.print("code as the judge");
    std::printf("  codes:");
    for (const auto& [value, count] : codes_in_range)
        std::printf("  %d: %ld", value, count);
    std::printf("\n");
}

} // namespace

int main(int count, char** arguments)
{
    sweep(count > 1 ? std::atol(arguments[1]) : 1000000);
}
