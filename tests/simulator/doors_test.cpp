// What an attacker gets the simulated controller to hold.
#include <malloc.h>

#include <gtest/gtest.h>

#include "devices/modbus.h"

using namespace kx::sim;

namespace {

/** Memory in use by this process, MB. */
std::size_t in_use()
{
    const struct mallinfo2 blocks = mallinfo2();
    return (blocks.uordblks + blocks.hblkhd) >> 20;
}

// A node for every value that was ever written would take 100 times as much as the requests.
TEST(Memory, OfModbusDevicesIsThatOfTheirRegisters)
{
    const World world;
    SimulatedModbus devices(world);
    const std::size_t before = in_use();
    for (const auto function : {ModbusFunction::write_coils, ModbusFunction::write_registers})
        for (int device = 1; device <= 30; ++device)
            for (int address = 0; address < 65536; address += 1024)
                devices.transact({function, 0, device, address, std::vector<int>(1024, 1)}, 1,
                                 [](const auto&, const auto&) {});
    EXPECT_LT(in_use() - before, 60u) << "MB; the devices have 30 * (8 + 128) kB";
    devices.transact({ModbusFunction::read_coils, 0, 30, 65535, {0}}, 1,
                     [](const auto& values, const auto&) { EXPECT_EQ(values.at(0), 1); });
    devices.transact({ModbusFunction::read_coils, 1, 30, 65535, {0}}, 1,
                     [](const auto& values, const auto&) { EXPECT_EQ(values.at(0), 0); });
}

} // namespace
