#include "kinematics/arm_angle.h"

#include "kinematics/lanes.h"

#include <algorithm>

namespace kx {
namespace {

// Half of the least middle angle of a ball; and what half the middle angle may be due to the target's
// rounding.
constexpr double passing_distance = 2e-8, stretched = 1.5e-6;

struct Complex {
    double re, im;
    double length() const { return std::sqrt(re * re + im * im); }
};

Complex operator*(double f, Complex a)
{
    return {f * a.re, f * a.im};
}

Complex operator+(Complex a, Complex b)
{
    return {a.re + b.re, a.im + b.im};
}

SineCosine<Pair> of_both(Pair angle)
{
    SineCosine<Pair> both;
    reduced_sine_cosine<2>(angle, both.sine, both.cosine);
    return both;
}

} // namespace

BallJoints::BallJoints(const Rotor (&shoulder)[2], const Rotor (&wrist)[2], Pair difference,
                       double psi_centre, bool other_side)
{
    const auto side_by_side = [](const Rotor& s, const Rotor& w) {
        return Quaternions{{s.w, w.w}, {s.x, -w.x}, {s.y, w.y}, {s.z, w.z}};
    };
    u_ = side_by_side(shoulder[0], wrist[0]);
    v_ = side_by_side(shoulder[1], wrist[1]);

    const auto cosine_of_middle = [](const Quaternions& a, const Quaternions& b) {
        return a.w * b.w + a.z * b.z - a.x * b.x - a.y * b.y;
    };
    const Pair at_0 = cosine_of_middle(u_, u_), at_pi = cosine_of_middle(v_, v_);
    mean_ = (at_0 + at_pi) / 2;
    cosine_ = (at_0 - at_pi) / 2;
    sine_ = cosine_of_middle(u_, v_);
    const Pair amplitude = square_root(square(cosine_) + square(sine_));
    nearest_ = arc_tangent(sine_, amplitude > 0 ? cosine_ : pair(1));
    const Pair largest_cosine = mean_ + amplitude;
    for (int ball = 0; ball < 2; ++ball)
        if (!(largest_cosine[ball] < 1 - 1e-9))
            pass_stretched_point(ball, difference[ball], psi_centre, other_side);

    sum_rate_ = 2 * (u_.w * v_.z - u_.z * v_.w);
    difference_rate_ = 2 * (u_.x * v_.y - u_.y * v_.x);
    const Pair side = max(abs(sum_rate_ + difference_rate_), abs(sum_rate_ - difference_rate_)) / 2;
    steepest_ = square_root(max(pair(0), 1 - square(side)));
}

// y - i*x is cos(t)*near + sin(t)*far with t = (psi - nearest)/2, and near is orthogonal to far.
void BallJoints::pass_stretched_point(int ball, double difference, double psi_centre, bool other_side)
{
    auto [s, c] = sine_cosine<double>(nearest_[ball] / 2);
    const Complex u = {u_.y[ball], -u_.x[ball]}, v = {v_.y[ball], -v_.x[ball]};
    Complex near = c * u + s * v, far = c * v + -s * u;
    const bool is_stretched = std::max(near.length(), far.length()) < stretched;
    straight_[ball] = near.length() < stretched && !is_stretched;
    if (!is_stretched) {
        if (near.length() < passing_distance)
            near = passing_distance / far.length() * Complex{-far.im, far.re};
        else if (!other_side)
            return;
        if (straight_[ball] && other_side) near = -1 * near;
    } else {
        const auto [s_half, c_half] = sine_cosine<double>(difference / 2);
        near = passing_distance * Complex{c_half, s_half};
        far = 1e-3 * Complex{-near.im, near.re}; // not zero, or there would be no phase half a turn away
        nearest_[ball] = psi_centre;
        const auto centre = sine_cosine<double>(psi_centre / 2);
        s = centre.sine;
        c = centre.cosine;
    }
    const Complex at_0 = c * near + -s * far, at_pi = s * near + c * far;
    u_.y[ball] = at_0.re, u_.x[ball] = -at_0.im;
    v_.y[ball] = at_pi.re, v_.x[ball] = -at_pi.im;
}

ArmAngle::ArmAngle(double angle) : psi(angle)
{
    const auto [s, c] = sine_cosine<double>(angle / 2);
    half_sine = s;
    half_cosine = c;
}

void two_arm_angles(Pair psi, ArmAngle* arms)
{
    const auto [s, c] = of_both(psi / 2);
    arms[0] = {psi[0], s[0], c[0]};
    arms[1] = {psi[1], s[1], c[1]};
}

void BallJoints::evaluate(const ArmAngle& arm, BallAngles& b) const
{
    const auto [psi, s, c] = arm;
    const Quaternions q = {c * u_.w + s * v_.w, c * u_.x + s * v_.x, c * u_.y + s * v_.y,
                           c * u_.z + s * v_.z};
    const Pair cos2 = q.w * q.w + q.z * q.z, sin2 = q.x * q.x + q.y * q.y; // of half the middle angle
    const double sin_psi = 2 * c * s, cos_psi = c * c - s * s;

    b.psi = psi;
    const Pair product = cos2 * sin2, inverse = 1 / product, root = square_root(product);
    const Pair inverse_cos2 = sin2 * inverse, inverse_sin2 = cos2 * inverse;
    b.cos_middle = cos2 - sin2;
    b.inverse_sine = root * inverse / 2;
    b.middle.value = arc_tangent(2 * root, b.cos_middle);
    b.middle.rate = (cosine_ * sin_psi - sine_ * cos_psi) * b.inverse_sine;
    b.middle_bend = b.cos_middle * (1 - square(b.middle.rate)) - mean_;

    b.sum.value = 2 * arc_tangent(q.z, q.w);
    b.sum.rate = sum_rate_ * inverse_cos2 / 2;
    b.sum_gain = b.sum.rate * inverse_cos2 * root;
    b.difference.value = 2 * arc_tangent(-q.x, q.y);
    b.difference.rate = difference_rate_ * inverse_sin2 / 2;
    b.difference_gain = -b.difference.rate * inverse_sin2 * root;
}

// The product with the other quaternion, the cosine of half the angle between them, has the form
// cos(psi/2)*at_0 + sin(psi/2)*at_pi.
std::array<Pair, 2> BallJoints::least_turned(Pair outer, Pair middle, Pair inner) const
{
    const auto sum = of_both((outer + inner) / 2), difference = of_both((outer - inner) / 2),
               half = of_both(middle / 2);
    const Pair w = half.cosine * sum.cosine, z = half.cosine * sum.sine;
    const Pair y = half.sine * difference.cosine, x = -half.sine * difference.sine;
    const auto as_it_is = [&](const Quaternions& q) { return w * q.w + x * q.x + y * q.y + z * q.z; };
    const auto other_way = [&](const Quaternions& q) { return z * q.w - w * q.z + x * q.y - y * q.x; };
    return {2 * arc_tangent(as_it_is(v_), as_it_is(u_)), 2 * arc_tangent(other_way(v_), other_way(u_))};
}

Pair BallJoints::reach(Pair limit) const
{
    const Pair amplitude = square_root(square(cosine_) + square(sine_));
    const Pair least = of_both(limit).cosine - mean_; // of amplitude * cos(psi - nearest)
    const Pair half_width = arc_tangent(square_root(max(pair(0), square(amplitude) - square(least))), least);
    return least <= -amplitude ? pair(pi) : least > amplitude ? pair(-1) : half_width;
}

// sin(middle)*sin(outer - angle), in the elements of the rotation matrix, is a quadratic form of the
// quaternion; for the inner angle, w and both angles are negated (side = -1). With the quaternion's course
// put in, it becomes constant + cosine*cos(psi) + sine*sin(psi).
Roots BallJoints::roots(Pair angle, double side) const
{
    const SineCosine<Pair> at = of_both(angle);
    const auto form = [&](const Quaternions& q) {
        const Pair w = side * q.w;
        return at.cosine * (q.y * q.z - w * q.x) - at.sine * (q.x * q.z + w * q.y);
    };
    const Pair at_u = form(u_), at_v = form(v_);
    const Pair both = form({u_.w + v_.w, u_.x + v_.x, u_.y + v_.y, u_.z + v_.z});
    const Pair constant = (at_u + at_v) / 2, cosine = (at_u - at_v) / 2, sine = (both - at_u - at_v) / 2;
    const Pair middle = arc_tangent(sine, cosine);
    const Pair half = arc_tangent(square_root(square(cosine) + square(sine) - square(constant)), -constant);
    return {{middle - half, middle + half}};
}

} // namespace kx
