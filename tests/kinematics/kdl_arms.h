// The three arms as Orocos KDL chains, from the link tables; poses as KDL frames.
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
    const double first = std::atan2(side * r(1, 2), side * r(0, 2)), s = std::sin(first), c = std::cos(first);
    return {first, side * std::atan2(std::hypot(r(0, 2), r(1, 2)), r(2, 2)),
            std::atan2(c * r(1, 0) - s * r(0, 0), c * r(1, 1) - s * r(0, 1))};
}

inline KDL::Frame frame_by_euler(const KinPose& p)
{
    const auto& [position, quaternion, e] = p;
    return {KDL::Rotation::RPY(e.rx, e.ry, e.rz), {position.x, position.y, position.z}};
}

// The rounding of its length is taken off.
inline KDL::Frame frame_by_quaternion(const KinPose& p)
{
    const auto& [w, x, y, z] = p.quaternion;
    const double length = std::hypot(std::hypot<double>(w, x), std::hypot<double>(y, z));
    return {KDL::Rotation::Quaternion(x / length, y / length, z / length, w / length),
            {p.position.x, p.position.y, p.position.z}};
}

} // namespace kdl_arms
