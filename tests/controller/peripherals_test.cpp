// The library and the virtual controller together: what the controller serves besides the arm.
#include "support/application.h"
#include "support/modbus_slave.h"

#include <atomic>
#include <cmath>
#include <fstream>
#include <functional>

namespace {

using Floats = std::vector<float>;

struct Step {
    std::function<int(int arm)> command;
    int status;
    const char* what = "";
};

void run(int arm, const std::vector<Step>& steps)
{
    for (std::size_t i = 0; i < steps.size(); ++i)
        EXPECT_EQ(steps[i].command(arm), steps[i].status) << "step " << i << " " << steps[i].what;
}

bool eventually(const std::function<bool()>& condition)
{
    for (int i = 0; i < 100; ++i, sleep_cp(30))
        if (condition()) return true;
    return false;
}

double seconds_of(const std::function<void()>& action)
{
    const unsigned int begin = Get_Program_Runtime();
    action();
    return (Get_Program_Runtime() - begin) / 1000.0;
}

} // namespace

TEST(Peripherals, ChannelsReadBackAndInputsComeFromOutside)
{
    Application app(46, {"--di", "2=1", "--ai", "3=2.5", "--tool-di", "1=1"});
    const int arm = app.arm;
    run(arm, {
                 {[](int a) { return Set_DO_State(a, 1, true, true); }, 0},
                 {[](int a) { return Set_DO_State(a, 0, true, true); }, 1},
                 {[](int a) { return Set_DO_State(a, 5, true, true); }, 1},
                 {[](int a) { return Set_AO_State(a, 2, true, 1.2345f); }, 0},
                 {[](int a) { return Set_AO_State(a, 2, true, 10.5f); }, 1, "beyond 10 V"},
                 {[](int a) { return Set_AO_State(a, 2, true, -0.01f); }, 1},
                 {[](int a) { return Set_IO_State(a, 1, 3, true, true); }, 0},
                 {[](int a) { return Set_DO_State(a, 4, true, false); }, 0},
                 {[](int a) { return Set_AO_State(a, 4, false, 9); }, 0},
             });
    unsigned char digital[4] = {}, value = 9;
    float voltage[4] = {};
    EXPECT_TRUE(eventually([&] { return Get_IO_Output(arm, digital, voltage) == 0 && voltage[3] == 9; }));
    EXPECT_EQ(Floats(digital, digital + 4), (Floats{1, 0, 0, 1}));
    EXPECT_EQ(Floats(voltage, voltage + 4), (Floats{0, 1.234f, 1, 9}));
    EXPECT_EQ(Get_IO_Input(arm, digital, voltage), 0);
    EXPECT_EQ(Floats(digital, digital + 4), (Floats{0, 1, 0, 0}));
    EXPECT_EQ(Floats(voltage, voltage + 4), (Floats{0, 0, 2.5f, 0}));
    const int expected[4][2] = {{1, 1}, {2, 1}, {2, 1}, {3, 2}}; // channel and value, by IO type
    for (int type = 0; type < 4; ++type) {
        EXPECT_EQ(Get_IO_State(arm, type, static_cast<unsigned char>(expected[type][0]), &value), 0) << type;
        EXPECT_EQ(value, expected[type][1]) << type;
    }

    float mode[4] = {}, state[4] = {};
    run(arm, {
                 {[](int a) { return Set_Tool_IO_Mode(a, 1, false, true); }, 0},
                 {[](int a) { return Set_Tool_IO_Mode(a, 9, false, true); }, 1},
                 {[](int a) { return Set_Tool_DO_State(a, 2, true, false); }, 0},
                 {[](int a) { return Set_Tool_Voltage(a, 2, true); }, 0},
                 {[](int a) { return Set_Tool_Voltage(a, 4, true); }, 1},
                 {[&](int a) { return Get_Tool_Voltage(a, &value); }, 0},
                 {[&](int a) { return Get_Tool_IO_State(a, mode, state); }, 0},
             });
    EXPECT_EQ(value, 2);
    EXPECT_EQ(Floats(mode, mode + 4), (Floats{0, 1, 1, 1}));
    EXPECT_EQ(Floats(state, state + 4), (Floats{1, 1, 0, 0}));
    m_nOutTime = 200;
    EXPECT_EQ(Set_Tool_DO_State(arm, 2, false, true), 7) << "its reply cannot be told from another";
    EXPECT_EQ(Get_Tool_IO_State(arm, mode, state), 0);
    EXPECT_EQ(state[1], 0) << "but it is done";
}

