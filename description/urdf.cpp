// URDF. The base's link has no inertia, as solvers of chains want it; the pedestal, which has, is a link of its own.
#include "description/arm.h"
#include "description/description.h"
#include "description/mesh.h"
#include "description/xml.h"

namespace kx::description {

namespace {

class Writer {
  public:
    explicit Writer(const Options& options) : options_(options), links_(links_of(options.model)) {}

    std::string write()
    {
        if (links_.empty()) return {};
        {
            const auto robot = xml_.open("robot", {{"name", robot_name(options_)}});
            xml_.comment(estimates);
            for (const auto& [name, rgba] : materials) {
                const auto material = xml_.open("material", {{"name", named(name)}});
                xml_.empty("color", {{"rgba", rgba}});
            }
            xml_.empty("link", {{"name", named("base_link")}});
            frame("base", "base_link");
            std::string before = "base_link";
            for (std::size_t i = 0; i < links_.size(); ++i) {
                link(links_[i]);
                joint(i, before);
                before = links_[i].name;
            }
            // x out of the flange; of the tool's frame z
            frame("flange", before, KDL::Rotation::RPY(0, -M_PI / 2, -M_PI / 2));
            frame("tool0", "flange", KDL::Rotation::RPY(M_PI / 2, 0, M_PI / 2));
        }
        return xml_.written();
    }

  private:
    std::string named(const std::string& name) const { return options_.prefix + name; }

    void origin(const KDL::Frame& frame)
    {
        double roll, pitch, yaw;
        frame.M.GetRPY(roll, pitch, yaw);
        xml_.empty("origin", {{"xyz", text(frame.p)}, {"rpy", texts({roll, pitch, yaw})}});
    }

    void between(const std::string& parent, const std::string& child)
    {
        xml_.empty("parent", {{"link", named(parent)}});
        xml_.empty("child", {{"link", named(child)}});
    }

    /** A link that is a frame only. */
    void frame(const std::string& name, const std::string& parent, const KDL::Rotation& turn = {})
    {
        xml_.empty("link", {{"name", named(name)}});
        const auto joint = xml_.open("joint", {{"name", named(parent + "-" + name)}, {"type", "fixed"}});
        between(parent, name);
        origin(KDL::Frame(turn));
    }

    void joint(std::size_t number, const std::string& parent)
    {
        const Link& link = links_[number];
        const auto joint =
            link.joint ? xml_.open("joint", {{"name", named(joint_name(number))}, {"type", "revolute"}})
                       : xml_.open("joint", {{"name", named(parent + "-" + link.name)}, {"type", "fixed"}});
        between(parent, link.name);
        origin(link.origin);
        if (!link.joint) return;
        xml_.empty("axis", {{"xyz", "0 0 1"}});
        xml_.empty("limit", {{"lower", text(link.joint->lower)},
                             {"upper", text(link.joint->upper)},
                             {"velocity", text(link.joint->velocity)},
                             {"effort", text(link.joint->effort)}});
    }

    void link(const Link& link)
    {
        const auto element = xml_.open("link", {{"name", named(link.name)}});
        inertial(link);
        visuals(link);
        for (const Capsule& capsule : link.capsules) {
            const bool is_ball = capsule.from == capsule.to;
            collision([&] { sphere(capsule.from, capsule.radius); });
            if (is_ball) continue;
            collision([&] { sphere(capsule.to, capsule.radius); });
            collision([&] { cylinder(capsule.from, capsule.to, capsule.radius); });
        }
    }

    void visuals(const Link& link)
    {
        if (!options_.meshes.empty())
            for (const ARM_SURFACE surface : surfaces_of(link))
                visual(surface, [&] {
                    const auto geometry = xml_.open("geometry");
                    xml_.empty("mesh", {{"filename",
                                         options_.meshes + "/" + mesh_path(options_.model, link, surface)}});
                });
        else
            for (const Body& body : link.bodies)
                visual(body.surface, [&] {
                    body.is_ball() ? sphere(body.from, body.radius())
                                   : cylinder(body.from, body.to, body.radius());
                });
    }

    void visual(ARM_SURFACE surface, const auto& shape)
    {
        const auto visual = xml_.open("visual");
        shape();
        xml_.empty("material", {{"name", named(name_of(surface))}});
    }

    void collision(const auto& shape)
    {
        const auto collision = xml_.open("collision");
        shape();
    }

    void inertial(const Link& link)
    {
        const auto& i = link.inertia.data; // row by row
        const auto element = xml_.open("inertial");
        origin(KDL::Frame(link.centre));
        xml_.empty("mass", {{"value", text(link.mass)}});
        xml_.empty("inertia", {{"ixx", text(i[0])},
                               {"ixy", text(i[1])},
                               {"ixz", text(i[2])},
                               {"iyy", text(i[4])},
                               {"iyz", text(i[5])},
                               {"izz", text(i[8])}});
    }

    void sphere(const KDL::Vector& centre, double radius)
    {
        origin(KDL::Frame(centre));
        const auto geometry = xml_.open("geometry");
        xml_.empty("sphere", {{"radius", text(radius)}});
    }

    void cylinder(const KDL::Vector& from, const KDL::Vector& to, double radius)
    {
        const KDL::Vector way = to - from;
        origin({along(way), (from + to) / 2});
        const auto geometry = xml_.open("geometry");
        xml_.empty("cylinder", {{"radius", text(radius)}, {"length", text(way.Norm())}});
    }

    const Options& options_;
    const std::vector<Link> links_;
    Xml xml_;
};

} // namespace

std::string urdf(const Options& options)
{
    return Writer(options).write();
}

} // namespace kx::description
