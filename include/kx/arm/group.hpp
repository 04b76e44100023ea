/**
 * @file
 * What the groups of kx::Arm stand on: calling a C function so that nothing is lost on the way to its narrower
 * arguments, and handing its status on. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_GROUP_HPP
#define KX_ARM_GROUP_HPP

#include "kx/arm/errors.hpp"
#include "kx/arm/values.hpp"

#include <climits>
#include <concepts>
#include <tuple>
#include <type_traits>
#include <utility>

/** A C function with its name. Undefined at the end of kx/arm.hpp. */
#define KX_NAMED(function) #function, function

namespace kx {

/** An arm that is connected. */
struct Bond {
    static constexpr int no_link = INT_MAX; /**< never a handle: commands end with KX_BAD_DESCRIPTOR */

    int link;  /**< the handle of its link */
    int model; /**< 36, 46 or 47 */

    /** Six or seven. */
    int joint_count() const { return model == 47 ? 7 : 6; }
};

/** Some commands of an arm. Copies speak to the same arm, as long as that lives. */
template <class Errors>
class Group {
  public:
    /** @param bond the arm */
    explicit Group(const Bond& bond) : bond_(bond) {}

  protected:
    /** The handle of the arm's link. */
    int link() const { return bond_.link; }

    /** Joints of the arm. */
    int joint_count() const { return bond_.joint_count(); }

    /** The arm. */
    const Bond& bond() const { return bond_; }

    /** Calls a C function: a status. KX_NOT_FINITE, and no call, when an argument does not fit. */
    template <class... Parameters, class... Arguments>
    int status(int (*function)(int, Parameters...), const Arguments&... arguments) const
    {
        return (fits<Parameters>(arguments) && ...) ? function(link(), passed<Parameters>(arguments)...)
                                                    : static_cast<int>(KX_NOT_FINITE);
    }

    /** Hands a status on. */
    Done<Errors> outcome(const char* command, int status) const
    {
        return Errors::done(link(), command, status);
    }

    /** Hands a status and a value on. */
    template <class T>
    Value<Errors, T> outcome(const char* command, int status, T value) const
    {
        return Errors::template value<T>(link(), command, status, std::move(value));
    }

    /** A command that gives nothing back. */
    template <class... Parameters, class... Arguments>
    Done<Errors> done(const char* command, int (*function)(int, Parameters...),
                      const Arguments&... arguments) const
    {
        return outcome(command, status(function, arguments...));
    }

    /** A question whose answer is written through the function's last parameter. */
    template <class T, class... Parameters, class... Arguments>
    Value<Errors, T> ask(const char* command, int (*function)(int, Parameters...),
                         const Arguments&... arguments) const
    {
        using Last = std::tuple_element_t<sizeof...(Parameters) - 1, std::tuple<Parameters...>>;
        std::remove_pointer_t<Last> answer{};
        const int status = this->status(function, arguments..., &answer);
        return outcome(command, status, static_cast<T>(answer));
    }

    /** A question that is answered with a number for each joint. */
    template <class T = PerJoint<float>, class Raw>
    Value<Errors, T> ask_joints(const char* command, int (*function)(int, Raw*)) const
    {
        Raw raw[7] = {};
        const int status = function(link(), raw);
        T values = of_all_joints<T>();
        std::copy(raw, raw + values.size(), values.begin());
        return outcome(command, status, values);
    }

    /** Zeros for all joints of the arm. */
    template <class T>
    T of_all_joints() const
    {
        using Number = std::remove_cvref_t<decltype(T()[0])>;
        static constexpr Number zeros[7] = {};
        return T(std::span<const Number>(zeros, static_cast<size_t>(bond_.joint_count())));
    }

  private:
    // Whether an argument reaches the function as what it is.
    template <class Parameter, class Argument>
    bool fits(const Argument& argument) const
    {
        if constexpr (std::derived_from<Argument, PerJoint<float>>)
            return argument.size() == bond_.joint_count();
        else if constexpr (std::derived_from<Argument, std::string>)
            return argument.find('\0') == std::string::npos;
        else if constexpr (std::integral<Parameter> && std::integral<Argument> &&
                           !std::same_as<Parameter, bool> && !std::same_as<Argument, bool>)
            return std::in_range<Parameter>(argument);
        else if constexpr (std::integral<Parameter> && std::floating_point<Argument>)
            return argument > -2147483649.0 && argument < 2147483648.0; // whole numbers of 32 bits
        else
            return true;
    }

    template <class Parameter, class Argument>
    static Parameter passed(const Argument& argument)
    {
        if constexpr (std::derived_from<Argument, PerJoint<float>>)
            return argument.data();
        else if constexpr (std::derived_from<Argument, std::string>)
            return argument.c_str();
        else
            return static_cast<Parameter>(argument);
    }

    Bond bond_;
};

} // namespace kx

#endif