TEST(Peripherals, GripperStopsOnAnObjectAndAnswersWhenItDoes)
{
    Application app(46, {"--speed", "4", "--object", "40", "--object-mass", "2.5"});
    const int arm = app.arm;
    float force[6] = {};
    EXPECT_EQ(Clear_Force_Data(arm, true), 0);
    // From 100 mm to 40 mm at 50 mm/s.
    EXPECT_NEAR(seconds_of([&] { EXPECT_EQ(Set_Gripper_Pick(arm, 500, 200, true), 0); }), 0.3, 0.15);
    EXPECT_EQ(Get_Force_Data(arm, force), 0);
    EXPECT_EQ(force[2], -24) << "the object's weight";
    run(arm, {
                 {[](int a) { return Set_Gripper_Release(a, 1000, true); }, 0},
                 {[&](int a) { return Get_Force_Data(a, force); }, 0},
                 {[](int a) { return Set_Gripper_Position(a, 200, true); }, 0, "stops at the object, too"},
                 {[](int a) { return Set_Gripper_Pick_On(a, 1000, 200, true); }, 0},
                 {[](int a) { return Set_Gripper_Route(a, 600, 300, true); }, 1},
                 {[](int a) { return Set_Gripper_Route(a, 500, 900, true); }, 0},
                 {[](int a) { return Set_Gripper_Release(a, 1000, true); }, 0},
                 {[](int a) { return Set_Gripper_Pick(a, 1000, 200, true); }, 1, "the route ends before it"},
                 {[](int a) { return Set_Gripper_Position(a, 1000, true); }, 1, "beyond the route"},
                 {[](int a) { return Set_Gripper_Pick(a, 0, 200, true); }, 1},
                 {[](int a) { return Set_Gripper_Pick(a, 500, 200, false); }, 0},
             });
    EXPECT_EQ(force[2], 0) << "released";
    m_nOutTime = 200;
    EXPECT_EQ(Set_Gripper_Release(arm, 10, true), 7) << "longer than the caller waits";
}

TEST(Peripherals, HandAndPwmTakeWhatTheyCan)
{
    Application app;
    const int bent[6] = {0, 100, 200, 300, 400, 1000}, beyond[6] = {0, 0, 0, 0, 0, 1001};
    run(app.arm, {
                     {[](int a) { return Set_Hand_Posture(a, 2, true); }, 0},
                     {[](int a) { return Set_Hand_Posture(a, 0, true); }, 1},
                     {[](int a) { return Set_Hand_Seq(a, 3, true); }, 0},
                     {[](int a) { return Set_Hand_Seq(a, 40, true); }, 1},
                     {[&](int a) { return Set_Hand_Angle(a, bent, true); }, 0},
                     {[&](int a) { return Set_Hand_Angle(a, beyond, true); }, 1},
                     {[](int a) { return Set_Hand_Speed(a, 1000, true); }, 0},
                     {[](int a) { return Set_Hand_Speed(a, 0, true); }, 1},
                     {[](int a) { return Set_Hand_Force(a, 300, true); }, 0},
                     {[](int a) { return Set_Hand_Force(a, -1, true); }, 1},
                     {[](int a) { return Set_PWM(a, 1000, 1000, true); }, 0},
                     {[](int a) { return Set_PWM(a, 1000, 1001, true); }, 1, "longer than the period"},
                     {[](int a) { return Set_Tool_Voltage(a, 0, true); }, 0},
                     {[](int a) { return Set_Hand_Posture(a, 1, true); }, 1, "without supply"},
                     {[](int a) { return Set_Gripper_Position(a, 1, true); }, 1},
                 });
}

