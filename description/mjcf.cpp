// MJCF, the language of MuJoCo: the arm with drives that hold it where they are told.
#include "description/arm.h"
#include "description/collisions.h"
#include "description/description.h"
#include "description/xml.h"

namespace kx::description {

namespace {

// In proportion to the effort. The stretched arm with its payload, which takes half the effort, hangs 0.005 rad below
// where it should be, and swings out within a fraction of a second.
constexpr double stiffness = 100, damping = 3, armature = 0.005;

class Writer {
  public:
    explicit Writer(const Options& options) : options_(options), links_(links_of(options.model)) {}

    std::string write()
    {
        if (links_.empty()) return {};
        {
            const auto mujoco = xml_.open("mujoco", {{"model", robot_name(options_)}});
            xml_.comment(estimates);
            xml_.empty("compiler", {{"angle", "radian"}, {"inertiafromgeom", "false"}});
            xml_.empty("option", {{"integrator", "implicit"}});
            defaults();
            {
                const auto asset = xml_.open("asset");
                for (const auto& [name, rgba] : materials)
                    xml_.empty("material", {{"name", named(name)}, {"rgba", rgba}});
            }
            {
                const auto world = xml_.open("worldbody");
                body(0);
            }
            {
                const auto contact = xml_.open("contact");
                for (const auto& [first, second, reason] : excluded_pairs(options_.model))
                    xml_.empty("exclude", {{"body1", named(first)}, {"body2", named(second)}});
            }
            drives();
            const auto keyframe = xml_.open("keyframe");
            for (const Posture& posture : postures_of(options_.model))
                xml_.empty("key", {{"name", named(posture.name)},
                                   {"qpos", texts(posture.joints)},
                                   {"ctrl", texts(posture.joints)}});
        }
        return xml_.written();
    }

  private:
    std::string named(const std::string& name) const { return options_.prefix + name; }

    void defaults()
    {
        const auto all = xml_.open("default");
        {
            const auto visual = xml_.open("default", {{"class", named("visual")}});
            xml_.empty("geom", {{"contype", "0"}, {"conaffinity", "0"}, {"group", "2"}});
        }
        const auto collision = xml_.open("default", {{"class", named("collision")}});
        xml_.empty("geom", {{"group", "3"}});
    }

    /** With all links beyond it. */
    void body(std::size_t number)
    {
        const Link& link = links_[number];
        double x, y, z, w;
        link.origin.M.GetQuaternion(x, y, z, w);
        const auto body = xml_.open(
            "body",
            {{"name", named(link.name)}, {"pos", text(link.origin.p)}, {"quat", texts({w, x, y, z})}});
        const auto& i = link.inertia.data;
        xml_.empty("inertial", {{"pos", text(link.centre)},
                                {"mass", text(link.mass)},
                                {"fullinertia", texts({i[0], i[4], i[8], i[1], i[2], i[5]})}});
        if (link.joint)
            xml_.empty("joint", {{"name", named(joint_name(number))},
                                 {"axis", "0 0 1"},
                                 {"limited", "true"},
                                 {"range", texts({link.joint->lower, link.joint->upper})},
                                 {"armature", text(armature * link.joint->effort)}});
        for (const Body& shape : link.bodies) {
            const std::string material = named(name_of(shape.surface));
            geom(named("visual"), "cylinder", shape.from, shape.to, shape.radius(), {{"material", material}});
        }
        for (const auto& [from, to, radius] : link.capsules)
            geom(named("collision"), "capsule", from, to, radius);
        if (number + 1 < links_.size())
            this->body(number + 1);
        else
            xml_.empty("site", {{"name", named("tool0")}});
    }

    /** A ball where both ends are one point. */
    void geom(const std::string& class_name, const char* type, const KDL::Vector& from, const KDL::Vector& to,
              double radius, const Xml::Attributes& more = {})
    {
        Xml::Attributes attributes = {{"class", class_name}, {"size", text(radius)}};
        if (from == to)
            attributes.insert(attributes.end(), {{"type", "sphere"}, {"pos", text(from)}});
        else
            attributes.insert(attributes.end(), {{"type", type}, {"fromto", text(from) + " " + text(to)}});
        attributes.insert(attributes.end(), more.begin(), more.end());
        xml_.empty("geom", attributes);
    }

    void drives()
    {
        const auto actuator = xml_.open("actuator");
        for (std::size_t number = 1; number < links_.size(); ++number) {
            const Joint& joint = *links_[number].joint;
            const double kp = stiffness * joint.effort, kv = damping * joint.effort;
            xml_.empty("general", {{"name", named(joint_name(number))},
                                   {"joint", named(joint_name(number))},
                                   {"ctrllimited", "true"},
                                   {"ctrlrange", texts({joint.lower, joint.upper})},
                                   {"forcelimited", "true"},
                                   {"forcerange", texts({-joint.effort, joint.effort})},
                                   {"biastype", "affine"},
                                   {"gainprm", text(kp)},
                                   {"biasprm", texts({0, -kp, -kv})}});
        }
    }

    const Options& options_;
    const std::vector<Link> links_;
    Xml xml_;
};

} // namespace

std::string mjcf(const Options& options)
{
    return Writer(options).write();
}

} // namespace kx::description
