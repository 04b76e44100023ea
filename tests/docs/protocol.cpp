// Calls every command once, for the protocol's page, and prints the page's table: the call as it stands here,
// and what went over the wire for it. A call that does not succeed goes to standard error and makes the exit
// status 1.
//
//     docs_protocol PORT
#include "kx_base.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sstream>
#include <string>
#include <sys/socket.h>

#define CALL(call) (begin(#call), report(#call, (call)))
#define CALL_UNWAITED(call) (begin(#call), await(#call, (call), 300))
#define CALL_UNANSWERED(call) (begin(#call), await(#call, (call), 2))

static int arm, failures;
static float joint[7];

static std::mutex mutex;
static std::string request, reply; // of the call that is under way; empty when there was none yet
static bool is_question_meant;     // the command asked between the calls is the call itself

static bool is_meant(const std::string& text)
{
    return is_question_meant || text.find("get_joint_degree") == std::string::npos;
}

// The library's own sends and receives come by here.
extern "C" ssize_t send(int sockfd, const void* bytes, size_t length, int flags)
{
    const std::lock_guard lock(mutex);
    const std::string text(static_cast<const char*>(bytes), length);
    if (request.empty() && is_meant(text)) request = text;
    return sendto(sockfd, bytes, length, flags, nullptr, 0);
}

extern "C" ssize_t recv(int sockfd, void* bytes, size_t length, int flags)
{
    const ssize_t received = recvfrom(sockfd, bytes, length, flags, nullptr, nullptr);
    if (received <= 0) return received;
    const std::lock_guard lock(mutex);
    std::istringstream lines(std::string(static_cast<const char*>(bytes), static_cast<size_t>(received)));
    for (std::string line; std::getline(lines, line);)
        if (reply.empty() && is_meant(line)) reply = line;
    return received;
}

static bool is_answered()
{
    const std::lock_guard lock(mutex);
    return !reply.empty();
}

static void begin(const char* call)
{
    const std::lock_guard lock(mutex);
    request.clear();
    reply.clear();
    is_question_meant = strstr(call, "Get_Joint_Degree") != nullptr;
}

static std::string on_one_line(const std::string& text)
{
    std::string line;
    for (const char c : text)
        if (c >= ' ') line += c;
    return line;
}

static void report(const char* call, int status, bool is_answer_expected = true)
{
    const std::lock_guard lock(mutex);
    if (status != KX_SUCCESS || request.empty() || reply.empty() == is_answer_expected) {
        fprintf(stderr, "%s: status %d, %s, %s\n", call, status, request.c_str(), reply.c_str());
        ++failures;
    }
    printf("| `%s` | `%s` | `%s` |\n", call, on_one_line(request).c_str(), on_one_line(reply).c_str());
}

// Until the arm stands.
static void settle()
{
    float before[7];
    do {
        memcpy(before, joint, sizeof before);
        while (Get_Joint_Degree(arm, joint) != KX_SUCCESS) {
        }
    } while (memcmp(before, joint, sizeof before) != 0);
}

static void await(const char* call, int status, int tries)
{
    const bool is_expected = tries > 2;
    while (!is_answered() && tries-- > 0)
        Get_Joint_Degree(arm, joint); // answered after what was asked before
    settle();
    report(call, status, is_expected);
}

static void family(const char* name)
{
    printf("\n## %s\n\n| call | request | reply |\n|---|---|---|\n", name);
}

