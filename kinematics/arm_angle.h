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
// Angles are radians; all quantities are of shoulder and wrist, V is a pair of doubles or several pairs.
#pragma once

#include "kinematics/balls.h"
#include "kinematics/rotor.h"

namespace kx {

// A quantity, and its derivative by the arm angle.
template <typename V>
struct Course {
    V value, rate;
};

// An arm angle, and what every evaluation there needs.
template <typename V>
struct ArmAngle {
    V psi;
    SineCosine<V> half;

    ArmAngle() = default;
    ArmAngle(const V& angle, const SineCosine<V>& of_half) : psi(angle), half(of_half) {}
    explicit ArmAngle(const V& angle) : psi(angle), half(sine_cosine_of<V>(angle / 2)) {}
};

template <typename V>
struct BallAngles {
    V psi;
    Course<V> sum, difference;   // outer + inner, outer - inner
    V sum_gain, difference_gain; // the derivatives of their rates by the middle angle
    Course<V> middle;            // in [0, pi]
    V middle_bend;               // its second derivative, times the sine
    V cos_middle, inverse_sine;

    V outer() const { return (sum.value + difference.value) / 2; }
    V inner() const { return (sum.value - difference.value) / 2; }
};

// Two arm angles for each ball; NaN where there are none.
template <typename V>
struct Roots {
    V psi[2];
};

template <typename V>
class BallJoints {
  public:
    BallJoints() = default; // whose members have no values
    // Each at arm angle zero and half a turn.
    BallJoints(const RotorOf<V> (&shoulder)[2], const RotorOf<V> (&wrist)[2]);

    // Where the middle joint comes to within 4e-8 of zero, outer and inner joint turn about one axis and are
    // undetermined. The ball must then be led past this point at that distance: what is said above stays true, and
    // within a very small change of psi the outer joint turns by pi.
    Holds<V> nearly_stretched() const { return !(largest_cosine_ < 1 - 1e-9); }
    // A ball that is stretched at every arm angle keeps `difference` between outer and inner joint; psi_centre is
    // the middle of the arm angles that will be asked for. A rounded target does not tell on which side a straight
    // ball passes; `other_side` takes the one that it did not. Tells which balls come straight, as far as a
    // rounded target tells, at the arm angle nearest().
    std::array<bool, 2> pass_stretched_points(Pair difference, double psi_centre, bool other_side);

    void evaluate(const ArmAngle<V>& arm, BallAngles<V>& angles) const;

    // Cosine type: the middle angle is at most `limit` for arm angles up to this far from nearest(); negative
    // if it is nowhere.
    V reach(const V& limit) const;

    // Tangent type: where the outer or inner angle is `angle` or opposite to it.
    Roots<V> outer_at(const V& angle) const { return roots(angle, 1); }
    Roots<V> inner_at(const V& angle) const { return roots(-angle, -1); }

    // The arm angles at which the balls are turned least from where given joint angles take them; with the elbow as it
    // is, and bent the other way.
    std::array<V, 2> least_turned(const V& outer, const V& middle, const V& inner) const;

    V nearest() const { return nearest_; } // the arm angle of the smallest middle angle
    V mean() const { return mean_; }
    V steepest() const { return steepest_; } // the largest |middle'| of all arm angles

  private:
    struct Quaternions {
        V w, x, y, z;
    };
    Roots<V> roots(const V& angle, double side) const;
    void set_rates();

