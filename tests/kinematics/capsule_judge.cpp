#include "kinematics/capsule_judge.h"

#include <fcl/narrowphase/distance.h>

double apart(const ARM_CAPSULE& a, const ARM_CAPSULE& b)
{
    const double thin = 1e-6;
    const auto axis = [thin](const ARM_CAPSULE& c) {
        const Eigen::Vector3d from(c.from.x, c.from.y, c.from.z), to(c.to.x, c.to.y, c.to.z), way = to - from;
        fcl::Transform3d place = fcl::Transform3d::Identity();
        place.translation() = (from + to) / 2;
        place.rotate(Eigen::Quaterniond::FromTwoVectors(Eigen::Vector3d::UnitZ(), way));
        return fcl::CollisionObjectd(std::make_shared<fcl::Capsuled>(thin, way.norm()), place);
    };
    const fcl::CollisionObjectd first = axis(a), second = axis(b);
    fcl::DistanceRequestd request;
    request.gjk_solver_type = fcl::GST_INDEP;
    fcl::DistanceResultd result;
    return std::max(fcl::distance(&first, &second, request, result), 0.0) - a.radius - b.radius;
}
