/**
 * @file
 * Tool and work frames, and the payload. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_FRAMES_HPP
#define KX_ARM_FRAMES_HPP

#include "kx/arm/group.hpp"

#include <string>
#include <vector>

namespace kx {

/** Frames that the controller stores by name (at most 9 characters), one of each kind in use; and the payload. */
template <class Errors>
class Frames : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

    static Frame of(const FRAME& frame, const std::string& name)
    {
        // Centres of mass go out in thousandths and come back in millionths.
        return {name, Pose::of(frame.pose), frame.payload, {1000 * frame.x, 1000 * frame.y, 1000 * frame.z}};
    }

    static std::vector<std::string> names(const FRAME_NAME (&frames)[100])
    {
        std::vector<std::string> names;
        for (const FRAME_NAME& frame : frames)
            if (frame.name[0]) names.emplace_back(frame.name);
        return names;
    }

  public:
    using Base::Base;

    /** Stores a tool frame: `{"gripper", Pose::mm_deg(0, 0, 120), 0.8f}`. */
    Done<Errors> set_tool(const Frame& tool) const
    {
        return done(KX_NAMED(Manual_Set_Tool_Frame), tool.name, tool.pose, tool.payload_kg, tool.centre_m[0],
                    tool.centre_m[1], tool.centre_m[2], true);
    }

    /** Makes a stored tool frame the active one. */
    Done<Errors> use_tool(const std::string& name) const
    {
        return done(KX_NAMED(Change_Tool_Frame), name, true);
    }

    /** Deletes a stored tool frame; the active one is refused. */
    Done<Errors> delete_tool(const std::string& name) const
    {
        return done(KX_NAMED(Delete_Tool_Frame), name, true);
    }

    /** The active tool frame. */
    Value<Errors, Frame> tool() const
    {
        FRAME frame = {};
        const int status = Get_Current_Tool_Frame(this->link(), &frame);
        return Base::outcome("Get_Current_Tool_Frame", status, of(frame, frame.frame_name));
    }

    /** A stored tool frame. */
    Value<Errors, Frame> tool(const std::string& name) const
    {
        FRAME frame = {};
        const int status = this->status(Get_Given_Tool_Frame, name, &frame);
        return Base::outcome("Get_Given_Tool_Frame", status, of(frame, name));
    }

    /** The names of all stored tool frames. */
    Value<Errors, std::vector<std::string>> tools() const
    {
        FRAME_NAME frames[100] = {};
        const int status = Get_All_Tool_Frame(this->link(), frames);
        return Base::outcome("Get_All_Tool_Frame", status, names(frames));
    }

    /** Takes the arm's present position as a teaching point (from 1) of a tool frame. */
    Done<Errors> teach_tool_point(int point) const
    {
        return done(KX_NAMED(Auto_Set_Tool_Frame), point, true);
    }

    /** Stores the tool frame that the taught points give, with this name and payload; the pose given is not looked at. */
    Done<Errors> set_tool_from_points(const Frame& tool) const
    {
        return done(KX_NAMED(Generate_Auto_Tool_Frame), tool.name, tool.payload_kg, tool.centre_m[0],
                    tool.centre_m[1], tool.centre_m[2], true);
    }

    /** Stores a work frame; payload and centre of mass are not looked at. */
    Done<Errors> set_work(const Frame& work) const
    {
        return done(KX_NAMED(Manual_Set_Work_Frame), work.name, work.pose, true);
    }

    /** Makes a stored work frame the active one. */
    Done<Errors> use_work(const std::string& name) const
    {
        return done(KX_NAMED(Change_Work_Frame), name, true);
    }

    /** Deletes a stored work frame; the active one is refused. */
    Done<Errors> delete_work(const std::string& name) const
    {
        return done(KX_NAMED(Delete_Work_Frame), name, true);
    }

    /** The active work frame. */
    Value<Errors, Frame> work() const
    {
        FRAME frame = {};
        const int status = Get_Current_Work_Frame(this->link(), &frame);
        return Base::outcome("Get_Current_Work_Frame", status, of(frame, frame.frame_name));
    }

    /** A stored work frame. */
    Value<Errors, Frame> work(const std::string& name) const
    {
        FRAME frame = {};
        const int status = this->status(Get_Given_Work_Frame, name, &frame.pose);
        return Base::outcome("Get_Given_Work_Frame", status, of(frame, name));
    }

    /** The names of all stored work frames. */
    Value<Errors, std::vector<std::string>> works() const
    {
        FRAME_NAME frames[100] = {};
        const int status = Get_All_Work_Frame(this->link(), frames);
        return Base::outcome("Get_All_Work_Frame", status, names(frames));
    }

    /** Takes the arm's present position as a teaching point (from 1) of a work frame. */
    Done<Errors> teach_work_point(const std::string& name, int point) const
    {
        return done(KX_NAMED(Auto_Set_Work_Frame), name, point, true);
    }

    /** Sets the payload at the tool: whole kilograms, 0 to 20, and its centre of mass. */
    Done<Errors> set_payload(int kg, const std::array<float, 3>& centre_m = {}) const
    {
        return done(KX_NAMED(Set_Payload), kg, centre_m[0], centre_m[1], centre_m[2], true);
    }

    /** Clears the payload. */
    Done<Errors> clear_payload() const { return done(KX_NAMED(Set_None_Payload), true); }
};

} // namespace kx

#endif
