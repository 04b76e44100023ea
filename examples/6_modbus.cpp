// Modbus through the controller: opens a port, writes coils and registers of a device behind it and
// reads them back, reads its inputs, and sees what fails. Ends with status 0 only if everything read as it
// was written.
//
//     6_modbus PORT        of kx-controller, with simulated devices or --modbus-tcp HOST:PORT of a real slave
#include "example.h"

static constexpr int port = 1, device = 1; // the port on the tool flange
static constexpr int first = 0;            // address of the coils and registers that are written

int main(int argc, char** argv)
{
    Example example(argc, argv, "PORT");
    const int arm = example.arm;
    int data = -1;
    const auto reads = [&](const char* name, int expected, auto read) {
        example.step(name, read);
        printf("  %d\n", data);
        example.expect(data == expected, "the value");
    };
    const auto read_coils = [&] { return Get_Read_Coils(arm, port, first, 10, device, &data); };

    Close_Modbus_Mode(arm, port, true); // whatever an earlier program has left; refused if nothing
    example.step("reading from a closed port", read_coils, KX_REFUSED);
    example.step("opening it", [&] { return Set_Modbus_Mode(arm, port, 115200, 10, true); });

    unsigned char coils[2] = {0b01010101, 0b10}; // eight to a byte, the first one lowest
    example.step("writing ten coils", [&] { return Write_Coils(arm, port, first, 10, coils, device, true); });
    reads("reading them as one number", 0b10'01010101, read_coils);
    example.step("writing one", [&] { return Write_Single_Coil(arm, port, first, 0, device, true); });
    reads("reading all again", 0b10'01010100, read_coils);

    unsigned char values[3] = {10, 20, 30};
    example.step("writing three registers",
                 [&] { return Write_Registers(arm, port, first, 3, values, device, true); });
    example.step("writing one beyond a byte",
                 [&] { return Write_Single_Register(arm, port, first + 1, 54321, device, true); });
    const int expected[3] = {10, 54321, 30};
    for (int i = 0; i < 3; ++i)
        reads("reading a register", expected[i],
              [&] { return Get_Read_Holding_Registers(arm, port, first + i, device, &data); });

    example.step("reading discrete inputs",
                 [&] { return Get_Read_Input_Status(arm, port, first, 8, device, &data); });
    printf("  %d\n", data);
    example.step("reading an input register",
                 [&] { return Get_Read_Input_Registers(arm, port, first, device, &data); });
    printf("  %d\n", data);
    example.step("closing the port", [&] { return Close_Modbus_Mode(arm, port, true); });

    return example.result();
}