int main(int argc, char** argv)
{
    if (argc != 2) return 2;
    KX_API_Init([](CallbackData) {});
    arm = Arm_Socket_Start("127.0.0.1", atoi(argv[1]), 46, 0);

    m_nOutTime = 10000;

    int number, day, hour, minute, second;
    unsigned char bytes[32];
    unsigned short arm_err, sys_err, errors[7];
    float value, values[32], more[32];
    char text[300], text_2[300];
    POSE pose;
    FRAME frame;
    FRAME_NAME names[100];
    JOINT_STATE all_state;
    ARM_CTRL_MODES mode;
    const float ready[] = {0, -30, -60, 0, -90, 0}, home[6] = {}, offset[6] = {0.5f, -0.25f},
                parameters[12] = {0.5f, 1.25f}, turned[] = {0, -30, -60, 0, 0, 0};
    const int fingers[] = {10, 20, 30, 40, 50, 60};
    unsigned char data[] = {5, 6, 7};

    family("Joint parameters");
    CALL(Set_Joint_Speed(arm, 1, 90.5f, true));
    CALL(Set_Joint_Acc(arm, 1, 300, true));
    CALL(Set_Joint_Min_Pos(arm, 1, -170, true));
    CALL(Set_Joint_Max_Pos(arm, 1, 170, true));
    CALL(Set_Joint_EN_State(arm, 1, true, true));
    CALL(Set_Joint_Zero_Pos(arm, 1, true));
    CALL(Set_Joint_Err_Clear(arm, 1, true));
    CALL(Start_Calibrate(arm, true));
    CALL(Stop_Calibrate(arm, true));
    CALL(Get_Calibrate_State(arm, values, errors, &number));
    CALL(Get_Joint_Speed(arm, values));
    CALL(Get_Joint_Acc(arm, values));
    CALL(Get_Joint_Min_Pos(arm, values));
    CALL(Get_Joint_Max_Pos(arm, values));
    CALL(Get_Joint_EN_State(arm, bytes));
    CALL(Get_Joint_Err_Flag(arm, errors));
    CALL(Get_Joint_Software_Version(arm, values));

    family("State of the arm");
    CALL(Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err));
    CALL(Get_Joint_Temperature(arm, values));
    CALL(Get_Joint_Current(arm, values));
    CALL(Get_Joint_Voltage(arm, values));
    CALL(Get_Joint_Degree(arm, joint));
    CALL(Get_Arm_All_State(arm, &all_state));
    CALL(Get_Arm_Plan_Num(arm, &number));
    CALL(Set_Arm_Init_Pose(arm, ready, true));
    CALL(Get_Arm_Init_Pose(arm, joint));

    family("Motion");
    CALL_UNWAITED(Movej_Cmd(arm, ready, 20, 0, false));
    Get_Current_Arm_State(arm, joint, &pose, &arm_err, &sys_err);
    POSE via = pose, to = pose;
    via.z += 0.05f;
    to.y += 0.05f;
    CALL_UNWAITED(Movel_Cmd(arm, via, 20, 0, false));
    CALL_UNWAITED(Movec_Cmd(arm, pose, to, 20, 0, 0, false));
    CALL(Movej_P_Cmd(arm, pose, 20, 0, true));
    CALL(Get_Current_Trajectory(arm, &mode, values));
    Movej_Cmd(arm, home, 1, 0, false); // slowly, to have something to pause
    Get_Joint_Degree(arm, joint);      // behind it, so that it was sent
    CALL(Move_Pause_Cmd(arm, true));
    CALL(Move_Continue_Cmd(arm, true));
    CALL(Clear_Current_Trajectory(arm, true));
    CALL(Clear_All_Trajectory(arm, true));
    CALL(Move_Stop_Cmd(arm, true));

    family("Realtime pass-through");
    CALL_UNWAITED(Movej_CANFD(arm, ready));
    CALL_UNWAITED(Movep_CANFD(arm, pose));

    family("Jogging, steps and waypoints");
    CALL(Joint_Teach_Cmd(arm, 1, 1, 10, true));
    CALL(Teach_Stop_Cmd(arm, true));
    CALL(Pos_Teach_Cmd(arm, Z_Dir, 1, 10, true));
    Teach_Stop_Cmd(arm, true);
    CALL(Ort_Teach_Cmd(arm, RZ_Rotate, 1, 10, true));
    Teach_Stop_Cmd(arm, true);
    CALL(Joint_Step_Cmd(arm, 1, 2.5f, 10, true));
    CALL(Pos_Step_Cmd(arm, Z_Dir, -0.01f, 10, true));
    CALL(Ort_Step_Cmd(arm, RZ_Rotate, 0.1f, 10, true));
    CALL(Add_Waypoint(arm, ready, true));
    CALL(Start_Waypoint(arm, 50, true));
    CALL_UNWAITED(Stop_Waypoint(arm, false));
    CALL(Clear_Waypoint(arm, true));
    CALL(Timer(arm, 10, true));

    family("Settings of the arm");
    CALL(Set_Arm_Line_Speed(arm, 0.25f, true));
    CALL(Set_Arm_Line_Acc(arm, 1.6f, true));
    CALL(Set_Arm_Angular_Speed(arm, 0.6f, true));
    CALL(Set_Arm_Angular_Acc(arm, 4, true));
    CALL(Get_Arm_Line_Speed(arm, &value));
    CALL(Get_Arm_Line_Acc(arm, &value));
    CALL(Get_Arm_Angular_Speed(arm, &value));
    CALL(Get_Arm_Angular_Acc(arm, &value));
    CALL(Set_Arm_Tip_Init(arm, true));
    CALL(Set_Collision_Stage(arm, 3, true));
    CALL(Get_Collision_Stage(arm, &number));
    CALL(Set_DH_Data(arm, 1, 2, 3, 4, 5.5f, true));
    CALL(Get_DH_Data(arm, values, values + 1, values + 2, values + 3, values + 4));
    CALL(Set_Joint_Zero_Offset(arm, offset, true));
    CALL(Set_Arm_Dynamic_Parm(arm, parameters, true));
    CALL(Get_Tool_Software_Version(arm, &number));
    CALL(Set_Arm_Servo_State(arm, true, true));
    CALL(Set_System_State_Servo(arm, true, true));
    CALL(Set_Install_Pose(arm, 0, 90, true));

    family("Frames and payload");
    CALL(Manual_Set_Tool_Frame(arm, "gripper", {0, 0, 0.1f, 0, 0, 1.5f}, 1, 0, 0, 0.05f, true));
    CALL(Change_Tool_Frame(arm, "gripper", true));
    CALL(Get_Current_Tool_Frame(arm, &frame));
    CALL(Get_Given_Tool_Frame(arm, "gripper", &frame));
    CALL(Get_All_Tool_Frame(arm, names));
    CALL(Auto_Set_Tool_Frame(arm, 1, true));
    for (unsigned char point = 2; point <= 6; ++point) {
        const float taught[] = {0, -30, -60, 0, -90 + 10.0f * point, 10.0f * point};
        Movej_Cmd(arm, taught, 50, 0, false);
        settle();
        Auto_Set_Tool_Frame(arm, point, true);
    }
    CALL(Generate_Auto_Tool_Frame(arm, "pen", 1, 0, 0, 0.05f, true));
    CALL(Set_Payload(arm, 2, 0, 0, 0.05f, true));
    CALL(Set_None_Payload(arm, true));
    CALL(Manual_Set_Work_Frame(arm, "table", {0.3f, 0, 0.1f, 0, 0, 1.5f}, true));
    CALL(Change_Work_Frame(arm, "table", true));
    CALL(Get_Current_Work_Frame(arm, &frame));
    CALL(Get_Given_Work_Frame(arm, "table", &pose));
    CALL(Get_All_Work_Frame(arm, names));
    CALL(Auto_Set_Work_Frame(arm, "taught", 1, true));
    Change_Work_Frame(arm, "base", true);
    CALL(Delete_Work_Frame(arm, "table", true));
    Change_Tool_Frame(arm, "flange", true);
    CALL(Delete_Tool_Frame(arm, "gripper", true));

    family("Controller and network");
    CALL(Get_Controller_State(arm, values, values + 1, values + 2, &sys_err));
    CALL_UNANSWERED(Set_WiFi_AP_Data(arm, "name", "password"));
    CALL_UNANSWERED(Set_WiFI_STA_Data(arm, "name", "password"));
    CALL_UNANSWERED(Set_USB_Data(arm, 115200));
    CALL_UNANSWERED(Set_RS485(arm, 115200));
    CALL_UNANSWERED(Set_Ethernet(arm));
    CALL_UNWAITED(Arm_Sockrt_State(arm));

    family("Power, errors and versions");
    CALL(Set_Arm_Power(arm, true, true));
    CALL(Get_Arm_Power_State(arm, &number));
    CALL(Clear_System_Err(arm, true));
    CALL(Get_Arm_Hardware_Version(arm, text));
    CALL(Get_Arm_Software_Version(arm, text, text_2));
    CALL(Get_Log_File(arm, true));
    CALL(Get_System_Runtime(arm, text, &day, &hour, &minute, &second));
    CALL(Clear_System_Runtime(arm, true));
    CALL(Get_Joint_Odom(arm, text, values));
    CALL(Clear_Joint_Odom(arm, true));
    CALL(Set_High_Speed_Eth(arm, 1, true));

    family("Inputs and outputs");
    CALL(Set_DO_State(arm, 1, true, true));
    CALL(Set_AO_State(arm, 1, true, 2.5f));
    CALL(Set_IO_State(arm, 0, 2, true, true));
    CALL(Get_DO_State(arm, 1, bytes));
    CALL(Get_DI_State(arm, 1, bytes));
    CALL(Get_AO_State(arm, 1, bytes));
    CALL(Get_AI_State(arm, 1, bytes));
    CALL(Get_IO_State(arm, 1, 2, bytes));
    CALL(Get_IO_Input(arm, bytes, values));
    CALL(Get_IO_Output(arm, bytes, values));
    CALL(Set_Tool_IO_Mode(arm, 1, true, true));
    CALL_UNWAITED(Set_Tool_DO_State(arm, 1, true, false));
    CALL(Get_Tool_IO_State(arm, values, more));
    CALL(Set_Tool_Voltage(arm, 3, true));
    CALL(Get_Tool_Voltage(arm, bytes));

    family("Gripper, hand and PWM");
    CALL(Set_Gripper_Route(arm, 0, 1000, true));
    CALL(Set_Gripper_Release(arm, 500, true));
    CALL(Set_Gripper_Pick(arm, 500, 200, true));
    CALL(Set_Gripper_Pick_On(arm, 500, 200, true));
    CALL(Set_Gripper_Position(arm, 500, true));
    CALL(Set_Hand_Posture(arm, 1, true));
    CALL(Set_Hand_Seq(arm, 1, true));
    CALL(Set_Hand_Angle(arm, fingers, true));
    CALL(Set_Hand_Speed(arm, 100, true));
    CALL(Set_Hand_Force(arm, 100, true));
    CALL(Set_PWM(arm, 1000, 500, true));

    family("Drag teaching");
    CALL(Start_Drag_Teach(arm, true));
    settle();
    CALL(Stop_Drag_Teach(arm, true));
    CALL(Drag_Trajectory_Origin(arm, true));
    CALL(Run_Drag_Trajectory(arm, true));
    CALL(Pause_Drag_Trajectory(arm, true));
    CALL(Continue_Drag_Trajectory(arm, true));
    CALL(Stop_Drag_Trajectory(arm, true));
    CALL(Start_Multi_Drag_Teach(arm, 1, true));
    Stop_Drag_Teach(arm, true);

    family("Force sensing");
    CALL(Set_Force_Postion(arm, 1, 0, 2, 10, true));
    CALL(Stop_Force_Postion(arm, true));
    CALL(Get_Force_Data(arm, values));
    CALL(Clear_Force_Data(arm, true));
    CALL(Set_Force_Sensor(arm, true));
    CALL(Stop_Set_Force_Sensor(arm, true));
    CALL(Manual_Set_Force(arm, 1, ready));
    Stop_Set_Force_Sensor(arm, true);
    CALL(Get_Fz(arm, &value));
    CALL(Clear_Fz(arm, true));
    CALL(Auto_Set_Fz(arm, true));
    Stop_Set_Force_Sensor(arm, true);
    CALL(Manual_Set_Fz(arm, ready, turned));
    Stop_Set_Force_Sensor(arm, true);

    family("Modbus");
    CALL(Set_Modbus_Mode(arm, 1, 115200, 10, true));
    CALL(Write_Single_Coil(arm, 1, 10, 1, 2, true));
    CALL(Write_Coils(arm, 1, 10, 9, data, 2, true));
    CALL(Write_Single_Register(arm, 1, 20, 1000, 2, true));
    CALL(Write_Registers(arm, 1, 20, 3, data, 2, true));
    CALL(Get_Read_Coils(arm, 1, 10, 2, 2, &number));
    CALL(Get_Read_Input_Status(arm, 1, 10, 2, 2, &number));
    CALL(Get_Read_Holding_Registers(arm, 1, 20, 2, &number));
    CALL(Get_Read_Input_Registers(arm, 1, 20, 2, &number));
    CALL(Close_Modbus_Mode(arm, 1, true));

    family("Lift and mobile base");
    CALL(Set_Vehicle(arm, 10, 5, true));
    CALL(Set_Lift(arm, 100, 50, true));
    CALL(Set_Lift_Speed(arm, 0, true));
    CALL(Set_Lift_Height(arm, 200, 50, true));
    CALL(Get_Lift_State(arm, &number, &day, &hour));
    CALL(Set_Car_Move(arm, 10, 5, true));
    CALL(Set_Car_Station(arm, 1, 10, true));
    CALL(Set_Car_Navigation_Speed(arm, 10, true));
    CALL(Set_Car_Navigation_Mode(arm, 1, true));
    CALL(Get_Car_State(arm, &number, &day, &hour, &minute, &second, &number));
    Set_Car_Move(arm, 0, 0, true);
    CALL(Set_Car_Station_Num(arm, 1, true));
    CALL(Set_Car_Charge(arm, 1, true));

    family("Force-position move");
    CALL(Start_Force_Position_Move(arm, true));
    CALL(Force_Position_Move_POSE(arm, pose, 1, 0, 2, 5, true));
    CALL(Force_Position_Move_Joint(arm, ready, 1, 0, 2, 5, true));
    CALL(Stop_Force_Postion_Move(arm, true));
    return failures == 0 ? 0 : 1;
}
