// Modbus transactions with the devices behind the controller's ports.
#include <climits>

#include "commands/command.h"

namespace kx::sim {

namespace {

constexpr int coils_in_a_number = 31; // a reply is one positive number of 32 bits

int port(const Call& call)
{
    return integer(call["port"], "the port", 0, Modbus::ports - 1);
}

ModbusTransaction transaction(const Call& call, ModbusFunction function, std::vector<int> values)
{
    return {function, port(call), integer(call["device"], "the device", 1, 247),
            integer(call["address"], "the address", 0, 65535), std::move(values)};
}

/** Reads bits, which are answered as one number, the first one in its lowest bit, or one register. */
Later read(const Call& call, ModbusFunction function, int count)
{
    const auto done = [answer = call.later](const std::vector<int>& values, const std::string& error) {
        int packed = 0;
        for (std::size_t i = 0; i < values.size(); ++i)
            packed |= values[i] << i;
        answer({{"read_state", true}, {"data", packed}}, error);
    };
    const std::vector<int> values(static_cast<std::size_t>(count));
    call.peripherals.modbus.transact(transaction(call, function, values), done);
    return answered_later;
}

Later read_bits(const Call& call, ModbusFunction function)
{
    return read(call, function, integer(call["num"], "the number of coils", 1, coils_in_a_number));
}

Later write(const Call& call, ModbusFunction function, std::vector<int> values)
{
    const auto done = [answer = call.later](const std::vector<int>&, const std::string& error) {
        answer(true, error);
    };
    call.peripherals.modbus.transact(transaction(call, function, std::move(values)), done);
    return answered_later;
}

/** Coils, eight to a byte: up to eight come as one number, more as an array. */
std::vector<int> coils(const Call& call)
{
    const int count = integer(call["num"], "the number of coils", 1, 1968);
    const Json& data = call["data"];
    const Json bytes = count > 8 ? data : Json::array({data});
    if (!bytes.is_array() || bytes.size() != static_cast<std::size_t>(count + 7) / 8)
        throw Refused("the data do not match the number of coils");
    std::vector<int> coils;
    for (int i = 0; i < count; ++i)
        coils.push_back(integer(bytes[static_cast<std::size_t>(i) / 8], "a byte of coils", 0, 255) >> i % 8 &
                        1);
    return coils;
}

std::vector<int> registers(const Call& call)
{
    const int count = integer(call["num"], "the number of registers", 1, 123);
    const Json& data = call["data"];
    if (!data.is_array() || data.size() != static_cast<std::size_t>(count))
        throw Refused("the data do not match the number of registers");
    std::vector<int> registers;
    for (const Json& value : data)
        registers.push_back(integer(value, "a register", 0, 65535));
    return registers;
}

constexpr Command modbus_table[] = {
    {"set_modbus_mode", "set_state",
     [](Call& call) {
         const double timeout = integer(call["timeout"], "the time-out", 1, 100) / 10.0; // comes in tenths
         call.peripherals.modbus.open(port(call), integer(call["baudrate"], "the baud rate", 0, INT_MAX),
                                      timeout);
     }},
    {"close_modbus_mode", "set_state", [](Call& call) { call.peripherals.modbus.close(port(call)); }},
    {.name = "read_coils",
     .handle = [](Call& call) { return read_bits(call, ModbusFunction::read_coils); },
     .recognised_by = "coils_data",
     .refusal_key = "read_state"},
    {.name = "read_input_status",
     .handle = [](Call& call) { return read_bits(call, ModbusFunction::read_inputs); },
     .recognised_by = "input_status",
     .refusal_key = "read_state"},
    {.name = "read_holding_registers",
     .handle = [](Call& call) { return read(call, ModbusFunction::read_holding_registers, 1); },
     .recognised_by = "holding_registers",
     .refusal_key = "read_state"},
    {.name = "read_input_registers",
     .handle = [](Call& call) { return read(call, ModbusFunction::read_input_registers, 1); },
     .recognised_by = "input_registers",
     .refusal_key = "read_state"},
    {"write_single_coil", "write_state",
     [](Call& call) {
         return write(call, ModbusFunction::write_coil, {integer(call["data"], "the coil", 0, 1)});
     }},
    {"write_coils", "write_state",
     [](Call& call) { return write(call, ModbusFunction::write_coils, coils(call)); }},
    {"write_single_register", "write_state",
     [](Call& call) {
         return write(call, ModbusFunction::write_register,
                      {integer(call["data"], "the register", 0, 65535)});
     }},
    {"write_registers", "write_state",
     [](Call& call) { return write(call, ModbusFunction::write_registers, registers(call)); }},
};

} // namespace

std::span<const Command> modbus_commands()
{
    return modbus_table;
}

} // namespace kx::sim
