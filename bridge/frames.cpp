#include "frames.h"

#include <cmath>

#include <urdf_parser/urdf_parser.h>

namespace kx::bridge {

static TransformStamped transform(const Time& stamp, urdf::Joint& joint, double angle)
{
    const urdf::Pose& origin = joint.parent_to_joint_origin_transform;
    const double s = std::sin(angle / 2);
    const urdf::Rotation turn(s * joint.axis.x, s * joint.axis.y, s * joint.axis.z, std::cos(angle / 2));
    const urdf::Rotation rotation = origin.rotation * turn;
    return {{stamp, joint.parent_link_name.data()},
            joint.child_link_name.data(),
            {{origin.position.x, origin.position.y, origin.position.z},
             {rotation.x, rotation.y, rotation.z, rotation.w}}};
}

Frames::Frames(const std::string& description, const std::vector<std::string>& joints)
{
    const urdf::ModelInterfaceSharedPtr model = urdf::parseURDF(description);
    for (const auto& [name, joint] : model->joints_)
        if (joint->type == urdf::Joint::FIXED) fixed_.push_back(joint);
    for (const std::string& name : joints)
        moved_.push_back(model->joints_.at(name));
}

std::vector<TransformStamped> Frames::fixed(const Time& stamp) const
{
    std::vector<TransformStamped> transforms;
    for (const auto& joint : fixed_)
        transforms.push_back(transform(stamp, *joint, 0));
    return transforms;
}

std::vector<TransformStamped> Frames::moved(const Time& stamp, const Radians& joints) const
{
    std::vector<TransformStamped> transforms;
    for (size_t i = 0; i < moved_.size(); ++i)
        transforms.push_back(transform(stamp, *moved_[i], static_cast<double>(joints[static_cast<int>(i)])));
    return transforms;
}

} // namespace kx::bridge
