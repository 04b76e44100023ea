/**
 * @file
 * What kx::Arm takes and gives: joint angles that know their unit, poses, states. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_VALUES_HPP
#define KX_ARM_VALUES_HPP

#include "kx_base.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <initializer_list>
#include <numbers>
#include <span>
#include <string>

namespace kx {

/** A number for each joint of an arm: six or seven. */
template <class T>
class PerJoint {
  public:
    /** None. */
    constexpr PerJoint() = default;

    /** Copies up to seven; of more than seven none is taken, so that no arm accepts them. */
    constexpr PerJoint(std::span<const T> values)
        : size_(values.size() <= 7 ? static_cast<int>(values.size()) : 0)
    {
        for (int i = 0; i < size_; ++i)
            values_[static_cast<size_t>(i)] = values[static_cast<size_t>(i)];
    }

    /** The same of numbers that may change. */
    constexpr PerJoint(std::span<T> values) : PerJoint(std::span<const T>(values)) {}

    /** The numbers as written. */
    constexpr PerJoint(std::initializer_list<T> values)
        : PerJoint(std::span<const T>(values.begin(), values.size()))
    {
    }

    /** The numbers of an array. */
    template <size_t count>
    constexpr PerJoint(const std::array<T, count>& values) : PerJoint(std::span<const T>(values))
    {
    }

    constexpr int size() const { return size_; }   /**< how many: 6 or 7 */
    constexpr T* data() { return values_.data(); } /**< room for seven */
    constexpr const T* data() const
    {
        return values_.data();
    }                                                   /**< the numbers; behind them zeros, up to seven */
    constexpr T* begin() { return data(); }             /**< the first */
    constexpr T* end() { return data() + size_; }       /**< behind the last */
    constexpr const T* begin() const { return data(); } /**< the first */
    constexpr const T* end() const { return data() + size_; }        /**< behind the last */
    constexpr T& operator[](int i) { return data()[i]; }             /**< one of them, counted from 0 */
    constexpr const T& operator[](int i) const { return data()[i]; } /**< one of them, counted from 0 */

    /** Whether all are the same. */
    friend constexpr bool operator==(const PerJoint& a, const PerJoint& b)
    {
        return std::ranges::equal(a, b);
    }

  private:
    std::array<T, 7> values_ = {};
    int size_ = 0;
};

class Radians;

/** Joint angles in degrees: `Degrees{30, -20, 45, 0, 50, 0}`. What every command takes; Radians turn into them. */
class Degrees : public PerJoint<float> {
  public:
    using PerJoint::PerJoint;

    /** The same angles. */
    Degrees(const Radians& angles);
};

/** Joint angles in radians. */
class Radians : public PerJoint<float> {
  public:
    using PerJoint::PerJoint;

    /** The same angles. */
    Radians(const Degrees& angles) : PerJoint(std::span<const float>(angles))
    {
        for (float& angle : *this)
            angle = static_cast<float>(angle * std::numbers::pi / 180);
    }
};

inline Degrees::Degrees(const Radians& angles) : PerJoint(std::span<const float>(angles))
{
    for (float& angle : *this)
        angle = static_cast<float>(angle * 180 / std::numbers::pi);
}

/** Where a tool is, or a frame: position in metres, then the angles of Rz(rz) Ry(ry) Rx(rx) in radians. */
struct Pose {
    float x = 0;  /**< m */
    float y = 0;  /**< m */
    float z = 0;  /**< m */
    float rx = 0; /**< rad */
    float ry = 0; /**< rad */
    float rz = 0; /**< rad */

    /** A pose of metres and radians. */
    static constexpr Pose m_rad(double x, double y, double z, double rx = 0, double ry = 0, double rz = 0)
    {
        return {static_cast<float>(x),  static_cast<float>(y),  static_cast<float>(z),
                static_cast<float>(rx), static_cast<float>(ry), static_cast<float>(rz)};
    }

    /** A pose of millimetres and degrees. */
    static constexpr Pose mm_deg(double x, double y, double z, double rx = 0, double ry = 0, double rz = 0)
    {
        constexpr double degree = std::numbers::pi / 180;
        return m_rad(x / 1000, y / 1000, z / 1000, rx * degree, ry * degree, rz * degree);
    }

