// What somebody at the page does to the arm by hand: jogs and steps its joints or its tool, sends it to targets.
#pragma once

#include <optional>

#include "arm/arm.h"
#include "commands/json.h"

namespace kx::sim {

class Operator {
  public:
    explicit Operator(Arm& arm) : arm_(arm) {}

    /** Jogs a joint, or the tool along or about an axis of a frame, until it is let go. Returns what is jogged. */
    std::string jog(const Json& request);
    void let_go();

    /** Moves a joint, or the tool along or about an axis of a frame, by so many degrees or mm. Steps add up. */
    void step(const Json& request);

    /** Goes to joint angles or to a pose, or will do so when the arm has reached where it was sent before. */
    void go(const Json& request);

    /** Time has gone on (s). What is jogged slides along the end of its reach; and where one motion has failed, the
     * next ones are not begun. */
    void look(double time);

    bool slides() const { return slide_ && slide_->begun; }

    /** Why the last motion that failed did so, with its number; null if none did. */
    const Json& notice() const { return notice_; }

  private:
    /** A tool that is jogged along an axis; when it can go no farther, it goes on as straight ahead as can be. */
    struct Slide {
        KDL::Vector ahead; ///< in the base, of length 1
        double speed;      ///< m/s
        bool begun = false;
        KDL::Frame tool = {}; ///< in the base, where it was sent last
        Joints joints = {};
    };

    KDL::Twist in_work_frame(const Json& request) const;
    void check_free() const;
    template <typename Ask>
    void send(Ask ask);
    void slide(double seconds);
    bool go_on(const KDL::Vector& way, double seconds);

    Arm& arm_;
    std::optional<Slide> slide_;
    int under_way_ = 0; ///< motions that were asked for here
    bool failed_ = false;
    Json notice_;
    int notices_ = 0;
    double time_ = 0;
};

} // namespace kx::sim
