#include "streaming/pursuit.h"

#include <math.h>

namespace kx::streaming {

// Three jerks, each for a third of the time, that lead from one state of motion to another. They follow from what
// lacks there of acceleration, velocity and position without any jerk: a linear system with this solution.
static void meet(const State& from, const State& to, double time, double jerk[3])
{
    const double h = time / 3;
    const State drifted = after(from, time, 0);
    const double a = (to.acceleration - drifted.acceleration) / h;
    const double v = (to.velocity - drifted.velocity) / (h * h);
    const double p = (to.position - drifted.position) / (h * h * h);
    jerk[0] = p - v + a / 3;
    jerk[1] = v - a / 2 - 2 * jerk[0];
    jerk[2] = a - jerk[0] - jerk[1];
}

static bool is_possible(State state, double time, const double jerk[3], const Limits& limits)
{
    for (int i = 0; i < 3; ++i) {
        if (!(fabs(jerk[i]) <= limits.jerk)) return false;
        const State next = after(state, time / 3, jerk[i]);
        if (fabs(next.acceleration) > limits.acceleration) return false;
        if (state.acceleration * next.acceleration < 0) { // the velocity has an extreme between
            const double extreme = state.velocity - state.acceleration * state.acceleration / (2 * jerk[i]);
            if (fabs(extreme) > limits.velocity) return false;
        }
        if (fabs(next.velocity) > limits.velocity) return false;
        state = next;
    }
    return true;
}

static bool meet_all(const ArmState& now, const ArmState& there, double time, const ArmLimits& limits,
                     Joints& jerk)
{
    for (int i = 0; i < limits.joints; ++i) {
        double jerks[3];
        meet(now.joint[i], there.joint[i], time, jerks);
        if (!is_possible(now.joint[i], time, jerks, limits.motion[i])) return false;
        jerk[i] = jerks[0];
    }
    return true;
}

bool pursue(const ArmState& now, const Lead& lead, double soonest, double cycle, const ArmLimits& limits,
            Joints& jerk)
{
    ArmState there;
    for (double time = soonest; time < 6 * soonest; time *= 1.2) {
        lead.in(time, there);
        if (meet_all(now, there, time, limits, jerk)) return time < 1.5 * soonest;
    }
    lead.in(0, there);
    for (int i = 0; i < limits.joints; ++i) {
        // It must be faster than what it is after.
        const double most = 0.9 * limits.motion[i].velocity;
        const double velocity = fmax(-most, fmin(most, there.joint[i].velocity));
        const Profile way = fastest(now.joint[i], there.joint[i].position, limits.motion[i], velocity);
        jerk[i] = (way.at(cycle).acceleration - now.joint[i].acceleration) / cycle;
    }
    return false;
}

} // namespace kx::streaming
