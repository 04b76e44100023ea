/**
 * @file
 * Inputs and outputs of the controller and of the tool flange. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_IO_HPP
#define KX_ARM_IO_HPP

#include "kx/arm/group.hpp"

#include <cmath>
#include <vector>

namespace kx {

/** All channels of the controller, inputs or outputs. */
struct Channels {
    std::vector<bool> digital; /**< from channel 1 on */
    std::vector<float> volts;  /**< analogue ones, from channel 1 on */
};

/** A channel of the tool flange. */
struct ToolChannel {
    bool is_output = false; /**< its direction */
    bool is_on = false;     /**< its state */
};

/** Inputs and outputs of the controller and of the tool flange. Channels count from 1. */
template <class Errors>
class Io : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

    // The C functions write as many channels as there are and do not say how many: what is not written stays as it was.
    static constexpr int most = 16;
    static constexpr unsigned char unwritten = 255;

    Value<Errors, Channels> channels(const char* command, int (*function)(int, unsigned char*, float*)) const
    {
        unsigned char states[most];
        float volts[most];
        std::fill_n(states, most, unwritten);
        std::fill_n(volts, most, std::nanf(""));
        const int status = function(this->link(), states, volts);
        Channels channels;
        for (int i = 0; i < most && states[i] != unwritten; ++i)
            channels.digital.push_back(states[i] != 0);
        for (int i = 0; i < most && !std::isnan(volts[i]); ++i)
            channels.volts.push_back(volts[i]);
        return Base::outcome(command, status, std::move(channels));
    }

  public:
    using Base::Base;

    /** Switches a digital output. */
    Done<Errors> set_output(int channel, bool on) const
    {
        return done(KX_NAMED(Set_DO_State), channel, on, true);
    }

    /** Whether a digital output is on. */
    Value<Errors, bool> output(int channel) const
    {
        return Base::template ask<bool>(KX_NAMED(Get_DO_State), channel);
    }

    /** Whether a digital input is on. */
    Value<Errors, bool> input(int channel) const
    {
        return Base::template ask<bool>(KX_NAMED(Get_DI_State), channel);
    }

    /** Sets an analogue output, 0 to 10 V, in steps of a millivolt. */
    Done<Errors> set_analog_output(int channel, double volts) const
    {
        return done(KX_NAMED(Set_AO_State), channel, true, volts);
    }

    /** All inputs. */
    Value<Errors, Channels> inputs() const { return channels(KX_NAMED(Get_IO_Input)); }

    /** All outputs. */
    Value<Errors, Channels> outputs() const { return channels(KX_NAMED(Get_IO_Output)); }

    /** Makes a channel of the tool flange an output or an input. */
    Done<Errors> set_tool_direction(int channel, bool is_output) const
    {
        return done(KX_NAMED(Set_Tool_IO_Mode), channel, is_output, true);
    }

    /** Switches an output of the tool flange. Its answer cannot be told from another's, so it is not waited for:
     *  tool_channels() tells whether it is on. */
    Done<Errors> set_tool_output(int channel, bool on) const
    {
        return done(KX_NAMED(Set_Tool_DO_State), channel, on, false);
    }

    /** All channels of the tool flange. */
    Value<Errors, std::vector<ToolChannel>> tool_channels() const
    {
        float modes[most], states[most];
        std::fill_n(modes, most, std::nanf(""));
        std::fill_n(states, most, 0.0f);
        const int status = Get_Tool_IO_State(this->link(), modes, states);
        std::vector<ToolChannel> channels;
        for (int i = 0; i < most && !std::isnan(modes[i]); ++i)
            channels.push_back({modes[i] != 0, states[i] != 0});
        return Base::outcome("Get_Tool_IO_State", status, std::move(channels));
    }

    /** Sets the supply voltage of the tool flange: 0, 5, 12 or 24 V; KX_NOT_FINITE for another. */
    Done<Errors> set_tool_voltage(int volts) const
    {
        const int* code = std::find(voltages, voltages + 4, volts);
        if (code == voltages + 4) return Base::outcome("Set_Tool_Voltage", KX_NOT_FINITE);
        return done(KX_NAMED(Set_Tool_Voltage), code - voltages, true);
    }

    /** The supply voltage of the tool flange, V. */
    Value<Errors, int> tool_voltage_volt() const
    {
        unsigned char code = 0;
        const int status = Get_Tool_Voltage(this->link(), &code);
        return Base::outcome("Get_Tool_Voltage",
                             status == KX_SUCCESS && code > 3 ? int(KX_WRONG_TYPE) : status,
                             voltages[code & 3]);
    }

  private:
    static constexpr int voltages[] = {0, 5, 12, 24};
};

} // namespace kx

#endif
