/**
 * @file
 * A motion under way. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_MOTION_HPP
#define KX_ARM_MOTION_HPP

#include "kx/arm/group.hpp"

#include <chrono>
#include <cstdint>

namespace kx {

/**
 * A motion that the controller has been given: it runs, or waits behind earlier ones, whether this is kept or not.
 *
 * Copies mean the same motion. Any thread may ask or wait, as often as it likes, until 64 more have ended.
 */
template <class Errors>
class Motion {

  public:
    /** @param link the handle of the arm's link
     *  @param command the C function that began it
     *  @param status what that returned
     *  @param ticket its ticket */
    Motion(int link, const char* command, int status, uint64_t ticket)
        : link_(link), command_(command), status_(status), ticket_(ticket)
    {
    }

    /** Waits until the arm has arrived. Refused if it will not, with the controller's words; Cancelled if a stop took
     *  it back, or Arm::cancel ended the wait. */
    Done<Errors> wait() const { return Errors::done(link_, command_, await(-1)); }

    /** Waits at most so long: true for arrived, false for not yet; otherwise as wait(). */
    Value<Errors, bool> wait_for(std::chrono::milliseconds time) const
    {
        const int status = await(detail::milliseconds(time));
        const bool is_on_its_way = status == KX_TIMED_OUT && status_ == KX_SUCCESS;
        return Errors::value(link_, command_, is_on_its_way ? int(KX_SUCCESS) : status, !is_on_its_way);
    }

    /** Whether the arm has arrived; otherwise as wait(). */
    Value<Errors, bool> done() const { return wait_for(std::chrono::milliseconds(0)); }

    /** Stops the arm and drops this and all other planned motions. */
    Done<Errors> stop() const { return Errors::done(link_, "Move_Stop_Cmd", Move_Stop_Cmd(link_, true)); }

    /** The ticket for KX_Link_Await. */
    uint64_t ticket() const { return ticket_; }

    /** How it began; with kx::nothrow::Arm a motion may not have been sent. */
    Status begun() const { return status_; }

  private:
    int await(int milliseconds) const
    {
        return status_ == KX_SUCCESS ? KX_Link_Await(link_, ticket_, milliseconds) : status_;
    }

    int link_;
    const char* command_;
    int status_;
    uint64_t ticket_;
};

/** What begins a motion. */
template <class Errors>
class Moving : public Group<Errors> {
  public:
    using Group<Errors>::Group;

  protected:
    /** Calls the C function without waiting, and keeps hold of what it began. */
    template <class... Parameters, class... Arguments>
    Motion<Errors> begin(const char* command, int (*function)(int, Parameters...),
                         const Arguments&... arguments) const
    {
        const int status = this->status(function, arguments..., false);
        if constexpr (!std::is_same_v<Done<Errors>, Status>) Errors::done(this->link(), command, status);
        return {this->link(), command, status, status == KX_SUCCESS ? KX_Link_Ticket(this->link()) : 0};
    }
};

} // namespace kx

#endif
