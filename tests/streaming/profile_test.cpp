// Profiles keep their limits and end where they shall, and nobody is faster: the judge is a linear program, which
// says how far a joint can get in a given time.
#include "streaming/profile.h"

#include <cmath>
#include <glpk.h>
#include <gtest/gtest.h>
#include <random>

using namespace kx::streaming;

namespace {

struct Case {
    State from;
    double target;
    Limits limits;
    double target_velocity = 0;
};

std::mt19937 chance(1);

double between(double least, double most)
{
    return std::uniform_real_distribution(least, most)(chance);
}

// The velocity, were the acceleration taken back at once.
double settled(const State& s, const Limits& limits)
{
    return s.velocity + s.acceleration * std::abs(s.acceleration) / (2 * limits.jerk);
}

// A way on which all limits matter, from a state in which they can be kept (excess 1) or not (more).
Case random_case(double excess)
{
    const double speeding_up = between(0.2, 1), building_up = between(0.2, 2) * speeding_up; // s
    const double velocity = between(10, 180), acceleration = velocity / speeding_up;
    Case made = {{}, 0, {velocity, acceleration, acceleration / building_up}, 0};
    made.target_velocity = chance() % 2 ? between(-0.7, 0.7) * velocity : 0;
    do
        made.from = {between(-180, 180), excess * between(-velocity, velocity),
                     excess * between(-acceleration, acceleration)};
    while (excess == 1 && std::abs(settled(made.from, made.limits)) > velocity);
    const double small = chance() % 2 ? 1 : std::pow(10, between(-6, 0));
    made.target = made.from.position + between(-2, 2) * small * velocity * (speeding_up + building_up);
    return made;
}

// The furthest that a joint can be ahead (side 1) or back (-1) of where it is, in the target's frame, when it rests
// there after a time, with a constant jerk in each of so many steps; not a number if it cannot rest by then.
double furthest(const Case& of, double time, int side)
{
    constexpr int steps = 100;
    const double h = time / steps, a0 = of.from.acceleration, v0 = of.from.velocity - of.target_velocity;
    glp_prob* program = glp_create_prob();
    glp_set_obj_dir(program, side > 0 ? GLP_MAX : GLP_MIN);
    // Columns: jerks, then accelerations and velocities at the ends of the steps. Rows: how these follow from what
    // was before.
    const int jerks = glp_add_cols(program, 3 * steps), accelerations = jerks + steps;
    const int velocities = accelerations + steps;
    glp_add_rows(program, 2 * steps);
    const auto bound = [&](int column, double least, double most, bool is_zero) {
        glp_set_col_bnds(program, column, is_zero ? GLP_FX : GLP_DB, is_zero ? 0 : least, is_zero ? 0 : most);
    };
    for (int k = 0; k < steps; ++k) {
        const int j = jerks + k, a = accelerations + k, v = velocities + k;
        const bool is_first = k == 0, is_last = k == steps - 1;
        bound(j, -of.limits.jerk, of.limits.jerk, false);
        bound(a, -of.limits.acceleration, of.limits.acceleration, is_last);
        bound(v, -of.limits.velocity - of.target_velocity, of.limits.velocity - of.target_velocity, is_last);
        const int row_a = 1 + 2 * k, row_v = row_a + 1;
        const int columns_a[] = {0, a, j, a - 1}, columns_v[] = {0, v, j, v - 1, a - 1};
        const double factors_a[] = {0, 1, -h, -1}, factors_v[] = {0, 1, -h * h / 2, -1, -h};
        glp_set_mat_row(program, row_a, is_first ? 2 : 3, columns_a, factors_a);
        glp_set_mat_row(program, row_v, is_first ? 2 : 4, columns_v, factors_v);
        glp_set_row_bnds(program, row_a, GLP_FX, is_first ? a0 : 0, 0);
        glp_set_row_bnds(program, row_v, GLP_FX, is_first ? v0 + h * a0 : 0, 0);
        glp_set_obj_coef(program, j, h * h * h / 6);
        if (!is_last) glp_set_obj_coef(program, v, h);
        if (!is_last) glp_set_obj_coef(program, a, h * h / 2);
    }
    glp_smcp parameters;
    glp_init_smcp(&parameters);
    glp_term_out(GLP_OFF);
    glp_scale_prob(program, GLP_SF_AUTO);
    glp_simplex(program, &parameters);
    const bool is_solved = glp_get_status(program) == GLP_OPT;
    const double way = h * v0 + h * h / 2 * a0 + glp_get_obj_val(program);
    glp_delete_prob(program);
    return is_solved ? way : NAN;
}

bool can_arrive(const Case& c, double time)
{
    const double way = c.target - c.from.position;
    return furthest(c, time, -1) <= way && way <= furthest(c, time, 1);
}

TEST(Profile, NobodyIsFaster)
{
    for (int i = 0; i < 80; ++i) {
        const Case c = random_case(1);
        const double time = fastest(c.from, c.target, c.limits, c.target_velocity).duration();
        EXPECT_FALSE(can_arrive(c, 0.999 * time)) << i << ": " << time << " s";
        EXPECT_TRUE(can_arrive(c, 1.001 * time)) << i << ": the judge does not see so finely";
    }
}

// Everything that is true of a motion, by looking at it closely: where it begins and ends, and differences from
// look to look.
void expect_true(const Profile& way, const Case& c)
{
    const State begin = way.at(0), end = way.at(way.duration()), later = way.at(way.duration() + 1);
    EXPECT_EQ(begin.position, c.from.position);
    EXPECT_NEAR(end.position, c.target + c.target_velocity * way.duration(), 1e-9);
    EXPECT_NEAR(later.position - end.position, c.target_velocity, 1e-9);
    const double acceleration = std::max(c.limits.acceleration, std::abs(c.from.acceleration));
    const Limits& limits = c.limits;
    // Faster than the limit only if it began so, or its acceleration leads there.
    const double velocity =
        std::max({limits.velocity, std::abs(c.from.velocity), std::abs(settled(c.from, limits))});
    constexpr int looks = 500;
    const double step = (way.duration() + 0.1) / looks;
    State before = begin;
    for (int i = 1; i <= looks; ++i) {
        const State now = way.at(i * step);
        const double slack = 1e-6 * (1 + velocity);
        ASSERT_LE(std::abs(now.velocity), velocity + slack);
        ASSERT_LE(std::abs(now.acceleration), acceleration + slack);
        ASSERT_LE(std::abs(now.acceleration - before.acceleration), limits.jerk * step + slack);
        ASSERT_LE(std::abs(now.velocity - before.velocity), acceleration * step + slack);
        ASSERT_NEAR(now.position - before.position, step * (now.velocity + before.velocity) / 2,
                    limits.jerk * step * step * step + 1e-7);
        before = now;
    }
}

TEST(Profile, KeepsLimitsAndArrives)
{
    for (int i = 0; i < 20000 && !HasFatalFailure(); ++i) {
        Case c = random_case(i % 3 == 0 ? 2 : 1);
        SCOPED_TRACE(i);
        if (i % 5 == 0) c.from.velocity = c.from.acceleration = 0; // from rest any duration is possible
        expect_true(fastest(c.from, c.target, c.limits, c.target_velocity), c);
        c.target_velocity = 0;
        const double least = fastest(c.from, c.target, c.limits).duration(), wanted = least * between(1, 3);
        const Profile way = lasting(wanted, c.from, c.target, c.limits);
        expect_true(way, c);
        EXPECT_LE(way.duration(), wanted + 1e-9);
        EXPECT_TRUE(way.duration() > wanted - 1e-6 || i % 5 != 0);
        // On the way it is sent to the same target again.
        const double passed = between(0, 1) * way.duration();
        c.from = way.at(passed);
        expect_true(lasting(way.duration() - passed, c.from, c.target, c.limits), c);
    }
}

} // namespace
