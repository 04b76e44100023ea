/**
 * @file
 * The arms' kinematics as values. Part of kx/arm.hpp; needs no connection.
 */
#ifndef KX_ARM_MODEL_HPP
#define KX_ARM_MODEL_HPP

#include "kx/arm/values.hpp"
#include "kx/arm_model.h"

#include <limits>
#include <optional>
#include <vector>

namespace kx {

/** What the inverse kinematics found. */
struct Solution {
    ARM_INVERSE code = ARM_UNKNOWN; /**< ARM_SOLVED, or why there is none */
    Degrees joints;                 /**< the joint angles if solved */

    /** Whether there is a solution. */
    explicit operator bool() const { return code == ARM_SOLVED; }
};

/** An arm's kinematics: geometry, tool, installation, joint limits. A value; any number of threads may use one that
 *  nobody changes. */
class Model {
  public:
    /** @param model 36, 46 or 47
     *  @param variant wrist-to-flange length: 0 plain, 1 or 2 a tool variant. For other numbers known() is false */
    explicit Model(int model, int variant = 0)
    {
        if (Arm_Model_Init(&arm_, model, variant) != KX_SUCCESS) arm_.joints = 0;
    }

    /** Whether there is such a model. */
    bool known() const { return arm_.joints > 0; }

    /** Six or seven; 0 for an unknown model. */
    int joint_count() const { return arm_.joints; }

    /** The record of the C functions, which may be changed. */
    ARM_MODEL& c() { return arm_; }

    /** The record of the C functions. */
    const ARM_MODEL& c() const { return arm_; }

    /** Sets the tool relative to the flange. */
    void set_tool(const Pose& tool) { arm_.tool = pos2matrix(tool.kinematic()); }

    /** Sets how the base stands in the world: fixed-axis angles, rad. */
    void set_installation(double rx, double ry, double rz)
    {
        arm_.installation = {static_cast<float>(rx), static_cast<float>(ry), static_cast<float>(rz)};
    }

    /** Narrows the limits of a joint (from 1). False, and nothing changed, when they are not within the arm's own. */
    bool limit(int joint, double lower_degrees, double upper_degrees)
    {
        return Arm_Model_Limit(&arm_, joint, static_cast<float>(lower_degrees),
                               static_cast<float>(upper_degrees)) == KX_SUCCESS;
    }

    /** The lower limits. */
    Degrees lower_limits() const { return limits(arm_.lower); }

    /** The upper limits. */
    Degrees upper_limits() const { return limits(arm_.upper); }

    /** The tool's pose. None for another number of joints than the arm has. */
    std::optional<Pose> pose(const Degrees& joints) const
    {
        if (!fits(joints)) return std::nullopt;
        return Pose::of(Arm_Model_Pose(&arm_, joints.data()));
    }

    /** The joint angles within the limits that put the tool at a pose, nearest to the reference.
     *  @param target tool pose
     *  @param reference joint angles to stay near; may lie outside the limits
     *  @param range_rad how far the arm angle of seven joints may be from the reference's; pi or more: anywhere */
    Solution inverse(const Pose& target, const Degrees& reference, double range_rad = 4) const
    {
        Solution solution;
        if (!fits(reference)) return solution;
        const KinPose pose = target.kinematic();
        solution.joints = reference;
        solution.code = static_cast<ARM_INVERSE>(Arm_Model_Inverse(
            &arm_, reference.data(), &pose, static_cast<float>(range_rad), solution.joints.data()));
        return solution;
    }

    /** All joint angles of a six-joint arm within the limits that put the tool at a pose: up to eight. */
    std::vector<Degrees> solutions(const Pose& target) const
    {
        float found[8][7];
        const KinPose pose = target.kinematic();
        return all(found, Arm_Model_Solutions(&arm_, &pose, found));
    }

    /** The same for seven joints at an arm angle. */
    std::vector<Degrees> solutions_at(const Pose& target, double arm_angle_rad) const
    {
        float found[8][7];
        const KinPose pose = target.kinematic();
        return all(found, Arm_Model_Solutions_At(&arm_, &pose, arm_angle_rad, found));
    }

