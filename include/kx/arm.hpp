/**
 * @file
 * Robot arms for C++ programs: kx::Arm connects, moves, reads and sets, with types that know their units, and errors
 * that say what to do. C++20, header only, over the C functions and a link.
 *
 *     #include "kx/arm.hpp"
 *
 *     kx::Arm arm("192.0.2.10", 8080, 46);
 *     arm.move_joints(kx::Degrees{30, -20, 45, 0, 50, 0}).wait();
 *     arm.io.set_output(1, true);
 *
 * kx::nothrow::Arm is the same without exceptions: each command returns a kx::Status, each question a kx::Result.
 */
#ifndef KX_ARM_HPP
#define KX_ARM_HPP

#if __cplusplus < 202002L
#error "kx/arm.hpp is for C++20: g++ -std=c++20, or CMAKE_CXX_STANDARD at 20"
#endif

#include "kx/arm/callbacks.hpp"
#include "kx/arm/end_effectors.hpp"
#include "kx/arm/errors.hpp"
#include "kx/arm/force.hpp"
#include "kx/arm/frames.hpp"
#include "kx/arm/io.hpp"
#include "kx/arm/lift_and_base.hpp"
#include "kx/arm/modbus.hpp"
#include "kx/arm/model.hpp"
#include "kx/arm/motion.hpp"
#include "kx/arm/settings.hpp"
#include "kx/arm/stream.hpp"
#include "kx/arm/teaching.hpp"

#include <memory>
#include <string>

namespace kx {

/**
 * An arm, connected as long as this lives.
 *
 * Any number of threads may call any of its functions at once, but for moving and destroying it. The functions of the C
 * interface take handle() for whatever is not here. Every command returns when the controller has answered; a motion
 * is a kx::Motion, which runs on by itself.
 *
 * @tparam Errors kx::Throwing for kx::Arm, kx::Returning for kx::nothrow::Arm
 */
template <class Errors>
class BasicArm : public Moving<Errors> {
    using Base = Moving<Errors>;
    using Base::begin, Base::done;

  public:
    /**
     * Connects to a controller.
     * @param host a name, or an IPv4 or IPv6 address
     * @param port TCP port, 1 to 65535
     * @param model 36 or 46 (six joints), 47 (seven)
     * @param options deadlines, reconnecting, callbacks
     */
    BasicArm(const std::string& host, int port, int model, const Options& options = {})
        : BasicArm(host, port, model,
                   std::make_unique<detail::Callbacks>(options, Bond{0, model}.joint_count()))
    {
    }

    /** What was another's; that one may then only be destroyed. */
    BasicArm(BasicArm&& other) noexcept = default;

    BasicArm& operator=(BasicArm&&) = delete;

    /** Closes the connection. Whoever waits on it gets KX_CANCELLED; the arm itself goes on with what it was doing. */
    ~BasicArm() { close(); }

    /** Closes the connection now. From then on every command ends with KX_BAD_DESCRIPTOR. */
    void close()
    {
        if (!callbacks_) return;
        KX_Link_Close(this->link());
        callbacks_->close();
    }

    /** Whether it could connect, with kx::nothrow::Arm. */
    Status connected() const { return connected_; }

    /** For the functions of the C interface. */
    int handle() const { return this->link(); }

    /** 36, 46 or 47. */
    int model() const { return this->bond().model; }

    /** Six or seven. */
    int joint_count() const { return Base::joint_count(); }

    /** The arm's kinematics, with an identity tool, upright, with the limits that such an arm has. */
    Model kinematics() const { return Model(model()); }

    /** @name Motion
     *  Each gives the motion to the controller and returns; `.wait()` waits for arrival. Motions run one after the
     *  other.
     *  @{ */

    /** Moves all joints to a target, arriving together. */
    Motion<Errors> move_joints(const Degrees& target, const Pace& pace = {}) const
    {
        return begin(KX_NAMED(Movej_Cmd), target, pace.speed_percent, pace.blend_m);
    }

    /** Moves all joints such that the tool arrives at a pose. */
    Motion<Errors> move_to(const Pose& target, const Pace& pace = {}) const
    {
        return begin(KX_NAMED(Movej_P_Cmd), target, pace.speed_percent, pace.blend_m);
    }