    /** The pose of a record of the C functions. */
    static constexpr Pose of(const POSE& pose) { return {pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz}; }

    /** The pose of a record of the kinematics: its Euler angles count. */
    static constexpr Pose of(const KinPose& pose)
    {
        return {pose.position.x, pose.position.y, pose.position.z,
                pose.euler.rx,   pose.euler.ry,   pose.euler.rz};
    }

    /** As the C functions take it. */
    constexpr operator POSE() const { return {x, y, z, rx, ry, rz}; }

    /** As the kinematics takes it, with its quaternion. */
    KinPose kinematic() const { return {{x, y, z}, euler2quaternion(rx, ry, rz), {rx, ry, rz}}; }

    /** A pose given in the axes of this one, in the axes in which this one is given. `pick * Pose::mm_deg(0, 0, -100)`
     *  stands 100 mm behind `pick` along its own z axis. */
    Pose operator*(const Pose& inner) const
    {
        return of(matrix2pos(matrix_m(pos2matrix(kinematic()), pos2matrix(inner.kinematic()))));
    }

    /** The pose that undoes this one: `pose.inverse() * pose` is none. */
    Pose inverse() const { return of(matrix2pos(matrix_inv(pos2matrix(kinematic())))); }

    /** Whether all numbers are the same. */
    friend constexpr bool operator==(const Pose&, const Pose&) = default;
};

/** When something happened: the monotonic clock. */
using Time = std::chrono::steady_clock::time_point;

namespace detail {

/** As the C functions take a time: whole milliseconds from 0 to what fits. */
inline int milliseconds(std::chrono::milliseconds time)
{
    return static_cast<int>(std::clamp<int64_t>(time.count(), 0, INT_MAX));
}

} // namespace detail

/** What an arm does at a moment. */
struct State {
    Degrees joints;           /**< joint angles */
    Pose pose{};              /**< the tool in the active frames */
    int arm_error = 0;        /**< error code of the arm, 0 when healthy */
    int controller_error = 0; /**< error code of the controller, 0 when healthy */
    Time asked = {};          /**< when the question left; set for subscribed states, otherwise zero */
    Time answered = {};       /**< when the answer had come, likewise; the state is from between the two */
    int status = KX_SUCCESS;  /**< of a subscribed state: why there is nothing in it */

    /** Whether there are no errors. */
    bool healthy() const { return status == KX_SUCCESS && arm_error == 0 && controller_error == 0; }
};

/** What the joints report besides their angles. */
struct JointHealth {
    PerJoint<float> temperature_celsius; /**< degrees Celsius */
    PerJoint<float> voltage_volt;        /**< V */
    PerJoint<float> current_ampere;      /**< A */
    PerJoint<int> error;                 /**< error code, 0 when healthy */
    int controller_error = 0;            /**< error code of the controller, 0 when healthy */
};

/** What the controller pushes while targets are streamed. */
struct Push {
    int type = 0;       /**< 1 joint targets, 2 pose targets, 3 force-position */
    int result = 0;     /**< 0, or another number when the target was refused and there is no state in it */
    Degrees joints;     /**< joint angles */
    Pose pose{};        /**< the tool, zeros where the push had none */
    Time received = {}; /**< when it reached the queue or the callback */
};

/** How fast, and how round the corner to the next motion. */
struct Pace {
    int speed_percent = 20; /**< of the arm's limits, 1 to 100 */
    float blend_m = 0;      /**< blend radius into the motion that follows, m, 0 or more */
};

/** A named frame stored by the controller. */
struct Frame {
    std::string name{};   /**< at most 9 characters */
    Pose pose{};          /**< relative to the flange (tool) or to the base (work) */
    float payload_kg = 0; /**< mass carried, read back without its fraction; of tool frames only */
    std::array<float, 3> centre_m = {}; /**< its centre of mass; of tool frames only */
};

/** An axis of the active frames. */
enum class Axis { x = 0, y = 1, z = 2 };

} // namespace kx

#endif