TEST(Peripherals, DragTeachingRecordsAndReplays)
{
    Application app(46, {"--speed", "10", "--lead", "30,0,0,0,0,0", "--lead", "30,-20,0,0,0,0"});
    const int arm = app.arm;
    const float target[6] = {5, 0, 0, 0, 0, 0};
    const Floats led = {30, -20, 0, 0, 0, 0, 0};
    run(arm, {
                 {[](int a) { return Run_Drag_Trajectory(a, true); }, 1, "nothing to replay"},
                 {[](int a) { return Drag_Trajectory_Origin(a, true); }, 1},
                 {[](int a) { return Stop_Drag_Teach(a, true); }, 1},
                 {[](int a) { return Start_Drag_Teach(a, true); }, 0},
                 {[](int a) { return Start_Drag_Teach(a, true); }, 1},
                 {[&](int a) { return Movej_Cmd(a, target, 20, 0, true); }, 1, "the operator has the arm"},
             });
    EXPECT_TRUE(eventually([&] { return app.joints() == led; }));
    run(arm, {
                 {[](int a) { return Stop_Drag_Teach(a, true); }, 0},
                 {[](int a) { return Run_Drag_Trajectory(a, true); }, 1, "not at the origin"},
                 {[](int a) { return Drag_Trajectory_Origin(a, true); }, 0},
             });
    EXPECT_EQ(app.joints(), Floats(7));
    run(arm, {
                 {[](int a) { return Pause_Drag_Trajectory(a, true); }, 1},
                 {[](int a) { return Run_Drag_Trajectory(a, true); }, 0},
                 {[](int a) { return Pause_Drag_Trajectory(a, true); }, 0},
             });
    const Floats paused = app.standing();
    EXPECT_NE(paused, led);
    EXPECT_TRUE(paused[1] == 0 || paused[0] == 30) << "on the way it was led, not on a straight one";
    EXPECT_EQ(Continue_Drag_Trajectory(arm, true), 0);
    EXPECT_TRUE(eventually([&] { return app.joints() == led; }));
    EXPECT_EQ(Drag_Trajectory_Origin(arm, true), 0);
    EXPECT_EQ(Run_Drag_Trajectory(arm, true), 0);
    EXPECT_EQ(Stop_Drag_Trajectory(arm, true), 0);
    const Floats stopped = app.standing();
    EXPECT_LT(stopped[0], 30);
    EXPECT_EQ(Continue_Drag_Trajectory(arm, true), 1);

    // Only the wrist is free now, and the places differ in other joints.
    EXPECT_EQ(Start_Multi_Drag_Teach(arm, 2, true), 0);
    sleep_cp(300);
    EXPECT_EQ(app.joints(), stopped);
    EXPECT_EQ(Stop_Drag_Teach(arm, true), 0);
    EXPECT_EQ(Start_Multi_Drag_Teach(arm, 3, true), 1);
}

struct Weight : testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Arm, Weight, testing::Values(46, 47));

TEST_P(Weight, ShowsInTheForceDataUntilItIsCalibratedAway)
{
    Application app(GetParam(), {"--speed", "20", "--payload", "1.5"});
    const int arm = app.arm;
    const bool seven = GetParam() == 47;
    Floats tilted(7), other(7);
    tilted[seven ? 5 : 4] = 90;
    other[4] = 20;
    other[5] = 30;
    if (seven) other[6] = 10;
    float force[6] = {}, fz = 0;
    EXPECT_EQ(Clear_Force_Data(arm, true), 0);
    EXPECT_EQ(Clear_Fz(arm, true), 0);
    EXPECT_EQ(Get_Force_Data(arm, force), 0);
    EXPECT_EQ(Floats(force, force + 6), Floats(6));
    EXPECT_EQ(Movej_Cmd(arm, tilted.data(), 100, 0, true), 0);
    EXPECT_EQ(Get_Force_Data(arm, force), 0);
    EXPECT_EQ(std::hypot(force[0], force[1]), 14) << "14.7 N in another direction";
    EXPECT_EQ(force[2], 14) << "missing where they were";
    EXPECT_EQ(Get_Fz(arm, &fz), 0);
    EXPECT_EQ(fz, 15);

    run(arm, {
                 {[](int a) { return Stop_Set_Force_Sensor(a, true); }, 1, "none is running"},
                 {[](int a) { return Set_Force_Sensor(a, true); }, 0},
                 {[](int a) { return Auto_Set_Fz(a, true); }, 1, "one at a time"},
             });
    EXPECT_TRUE(eventually([&] { return Auto_Set_Fz(arm, true) == 0; })) << "when the first has ended";
    EXPECT_EQ(app.standing(), tilted) << "it leads the arm back";
    for (const Floats& anywhere : {tilted, other}) {
        EXPECT_EQ(Movej_Cmd(arm, anywhere.data(), 100, 0, true), 0);
        EXPECT_EQ(Get_Force_Data(arm, force), 0);
        EXPECT_EQ(Floats(force, force + 6), Floats(6)) << "nothing acts but what was calibrated";
        EXPECT_EQ(Get_Fz(arm, &fz), 0);
        EXPECT_EQ(fz, 0);
    }

    run(arm, {
                 {[&](int a) { return Manual_Set_Fz(a, other.data(), other.data()); }, 1, "the same pose"},
                 {[&](int a) { return Manual_Set_Fz(a, other.data(), tilted.data()); }, 0},
             });
    EXPECT_EQ(app.standing(), other);
    for (int i = 1; i <= 4; ++i)
        EXPECT_EQ(Manual_Set_Force(arm, i, i % 2 ? tilted.data() : other.data()), 0) << i;
    EXPECT_EQ(Stop_Set_Force_Sensor(arm, true), 0);
    EXPECT_NE(app.standing(), other) << "stopped on its way";
}