    /** Moves the tool along a straight line to a pose. */
    Motion<Errors> move_line(const Pose& target, const Pace& pace = {}) const
    {
        return begin(KX_NAMED(Movel_Cmd), target, pace.speed_percent, pace.blend_m);
    }

    /** Moves the tool along the circle through two poses, to the second one, and `repeats` times (0 to 255) more. */
    Motion<Errors> move_circle(const Pose& via, const Pose& target, const Pace& pace = {},
                               int repeats = 0) const
    {
        return begin(KX_NAMED(Movec_Cmd), via, target, pace.speed_percent, pace.blend_m, repeats);
    }

    /** Stops the arm and drops all planned motions. */
    Done<Errors> stop() const { return done(KX_NAMED(Move_Stop_Cmd), true); }

    /** Pauses the running motion. */
    Done<Errors> pause() const { return done(KX_NAMED(Move_Pause_Cmd), true); }

    /** Continues a paused motion. */
    Done<Errors> resume() const { return done(KX_NAMED(Move_Continue_Cmd), true); }

    /** Drops the running motion. */
    Done<Errors> drop_motion() const { return done(KX_NAMED(Clear_Current_Trajectory), true); }

    /** Drops all planned motions. */
    Done<Errors> drop_all_motions() const { return done(KX_NAMED(Clear_All_Trajectory), true); }

    /** Lets the controller wait between two motions, 1 ms to 1 h. */
    Done<Errors> wait_between_motions(std::chrono::milliseconds time) const
    {
        return done(KX_NAMED(Timer), time.count(), true);
    }

    /** The kind of the running motion. */
    Value<Errors, ARM_CTRL_MODES> motion_kind() const
    {
        ARM_CTRL_MODES kind = None_Mode;
        float untouched[7] = {};
        const int status = Get_Current_Trajectory(this->link(), &kind, untouched);
        return Base::outcome("Get_Current_Trajectory", status, kind);
    }

    /** The number of the running plan. */
    Value<Errors, int> plan_number() const { return Base::template ask<int>(KX_NAMED(Get_Arm_Plan_Num)); }

    /** Sends joint angles straight to the drives; awaits nothing. Each must lie close to the one before, 200 a second;
     *  pushes() tell what became of them. */
    Done<Errors> send_joints(const Degrees& target) const { return done(KX_NAMED(Movej_CANFD), target); }

    /** The same with a pose. */
    Done<Errors> send_pose(const Pose& target) const { return done(KX_NAMED(Movep_CANFD), target); }
    /** @} */

    /** @name State
     *  @{ */

    /** Joint angles, tool pose and error codes. */
    Value<Errors, State> state() const
    {
        State state;
        POSE pose = {};
        unsigned short arm_error = 0, controller_error = 0;
        state.joints = Base::template of_all_joints<Degrees>();
        const int status =
            Get_Current_Arm_State(this->link(), state.joints.data(), &pose, &arm_error, &controller_error);
        state.pose = Pose::of(pose);
        state.arm_error = arm_error;
        state.controller_error = controller_error;
        state.status = status;
        return Base::outcome("Get_Current_Arm_State", status, state);
    }

    /** The joint angles. */
    Value<Errors, Degrees> joints() const
    {
        return Base::template ask_joints<Degrees>(KX_NAMED(Get_Joint_Degree));
    }

    /** Temperatures, voltages, currents and error codes of the joints: two questions. */
    Value<Errors, JointHealth> health() const
    {
        JOINT_STATE raw = {};
        JointHealth health;
        health.temperature_celsius = Base::template of_all_joints<PerJoint<float>>();
        const char* command = "Get_Arm_All_State";
        int status = Get_Arm_All_State(this->link(), &raw);
        if (status == KX_SUCCESS) {
            command = "Get_Joint_Temperature";
            status = Get_Joint_Temperature(this->link(), health.temperature_celsius.data());
        }
        const auto joints = static_cast<size_t>(joint_count());
        health.voltage_volt = PerJoint<float>(std::span<const float>(raw.voltage, joints));
        health.current_ampere = PerJoint<float>(std::span<const float>(raw.current, joints));
        health.error = Base::template of_all_joints<PerJoint<int>>();
        std::copy_n(raw.err_flag, joints, health.error.begin());
        health.controller_error = raw.sys_err;
        return Base::outcome(command, status, health);
    }

