#include "description/mesh.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "description/description.h"

namespace kx::description {

namespace {

constexpr int around = 48, from_pole_to_pole = 24; // triangles

static_assert(std::endian::native == std::endian::little, "as the format wants it");

class Stl {
  public:
    std::string bytes() const
    {
        std::string result(80, ' ');
        append(result, count_);
        return result + triangles_;
    }

    /** Turned by steps about an axis, from a line of points beside it to the next; each is given by its place along the
     *  axis and its distance from it. */
    void turn(const KDL::Frame& axis, const std::vector<std::pair<double, double>>& line)
    {
        const auto point = [&](const std::pair<double, double>& place, int step) {
            const double angle = 2 * M_PI * (step % around) / around;
            return axis *
                   KDL::Vector(place.second * std::cos(angle), place.second * std::sin(angle), place.first);
        };
        for (std::size_t i = 1; i < line.size(); ++i)
            for (int step = 0; step < around; ++step) {
                const auto &low = line[i - 1], &high = line[i];
                if (low.second > 0) triangle(point(low, step), point(low, step + 1), point(high, step));
                if (high.second > 0) triangle(point(high, step), point(low, step + 1), point(high, step + 1));
            }
    }

  private:
    template <typename Number>
    static void append(std::string& bytes, Number number)
    {
        char raw[sizeof number];
        std::memcpy(raw, &number, sizeof number);
        bytes.append(raw, sizeof number);
    }

    void triangle(const KDL::Vector& a, const KDL::Vector& b, const KDL::Vector& c)
    {
        KDL::Vector normal = (b - a) * (c - a); // their cross product
        normal.Normalize();
        for (const KDL::Vector& v : {normal, a, b, c})
            for (const double x : v.data)
                append(triangles_, static_cast<float>(x));
        append(triangles_, std::uint16_t{0});
        ++count_;
    }

    std::uint32_t count_ = 0;
    std::string triangles_;
};

} // namespace

std::string mesh_path(int model, const Link& link, ARM_SURFACE surface)
{
    return std::to_string(model) + "/" + link.name + "_" + name_of(surface) + ".stl";
}

std::vector<ARM_SURFACE> surfaces_of(const Link& link)
{
    std::vector<ARM_SURFACE> surfaces;
    for (const Body& body : link.bodies)
        if (std::find(surfaces.begin(), surfaces.end(), body.surface) == surfaces.end())
            surfaces.push_back(body.surface);
    return surfaces;
}

std::string stl(const Link& link, ARM_SURFACE surface)
{
    Stl mesh;
    for (const Body& body : link.bodies) {
        if (body.surface != surface) continue;
        std::vector<std::pair<double, double>> line;
        if (body.is_ball()) {
            for (int i = 0; i <= from_pole_to_pole; ++i) {
                const double angle = M_PI * i / from_pole_to_pole;
                const bool is_pole = i == 0 || i == from_pole_to_pole;
                line.emplace_back(-body.radius() * std::cos(angle),
                                  is_pole ? 0 : body.radius() * std::sin(angle));
            }
        } else {
            const double length = (body.to - body.from).Norm();
            line = {{0, 0}, {0, body.from_radius}, {length, body.to_radius}, {length, 0}};
        }
        mesh.turn({along(body.to - body.from), body.from}, line);
    }
    return mesh.bytes();
}

std::vector<File> meshes(int model)
{
    std::vector<File> files;
    for (const Link& link : links_of(model))
        for (const ARM_SURFACE surface : surfaces_of(link))
            files.push_back({mesh_path(model, link, surface), stl(link, surface)});
    return files;
}

} // namespace kx::description