// The flange points down some 60 mm above the table's height of 0; joint 2 lowers it by 6 to 7 mm a degree.
struct Table : testing::Test {
    explicit Table(const std::string& speed = "2") : app(46, {"--table", "0", "--speed", speed})
    {
        EXPECT_EQ(Movej_Cmd(arm, above, 100, 0, true), 0);
        EXPECT_EQ(Clear_Force_Data(arm, true), 0);
    }
    float pressure()
    {
        float force[6] = {};
        EXPECT_EQ(Get_Force_Data(arm, force), 0);
        return std::hypot(force[0], force[1], force[2]);
    }

    const float above[6] = {0, 60, 90, 0, 30, 0}, into[6] = {0, 80, 90, 0, 30, 0};
    Application app;
    int arm = app.arm;
};

TEST_F(Table, EndsAMotionWhereTheSetForceIsReached)
{
    EXPECT_EQ(Set_Force_Postion(arm, 1, 0, 2, 300, 1), 1) << "too much";
    EXPECT_EQ(Set_Force_Postion(arm, 1, 0, 2, 30, 1), 0);
    EXPECT_EQ(Movej_Cmd(arm, into, 3, 0, true), 1);
    EXPECT_GE(pressure(), 28);
    EXPECT_LT(pressure(), 60);
    EXPECT_EQ(Movej_Cmd(arm, above, 20, 0, true), 0) << "away from it";
    EXPECT_EQ(pressure(), 0);
    EXPECT_EQ(Stop_Force_Postion(arm, true), 0);
}

TEST_F(Table, StopsTheArmWithAnErrorUntilThatIsCleared)
{
    const auto error = [&] {
        float joint[7];
        POSE pose;
        unsigned short arm_err, sys_err = 9;
        EXPECT_EQ(Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err), 0);
        return sys_err;
    };
    EXPECT_EQ(error(), 0);
    EXPECT_EQ(Movej_Cmd(arm, into, 10, 0, true), 1);
    EXPECT_EQ(error(), 2);
    EXPECT_EQ(Movej_Cmd(arm, above, 10, 0, true), 1);
    EXPECT_EQ(Clear_System_Err(arm, true), 0);
    EXPECT_EQ(error(), 0);
    EXPECT_EQ(Movej_Cmd(arm, above, 10, 0, true), 0);
}

std::atomic<int> pushes;

