// What the page shows of the controller, and what it may do to the controller and its surroundings. No
// network here.
#pragma once

#include <chrono>
#include <optional>

#include "commands/tap.h"
#include "commands/virtual_controller.h"

namespace kx::sim {

class Page : public Tap {
  public:
    /** @param simulated if not, another controller or a recording answers, and the page only looks on */
    Page(Controller& controller, bool simulated) : controller_(controller), simulated_(simulated) {}

    /** What does not change: the model and its geometry. Lengths are metres. */
    Json about() const;

    /** Everything that does, but for `time`, which the controller must have reached (s). */
    Json state(double time) const;

    /** Does what somebody beside the arm asked for with the page. @throws std::exception saying why not */
    void act(const Json& request);

    /** If nothing is simulated, the arm is shown where replies say it is. */
    void passed(double time, int client, Direction direction, const std::string& line) override;

    /** The same, for a state of the arm that the page asked for itself. */
    void shows(const Joints& degrees);

    /** Lets go of whatever the page holds and has not confirmed for a while: it may be gone. */
    void check_hold();

  private:
    using Real = std::chrono::steady_clock;

    void jog(const Json& request);
    void push(const Json& request);
    void teach(const Json& request);
    void lead(const Json& request);
    void set_input(const Json& request);
    void set_object(const Json& request);
    void clear_errors();
    void release();

    Arm& arm() const { return controller_.arm(); }
    Peripherals& peripherals() const { return controller_.peripherals(); }
    std::string mode() const;
    Json errors() const;

    Controller& controller_;
    const bool simulated_;
    Json held_;              ///< the request that holds a joint's button, or pushes the tool
    Real::time_point until_; ///< when the hold is over unless the page confirms it
};

} // namespace kx::sim
