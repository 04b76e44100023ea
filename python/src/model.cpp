// kx.Model: the kinematics, one pose at a time or in arrays.
#include "module.h"
#include "values.h"

namespace kx::python {

namespace {

using Degs = std::optional<Degrees>;
using Rads = std::optional<Radians>;

// A row of kx.Poses.
static_assert(sizeof(KinPose) == 10 * sizeof(float));

// Joint angles for as many joints as the arm has.
Degrees joints_of(const Model& model, const Degs& deg, const Rads& rad)
{
    const Degrees joints = angles(deg, rad);
    if (joints.size() != model.joint_count())
        throw py::value_error("the arm has " + std::to_string(model.joint_count()) + " joints");
    return joints;
}

// Rows of so many numbers each.
py::ssize_t rows_of(const Floats& array, int columns)
{
    if (array.ndim() != 2 || array.shape(1) != columns)
        throw py::value_error("an array of shape (n, " + std::to_string(columns) + ") is wanted");
    if (array.shape(0) > INT_MAX) throw py::value_error("too many rows");
    return array.shape(0);
}

py::array_t<float> poses(const Model& model, const Floats& joints, int threads)
{
    const py::ssize_t count = rows_of(joints, model.joint_count());
    py::array_t<float> poses({count, py::ssize_t(10)});
    auto* out = reinterpret_cast<KinPose*>(poses.mutable_data());
    waiting([&] { Arm_Model_Poses(&model.c(), static_cast<int>(count), joints.data(), out, threads); });
    return poses;
}

std::pair<py::array_t<float>, py::array_t<int>>
inverses(const Model& model, const Floats& targets, const Floats& references, double range_rad, int threads)
{
    const py::ssize_t count = rows_of(targets, 10), joints = model.joint_count();
    if (rows_of(references, model.joint_count()) != count)
        throw py::value_error("every target has a reference of its own");
    py::array_t<float> found({count, joints});
    py::array_t<int> codes(count);
    auto* const to = reinterpret_cast<const KinPose*>(targets.data());
    float* const results = found.mutable_data();
    int* const each = codes.mutable_data();
    waiting([&] {
        Arm_Model_Inverses(&model.c(), static_cast<int>(count), references.data(), to,
                           static_cast<float>(range_rad), results, each, threads);
    });
    return {found, codes};
}

py::array_t<float> rows(const std::vector<Degrees>& solutions, int joint_count)
{
    py::array_t<float> rows({py::ssize_t(solutions.size()), py::ssize_t(joint_count)});
    float* out = rows.mutable_data();
    for (const Degrees& joints : solutions)
        out = std::copy(joints.begin(), joints.end(), out);
    return rows;
}

py::array_t<double> jacobian(const Model& model, const Degrees& joints, ARM_FRAME frame)
{
    const auto full = model.jacobian(joints, frame);
    py::array_t<double> rows({py::ssize_t(6), py::ssize_t(model.joint_count())});
    double* out = rows.mutable_data();
    for (const auto& row : full)
        out = std::copy_n(row.begin(), model.joint_count(), out);
    return rows;
}

py::array_t<double> intervals(const std::vector<ARM_INTERVAL>& intervals)
{
    py::array_t<double> rows({py::ssize_t(intervals.size()), py::ssize_t(2)});
    std::copy_n(reinterpret_cast<const double*>(intervals.data()), 2 * intervals.size(), rows.mutable_data());
    return rows;
}

} // namespace

void bind_model(py::module_& m)
{
    Class<Model>(
        m, "Model",
        "An arm's kinematics: geometry, tool, installation, joint limits. Any number of threads may use one "
        "that nobody changes.")
        .def(py::init([](int number, int variant) {
                 const Model model(number, variant);
                 if (!model.known()) raise("Arm_Model_Init", KX_NOT_RUNNING, "");
                 return model;
             }),
             "model"_a, "variant"_a = 0,
             "The model is 36, 46 or 47, the variant the wrist-to-flange length: 0 plain, 1 or 2 a tool "
             "variant.")
        .def_property_readonly("joint_count", &Model::joint_count, "six or seven")
        .def("set_tool", &Model::set_tool, "tool"_a, "Sets the tool relative to the flange.")
        .def("set_installation", &Model::set_installation, "rx_rad"_a, "ry_rad"_a, "rz_rad"_a,
             "Sets how the base stands in the world: fixed-axis angles.")
        .def(
            "limit",
            [](Model& model, int joint, double lower, double upper) {
                if (!model.limit(joint, lower, upper))
                    throw py::value_error("limits of a joint lie within the arm's own");
            },
            "joint"_a, "lower_deg"_a, "upper_deg"_a, "Narrows the limits of a joint (from 1).")
        .def_property_readonly("lower_limits_deg", &Model::lower_limits, "the lower limits")
        .def_property_readonly("upper_limits_deg", &Model::upper_limits, "the upper limits")
        .def(
            "pose",
            [](const Model& model, const Degs& deg, const Rads& rad) {
                return *model.pose(joints_of(model, deg, rad));
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(), "The tool's pose.")
        .def(
            "inverse",
            [](const Model& model, const Pose& target, const Degs& deg, const Rads& rad, double range) {
                return model.inverse(target, joints_of(model, deg, rad), range);
            },
            "target"_a, py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(),
            "range_rad"_a = 4.0,
            "The joint angles within the limits that put the tool at a pose, nearest to those given. The "
            "range is how far "
            "the arm angle of seven joints may be from theirs.")
        .def(
            "solutions",
            [](const Model& model, const Pose& target) {
                return rows(model.solutions(target), model.joint_count());
            },
            "target"_a,
            "All joint angles of a six-joint arm, in degrees, that put the tool at a pose: up to eight rows.")
        .def(
            "solutions_at",
            [](const Model& model, const Pose& target, double angle) {
                return rows(model.solutions_at(target, angle), model.joint_count());
            },
            "target"_a, "arm_angle_rad"_a, "The same for seven joints at an arm angle.")
        .def(
            "arm_angle_rad",
            [](const Model& model, const Degs& deg, const Rads& rad) {
                return model.arm_angle_rad(joints_of(model, deg, rad));
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(),
            "The arm angle of seven joints; NaN for six.")
        .def(
            "arm_angles_rad",
            [](const Model& model, const Pose& target) { return intervals(model.arm_angles(target)); },
            "target"_a, "Arm angles at which seven joints reach a pose: rows of from, to.")
        .def(
            "jacobian",
            [](const Model& model, const Degs& deg, const Rads& rad, ARM_FRAME frame) {
                return jacobian(model, joints_of(model, deg, rad), frame);
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(), "frame"_a = ARM_WORLD,
            "The geometric Jacobian at the tool's origin: six rows, a column per joint; m/rad, then rad/rad.")
        .def(
            "dexterity",
            [](const Model& model, const Degs& deg, const Rads& rad) {
                return model.dexterity(joints_of(model, deg, rad));
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(),
            "How well the arm can move where it stands.")
        .def(
            "beyond_limits",
            [](const Model& model, const Degs& deg, const Rads& rad) {
                return model.beyond_limits(joints_of(model, deg, rad));
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(),
            "The first joint beyond its limits, from 1, or 0.")
        .def(
            "clearance_m",
            [](const Model& model, const Degs& deg, const Rads& rad) {
                return model.clearance_m(joints_of(model, deg, rad));
            },
            py::kw_only(), "joints_deg"_a = py::none(), "joints_rad"_a = py::none(),
            "The least distance between two bodies of the arm that are not neighbours; negative if they "
            "overlap.")
        .def("_poses", poses, "joints_deg"_a, "threads"_a)
        .def("_inverses", inverses, "targets"_a, "references_deg"_a, "range_rad"_a, "threads"_a);
}

} // namespace kx::python