TEST_F(Table, IsPressedWithTheForceOfTheStreamedTargets)
{
    KX_API_Init([](CallbackData push) { pushes += push.push_type == 3; });
    const auto stream = [&](float joint2, bool block) {
        const float target[6] = {0, joint2, 90, 0, 30, 0};
        return Force_Position_Move_Joint(arm, target, 1, 0, 2, 40, block);
    };
    EXPECT_EQ(Start_Force_Position_Move(arm, true), 0);
    EXPECT_EQ(Start_Force_Position_Move(arm, true), 1);
    for (int i = 61; i <= 75; ++i, sleep_cp(20))
        EXPECT_EQ(stream(static_cast<float>(i), false), 0);
    EXPECT_TRUE(eventually([] { return pushes == 15; })) << pushes << ": one for each target";
    const Floats pressing = app.standing();
    EXPECT_GT(pressing[1], 65);
    EXPECT_LT(pressing[1], 74);
    EXPECT_NEAR(pressure(), 40, 2);
    EXPECT_EQ(stream(62, true), 0);
    EXPECT_EQ(app.standing()[1], 62);
    EXPECT_EQ(Force_Position_Move_POSE(arm, POSE{}, 1, 0, 2, 1, true), 0) << "answered, whatever it says";
    EXPECT_EQ(Stop_Force_Postion_Move(arm, true), 0);
    EXPECT_EQ(stream(65, true), 0);
    EXPECT_EQ(app.standing()[1], 62) << "the mode is off";
}

// What every slave must do, simulated or not.
void write_and_read(int arm)
{
    unsigned char coils[2] = {0b10110101, 0b1}, registers[3] = {7, 8, 255};
    int data = 0;
    run(arm, {
                 {[&](int a) { return Get_Read_Coils(a, 1, 0, 8, 1, &data); }, 1, "the port is not open"},
                 {[](int a) { return Set_Modbus_Mode(a, 1, 115200, 5, true); }, 0},
                 {[](int a) { return Set_Modbus_Mode(a, 2, 115200, 5, true); }, 1},
                 {[](int a) { return Set_Modbus_Mode(a, 0, 12345, 5, true); }, 1},
                 {[&](int a) { return Write_Coils(a, 1, 10, 9, coils, 1, true); }, 0},
                 {[](int a) { return Write_Single_Coil(a, 1, 11, 1, 1, true); }, 0},
                 {[](int a) { return Write_Single_Coil(a, 1, 12, 2, 1, true); }, 1},
                 {[&](int a) { return Get_Read_Coils(a, 1, 9, 11, 1, &data); }, 0},
             });
    EXPECT_EQ(data, 0b1'10110111'0);
    run(arm, {
                 {[&](int a) { return Write_Coils(a, 1, 10, 3, coils, 1, false); }, 0},
                 {[&](int a) { return Get_Read_Coils(a, 1, 10, 3, 1, &data); }, 0},
                 {[&](int a) { return Write_Registers(a, 1, 20, 3, registers, 1, true); }, 0},
                 {[](int a) { return Write_Single_Register(a, 1, 21, 65535, 1, true); }, 0},
                 {[](int a) { return Write_Single_Register(a, 1, 21, 65536, 1, true); }, 1},
                 {[&](int a) { return Write_Registers(a, 1, 20, 0, registers, 1, true); }, 1},
             });
    for (const int expected[3] = {7, 65535, 255}; int i : {0, 1, 2}) {
        EXPECT_EQ(Get_Read_Holding_Registers(arm, 1, 20 + i, 1, &data), 0);
        EXPECT_EQ(data, expected[i]);
    }
    EXPECT_EQ(Get_Read_Input_Status(arm, 1, 4, 4, 1, &data), 0);
    EXPECT_EQ(data, 0b100);
    EXPECT_EQ(Get_Read_Input_Registers(arm, 1, 7, 1, &data), 0);
    EXPECT_EQ(data, 1234);
}

TEST(Peripherals, SimulatedModbusDevicesRemember)
{
    Application app(46, {"--modbus-input", "6=1", "--modbus-register", "7=1234"});
    const int arm = app.arm;
    write_and_read(arm);
    int data = 9;
    run(arm, {
                 {[](int a) { return Close_Modbus_Mode(a, 1, true); }, 0},
                 {[](int a) { return Close_Modbus_Mode(a, 1, true); }, 1},
                 {[&](int a) { return Get_Read_Holding_Registers(a, 1, 21, 1, &data); }, 1},
                 {[](int a) { return Set_Modbus_Mode(a, 1, 9600, 1, true); }, 0},
                 {[&](int a) { return Get_Read_Holding_Registers(a, 1, 21, 2, &data); }, 0},
             });
    EXPECT_EQ(data, 0) << "another device has other registers";
    EXPECT_EQ(Get_Read_Holding_Registers(arm, 1, 21, 1, &data), 0);
    EXPECT_EQ(data, 65535);
}

