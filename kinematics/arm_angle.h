// The joints of the seven-joint arm as functions of the arm angle psi, the turn of the elbow about the line
// from shoulder to wrist (Shimizu, Kakuya, Yoon, Kitagaki and Kosuge, 2008).
//
// The shoulder (joints 1, 2, 3) and the wrist (7, 6, 5) are two ball joints: an outer joint, a middle one,
// and an inner one beside the elbow. Moving the elbow by psi turns the shoulder by psi about a fixed axis,
// and the wrist back by as much. So the unit quaternion w, x, y, z of either is cos(psi/2)*u + sin(psi/2)*v
// with constant u and v, and since the shoulder's rotation is Rz(outer)*Ry(middle)*Rz(inner),
//
//     w + i*z = cos(middle/2) * exp(i*(outer + inner)/2)
//     y - i*x = sin(middle/2) * exp(i*(outer - inner)/2)
//
// (Delambre's analogies of the spherical triangle). The wrist's rotation is Rz(inner)*Ry(middle)*Rz(outer);
// with its x negated the same formulas hold. Three facts about them carry the search for the best arm angle:
//
//     (outer + inner)' = sum_rate / (1 + cos(middle))           never changes its sign,
//     (outer - inner)' = difference_rate / (1 - cos(middle))    nor does this,
//     cos(middle) = mean + amplitude * cos(psi - nearest).
//
// Angles are radians; all quantities are pairs: shoulder and wrist.
#pragma once

#include "kinematics/rotor.h"

namespace kx {

// A quantity, and its derivative by the arm angle.
struct Course {
    Pair value, rate;
};

// An arm angle, and what every evaluation there needs.
struct ArmAngle {
    double psi;
    double half_sine, half_cosine; // of psi/2

    ArmAngle() = default;
    ArmAngle(double angle, double sine, double cosine) : psi(angle), half_sine(sine), half_cosine(cosine) {}
    explicit ArmAngle(double psi);
};

// Two at once.
void two_arm_angles(Pair psi, ArmAngle* arms);

struct BallAngles {
    double psi;
    Course sum, difference;         // outer + inner, outer - inner
    Pair sum_gain, difference_gain; // the derivatives of their rates by the middle angle
    Course middle;                  // in [0, pi]
    Pair middle_bend;               // its second derivative, times the sine
    Pair cos_middle, inverse_sine;

    Pair outer() const { return (sum.value + difference.value) / 2; }
    Pair inner() const { return (sum.value - difference.value) / 2; }
};

// Two arm angles for each ball; NaN where there are none.
struct Roots {
    Pair psi[2];
};

class BallJoints {
  public:
    // Where the middle joint comes to within 4e-8 of zero, outer and inner joint turn about one axis and are
    // undetermined. The ball is then led past this point at that distance: what is said above stays true, and
    // within a very small change of psi the outer joint turns by pi. A ball that is stretched at every arm
    // angle keeps `difference` between outer and inner joint; psi_centre is the middle of the arm angles that
    // will be asked for. A rounded target does not tell on which side a straight ball passes; `other_side` takes
    // the one that it did not.
    BallJoints(const Rotor (&shoulder)[2], const Rotor (&wrist)[2], Pair difference, double psi_centre,
               bool other_side = false);

    void evaluate(const ArmAngle& arm, BallAngles& angles) const;

    // Cosine type: the middle angle is at most `limit` for arm angles up to this far from nearest(); negative
    // if it is nowhere.
    Pair reach(Pair limit) const;

    // Tangent type: where the outer or inner angle is `angle` or opposite to it.
    Roots outer_at(Pair angle) const { return roots(angle, 1); }
    Roots inner_at(Pair angle) const { return roots(-angle, -1); }

    // Whether shoulder and wrist come straight, as far as a rounded target tells, at the arm angle nearest().
    std::array<bool, 2> straight() const { return {straight_[0], straight_[1]}; }

    // The arm angles at which the balls are turned least from where given joint angles take them; with the elbow as it
    // is, and bent the other way.
    std::array<Pair, 2> least_turned(Pair outer, Pair middle, Pair inner) const;

    Pair nearest() const { return nearest_; } // the arm angle of the smallest middle angle
    Pair mean() const { return mean_; }
    Pair steepest() const { return steepest_; } // the largest |middle'| of all arm angles

  private:
    struct Quaternions {
        Pair w, x, y, z;
    };
    Roots roots(Pair angle, double side) const;
    void pass_stretched_point(int ball, double difference, double psi_centre, bool other_side);

    Quaternions u_, v_;
    Pair sum_rate_, difference_rate_;
    Pair mean_, cosine_, sine_; // cos(middle) = mean + cosine*cos(psi) + sine*sin(psi)
    Pair nearest_, steepest_;
    bool straight_[2] = {};
};

} // namespace kx
