#include "description/arm.h"

#include <cmath>

#include <kdl/rigidbodyinertia.hpp>

namespace kx::description {

namespace {

constexpr double radians = M_PI / 180;
// Nobody has weighed the arms. Castings, drives and gears, with the air between them, weigh about as much as water, in
// kg/m^3; the drives are taken to hold the stretched arm with a payload, and to have as much again for moving it.
constexpr double density = 1000, payload = 5, payload_off_flange = 0.1, reserve = 2, gravity = 9.81;

double rounded(double value, double steps)
{
    return std::round(value * steps) / steps;
}

/** Lengths as they are meant, in whole micrometres: single precision leaves some dust. */
double cleaned(double length)
{
    return rounded(length, 1e6);
}

KDL::Vector cleaned(const KDL::Vector& v)
{
    return {cleaned(v.x()), cleaned(v.y()), cleaned(v.z())};
}

/** Axes of neighbours are parallel or square to each other. */
KDL::Rotation squared(KDL::Rotation r)
{
    for (double& x : r.data)
        x = std::round(x);
    return r;
}

KDL::Frame frame(const Matrix& m)
{
    const auto& d = m.data;
    return {{d[0][0], d[0][1], d[0][2], d[1][0], d[1][1], d[1][2], d[2][0], d[2][1], d[2][2]},
            {d[0][3], d[1][3], d[2][3]}};
}

KDL::Vector vector(const Position& p)
{
    return {p.x, p.y, p.z};
}

/** Of a cylinder of the density; balls lie in the ends of others. */
KDL::RigidBodyInertia inertia_of(const Body& body)
{
    if (body.is_ball()) return KDL::RigidBodyInertia::Zero();
    KDL::Vector d = body.to - body.from;
    const double length = d.Normalize(), square = body.radius() * body.radius();
    const double mass = density * M_PI * square * length;
    const double about_axis = mass * square / 2, across = mass * (3 * square + length * length) / 12;
    const double more = about_axis - across;
    const KDL::RotationalInertia about_centre(across + more * d.x() * d.x(), across + more * d.y() * d.y(),
                                              across + more * d.z() * d.z(), more * d.x() * d.y(),
                                              more * d.x() * d.z(), more * d.y() * d.z());
    return KDL::RigidBodyInertia(mass, (body.from + body.to) / 2, about_centre);
}

void estimate_mass(Link& link)
{
    KDL::RigidBodyInertia sum = KDL::RigidBodyInertia::Zero();
    for (const Body& body : link.bodies)
        sum = sum + inertia_of(body);
    link.mass = rounded(sum.getMass(), 1e3);
    link.centre = cleaned(sum.getCOG());
    link.inertia = sum.RefPoint(sum.getCOG()).getRotationalInertia();
    for (double& x : link.inertia.data)
        x = rounded(x, 1e6);
}

/** From each joint on, the arm is stretched and lies level, with the payload at its end. */
void estimate_efforts(std::vector<Link>& links)
{
    double mass = payload, moment = payload * payload_off_flange; // of what is beyond the joint
    for (auto link = links.rbegin(); link != links.rend() && link->joint; ++link) {
        mass += link->mass;
        moment += link->mass * link->centre.Norm();
        link->joint->effort = std::ceil(reserve * gravity * moment);
        moment += mass * link->origin.p.Norm();
    }
}

} // namespace

std::vector<Link> links_of(int model)
{
    ARM_MODEL arm;
    if (Arm_Model_Init(&arm, model, 0) != KX_SUCCESS) return {};
    KX_STREAM_OPTIONS stream; // whose limits of velocity are the joints'
    KX_Stream_Defaults(&stream);
    const float zero[7] = {};
    Matrix frames[7];
    Arm_Model_Links(&arm, zero, frames);

    std::vector<Link> links(1 + static_cast<std::size_t>(arm.joints));
    std::vector<KDL::Frame> rest(links.size()); // in the base
    links[0].name = "link_0";
    for (std::size_t i = 1; i < links.size(); ++i) {
        rest[i] = frame(frames[i - 1]);
        const KDL::Frame origin = rest[i - 1].Inverse() * rest[i];
        links[i].name = "link_" + std::to_string(i);
        links[i].origin = {squared(origin.M), cleaned(origin.p)};
        links[i].joint = {arm.lower[i - 1] * radians, arm.upper[i - 1] * radians,
                          stream.velocity[i - 1] * radians, 0};
    }

    ARM_BODY bodies[ARM_BODIES];
    for (int i = 0, count = Arm_Model_Bodies(&arm, zero, bodies); i < count; ++i) {
        const auto& [link, surface, from, to, from_radius, to_radius] = bodies[i];
        const KDL::Frame own = rest[static_cast<std::size_t>(link)].Inverse();
        links[static_cast<std::size_t>(link)].bodies.push_back({surface, cleaned(own * vector(from)),
                                                                cleaned(own * vector(to)),
                                                                cleaned(from_radius), cleaned(to_radius)});
    }
    ARM_CAPSULE capsules[ARM_CAPSULES];
    for (int i = 0, count = Arm_Model_Capsules(&arm, zero, capsules); i < count; ++i) {
        const auto& [link, from, to, radius] = capsules[i];
        const KDL::Frame own = rest[static_cast<std::size_t>(link)].Inverse();
        links[static_cast<std::size_t>(link)].capsules.push_back(
            {cleaned(own * vector(from)), cleaned(own * vector(to)), cleaned(radius)});
    }
    for (Link& link : links)
        estimate_mass(link);
    estimate_efforts(links);
    return links;
}

std::vector<Posture> postures_of(int model)
{
    const std::size_t joints = model == 47 ? 7 : 6;
    Posture ready{"ready", model == 36 ? std::vector<double>{90, -30, -60, 0, -90, 0}
                           : model == 46
                               ? std::vector<double>{0, -30, -60, 0, -90, 0}
                               : std::vector<double>{0, 30, 0, 60, 0, 90, 0}}; // before the base, tool down
    for (double& angle : ready.joints)
        angle *= radians;
    return {{"home", std::vector<double>(joints)}, ready};
}

bool is_prefix(const std::string& text)
{
    const auto is_letter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    };
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    for (const char& c : text)
        if (!is_letter(c) && (!is_digit(c) || &c == text.data())) return false;
    return true;
}

std::string robot_name(const Options& options)
{
    return options.prefix + "kx_" + std::to_string(options.model);
}

std::string joint_name(std::size_t number)
{
    return "joint_" + std::to_string(number);
}

KDL::Rotation along(const KDL::Vector& direction)
{
    const KDL::Vector across = KDL::Vector(0, 0, 1) * direction; // their cross product
    return KDL::Rotation::Rot(across, std::atan2(across.Norm(), direction.z()));
}

} // namespace kx::description
