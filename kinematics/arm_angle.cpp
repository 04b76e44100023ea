#include "kinematics/arm_angle.h"

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

} // namespace

// y - i*x is cos(t)*near + sin(t)*far with t = (psi - nearest)/2, and near is orthogonal to far.
template <>
std::array<bool, 2> BallJoints<Pair>::pass_stretched_points(Pair difference, double psi_centre,
                                                            bool other_side)
{
    std::array<bool, 2> straight = {};
    for (int ball = 0; ball < 2; ++ball) {
        if (!nearly_stretched()[ball]) continue;
        auto [s, c] = sine_cosine<double>(nearest_[ball] / 2);
        const Complex u = {u_.y[ball], -u_.x[ball]}, v = {v_.y[ball], -v_.x[ball]};
        Complex near = c * u + s * v, far = c * v + -s * u;
        const bool is_stretched = std::max(near.length(), far.length()) < stretched;
        straight[ball] = near.length() < stretched && !is_stretched;
        if (!is_stretched) {
            if (near.length() < passing_distance)
                near = passing_distance / far.length() * Complex{-far.im, far.re};
            else if (!other_side)
                continue;
            if (straight[ball] && other_side) near = -1 * near;
        } else {
            const auto [s_half, c_half] = sine_cosine<double>(difference[ball] / 2);
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
    set_rates();
    return straight;
}

} // namespace kx
