// The three arms as Orocos KDL chains, from the link tables; joint angles in radians, as the arm counts them.
// Poses as KDL frames.
#pragma once

#include "kx_base.h"

#include <kdl/chain.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>

namespace kdl_arms {

struct Link {
    double alpha, a, d, offset; // degrees, metres, metres, degrees added to the joint angle
};

constexpr double degree = M_PI / 180;

// Of the first joints, degrees; NaN if one of them is, so that no bound holds.
template <std::size_t size>
double greatest_difference(const std::array<float, size>& a, const std::array<float, size>& b,
                           std::size_t joints = size)
{
    double greatest = 0;
    for (std::size_t i = 0; i < joints; ++i) {
        const double difference = std::fabs(a[i] - b[i]);
        if (std::isnan(difference)) return difference;
        greatest = std::max(greatest, difference);
    }
    return greatest;
}

// RotX(alpha) TransX(a) RotZ(theta) TransZ(d) per link. KDL turns a joint first and then goes to the
// segment's tip, so a tip holds its own link's d and the next link's alpha and a: one segment per joint.
inline KDL::Chain modified(std::initializer_list<Link> links)
{
    using KDL::Frame, KDL::Rotation, KDL::Vector;
    KDL::Chain chain;
    for (const Link* link = links.begin(); link != links.end(); ++link) {
        Frame tip = Frame(Rotation::RotZ(link->offset * degree)) * Frame(Vector(0, 0, link->d));
        if (const Link* next = link + 1; next != links.end())
            tip = tip * Frame(Rotation::RotX(next->alpha * degree)) * Frame(Vector(next->a, 0, 0));
        chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ), tip));
    }
    return chain;
}

inline KDL::Chain standard(std::initializer_list<Link> links)
{
    KDL::Chain chain;
    for (const auto& [alpha, a, d, offset] : links)
        chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ),
                                      KDL::Frame::DH(a, alpha * degree, d, offset * degree)));
    return chain;
}

inline KDL::Chain arm(int model)
{
    switch (model) {
    case 36:
        return modified({{0, 0, 0.172, -90},
                         {90, 0.086, 0, 90},
                         {0, 0.38, -0.0102, 90},
                         {90, -0.069, 0.405, 0},
                         {-90, 0, 0, 180},
                         {-90, 0, 0.115, 90}});
    case 46:
        return modified({{0, 0, 0.2405, 0},
                         {90, 0, 0, 90},
                         {0, 0.256, 0, 90},
                         {90, 0, 0.21, 0},
                         {-90, 0, 0, 0},
                         {90, 0, 0.144, 0}});
    default:
        return standard({{-90, 0, 0.2405, 0},
                         {90, 0, 0, 0},
                         {-90, 0, 0.256, 0},
                         {90, 0, 0, 0},
                         {-90, 0, 0.21, 0},
                         {90, 0, 0, 0},
                         {0, 0, 0.144, 0}});
    }
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

} // namespace kdl_arms