TEST(Peripherals, ModbusReachesARealSlaveAndOutlivesIt)
{
    ModbusSlave slave;
    slave.memory->tab_input_bits[6] = 1;
    slave.memory->tab_input_registers[7] = 1234;
    Application app(46, {"--modbus-tcp", slave.where});
    const int arm = app.arm;
    write_and_read(arm);
    EXPECT_EQ(slave.memory->tab_bits[13], 0) << "what was written arrived at the slave";
    EXPECT_EQ(slave.memory->tab_bits[18], 1);
    EXPECT_EQ(slave.memory->tab_registers[21], 65535);
    int data = 9;
    EXPECT_EQ(Get_Read_Holding_Registers(arm, 1, ModbusSlave::size, 1, &data), 1) << "the slave's exception";
    EXPECT_EQ(Get_Read_Holding_Registers(arm, 1, 22, 1, &data), 0);
    EXPECT_EQ(data, 255);

    slave.mute = true;
    EXPECT_EQ(Write_Single_Register(arm, 1, 1, 1, 1, false), 0);
    EXPECT_LT(seconds_of([&] { app.joints(); }), 0.4) << "while the slave lets a transaction wait";
    EXPECT_NEAR(seconds_of([&] { EXPECT_EQ(Get_Read_Coils(arm, 1, 0, 1, 1, &data), 1); }), 1, 0.3)
        << "the end of that one, and half a second for its own";
    slave.mute = false;
    EXPECT_EQ(Get_Read_Holding_Registers(arm, 1, 22, 1, &data), 0) << "it is back";
    slave.stop();
    EXPECT_EQ(Get_Read_Holding_Registers(arm, 1, 22, 1, &data), 1);
    EXPECT_EQ(app.joints(), Floats(7));
}

TEST(Peripherals, PowerVersionsLogRunTimeAndOdometers)
{
    const std::string log = testing::TempDir() + "kx-controller-" + std::to_string(getpid()) + ".log";
    Application app(46, {"--speed", "10", "--log", log});
    const int arm = app.arm;
    int power = 9, day = 9, hour = 9, min = 9, sec = 9;
    char version[12] = "", control[12] = "", unused[12] = "";
    float odom[7] = {};
    const float there[6] = {40, 0, -10, 0, 0, 0}, home[6] = {};
    run(arm, {
                 {[&](int a) { return Movej_Cmd(a, there, 100, 0, true); }, 0},
                 {[&](int a) { return Movej_Cmd(a, home, 100, 0, true); }, 0},
                 {[&](int a) { return Get_Joint_Odom(a, unused, odom); }, 0},
                 {[&](int a) { return Get_Arm_Power_State(a, &power); }, 0},
             });
    EXPECT_EQ(Floats(odom, odom + 6), (Floats{80, 0, 20, 0, 0, 0})) << "to and fro";
    EXPECT_EQ(power, 1);
    run(arm, {
                 {[&](int a) { return Movej_Cmd(a, there, 1, 0, false); }, 0},
                 {[](int a) { return Set_Arm_Power(a, false, true); }, 0},
                 {[&](int a) { return Get_Arm_Power_State(a, &power); }, 0},
                 {[&](int a) { return Movej_Cmd(a, home, 100, 0, true); }, 1},
                 {[](int a) { return Start_Drag_Teach(a, true); }, 1},
                 {[](int a) { return Set_Arm_Power(a, true, true); }, 0},
                 {[&](int a) { return Movej_Cmd(a, home, 100, 0, true); }, 0},
                 {[](int a) { return Clear_Joint_Odom(a, true); }, 0},
                 {[&](int a) { return Get_Joint_Odom(a, unused, odom); }, 0},
                 {[&](int a) { return Get_Arm_Hardware_Version(a, unused); }, 0},
                 {[&](int a) { return Get_Arm_Software_Version(a, version, control); }, 0},
                 {[](int a) { return Set_High_Speed_Eth(a, 1, true); }, 0},
                 {[](int a) { return Set_High_Speed_Eth(a, 2, true); }, 1},
                 {[](int a) { return Get_Log_File(a, true); }, 0},
                 {[&](int a) { return Get_System_Runtime(a, unused, &day, &hour, &min, &sec); }, 0},
             });
    EXPECT_EQ(power, 0);
    EXPECT_EQ(odom[0], 0);
    EXPECT_NE(version[0], 0);
    EXPECT_NE(control[0], 0);
    std::ifstream file(log);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(text.find("refused movej"), std::string::npos) << text;
    remove(log.c_str());

    EXPECT_GE(sec + 60 * min, 5) << "ten times as fast as real time";
    EXPECT_EQ(day + hour, 0);
    EXPECT_EQ(Clear_System_Runtime(arm, true), 0);
    EXPECT_EQ(Get_System_Runtime(arm, unused, &day, &hour, &min, &sec), 0);
    EXPECT_LT(sec + 60 * min, 3);
}