    Quaternions u_, v_;
    V sum_rate_, difference_rate_;
    V mean_, cosine_, sine_; // cos(middle) = mean + cosine*cos(psi) + sine*sin(psi)
    V largest_cosine_, nearest_, steepest_;
};

template <>
std::array<bool, 2> BallJoints<Pair>::pass_stretched_points(Pair difference, double psi_centre,
                                                            bool other_side);

template <typename V>
BallJoints<V>::BallJoints(const RotorOf<V> (&shoulder)[2], const RotorOf<V> (&wrist)[2])
{
    const auto side_by_side = [](const RotorOf<V>& s, const RotorOf<V>& w) {
        return Quaternions{beside<V>(s.w, w.w), beside<V>(s.x, -w.x), beside<V>(s.y, w.y),
                           beside<V>(s.z, w.z)};
    };
    u_ = side_by_side(shoulder[0], wrist[0]);
    v_ = side_by_side(shoulder[1], wrist[1]);

    const auto cosine_of_middle = [](const Quaternions& a, const Quaternions& b) {
        return a.w * b.w + a.z * b.z - a.x * b.x - a.y * b.y;
    };
    const V at_0 = cosine_of_middle(u_, u_), at_pi = cosine_of_middle(v_, v_);
    mean_ = (at_0 + at_pi) / 2;
    cosine_ = (at_0 - at_pi) / 2;
    sine_ = cosine_of_middle(u_, v_);
    const V amplitude = square_root(V(square(cosine_) + square(sine_)));
    nearest_ = arc_tangent<V>(sine_, amplitude > 0 ? cosine_ : all_of<V>(1));
    largest_cosine_ = mean_ + amplitude;
    set_rates();
}

template <typename V>
void BallJoints<V>::set_rates()
{
    sum_rate_ = 2 * (u_.w * v_.z - u_.z * v_.w);
    difference_rate_ = 2 * (u_.x * v_.y - u_.y * v_.x);
    const V side = max(abs(V(sum_rate_ + difference_rate_)), abs(V(sum_rate_ - difference_rate_))) / 2;
    steepest_ = square_root(max(V{}, V(1 - square(side))));
}

template <typename V>
void BallJoints<V>::evaluate(const ArmAngle<V>& arm, BallAngles<V>& b) const
{
    const auto& [psi, half] = arm;
    const auto& [s, c] = half;
    const Quaternions q = {c * u_.w + s * v_.w, c * u_.x + s * v_.x, c * u_.y + s * v_.y,
                           c * u_.z + s * v_.z};
    const V cos2 = q.w * q.w + q.z * q.z, sin2 = q.x * q.x + q.y * q.y; // of half the middle angle
    const V sin_psi = 2 * c * s, cos_psi = c * c - s * s;

    b.psi = psi;
    const V product = cos2 * sin2, inverse = 1 / product, root = square_root(product);
    const V inverse_cos2 = sin2 * inverse, inverse_sin2 = cos2 * inverse;
    b.cos_middle = cos2 - sin2;
    b.inverse_sine = root * inverse / 2;
    b.middle.value = arc_tangent<V>(2 * root, b.cos_middle);
    b.middle.rate = (cosine_ * sin_psi - sine_ * cos_psi) * b.inverse_sine;
    b.middle_bend = b.cos_middle * (1 - square(b.middle.rate)) - mean_;

    b.sum.value = 2 * arc_tangent(q.z, q.w);
    b.sum.rate = sum_rate_ * inverse_cos2 / 2;
    b.sum_gain = b.sum.rate * inverse_cos2 * root;
    b.difference.value = 2 * arc_tangent<V>(-q.x, q.y);
    b.difference.rate = difference_rate_ * inverse_sin2 / 2;
    b.difference_gain = -b.difference.rate * inverse_sin2 * root;
}

// The product with the other quaternion, the cosine of half the angle between them, has the form
// cos(psi/2)*at_0 + sin(psi/2)*at_pi.
template <typename V>
std::array<V, 2> BallJoints<V>::least_turned(const V& outer, const V& middle, const V& inner) const
{
    const auto sum = sine_cosine_of<V>((outer + inner) / 2),
               difference = sine_cosine_of<V>((outer - inner) / 2), half = sine_cosine_of<V>(middle / 2);
    const V w = half.cosine * sum.cosine, z = half.cosine * sum.sine;
    const V y = half.sine * difference.cosine, x = -half.sine * difference.sine;
    const auto as_it_is = [&](const Quaternions& q) -> V { return w * q.w + x * q.x + y * q.y + z * q.z; };
    const auto other_way = [&](const Quaternions& q) -> V { return z * q.w - w * q.z + x * q.y - y * q.x; };
    return {2 * arc_tangent(as_it_is(v_), as_it_is(u_)), 2 * arc_tangent(other_way(v_), other_way(u_))};
}

template <typename V>
V BallJoints<V>::reach(const V& limit) const
{
    const V amplitude = square_root(V(square(cosine_) + square(sine_)));
    const V least = sine_cosine_of(limit).cosine - mean_; // of amplitude * cos(psi - nearest)
    const V half_width = arc_tangent(square_root(max(V{}, V(square(amplitude) - square(least)))), least);
    const V nowhere = least > amplitude ? all_of<V>(-1) : half_width;
    return least <= -amplitude ? all_of<V>(pi) : nowhere;
}

// sin(middle)*sin(outer - angle), in the elements of the rotation matrix, is a quadratic form of the
// quaternion; for the inner angle, w and both angles are negated (side = -1). With the quaternion's course
// put in, it becomes constant + cosine*cos(psi) + sine*sin(psi).
template <typename V>
Roots<V> BallJoints<V>::roots(const V& angle, double side) const
{
    const SineCosine<V> at = sine_cosine_of(angle);
    const auto form = [&](const Quaternions& q) {
        const V w = side * q.w;
        return at.cosine * (q.y * q.z - w * q.x) - at.sine * (q.x * q.z + w * q.y);
    };
    const V at_u = form(u_), at_v = form(v_);
    const V both = form({u_.w + v_.w, u_.x + v_.x, u_.y + v_.y, u_.z + v_.z});
    const V constant = (at_u + at_v) / 2, cosine = (at_u - at_v) / 2, sine = (both - at_u - at_v) / 2;
    const V middle = arc_tangent(sine, cosine);
    const V half =
        arc_tangent<V>(square_root(V(square(cosine) + square(sine) - square(constant))), -constant);
    return {{middle - half, middle + half}};
}

} // namespace kx
