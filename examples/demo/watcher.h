// Watches an arm from a thread of its own, beside whatever the application does with it: prints a running table and
// keeps the samples for a picture.
#pragma once

#include "kx/arm.hpp"
#include "picture.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <thread>
#include <unistd.h>

class Watcher {
  public:
    explicit Watcher(const kx::Arm& arm) : arm_(arm), thread_(&Watcher::watch_until_lost, this) {}

    ~Watcher() { stop(); }

    void stop()
    {
        stopping_ = true;
        if (thread_.joinable()) thread_.join();
    }

    // Names what happens from now on.
    void phase(const std::string& name, Phase::Shown shown = Phase::Shown::plain)
    {
        const std::lock_guard lock(mutex_);
        phases_.push_back({now(), 0, name, shown});
        row_is_due_ = true;
    }

    // What was seen since then.
    std::vector<Sample> samples_of_phase()
    {
        const std::lock_guard lock(mutex_);
        const auto begins = [this](const Sample& sample) { return sample.time >= phases_.back().begin; };
        return {std::find_if(samples_.begin(), samples_.end(), begins), samples_.end()};
    }

    // A line between the rows of the table.
    template <class... Values>
    void say(const char* format, Values... values)
    {
        const std::lock_guard lock(mutex_);
        if (is_terminal_) printf("\r\033[K");
        printf(format, values...);
        printf("\n");
    }

    // How far the joint that moved most has moved in the last seconds, degrees.
    double travel(double seconds)
    {
        const std::lock_guard lock(mutex_);
        double result = 0;
        for (int j = 0; j < joints(); ++j) {
            double low = 1e9, high = -1e9;
            for (const Sample& sample : samples_) {
                if (sample.time < now() - seconds) continue;
                low = std::min(low, sample.joint[static_cast<size_t>(j)]);
                high = std::max(high, sample.joint[static_cast<size_t>(j)]);
            }
            result = std::max(result, high - low);
        }
        return result;
    }

    // After stop().
    bool picture(const std::string& file)
    {
        for (size_t i = 0; i < phases_.size(); ++i)
            phases_[i].end = i + 1 < phases_.size() ? phases_[i + 1].begin : samples_.back().time;
        return draw(file, "KX Service drives an arm of model " + std::to_string(arm_.model()), joints(),
                    samples_, phases_);
    }

  private:
    double now() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

    int joints() const { return arm_.joint_count(); }

    void watch_until_lost()
    {
        try {
            watch();
        } catch (const kx::Error&) { // whoever drives the arm gets it, too
        }
    }

    void watch()
    {
        print_heading();
        const kx::Model kinematics = arm_.kinematics();
        for (; !stopping_; std::this_thread::sleep_for(std::chrono::milliseconds(20))) {
            const kx::Degrees joint = arm_.joints();
            const kx::Pose tool = *kinematics.pose(joint);
            Sample sample = {now(), {}, tool.x, tool.y, tool.z};
            std::copy(joint.begin(), joint.end(), sample.joint.begin());

            const std::lock_guard lock(mutex_);
            samples_.push_back(sample);
            print(sample);
        }
        if (is_terminal_) printf("\r\033[K");
    }

    void print_heading() const
    {
        std::string heading = "    time ";
        for (int j = 1; j <= joints(); ++j)
            heading += "  joint " + std::to_string(j);
        heading += "     x mm    y mm    z mm";
        printf(is_terminal_ ? "\033[1m%s\033[0m\n" : "%s\n", heading.c_str());
    }

    // A row every half second and for every new phase; on a terminal every sample in between, in place.
    void print(const Sample& sample)
    {
        const bool is_due = row_is_due_ || sample.time - printed_ >= 0.5;
        if (!is_due && !is_terminal_) return;
        if (is_terminal_) printf("\r\033[K");
        printf("%6.2f s ", sample.time);
        for (int j = 0; j < joints(); ++j)
            printf("%9.3f", sample.joint[static_cast<size_t>(j)]);
        printf("  %8.1f%8.1f%8.1f  %s", 1000 * sample.x, 1000 * sample.y, 1000 * sample.z,
               phases_.empty() ? "" : phases_.back().name.c_str());
        if (is_due) {
            printf("\n");
            printed_ = sample.time;
            row_is_due_ = false;
        }
        fflush(stdout);
    }

    const kx::Arm& arm_;
    const kx::Time start_ = std::chrono::steady_clock::now();
    const bool is_terminal_ = isatty(STDOUT_FILENO);
    std::mutex mutex_; // guards what follows, and the terminal
    std::vector<Sample> samples_;
    std::vector<Phase> phases_;
    double printed_ = -1; // time of the last row that was kept
    bool row_is_due_ = false;
    std::atomic<bool> stopping_ = false;
    std::thread thread_;
};
