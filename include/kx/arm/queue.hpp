/**
 * @file
 * Where pushes and subscribed states wait for a thread of the application. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_QUEUE_HPP
#define KX_ARM_QUEUE_HPP

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace kx {

/** What comes from an arm, oldest first. Any number of threads may take from it, while and after the arm lives. When it
 *  is full, the oldest goes, and is counted. */
template <class T>
class Queue {
  public:
    /** @param capacity how many may wait, 1 or more */
    explicit Queue(size_t capacity) : capacity_(capacity > 0 ? capacity : 1) {}

    /** Takes the oldest; waits at most so long for one. None when there was none in time, or the queue is closed and empty. */
    std::optional<T> next(std::chrono::milliseconds timeout = std::chrono::milliseconds(0))
    {
        constexpr std::chrono::milliseconds longest = std::chrono::hours(1000000); // more is beyond the clock
        std::unique_lock lock(mutex_);
        something_.wait_for(lock, std::min(timeout, longest),
                            [this] { return !items_.empty() || is_closed_; });
        if (items_.empty()) return std::nullopt;
        std::optional<T> item(std::move(items_.front()));
        items_.pop_front();
        return item;
    }

    /** Takes the newest and drops those before it; none when there is none. */
    std::optional<T> latest()
    {
        const std::lock_guard lock(mutex_);
        if (items_.empty()) return std::nullopt;
        std::optional<T> item(std::move(items_.back()));
        items_.clear();
        return item;
    }

    /** How many were lost because the queue was full. */
    uint64_t lost() const
    {
        const std::lock_guard lock(mutex_);
        return lost_;
    }

    /** How many wait. */
    size_t size() const
    {
        const std::lock_guard lock(mutex_);
        return items_.size();
    }

    /** Whether nothing more will come. */
    bool closed() const
    {
        const std::lock_guard lock(mutex_);
        return is_closed_;
    }

    /** Adds one, unless the queue is closed. */
    void put(T item)
    {
        {
            const std::lock_guard lock(mutex_);
            if (is_closed_) return;
            if (items_.size() == capacity_) {
                items_.pop_front();
                ++lost_;
            }
            items_.push_back(std::move(item));
        }
        something_.notify_one();
    }

    /** Nothing more will come: ends all waits. The arm does this when it is closed. */
    void close()
    {
        {
            const std::lock_guard lock(mutex_);
            is_closed_ = true;
        }
        something_.notify_all();
    }

  private:
    const size_t capacity_;
    mutable std::mutex mutex_;
    std::condition_variable something_;
    std::deque<T> items_;
    uint64_t lost_ = 0;
    bool is_closed_ = false;
};

} // namespace kx

#endif