TEST(Peripherals, LiftAndBaseMoveInTime)
{
    Application app(46, {"--speed", "10"});
    const int arm = app.arm;
    int height = 9, current = 0, idle = 0, error = 9;
    // 300 mm at 100 mm/s, in a tenth of the time.
    EXPECT_NEAR(seconds_of([&] { EXPECT_EQ(Set_Lift_Height(arm, 300, 100, true), 0); }), 0.32, 0.15);
    run(arm, {
                 {[&](int a) { return Get_Lift_State(a, &height, &idle, &error); }, 0},
                 {[](int a) { return Set_Lift_Height(a, 1001, 100, true); }, 1},
                 {[](int a) { return Set_Lift(a, 300, 0, true); }, 1},
                 {[](int a) { return Set_Lift(a, 900, 20, true); }, 0},
                 {[&](int a) { return Get_Lift_State(a, &height, &current, &error); }, 0},
             });
    EXPECT_EQ(error, 0);
    EXPECT_GT(current, idle) << "it moves";
    EXPECT_GE(height, 300);
    EXPECT_LT(height, 400);
    EXPECT_EQ(Set_Lift_Speed(arm, -200, true), 0);
    EXPECT_TRUE(
        eventually([&] { return Get_Lift_State(arm, &height, &current, &error) == 0 && height == 0; }));

    int battery = 0, voltage = 0, charging = 0, state = 9, station = 9;
    const auto look = [&] {
        return Get_Car_State(arm, &battery, &voltage, &current, &error, &state, &station);
    };
    run(arm, {
                 {[](int a) { return Set_Car_Navigation_Mode(a, 1, true); }, 0},
                 {[](int a) { return Set_Car_Navigation_Mode(a, 2, true); }, 1},
                 {[](int a) { return Set_Car_Navigation_Speed(a, 1000, true); }, 0},
                 {[](int a) { return Set_Car_Navigation_Speed(a, 0, true); }, 1},
                 {[](int a) { return Set_Car_Station(a, 11, 0, true); }, 1},
                 {[](int a) { return Set_Car_Station(a, 4, 0, true); }, 0}, // 6 m
                 {[](int a) { return Set_Car_Station_Num(a, 2, true); }, 1, "it is driving"},
                 {[&](int) { return look(); }, 0},
             });
    EXPECT_EQ(state, 2);
    EXPECT_EQ(station, 0);
    EXPECT_TRUE(eventually([&] { return look() == 0 && station == 4; }));
    EXPECT_EQ(state, 0);
    run(arm, {
                 {[](int a) { return Set_Car_Charge(a, 1, true); }, 1, "the charger is elsewhere"},
                 {[](int a) { return Set_Vehicle(a, 200, 0, true); }, 0},
                 {[&](int) { return look(); }, 0},
                 {[](int a) { return Set_Car_Move(a, 0, 0, true); }, 0},
                 {[](int a) { return Set_Car_Move(a, 9999, 0, true); }, 1},
                 {[](int a) { return Set_Car_Station_Num(a, 1, true); }, 0},
                 {[](int a) { return Set_Car_Charge(a, 1, true); }, 0},
                 {[](int a) { return Set_Vehicle(a, 200, 0, true); }, 1, "charging"},
             });
    EXPECT_EQ(state, 1);
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(state, 3);
    EXPECT_LT(current, charging) << "into the battery";
    EXPECT_EQ(station, 1);
}
