// SRDF: what motion planners want to know beside the URDF.
#include "description/arm.h"
#include "description/collisions.h"
#include "description/description.h"
#include "description/xml.h"

namespace kx::description {

std::string srdf(const Options& options)
{
    const auto links = links_of(options.model);
    if (links.empty()) return {};
    const auto named = [&](const std::string& name) { return options.prefix + name; };
    const std::string group = named("manipulator");
    Xml xml;
    {
        const auto robot = xml.open("robot", {{"name", robot_name(options)}});
        xml.empty("virtual_joint", {{"name", named("world-base_link")},
                                    {"type", "fixed"},
                                    {"parent_frame", "world"},
                                    {"child_link", named("base_link")}});
        {
            const auto chain = xml.open("group", {{"name", group}});
            xml.empty("chain", {{"base_link", named("base_link")}, {"tip_link", named("tool0")}});
        }
        for (const Posture& posture : postures_of(options.model)) {
            const auto state = xml.open("group_state", {{"name", posture.name}, {"group", group}});
            for (std::size_t i = 0; i < posture.joints.size(); ++i)
                xml.empty("joint", {{"name", named(joint_name(i + 1))}, {"value", text(posture.joints[i])}});
        }
        for (const auto& [first, second, reason] : excluded_pairs(options.model))
            xml.empty("disable_collisions",
                      {{"link1", named(first)}, {"link2", named(second)}, {"reason", reason}});
    }
    return xml.written();
}

} // namespace kx::description
