// The named tool and work frames that the controller stores, how they are taught, and how the active ones
// bear on the pose that it reports.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include <kdl/frames.hpp>

#include "arm/refused.h"
#include "kx/types.h"

namespace kx::sim {

/** What the tool carries, its own mass included. */
struct Load {
    double mass = 0;                ///< kg
    std::array<double, 3> centre{}; ///< of mass, in the numbers in which clients give it
};

struct ToolFrame {
    POSE pose{}; ///< in the flange
    Load load;
};

/** @throws Refused unless clients can read the name back: 1 to 9 characters, none of which needs escaping */
void check_frame_name(const std::string& name);

/** Frames by name, one of them active. The first one is always there, and is the reference itself. */
template <class Frame>
class NamedFrames {
  public:
    /** The names of so many, 9 characters each, fit into one reply. */
    static constexpr std::size_t capacity = 20;

    explicit NamedFrames(const char* reference) : frames_{{reference, Frame{}}} {}

    /** Stores a new frame or other values for an old one. */
    void set(const std::string& name, const Frame& frame)
    {
        check_frame_name(name);
        const std::size_t i = index(name);
        if (i == 0) throw Refused("this frame cannot be changed");
        if (i == capacity) throw Refused("there is no room for another frame");
        if (i == frames_.size()) frames_.push_back({name, {}});
        frames_[i].second = frame;
    }

    void activate(const std::string& name) { active_ = known(name); }

    void erase(const std::string& name)
    {
        const std::size_t i = known(name);
        if (i == 0) throw Refused("this frame cannot be deleted");
        if (i == active_) throw Refused("the frame is active");
        frames_.erase(frames_.begin() + static_cast<std::ptrdiff_t>(i));
        if (active_ > i) --active_;
    }

    const Frame& operator[](const std::string& name) const { return frames_[known(name)].second; }
    Frame& active() { return frames_[active_].second; }
    const Frame& active() const { return frames_[active_].second; }
    const std::string& active_name() const { return frames_[active_].first; }
    bool reference_is_active() const { return active_ == 0; }

    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (const auto& frame : frames_)
            names.push_back(frame.first);
        return names;
    }

  private:
    std::size_t index(const std::string& name) const
    {
        std::size_t i = 0;
        while (i < frames_.size() && frames_[i].first != name)
            ++i;
        return i;
    }

    std::size_t known(const std::string& name) const
    {
        const std::size_t i = index(name);
        if (i == frames_.size()) throw Refused("there is no frame of this name");
        return i;
    }

    std::vector<std::pair<std::string, Frame>> frames_;
    std::size_t active_ = 0;
};

/** What poses mean: those of the tool, seen from the work frame. */
struct Frames {
    KDL::Frame tool; ///< in the flange
    KDL::Frame work; ///< in the base

    KDL::Frame tool_in_base(const POSE& pose) const;
    KDL::Frame tool_of(const KDL::Frame& flange) const { return flange * tool; }
    KDL::Frame flange_of(const KDL::Frame& tool_in_base) const { return tool_in_base * tool.Inverse(); }
    POSE pose_of(const KDL::Frame& tool_in_base) const;
};

class StoredFrames {
  public:
    NamedFrames<ToolFrame> tools{"flange"};
    NamedFrames<POSE> works{"base"}; ///< in the base

    Frames active() const;

    /** Poses are those of the flange in the base. */
    bool are_references() const { return tools.reference_is_active() && works.reference_is_active(); }

    /** Keeps where the flange is while the new tool's tip touches one and the same point: at least three
     *  times, each time with another orientation. */
    void teach_tool(int point, const KDL::Frame& flange);

    /** The tool frame that puts all taught points into one place, turned as the flange. The points are used
     *  up. @throws Refused if they are too few, or do not agree with each other */
    void generate_tool(const std::string& name, const Load& load);

    /** Keeps where the active tool is: at the work frame's origin (point 1), on its x axis (2), on the side
     *  of its y axis (3), which completes the frame. */
    void teach_work(const std::string& name, int point, const KDL::Frame& flange);

  private:
    std::map<int, KDL::Frame> tool_points_; ///< of the flange
    std::map<int, KDL::Vector> work_points_;
};

} // namespace kx::sim
