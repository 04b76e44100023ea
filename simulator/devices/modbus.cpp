#include "devices/modbus.h"

#include <algorithm>

#include "arm/refused.h"

namespace kx::sim {

namespace {

constexpr int baudrates[] = {9600, 19200, 38400, 57600, 115200, 230400, 460800};

int value_at(const std::map<int, int>& inputs, int address)
{
    const auto found = inputs.find(address);
    return found == inputs.end() ? 0 : found->second;
}

} // namespace

void SimulatedModbus::transact(ModbusTransaction transaction, double, ModbusDone done)
{
    using enum ModbusFunction;
    static const Memory untouched;
    const std::pair device(transaction.port, transaction.device);
    const bool writes = transaction.function >= write_coil;
    Memory* written = writes ? &devices_[device] : nullptr;
    const auto found = devices_.find(device);
    const Memory& memory = found == devices_.end() ? untouched : found->second;
    std::vector<int>& values = transaction.values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int address = transaction.address + static_cast<int>(i);
        const auto place = static_cast<std::size_t>(address);
        switch (transaction.function) {
        case read_coils:
            values[i] = memory.coils[place];
            break;
        case read_inputs:
            values[i] = value_at(world_.modbus_inputs, address);
            break;
        case read_holding_registers:
            values[i] = memory.registers[place];
            break;
        case read_input_registers:
            values[i] = value_at(world_.modbus_input_registers, address);
            break;
        case write_coil:
        case write_coils:
            written->coils[place] = values[i] != 0;
            break;
        case write_register:
        case write_registers:
            written->registers[place] = static_cast<unsigned short>(values[i]);
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