    /** The arm angle of seven joints, rad; NaN for six. */
    double arm_angle_rad(const Degrees& joints) const
    {
        return fits(joints) ? Arm_Model_Angle(&arm_, joints.data())
                            : std::numeric_limits<double>::quiet_NaN();
    }

    /** Arm angles at which seven joints reach a pose. */
    std::vector<ARM_INTERVAL> arm_angles(const Pose& target) const
    {
        ARM_INTERVAL intervals[ARM_INTERVALS];
        const KinPose pose = target.kinematic();
        const int count = Arm_Model_Angles(&arm_, &pose, intervals);
        return {intervals, intervals + count};
    }

    /** The geometric Jacobian at the tool's origin: six rows, a column per joint; m/rad, then rad/rad. */
    std::array<std::array<double, 7>, 6> jacobian(const Degrees& joints, ARM_FRAME frame = ARM_WORLD) const
    {
        double rows[6][7] = {};
        if (fits(joints)) Arm_Model_Jacobian(&arm_, joints.data(), frame, rows);
        std::array<std::array<double, 7>, 6> jacobian;
        for (size_t i = 0; i < 6; ++i)
            std::copy(rows[i], rows[i] + 7, jacobian[i].begin());
        return jacobian;
    }

    /** How well the arm can move where it stands. */
    ARM_DEXTERITY dexterity(const Degrees& joints) const
    {
        constexpr double none = std::numeric_limits<double>::quiet_NaN();
        return fits(joints) ? Arm_Model_Dexterity(&arm_, joints.data()) : ARM_DEXTERITY{none, none, none};
    }

    /** The first joint beyond its limits, from 1, or 0. */
    int beyond_limits(const Degrees& joints) const
    {
        return fits(joints) ? Arm_Model_Beyond_Limits(&arm_, joints.data()) : 1;
    }

    /** The least distance between two bodies of the arm that are not neighbours, m; negative if they overlap, NaN for
     *  joints that are not numbers. */
    double clearance_m(const Degrees& joints) const
    {
        return fits(joints) ? Arm_Model_Clearance(&arm_, joints.data())
                            : std::numeric_limits<double>::quiet_NaN();
    }

    /** The tool's poses for many joint angles, several at a time.
     *  @param joints joint_count() degrees for each, one after the other
     *  @param threads how many may share the work */
    std::vector<KinPose> poses(std::span<const float> joints, int threads = 1) const
    {
        std::vector<KinPose> poses(known() ? joints.size() / static_cast<size_t>(joint_count()) : 0);
        Arm_Model_Poses(&arm_, static_cast<int>(poses.size()), joints.data(), poses.data(), threads);
        return poses;
    }

    /** Joint angles and codes for many targets. */
    struct Solutions {
        std::vector<float> joints; /**< joint_count() degrees for each */
        std::vector<int> codes;    /**< an ARM_INVERSE for each */
    };

    /** The inverse for many targets, each with a reference of its own.
     *  @param targets tool poses: position and quaternion count
     *  @param references joint_count() degrees for each, one after the other; their number decides
     *  @param range_rad as for inverse()
     *  @param threads how many may share the work */
    Solutions inverses(std::span<const KinPose> targets, std::span<const float> references,
                       double range_rad = 4, int threads = 1) const
    {
        const size_t joints = static_cast<size_t>(std::max(joint_count(), 1));
        const size_t count = std::min(targets.size(), references.size() / joints);
        Solutions found{std::vector<float>(count * joints), std::vector<int>(count)};
        Arm_Model_Inverses(&arm_, static_cast<int>(count), references.data(), targets.data(),
                           static_cast<float>(range_rad), found.joints.data(), found.codes.data(), threads);
        return found;
    }

  private:
    bool fits(const Degrees& joints) const { return known() && joints.size() == joint_count(); }

    Degrees limits(const float* values) const
    {
        return Degrees(std::span<const float>(values, static_cast<size_t>(joint_count())));
    }

    std::vector<Degrees> all(const float (&found)[8][7], int count) const
    {
        std::vector<Degrees> solutions;
        for (int i = 0; i < count; ++i)
            solutions.push_back(limits(found[i]));
        return solutions;
    }

    ARM_MODEL arm_ = {};
};

} // namespace kx

#endif
