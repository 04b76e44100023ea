// The three arms as Orocos KDL chains, from the link tables, and their limits; poses as KDL frames.
#pragma once

#include "kx_base.h"

#include <kdl/chainfksolverpos_recursive.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace kdl_arms {

using Joints = std::array<float, 7>; // degrees

struct Link {
    double alpha, a, d, offset; // degrees, metres, metres, degrees added to the joint angle
};

constexpr double degree = M_PI / 180;

inline double greatest_difference(const Joints& a, const Joints& b) // NaN if one is, so that no bound holds
{
    double greatest = 0;
    for (int i = 0; i < 7; ++i)
        if (const double difference = std::fabs(a[i] - b[i]);
            !(difference <= greatest || std::isnan(greatest)))
            greatest = difference;
    return greatest;
}

inline std::vector<Link> links(int model)
{
    return model == 36 ? std::vector<Link>{{0, 0, 0.172, -90},     {90, 0.086, 0, 90}, {0, 0.38, -0.0102, 90},
                                           {90, -0.069, 0.405, 0}, {-90, 0, 0, 180},   {-90, 0, 0.115, 90}}
           : model == 46
               ? std::vector<Link>{{0, 0, 0.2405, 0}, {90, 0, 0, 90}, {0, 0.256, 0, 90},
                                   {90, 0, 0.21, 0},  {-90, 0, 0, 0}, {90, 0, 0.144, 0}}
               : std::vector<Link>{{-90, 0, 0.2405, 0}, {90, 0, 0, 0}, {-90, 0, 0.256, 0}, {90, 0, 0, 0},
                                   {-90, 0, 0.21, 0},   {90, 0, 0, 0}, {0, 0, 0.144, 0}};
}

// Six joints: RotX(alpha) TransX(a) RotZ(theta) TransZ(d) per link. KDL turns a joint first and then goes to the
// segment's tip, so a tip holds its own link's d and the next link's alpha and a: one segment per joint.
inline KDL::Chain arm(int model)
{
    using KDL::Frame, KDL::Rotation, KDL::Vector;
    KDL::Chain chain;
    const std::vector<Link> all = links(model);
    for (auto link = all.begin(); link != all.end(); ++link) {
        const auto& [alpha, a, d, offset] = *link;
        Frame tip = Frame::DH(a, alpha * degree, d, offset * degree);
        if (model != 47) {
            tip = Frame(Rotation::RotZ(offset * degree), Vector(0, 0, d));
            if (const auto next = link + 1; next != all.end())
                tip = tip * Frame(Rotation::RotX(next->alpha * degree)) * Frame(Vector(next->a, 0, 0));
        }
        chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ), tip));
    }
    return chain;
}

template <typename Number>
KDL::JntArray radians(int model, const Number* degrees)
{
    KDL::JntArray r(model == 47 ? 7 : 6);
    for (unsigned i = 0; i < r.rows(); ++i)
        r(i) = degrees[i] * degree;
    return r;
}

// The flange, of joint angles in degrees.
template <typename Number>
KDL::Frame forward(int model, const Number* joint)
{
    static const KDL::Chain chains[] = {arm(36), arm(46), arm(47)};
    KDL::Frame flange;
    KDL::ChainFkSolverPos_recursive(chains[model == 36 ? 0 : model - 45])
        .JntToCart(radians(model, joint), flange);
    return flange;
}

// The angles of three joints that turn about z, y and z of a ball, in one of their two ways.
struct Ball {
    double first, middle, last;
};

inline Ball ball(const KDL::Rotation& r, double side)
{
    if (std::hypot(r(0, 2), r(1, 2)) < 1e-12) // straight or folded: the rest is rounding
        return {std::atan2(r(2, 2) * r(1, 0), r(2, 2) * r(0, 0)), r(2, 2) > 0 ? 0 : side * M_PI, 0};
    return {std::atan2(side * r(1, 2), side * r(0, 2)),
            side * std::atan2(std::hypot(r(0, 2), r(1, 2)), r(2, 2)),
            std::atan2(side * r(2, 1), -side * r(2, 0))};
}

using Limits = std::vector<std::array<float, 2>>; // of each joint

inline Limits limits(int model) // degrees
{
    return model == 36 ? Limits{{-180, 180}, {-180, 180}, {-150, 165}, {-180, 180}, {-180, 180}, {-360, 360}}
           : model == 46
               ? Limits{{-180, 180}, {-130, 130}, {-135, 135}, {-180, 180}, {-128, 128}, {-360, 360}}
               : Limits{{-180, 180}, {-130, 130}, {-180, 180}, {-135, 135},
                        {-180, 180}, {-128, 128}, {-360, 360}};
}

// Radians, of the chain's angles, which count from other zeros. Model 36's third lets its joint down to -149.4
// degrees only.
inline Limits chain_limits(int model)
{
    return model == 36
               ? Limits{{-4.712389f, 1.5707964f},  {-1.5707964f, 4.712389f}, {-1.0367255f, 4.4516368f},
                        {-3.1415927f, 3.1415927f}, {0, 6.2831855f},          {-4.712389f, 7.8539815f}}
           : model == 46 ? Limits{{-3.14159f, 3.14159f}, {-0.697433f, 3.839023f},   {-0.7853975f, 3.9269876f},
                                  {-3.14159f, 3.14159f}, {-2.2336707f, 2.2336707f}, {-6.28318f, 6.28318f}}
                         : Limits{{-3.14159f, 3.14159f},    {-2.2689f, 2.2689f},   {-3.14159f, 3.14159f},
                                  {-2.3562f, 2.3562f},      {-3.14159f, 3.14159f}, {-2.234f, 2.234f},
                                  {-6.2831855f, 6.2831855f}};
}

inline KDL::Frame frame_by_euler(const KinPose& p)
{
    const auto& [position, quaternion, e] = p;
    return {KDL::Rotation::RPY(e.rx, e.ry, e.rz), {position.x, position.y, position.z}};
}

inline KDL::Frame frame_by_quaternion(const KinPose& p)
{
    const auto& [position, q, euler] = p;
    return {KDL::Rotation::Quaternion(q.x, q.y, q.z, q.w), {position.x, position.y, position.z}};
}

// By a quaternion whose rounding is taken off.
inline KDL::Frame exact_frame(KinPose p)
{
    auto& [w, x, y, z] = p.quaternion;
    const double length = std::hypot(std::hypot<double>(w, x), std::hypot<double>(y, z));
    return {KDL::Rotation::Quaternion(x / length, y / length, z / length, w / length),
            {p.position.x, p.position.y, p.position.z}};
}

} // namespace kdl_arms
