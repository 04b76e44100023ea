// How far the joints of the seven-joint arm are from reference joints: at an arm angle, and bounds between
// two.
#pragma once

#include "kinematics/arm_angle.h"

#include <algorithm>

namespace kx {

// A joint of each ball, held within one turn, of all turns inside its limits the one nearest to the
// reference. If the limits leave less than a turn, their middle is the turn's, and they lie at `low` and
// `high` in it.
struct Turn {
    Pair start, reference, low, high; // the latter three counted from the start

    Turn(Pair lower, Pair upper, Pair reference);
    // How far beyond the start, in [0, 2*pi], an angle is met that is given up to full turns.
    Pair position(Pair angle) const;
    // A position's distance from the reference. At either end of the turn a joint may also stand at the
    // other.
    Pair deviation(Pair position) const;
};

struct JointGoals {
    Turn outer, inner;
    Pair middle_reference, middle_lower, middle_upper;
    double elbow_cost[2]; // squared distance of the elbow from its reference, bent either way; or infinite
    bool narrow;          // not every branch keeps the limits where the middle joints can

    JointGoals(const Turn& outer, const Turn& inner, Pair middle_reference, Pair middle_lower,
               Pair middle_upper, double elbow, double elbow_bent_other_way);
    Pair middle_limit() const { return max(abs(middle_lower), abs(middle_upper)); }
};

// Every arm angle has eight branches: a ball's rotation is the same at (outer + pi, -middle, inner + pi), and
// bending the elbow the other way adds pi to both inner joints.
struct Branch {
    bool elbow, shoulder, wrist;

    Pair middle_sign() const { return Pair{1.0 - 2 * shoulder, 1.0 - 2 * wrist}; }
};

// Some of the branches: bit 4*elbow + 2*shoulder + wrist.
using Branches = unsigned;
inline constexpr Branches all_branches = 0xff;

inline Branch branch_of(int number)
{
    return {(number & 4) != 0, (number & 2) != 0, (number & 1) != 0};
}

// The joints at an arm angle, and where in their turns they are: as they are, and turned by pi.
struct Point {
    BallAngles angles;
    Pair outer[2], inner[2];

    void move_to(const ArmAngle& arm, const BallJoints& balls, const JointGoals& goals);
    void place(const JointGoals& goals); // after the angles
    // Those that keep the limits, to within rounding.
    Branches feasible(const JointGoals& goals) const;
};

// A squared distance for each ball in both positions of it and of the elbow.
struct SquaredDistances {
    Pair of[2][2]; // elbow bent the other way, ball turned

    // With the elbow's, in one branch or the nearest.
    double operator()(const Branch& b, const JointGoals& goals) const
    {
        return of[b.elbow][b.shoulder][0] + of[b.elbow][b.wrist][1] + goals.elbow_cost[b.elbow];
    }
    double least(const JointGoals& goals, Branches branches) const
    {
        if (branches != all_branches) return least_of(branches, goals);
        const Pair a = min(of[0][0], of[0][1]), b = min(of[1][0], of[1][1]);
        return std::min(a[0] + a[1] + goals.elbow_cost[0], b[0] + b[1] + goals.elbow_cost[1]);
    }

    // Which is least.
    Branch nearest(const JointGoals& goals, Branches branches) const;

  private:
    double least_of(Branches branches, const JointGoals& goals) const;
};

SquaredDistances squared_distances(const Point& point, const JointGoals& goals);

// The squared distance of one branch at an arm angle, and its derivative.
struct Distance {
    double psi, squared, rate;
};

// One branch of a piece, by its deviations at the first end.
struct BranchStart {
    Pair sum, difference; // outer + inner, outer - inner
    Pair middle_sign;
    double elbow_cost;
};

// The arm angles between two that lie so close that, from one to the other, both balls' middle angles move
// one way and no joint goes through an end of its turn. Then the middle angles, the sums and differences of
// outer and inner angles and the rates of these are monotone, and their values at both ends enclose all in
// between.
class Piece {
  public:
    Piece() = default; // whose members have no values
    Piece(const BallJoints& balls, const JointGoals& goals, const Point& a, const Point& b);

    const Point& first() const { return *a_; }
    const Point& last() const { return *b_; }
    // What the squared distances do not fall below.
    const SquaredDistances& lower_bounds() const { return lower_bounds_; }
    BranchStart start(const Branch& branch) const;
    // At any arm angle of the piece.
    Distance distance(const BranchStart& start, const BallAngles& angles) const;
    // Lower bound of the second derivative of the squared distance.
    double least_bend(const BranchStart& start) const;

  private:
    Pair deviation(const Turn& turn, Pair a, Pair b, Pair rise, Pair rate) const;
    Pair lower_bound(int turned, int inner_turned) const;

    const BallJoints* balls_;
    const JointGoals* goals_;
    const Point *a_, *b_;
    Pair sum_rise_, difference_rise_; // from a to b
    Pair outer_[2], inner_[2];        // deviations at a, as it is and turned by pi
    SquaredDistances lower_bounds_;
};

} // namespace kx