    /** Sets the arm's initial joint position. */
    Done<Errors> set_home(const Degrees& joints) const
    {
        return done(KX_NAMED(Set_Arm_Init_Pose), joints, true);
    }

    /** The arm's initial joint position. */
    Value<Errors, Degrees> home() const
    {
        return Base::template ask_joints<Degrees>(KX_NAMED(Get_Arm_Init_Pose));
    }

    /** Every push from now on, in a queue. Each call makes another queue, which ends when it is let go. */
    std::shared_ptr<Queue<Push>> pushes(size_t capacity = 256) const
    {
        return callbacks_->add_queue(capacity);
    }

    /** Has the state asked for at a rate, up to 1000 Hz, and handed to a callback; ends what was subscribed before. */
    Done<Errors> subscribe(double hertz, std::function<void(const State&)> callback) const
    {
        KX_Link_Subscribe(this->link(), 0, nullptr, nullptr);
        callbacks_->set_subscriber(std::move(callback));
        return Base::outcome(
            "KX_Link_Subscribe",
            KX_Link_Subscribe(this->link(), hertz, detail::Callbacks::take_state, callbacks_.get()));
    }

    /** Ends that. */
    Done<Errors> unsubscribe() const
    {
        const int status = KX_Link_Subscribe(this->link(), 0, nullptr, nullptr);
        callbacks_->set_subscriber(nullptr);
        return Base::outcome("KX_Link_Subscribe", status);
    }

    /** The state at a rate, above 0 and up to 1000 Hz, in a queue; ends what was subscribed before. The queue is closed by unsubscribe(),
     *  by the next subscription, and with the arm. */
    Value<Errors, std::shared_ptr<Queue<State>>> states(double hertz, size_t capacity = 16) const
    {
        auto queue = std::make_shared<Queue<State>>(capacity);
        KX_Link_Subscribe(this->link(), 0, nullptr, nullptr);
        const std::shared_ptr<void> closes(nullptr, [queue](void*) { queue->close(); });
        callbacks_->set_subscriber([queue, closes](const State& state) { queue->put(state); });
        const double rate = hertz > 0 ? hertz : -1; // with 0 the queue would wait for ever
        const int status =
            KX_Link_Subscribe(this->link(), rate, detail::Callbacks::take_state, callbacks_.get());
        return Base::outcome("KX_Link_Subscribe", status, std::move(queue));
    }
    /** @} */

    /** @name Groups
     *  @{ */
    Drives<Errors> drives{this->bond()};         /**< settings of single joints */
    Settings<Errors> settings{this->bond()};     /**< settings of the arm as a whole */
    System<Errors> system{this->bond()};         /**< power, errors, versions */
    Controller<Errors> controller{this->bond()}; /**< supply, network */
    Frames<Errors> frames{this->bond()};         /**< tool and work frames, payload */
    Io<Errors> io{this->bond()};                 /**< inputs and outputs */
    Gripper<Errors> gripper{this->bond()};       /**< two fingers */
    Hand<Errors> hand{this->bond()};             /**< five fingers */
    Force<Errors> force{this->bond()};           /**< force sensing and control */
    Lift<Errors> lift{this->bond()};             /**< vertical lift */
    MobileBase<Errors> base{this->bond()};       /**< mobile base */
    Teaching<Errors> teaching{this->bond()};     /**< jogging, steps, waypoints */
    Dragging<Errors> dragging{this->bond()};     /**< teaching by hand */

    /** Opens a port for Modbus, closed when the result goes. */
    Modbus<Errors> modbus(ModbusPort port, int bits_per_s = 115200,
                          std::chrono::milliseconds timeout = std::chrono::seconds(1)) const
    {
        return {this->bond(), port, bits_per_s, timeout};
    }

    /** Opens a stream of targets, which brakes and ends when the result goes. One at a time. */
    Stream<Errors> stream(const KX_STREAM_OPTIONS& options = stream_options()) const
    {
        return {this->bond(), options};
    }
    /** @} */

    /** @name Connection
     *  @{ */

    /** Ends all present waits of all threads on this arm with KX_CANCELLED. What was sent stays sent: this stops no arm. */
    void cancel() const { KX_Link_Cancel(this->link()); }

