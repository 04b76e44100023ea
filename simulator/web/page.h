// What the page shows of the controller, and what it may do to the controller and its surroundings. No
// network here.
#pragma once

#include <chrono>
#include <optional>

#include "commands/tap.h"
#include "commands/virtual_controller.h"
#include "kx/arm_model.h"
#include "web/operator.h"

namespace kx::sim {

class Page : public Tap {
  public:
    /** @param simulated if not, another controller or a recording answers, and the page only looks on */
    Page(Controller& controller, bool simulated)
        : controller_(controller), simulated_(simulated), operator_(controller.arm())
    {
        Arm_Model_Init(&model_, arm().model.code, 0);
    }

    /** What does not change: the model and its geometry. Lengths are metres. */
    Json about() const;

    /** Everything that does, but for the time. */
    Json state() const;

    /** Does what somebody beside the arm asked for with the page.
     * @param from the address of the page's machine
     * @throws std::exception saying why not */
    void act(const Json& request, const std::string& from);

    /** If nothing is simulated, the arm is shown where replies say it is. */
    void passed(double time, int client, Direction direction, const std::string& line) override;

    /** The same, for a state of the arm that the page asked for itself. */
    void shows(const Joints& degrees);

    /** It was told one that no arm of its model has. */
    void wonders() { strange_ = true; }

    /** Time has gone on (s). Lets go of whatever the page holds and has not confirmed for a while: it may be gone. */
    void look(double time);

    bool holds() const { return hold_.has_value(); }

  private:
    using Real = std::chrono::steady_clock;

    /** What a button of some page does for as long as it is held. It belongs to that page: only that one can
     * prolong it, and nobody can begin another one meanwhile. */
    struct Hold {
        std::string page; ///< what it calls itself
        double number;    ///< its holds, counted
        std::string what, from;
        Real::time_point until; ///< when it is over unless the page confirms it
    };

    void hold(const Json& request, const std::string& from);
    void confirm(const Json& request);
    std::string push(const Json& request);
    void teach(const Json& request);
    void lead(const Json& request);
    void set_input(const Json& request);
    void set_object(const Json& request);
    void clear_errors();
    void release();

    Arm& arm() const { return controller_.arm(); }
    Peripherals& peripherals() const { return controller_.peripherals(); }
    std::string mode() const;
    Json planned() const;
    Json machine() const;
    double dexterity() const;
    Json source() const;
    Json errors() const;

    Controller& controller_;
    const bool simulated_;
    std::optional<Hold> hold_;
    Operator operator_;
    ARM_MODEL model_; ///< for what the library knows of arms

    // Of an arm that is not simulated here.
    std::optional<Real::time_point> heard_; ///< when something told last where it is
    std::size_t told_joints_ = 0;           ///< how many angles that had
    bool strange_ = false;                  ///< what was told last was of another arm
};

} // namespace kx::sim
