#include "devices/modbus.h"

#include <algorithm>

#include "arm/refused.h"

namespace kx::sim {

namespace {

constexpr int baudrates[] = {9600, 19200, 38400, 57600, 115200, 230400, 460800};

template <typename Memory>
int value_at(const Memory& memory, const typename Memory::key_type& place)
{
    const auto found = memory.find(place);
    return found == memory.end() ? 0 : found->second;
}

} // namespace

void SimulatedModbus::transact(ModbusTransaction transaction, double, ModbusDone done)
{
    using enum ModbusFunction;
    std::vector<int>& values = transaction.values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int address = transaction.address + static_cast<int>(i);
        const std::array place = {transaction.port, transaction.device, address};
        switch (transaction.function) {
        case read_coils:
            values[i] = value_at(coils_, place);
            break;
        case read_inputs:
            values[i] = value_at(world_.modbus_inputs, address);
            break;
        case read_holding_registers:
            values[i] = value_at(registers_, place);
            break;
        case read_input_registers:
            values[i] = value_at(world_.modbus_input_registers, address);
            break;
        case write_coil:
        case write_coils:
            coils_[place] = values[i];
            break;
        case write_register:
        case write_registers:
            registers_[place] = values[i];
            break;
        }
    }
    done(values, "");
}

void Modbus::open(int port, int baudrate, double timeout)
{
    if (!std::ranges::count(baudrates, baudrate)) throw Refused("the baud rate is not one of Modbus");
    timeouts_.at(static_cast<std::size_t>(port)) = timeout;
}

void Modbus::close(int port)
{
    auto& timeout = timeouts_.at(static_cast<std::size_t>(port));
    if (!timeout) throw Refused("the port is not open");
    timeout.reset();
}

void Modbus::transact(ModbusTransaction transaction, ModbusDone done)
{
    const auto& timeout = timeouts_.at(static_cast<std::size_t>(transaction.port));
    if (!timeout) throw Refused("the port is not open");
    if (transaction.address + static_cast<int>(transaction.values.size()) > 65536)
        throw Refused("beyond the last address");
    line_->transact(std::move(transaction), *timeout, std::move(done));
}

} // namespace kx::sim