    /** How the connection is. */
    KX_LINK_STATE connection() const { return KX_Link_State(this->link()); }

    /** Waits until the connection is ready, after a loss with Options::reconnect. */
    Done<Errors> wait_until_ready(std::chrono::milliseconds timeout) const
    {
        return Base::outcome("KX_Link_Wait",
                             KX_Link_Wait(this->link(), KX_LINK_READY, detail::milliseconds(timeout)));
    }

    /** Makes settings now, and again on each later connection before the arm is ready: `arm.set_up([&] {
     *  arm.frames.use_tool("gripper"); })`. Only settings and questions are allowed inside. */
    template <class Function>
    Done<Errors> set_up(Function function) const
    {
        const int status = KX_Link_Begin_Setup(this->link());
        if (status != KX_SUCCESS) return Base::outcome("KX_Link_Begin_Setup", status);
        const struct Setup {
            int link;
            ~Setup() { KX_Link_End_Setup(link); }
        } setup{this->link()};
        function();
        return Base::outcome("KX_Link_Begin_Setup", KX_SUCCESS);
    }

    /** Sets how long answers are waited for, 1 ms or more. */
    Done<Errors> set_timeout(std::chrono::milliseconds timeout) const
    {
        return Base::outcome("KX_Link_Timeout", KX_Link_Timeout(this->link(), detail::milliseconds(timeout)));
    }

    /** What the connection has done. */
    KX_LINK_COUNTERS counters() const
    {
        KX_LINK_COUNTERS counters = {};
        counters.size = sizeof counters;
        KX_Link_Counters(this->link(), &counters);
        return counters;
    }

    /** What the controller said when it last refused something that this thread had waited for. */
    std::string reason() const { return reason_of_refusal(this->link()); }
    /** @} */

  private:
    BasicArm(int opened, const std::string& where, int model, std::unique_ptr<detail::Callbacks>&& callbacks)
        : Base({opened < 0 ? Bond::no_link : opened, model}),
          connected_(opened < 0 ? -opened : int(KX_SUCCESS)), callbacks_(std::move(callbacks))
    {
        if constexpr (!std::is_same_v<Done<Errors>, Status>)
            Errors::done(this->link(), "KX_Link_Open", connected_.code(), where.c_str());
    }

    BasicArm(const std::string& host, int port, int model, std::unique_ptr<detail::Callbacks>&& callbacks)
        : BasicArm(open(host, port, model, *callbacks), host + ":" + std::to_string(port), model,
                   std::move(callbacks))
    {
    }

    static int open(const std::string& host, int port, int model, detail::Callbacks& callbacks)
    {
        if (host.find('\0') != std::string::npos) return -KX_UNKNOWN_HOST;
        const KX_LINK_OPTIONS options = callbacks.c_options();
        return KX_Link_Open(host.c_str(), port, model, &options);
    }

    Status connected_;
    std::unique_ptr<detail::Callbacks> callbacks_;
};

#if __cpp_exceptions
using Arm = BasicArm<Throwing>; /**< an arm whose errors are exceptions */
#endif

/** The same without exceptions. */
namespace nothrow {
using Arm = BasicArm<Returning>; /**< an arm whose errors are returned */
} // namespace nothrow

/** Has the calling thread wait so long for answers, on whatever arm, while this lives. */
class CallTimeout {
  public:
    /** @param timeout 1 ms or more */
    explicit CallTimeout(std::chrono::milliseconds timeout)
        : before_(KX_Link_Call_Timeout(detail::milliseconds(timeout)))
    {
    }
    CallTimeout(const CallTimeout&) = delete;
    ~CallTimeout() { KX_Link_Call_Timeout(before_); }

  private:
    const int before_;
};

#if __cpp_exceptions
/** Stops an arm when the block in which this stands is left by an exception. */
class StopOnException {
  public:
    /** @param arm must live longer */
    explicit StopOnException(const Arm& arm) : link_(arm.handle()), before_(std::uncaught_exceptions()) {}
    StopOnException(const StopOnException&) = delete;
    ~StopOnException()
    {
        if (std::uncaught_exceptions() > before_) Move_Stop_Cmd(link_, true);
    }

  private:
    const int link_, before_;
};
#endif

} // namespace kx

#undef KX_NAMED

#endif
