#include "streaming/trajectory.h"

#include <ctype.h>
#include <locale.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <utility>

namespace kx::streaming {

Trajectory::~Trajectory()
{
    free(knots_);
    free(lines_);
}

void Trajectory::swap(Trajectory& other)
{
    std::swap(knots_, other.knots_);
    std::swap(lines_, other.lines_);
    std::swap(rows_, other.rows_);
    std::swap(room_, other.room_);
}

bool Trajectory::add(const Knot& knot, int line)
{
    if (rows_ == room_) {
        const int room = room_ > 0 ? 2 * room_ : 1024;
        Knot* knots = static_cast<Knot*>(realloc(knots_, sizeof(Knot) * static_cast<size_t>(room)));
        if (knots) knots_ = knots;
        int* lines = static_cast<int*>(realloc(lines_, sizeof(int) * static_cast<size_t>(room)));
        if (lines) lines_ = lines;
        if (!knots || !lines) return false;
        room_ = room;
    }
    lines_[rows_] = line;
    knots_[rows_++] = knot;
    return true;
}

static const char* skip_blanks(const char* text)
{
    return text + strspn(text, " \t\r\n");
}

// A time and one angle for each joint, between commas, whatever the application's locale writes for a decimal point.
static bool read_row(const char* text, int joints, locale_t plain, Knot& knot)
{
    for (int i = 0; i <= joints; ++i) {
        char* end;
        const double value = strtod_l(text, &end, plain);
        if (end == text || !isfinite(value)) return false;
        (i == 0 ? knot.time : knot.joint[i - 1]) = value;
        text = skip_blanks(end);
        if (i < joints && *text++ != ',') return false;
    }
    return *text == '\0';
}

bool Trajectory::read(const char* path, int joints, KX_TRAJECTORY_FAULT& fault)
{
    fault = {};
    fault.violation = KX_TRAJECTORY_UNREADABLE;
    FILE* file = path ? fopen(path, "re") : nullptr;
    if (!file) return false;
    const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    char line[1024];
    fault.violation = KX_TRAJECTORY_FINE;
    while (fault.violation == KX_TRAJECTORY_FINE && fgets(line, sizeof line, file)) {
        ++fault.line;
        const char* text = skip_blanks(line);
        if (*text == '\0' || *text == '#' || isalpha(static_cast<unsigned char>(*text))) continue;
        Knot knot = {};
        const bool is_whole = strlen(line) < sizeof line - 1;
        if (!is_whole || !read_row(text, joints, plain, knot))
            fault.violation = KX_TRAJECTORY_NO_ROW;
        else if (rows_ > 0 && knot.time <= knots_[rows_ - 1].time)
            fault.violation = KX_TRAJECTORY_TIME, fault.limit = knots_[rows_ - 1].time;
        else if (!add(knot, fault.line))
            fault.violation = KX_TRAJECTORY_NO_MEMORY;
        fault.time = fault.value = knot.time;
    }
    if (fault.violation == KX_TRAJECTORY_FINE && (ferror(file) || rows_ == 0))
        fault.violation = KX_TRAJECTORY_UNREADABLE;
    freelocale(plain);
    fclose(file);
    return fault.violation == KX_TRAJECTORY_FINE;
}

bool Trajectory::keeps(const ArmLimits& limits, const ToolPath& tool, KX_TRAJECTORY_FAULT& fault) const
{
    // Angles in thousandths may be off by half of one each.
    constexpr double rounded = 0.0005;
    double before[3] = {}, here[3];
    for (int row = 0; row < rows_; ++row) {
        const Knot& knot = knots_[row];
        const auto breaks = [&](KX_TRAJECTORY_VIOLATION violation, int joint, double value, double limit) {
            fault = {violation, lines_[row], joint, knot.time, value, limit};
            return false;
        };
        const double step = row > 0 ? knot.time - knots_[row - 1].time : 0;
        for (int j = 0; j < limits.joints; ++j) {
            const double angle = knot.joint[j], lower = limits.lower[j], upper = limits.upper[j];
            if (angle < lower || angle > upper)
                return breaks(KX_TRAJECTORY_JOINT_LIMIT, j + 1, angle, angle < lower ? lower : upper);
            if (row < 1) continue;
            const Limits& motion = limits.motion[j];
            const double velocity = (angle - knots_[row - 1].joint[j]) / step;
            if (fabs(velocity) > motion.velocity + 2 * rounded / step)
                return breaks(KX_TRAJECTORY_VELOCITY, j + 1, fabs(velocity), motion.velocity);
            if (row < 2) continue;
            const double step_before = knots_[row - 1].time - knots_[row - 2].time;
            const double velocity_before =
                (knots_[row - 1].joint[j] - knots_[row - 2].joint[j]) / step_before;
            const double between = (step + step_before) / 2;
            const double acceleration = fabs(velocity - velocity_before) / between;
            if (acceleration > motion.acceleration + 2 * rounded * (1 / step + 1 / step_before) / between)
                return breaks(KX_TRAJECTORY_ACCELERATION, j + 1, acceleration, motion.acceleration);
        }
        tool.place(knot.joint, here);
        const double tool_limit = tool.limits().velocity;
        constexpr double rounded_place = 5e-5; // m, what these roundings make of a tool's place
        if (const double way = distance(here, before);
            row > 0 && tool_limit > 0 && way > tool_limit * step + rounded_place)
            return breaks(KX_TRAJECTORY_TOOL_VELOCITY, 0, way / step, tool_limit);
        memcpy(before, here, sizeof before);
    }
    return true;
}

Course Trajectory::course(int joints)
{
    Course course(joints, knots_, rows_);
    course.fill();
    return course;
}

} // namespace kx::streaming
