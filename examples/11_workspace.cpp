// The workspace in the plane in which the arm stands, coloured by how well the arm can move there: the best
// manipulability of all ways in which it reaches a place. Writes a picture. Needs no controller.
//
//     11_workspace MODEL PICTURE.svg
#include "kx/arm.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

constexpr double cell = 0.02; // m
constexpr int shades = 10;

int main(int argc, char** argv)
{
    const kx::Model arm(argc < 3 ? 0 : atoi(argv[1]));
    if (!arm.known()) {
        fprintf(stderr, "usage: 11_workspace 36|46|47 PICTURE.svg\n");
        return 2;
    }
    // Shoulder, elbow and wrist bend in the plane; the other joints stand.
    const std::array<int, 3> bending = arm.joint_count() == 6 ? std::array{1, 2, 4} : std::array{1, 3, 5};
    constexpr float step = 5; // degrees
    const kx::Degrees lower = arm.lower_limits(), upper = arm.upper_limits();
    std::vector<float> joints; // of all postures, one after the other
    kx::Degrees joint = lower;
    std::ranges::fill(joint, 0.0f);
    if (arm.c().model == 36) joint[0] = 90; // the plane is the world's x and z
    const auto [a, b, c] = bending;
    for (joint[a] = lower[a]; joint[a] <= upper[a]; joint[a] += step)
        for (joint[b] = lower[b]; joint[b] <= upper[b]; joint[b] += step)
            for (joint[c] = lower[c]; joint[c] <= upper[c]; joint[c] += step)
                joints.insert(joints.end(), joint.begin(), joint.end());
    const std::vector<KinPose> poses = arm.poses(joints, 4);

    float reach = 0;
    for (const KinPose& pose : poses)
        reach = std::max({reach, std::fabs(pose.position.x), std::fabs(pose.position.z)});
    const int cells = 2 * static_cast<int>(reach / cell + 1);
    const auto at = [&](double metres) { return cells / 2 + static_cast<int>(std::floor(metres / cell)); };
    std::vector<double> best(cells * cells);
    double most = 0;
    const auto count = static_cast<size_t>(arm.joint_count());
    for (size_t n = 0; n < poses.size(); ++n) {
        const kx::Degrees there = std::span(joints).subspan(n * count, count);
        double& here = best[at(-poses[n].position.z) * cells + at(poses[n].position.x)];
        if (arm.clearance_m(there) > 0) here = std::max(here, arm.dexterity(there).manipulability);
        most = std::max(most, here);
    }

    FILE* const picture = fopen(argv[2], "w");
    if (!picture) {
        perror(argv[2]);
        return 1;
    }
    fprintf(
        picture,
        "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" shape-rendering=\"crispEdges\">\n",
        cells, cells);
    for (int row = 0; row < cells; ++row)
        for (int column = 0, end; column < cells; column = end) {
            const auto shade = [&](int i) { return std::ceil(shades * best[row * cells + i] / most); };
            const double t = shade(column) / shades;
            for (end = column + 1; end < cells && shade(end) == shade(column);)
                ++end;
            if (t > 0) // from dark blue over green to yellow
                fprintf(picture, "<path fill=\"hsl(%.0f 70%% %.0f%%)\" d=\"M%d %dh%dv1h-%dz\"/>\n",
                        270 - 215 * t, 25 + 35 * t, column, row, end - column, end - column);
        }
    fprintf(picture, "</svg>\n");
    if (ferror(picture) || fclose(picture) != 0) {
        perror(argv[2]);
        return 1;
    }
    printf("%zu poses, manipulability up to %.4f\n", poses.size(), most);
    return 0;
}
