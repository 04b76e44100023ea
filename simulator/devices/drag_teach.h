// Teaching by hand: an operator leads the arm, its way is recorded and can be replayed at the speed at which
// it was led.
#pragma once

#include "arm/arm.h"
#include "arm/world.h"

namespace kx::sim {

/** Which joints the operator can move. */
enum class Freedom { all = 0, position = 1, orientation = 2 };

class DragTeach {
  public:
    DragTeach(Arm& arm, const World& world) : arm_(arm), world_(world) {}

    void start(bool record, Freedom freedom);
    void stop();
    void break_off() { teaching_ = false; }

    /** The operator leads the arm to a place, not to where else they would have led it. */
    void lead(const Joints& place);

    bool teaching() const { return teaching_; }

    /** Moves the arm to where the recording begins. */
    void go_to_origin(Arm::Ended ended);

    void run();
    void pause();
    void resume();
    void stop_running();

    void advance(double time);

  private:
    /** The operator's hand on the way from one place to the next. */
    struct Leg {
        Joints from, to;
        double begin, duration; ///< s
        bool gently;            ///< from rest to rest
    };

    void plan_operator();
    Leg leg(const Joints& from, Joints to, double begin, double speed, bool gently) const;
    Joints led_to(double time) const;
    void check_running() const;

    Arm& arm_;
    const World& world_;
    double time_ = 0;

    bool teaching_ = false, recording_ = false;
    Freedom freedom_ = Freedom::all;
    std::vector<Leg> legs_;
    double sampled_ = 0; ///< when the last sample was taken
    std::vector<Joints> samples_;

    bool running_ = false; ///< the replay
};

} // namespace kx::sim
