/**
 * @file
 * Modbus through the controller. Part of kx/arm.hpp.
 */
#ifndef KX_ARM_MODBUS_HPP
#define KX_ARM_MODBUS_HPP

#include "kx/arm/group.hpp"

#include <chrono>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace kx {

/** Which port of the controller. */
enum class ModbusPort { controller = 0, flange = 1 };

/** A port of the controller that is open for Modbus; closed when this goes. Devices are 1 to 247, addresses 0 to 65535. */
template <class Errors>
class Modbus : public Group<Errors> {
    using Base = Group<Errors>;
    using Base::done;

  public:
    /** Opens the port.
     *  @param bond the arm
     *  @param port which
     *  @param bits_per_s baud rate
     *  @param timeout how long a device may take, 100 ms to 10 s, to 100 ms */
    Modbus(const Bond& bond, ModbusPort port, int bits_per_s, std::chrono::milliseconds timeout)
        : Base(bond), port_(static_cast<int>(port)),
          opened_(Base::status(Set_Modbus_Mode, port_, bits_per_s, timeout.count() / 100, true))
    {
        if constexpr (!std::is_same_v<Done<Errors>, Status>)
            Errors::done(bond.link, "Set_Modbus_Mode", opened_.code());
    }

    /** What was another's; that one no longer closes it. */
    Modbus(Modbus&& other) noexcept
        : Base(std::exchange(static_cast<Base&>(other), other.none())), port_(other.port_),
          opened_(other.opened_)
    {
    }
    Modbus& operator=(Modbus&&) = delete;

    ~Modbus() { close(); }

    /** Closes the port now. From then on every command ends with KX_BAD_DESCRIPTOR. */
    void close()
    {
        if (opened_) Close_Modbus_Mode(this->link(), port_, true);
        Base::operator=(none());
    }

    /** Whether it was opened, with kx::nothrow::Arm. */
    Status opened() const { return opened_; }

    /** Reads coils, 1 to 31. */
    Value<Errors, std::vector<bool>> read_coils(int device, int address, int count) const
    {
        return bits("Get_Read_Coils", Get_Read_Coils, device, address, count);
    }

    /** Reads discrete inputs, 1 to 31. */
    Value<Errors, std::vector<bool>> read_inputs(int device, int address, int count) const
    {
        return bits("Get_Read_Input_Status", Get_Read_Input_Status, device, address, count);
    }

    /** Reads a holding register. */
    Value<Errors, int> read_register(int device, int address) const
    {
        return Base::template ask<int>(KX_NAMED(Get_Read_Holding_Registers), port_, address, device);
    }

    /** Reads an input register. */
    Value<Errors, int> read_input_register(int device, int address) const
    {
        return Base::template ask<int>(KX_NAMED(Get_Read_Input_Registers), port_, address, device);
    }

    /** Writes a coil. */
    Done<Errors> write_coil(int device, int address, bool on) const
    {
        return done(KX_NAMED(Write_Single_Coil), port_, address, static_cast<int>(on), device, true);
    }

    /** Writes coils; 272 always fit. */
    Done<Errors> write_coils(int device, int address, const std::vector<bool>& coils) const
    {
        std::vector<unsigned char> bytes(coils.size() / 8 + 1);
        for (size_t i = 0; i < coils.size(); ++i)
            if (coils[i]) bytes[i / 8] = static_cast<unsigned char>(bytes[i / 8] | 1 << i % 8);
        return done(KX_NAMED(Write_Coils), port_, address, coils.size(), bytes.data(), device, true);
    }

    /** Writes a register, 0 to 65535. */
    Done<Errors> write_register(int device, int address, int value) const
    {
        return done(KX_NAMED(Write_Single_Register), port_, address, value, device, true);
    }

    /** Writes registers with values of 0 to 255; 34 always fit. */
    Done<Errors> write_registers(int device, int address, std::span<const uint8_t> values) const
    {
        std::vector<unsigned char> bytes(values.begin(), values.end());
        return done(KX_NAMED(Write_Registers), port_, address, bytes.size(), bytes.data(), device, true);
    }

  private:
    Base none() const { return Base({Bond::no_link, this->bond().model}); }

    Value<Errors, std::vector<bool>> bits(const char* command, int (*read)(int, int, int, int, int, int*),
                                          int device, int address, int count) const
    {
        int data = 0;
        std::vector<bool> bits;
        const int status = count < 1 || count > 31 ? int(KX_NOT_FINITE)
                                                   : read(this->link(), port_, address, count, device, &data);
        for (int i = 0; status == KX_SUCCESS && i < count; ++i)
            bits.push_back((data >> i & 1) != 0);
        return Base::outcome(command, status, std::move(bits));
    }

    int port_;
    Status opened_;
};

} // namespace kx

#endif
