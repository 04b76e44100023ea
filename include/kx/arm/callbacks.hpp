/**
 * @file
 * What an arm calls, and which queues it fills. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_CALLBACKS_HPP
#define KX_ARM_CALLBACKS_HPP

#include "kx/arm/queue.hpp"
#include "kx/arm/values.hpp"

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace kx {

/** What a connection shall be like. Times of 0 are the library's defaults, as KX_LINK_OPTIONS gives them. Callbacks run
 *  on one thread of the library, one at a time; they may call whatever does not wait, must not throw, and may not destroy the arm. */
struct Options {
    std::chrono::milliseconds connect_timeout{}; /**< for opening, and each later attempt; 3 s */
    std::chrono::milliseconds reply_timeout{};   /**< for an answer; 3 s */
    std::chrono::milliseconds late_reply{};      /**< how much later an answer may still come; 2 s */
    std::chrono::milliseconds
        silence{};          /**< how long a controller may be silent before it counts as lost; 5 s */
    bool reconnect = false; /**< connect again after a loss, as Arm::set_up says */
    std::function<void(const Push&)> on_push{};    /**< receives every push */
    std::function<void(KX_LINK_STATE)> on_state{}; /**< is told when the connection is lost, and mended */
    std::function<void(KX_LINK_EVENT, std::string_view)> on_log{}; /**< is told each line and change */
};

namespace detail {

/** What a link hands to an arm's callbacks and queues; lives as long as the link. */
class Callbacks {
    using Subscriber = std::function<void(const State&)>;

  public:
    /** For an arm of six or seven joints. */
    Callbacks(const Options& options, int joint_count) : options_(options), joint_count_(joint_count) {}

    /** The C functions' options that lead here. */
    KX_LINK_OPTIONS c_options()
    {
        KX_LINK_OPTIONS options;
        KX_Link_Defaults(&options);
        options.connect_timeout_ms = milliseconds(options_.connect_timeout);
        options.reply_timeout_ms = milliseconds(options_.reply_timeout);
        options.late_reply_ms = milliseconds(options_.late_reply);
        options.silence_ms = milliseconds(options_.silence);
        options.reconnect = options_.reconnect;
        options.user = this;
        options.on_push = [](const CallbackData* push, void* user) {
            static_cast<Callbacks*>(user)->take(*push);
        };
        if (options_.on_state)
            options.on_state = [](int, KX_LINK_STATE state, void* user) {
                static_cast<Callbacks*>(user)->options_.on_state(state);
            };
        if (options_.on_log)
            options.on_log = [](int, KX_LINK_EVENT event, const char* text, int length, void* user) {
                static_cast<Callbacks*>(user)->options_.on_log(event, {text, static_cast<size_t>(length)});
            };
        return options;
    }

    /** A further queue for pushes. */
    std::shared_ptr<Queue<Push>> add_queue(size_t capacity)
    {
        auto queue = std::make_shared<Queue<Push>>(capacity);
        const std::lock_guard lock(mutex_);
        std::erase_if(pushes_, [](const auto& weak) { return weak.expired(); });
        if (is_closed_)
            queue->close();
        else
            pushes_.push_back(queue);
        return queue;
    }

    /** Who receives subscribed states from now on. */
    void set_subscriber(Subscriber subscriber)
    {
        auto other = std::make_shared<const Subscriber>(std::move(subscriber));
        const std::lock_guard lock(mutex_);
        subscriber_.swap(other); // which is destroyed with the mutex free: it is the application's
    }

    /** Hands a subscribed state over: a KX_ARM_STATE_CALLBACK. */
    static void take_state(const KX_ARM_STATE* state, void* user)
    {
        static_cast<Callbacks*>(user)->take(*state);
    }

    /** Ends the waits of all queues. */
    void close()
    {
        std::shared_ptr<const Subscriber> none; // destroyed with the mutex free
        const std::lock_guard lock(mutex_);
        is_closed_ = true;
        for (const auto& weak : pushes_)
            if (const auto queue = weak.lock()) queue->close();
        subscriber_.swap(none);
    }

  private:
    static Time at(uint64_t nanoseconds) { return Time(std::chrono::nanoseconds(nanoseconds)); }

    void take(const CallbackData& raw)
    {
        Push push;
        push.type = raw.push_type;
        push.result = raw.result;
        push.joints = Degrees(std::span<const float>(raw.joint, static_cast<size_t>(joint_count_)));
        for (float& angle : push.joints) // from thousandths
            angle /= 1000;
        const float* pose = raw.pose; // millionths and thousandths
        push.pose = Pose::m_rad(pose[0] / 1e6, pose[1] / 1e6, pose[2] / 1e6, pose[3] / 1e3, pose[4] / 1e3,
                                pose[5] / 1e3);
        push.received = std::chrono::steady_clock::now();
        if (options_.on_push) options_.on_push(push);
        const std::lock_guard lock(mutex_);
        for (const auto& weak : pushes_)
            if (const auto queue = weak.lock()) queue->put(push);
    }

    void take(const KX_ARM_STATE& raw)
    {
        std::shared_ptr<const Subscriber> subscriber;
        {
            const std::lock_guard lock(mutex_);
            subscriber = subscriber_;
        }
        State state;
        state.joints = Degrees(std::span<const float>(raw.joint, static_cast<size_t>(joint_count_)));
        state.pose = Pose::of(raw.pose);
        state.arm_error = raw.arm_err;
        state.controller_error = raw.sys_err;
        state.asked = at(raw.asked_ns);
        state.answered = at(raw.answered_ns);
        state.status = raw.status;
        if (subscriber && *subscriber) (*subscriber)(state);
    }

    const Options options_;
    const int joint_count_;
    std::mutex mutex_; // guards what follows
    bool is_closed_ = false;
    std::vector<std::weak_ptr<Queue<Push>>> pushes_;
    std::shared_ptr<const Subscriber> subscriber_;
};

} // namespace detail

} // namespace kx

#endif
