// Modbus through the controller: opens a port, writes coils and registers of a device behind it and reads them
// back, and reads its inputs.
//
//     6_modbus PORT        of kx-controller, with simulated devices or --modbus-tcp HOST:PORT of a real slave
#include "run.h"

static constexpr int device = 1;
static constexpr int first = 0; // address of the coils and registers that are written

int main(int argc, char** argv)
{
    return run(argc, argv, [](const kx::Arm& arm) {
        const auto bus = arm.modbus(kx::ModbusPort::flange); // closed again at the end

        std::vector<bool> coils{true, false, true, false, true, false, true, false, false, true};
        bus.write_coils(device, first, coils);
        expect(bus.read_coils(device, first, 10) == coils, "ten coils read as they were written");
        bus.write_coil(device, first, false);
        coils[0] = false;
        expect(bus.read_coils(device, first, 10) == coils, "and one of them");

        bus.write_registers(device, first, std::array<uint8_t, 3>{10, 20, 30});
        bus.write_register(device, first + 1, 54321); // beyond a byte
        for (int i = 0; i < 3; ++i)
            printf("register %d holds %d\n", first + i, bus.read_register(device, first + i));
        expect(bus.read_register(device, first + 1) == 54321, "a register reads as it was written");

        printf("discrete inputs:");
        for (const bool is_on : bus.read_inputs(device, first, 8))
            printf(" %d", is_on);
        printf("\ninput register %d holds %d\n", first, bus.read_input_register(device, first));
    });
}
