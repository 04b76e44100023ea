/**
 * @file
 * What a command of kx::Arm came to: an exception, or, for programs without exceptions, a returned kx::Status. Part of
 * kx/arm.hpp.
 */
#ifndef KX_ARM_ERRORS_HPP
#define KX_ARM_ERRORS_HPP

#include "kx_base.h"

#include <string>
#include <utility>

#if __cpp_exceptions
#include <stdexcept>
#endif

namespace kx {

/** What a command came to, as kx::nothrow::Arm returns it. */
class [[nodiscard]] Status {
  public:
    /** @param code a KX_STATUS */
    constexpr Status(int code = KX_SUCCESS) : code_(code) {}

    /** The KX_STATUS; 0 is success. */
    constexpr int code() const { return code_; }

    /** True for success. */
    constexpr explicit operator bool() const { return code_ == KX_SUCCESS; }

    /** What it says, as KX_Status_Words. */
    const char* words() const { return KX_Status_Words(code_); }

    /** What to do, as KX_Status_Advice. */
    const char* advice() const { return KX_Status_Advice(code_); }

    /** Whether both are the same. */
    friend constexpr bool operator==(Status, Status) = default;

  private:
    int code_;
};

/** A value, or why there is none, as kx::nothrow::Arm returns it. */
template <class T>
struct [[nodiscard]] Result {
    Status status; /**< why there is no value, or success */
    T value;       /**< what was asked for; without success not to be used */

    /** True when there is a value. */
    explicit operator bool() const { return static_cast<bool>(status); }

    /** The value. */
    const T& operator*() const { return value; }

    /** The value's members. */
    const T* operator->() const { return &value; }
};

/** What the controller said when it last refused something that this thread had waited for; empty if it said nothing. */
inline std::string reason_of_refusal(int link)
{
    char text[120] = "";
    KX_Link_Reason(link, text, sizeof text);
    return text;
}

#if __cpp_exceptions
/** A command that did not succeed. */
class Error : public std::runtime_error {
  public:
    /** @param command the C function that was called
     *  @param status a KX_STATUS
     *  @param reason what the controller said, or what is wrong; may be empty */
    Error(const char* command, int status, const std::string& reason)
        : std::runtime_error(std::string(command) + ": " + KX_Status_Words(status) +
                             (reason.empty() ? "" : ": ") + reason + " (status " + std::to_string(status) +
                             "). What to do: " + KX_Status_Advice(status)),
          command_(command), status_(status), reason_(reason)
    {
    }

    /** The C function that was called; its documentation says more. */
    const char* command() const { return command_; }

    /** The status, with its words and advice. */
    Status status() const { return status_; }

    /** What the controller said; empty if it said nothing. */
    const std::string& reason() const { return reason_; }

  private:
    const char* command_;
    Status status_;
    std::string reason_;
};

/** The controller refused a command, or a motion was broken off: KX_REFUSED. */
struct Refused : Error {
    using Error::Error;
};

/** The connection is lost, or could not be made: KX_LOST, KX_SEND_FAILED, KX_BAD_DESCRIPTOR. */
struct Lost : Error {
    using Error::Error;
};

/** No answer in time: KX_TIMED_OUT. */
struct TimedOut : Error {
    using Error::Error;
};

/** A wait was ended by a stop, cancel or close: KX_CANCELLED. */
struct Cancelled : Error {
    using Error::Error;
};

/** An argument is out of range, and nothing was sent: KX_NOT_FINITE, KX_TOO_LONG. */
struct BadArgument : Error {
    using Error::Error;
};

/** Throws the exception that fits the status. */
[[noreturn]] inline void raise(const char* command, int status, const std::string& reason)
{
    switch (status) {
    case KX_REFUSED:
        throw Refused(command, status, reason);
    case KX_LOST:
    case KX_SEND_FAILED:
    case KX_BAD_DESCRIPTOR:
        throw Lost(command, status, reason);
    case KX_TIMED_OUT:
        throw TimedOut(command, status, reason);
    case KX_CANCELLED:
        throw Cancelled(command, status, reason);
    case KX_NOT_FINITE:
    case KX_TOO_LONG:
        throw BadArgument(command, status, reason);
    default:
        throw Error(command, status, reason);
    }
}

/** Errors become exceptions: what kx::Arm does. */
struct Throwing {
    using Done = void; /**< of a command that gives nothing back */
    template <class T>
    using Value = T; /**< of a command that gives a T */

    /** Throws unless the status is success. */
    static void done(int link, const char* command, int status, const char* wrong = nullptr)
    {
        if (status == KX_SUCCESS) return;
        raise(command, status,
              wrong                  ? wrong
              : status == KX_REFUSED ? reason_of_refusal(link)
                                     : std::string());
    }

    /** The value; throws unless the status is success. */
    template <class T>
    static T value(int link, const char* command, int status, T value, const char* wrong = nullptr)
    {
        done(link, command, status, wrong);
        return value;
    }
};
#endif

/** Errors are returned: what kx::nothrow::Arm does. */
struct Returning {
    using Done = Status; /**< of a command that gives nothing back */
    template <class T>
    using Value = Result<T>; /**< of a command that gives a T */

    /** The status. */
    static Status done(int, const char*, int status, const char* = nullptr) { return status; }

    /** The value with the status. */
    template <class T>
    static Result<T> value(int, const char*, int status, T value, const char* = nullptr)
    {
        return {status, std::move(value)};
    }
};

/** What a command that gives nothing back returns: nothing, or a Status. */
template <class Errors>
using Done = typename Errors::Done;

/** What a command that gives a T returns: a T, or a Result<T>. */
template <class Errors, class T>
using Value = typename Errors::template Value<T>;

} // namespace kx

#endif
