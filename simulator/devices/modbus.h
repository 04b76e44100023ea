// Modbus through the controller, which is master on its ports: opening and closing them, and transactions
// with the devices behind them, simulated ones or real ones.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arm/world.h"

namespace kx::sim {

enum class ModbusFunction {
    read_coils,
    read_inputs,
    read_holding_registers,
    read_input_registers,
    write_coil,
    write_coils,
    write_register,
    write_registers
};

struct ModbusTransaction {
    ModbusFunction function;
    int port, device, address;
    std::vector<int> values; ///< to be written; of a read only their number counts
};

/** Takes what was read, or why the transaction failed. */
using ModbusDone = std::function<void(const std::vector<int>& values, const std::string& error)>;

/** The way to the devices. */
class ModbusLine {
  public:
    virtual ~ModbusLine() = default;

    /** @param timeout s, within which the device must answer
     *  @param done called once, now or later, on the thread of the caller
     *  @throws Refused if the line cannot take it on */
    virtual void transact(ModbusTransaction transaction, double timeout, ModbusDone done) = 0;
};

/** Devices with memory. All numbers answer on every port, each with its own coils and registers. */
class SimulatedModbus : public ModbusLine {
  public:
    explicit SimulatedModbus(const World& world) : world_(world) {}
    void transact(ModbusTransaction transaction, double timeout, ModbusDone done) override;

  private:
    /** What a device keeps, by address: as large as it ever gets. */
    struct Memory {
        std::vector<bool> coils = std::vector<bool>(65536);
        std::vector<unsigned short> registers = std::vector<unsigned short>(65536);
    };

    const World& world_;
    std::map<std::pair<int, int>, Memory> devices_; ///< that were written to, by port and number
};

class Modbus {
  public:
    static constexpr int ports = 2; ///< of the controller (0) and of the tool flange (1)

    explicit Modbus(const World& world) : line_(std::make_unique<SimulatedModbus>(world)) {}

    /** Reaches other devices from now on. */
    void connect(std::unique_ptr<ModbusLine> line) { line_ = std::move(line); }

    /** @param timeout s */
    void open(int port, int baudrate, double timeout);
    void close(int port);
    void transact(ModbusTransaction transaction, ModbusDone done);
    bool is_open(int port) const { return timeouts_[static_cast<std::size_t>(port)].has_value(); }

  private:
    std::unique_ptr<ModbusLine> line_;
    std::array<std::optional<double>, ports> timeouts_; ///< s, of the open ports
};

} // namespace kx::sim
