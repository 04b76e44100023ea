// Modbus through the controller: requests, packing of coils and registers, replies.
#include "support/command_rows.h"
#include "support/peer.h"

#include "kx_base.h"

#include <climits>

static unsigned char bytes[300] = {255, 1, 128, 0, 7};

INSTANTIATE_TEST_SUITE_P(
    Modbus, Setters,
    testing::Values(
        Setter{"Set_Modbus_Mode", with(Set_Modbus_Mode, 1, 115200, 2),
               R"({"command":"set_modbus_mode","port":1,"baudrate":115200,"timeout":2})", "set_modbus_mode",
               "set_state"},
        Setter{"Close_Modbus_Mode", with(Close_Modbus_Mode, 0), R"({"command":"close_modbus_mode","port":0})",
               "close_modbus_mode", "set_state"},
        Setter{"Write_Single_Coil", with(Write_Single_Coil, 1, 65535, 1, 2),
               R"({"command":"write_single_coil","port":1,"address":65535,"data":1,"device":2})",
               "write_single_coil", "write_state"},
        Setter{"Write_Single_Register", with(Write_Single_Register, 1, 2, -70000, 3),
               R"({"command":"write_single_register","port":1,"address":2,"data":-70000,"device":3})",
               "write_single_register", "write_state"},
        Setter{"Write_Coils_eight", with(Write_Coils, 1, 0, 8, bytes, 1),
               R"({"command":"write_coils","port":1,"address":0,"num":8,"data":255,"device":1})",
               "write_coils", "write_state"},
        Setter{"Write_Coils_none", with(Write_Coils, 1, 0, -1, bytes, 1),
               R"({"command":"write_coils","port":1,"address":0,"num":-1,"data":255,"device":1})",
               "write_coils", "write_state"},
        Setter{"Write_Coils_nine", with(Write_Coils, 1, 0, 9, bytes, 1),
               R"({"command":"write_coils","port":1,"address":0,"num":9,"data":[255,1],"device":1})",
               "write_coils", "write_state"},
        Setter{"Write_Coils_sixteen", with(Write_Coils, 1, 0, 16, bytes, 1),
               R"({"command":"write_coils","port":1,"address":0,"num":16,"data":[255,1],"device":1})",
               "write_coils", "write_state"},
        Setter{"Write_Coils_seventeen", with(Write_Coils, 1, 0, 17, bytes, 1),
               R"({"command":"write_coils","port":1,"address":0,"num":17,"data":[255,1,128],"device":1})",
               "write_coils", "write_state"},
        Setter{"Write_Registers", with(Write_Registers, 1, 5, 3, bytes, 9),
               R"({"command":"write_registers","port":1,"address":5,"num":3,"data":[255,1,128],"device":9})",
               "write_registers", "write_state"},
        Setter{"Write_Registers_none", with(Write_Registers, 1, 5, -2, bytes, 9),
               R"({"command":"write_registers","port":1,"address":5,"num":-2,"data":[],"device":9})",
               "write_registers", "write_state"}),
    RowName());

template <class Read>
static Getter reading(std::string name, Read read, std::string request, const std::string& reply_name)
{
    const auto reply = [=](const std::string& members) {
        return "{\"command\":\"" + reply_name + "\"," + members + "}";
    };
    return {std::move(name),
            [=](int fd, std::vector<double>& values) {
                return filled<int, 1>(values, [&](int* data) { return read(fd, data); });
            },
            std::move(request),
            reply_name,
            {{reply(R"("data":5)"), 0, {5}},
             {reply(R"("read_state":true,"data":65535)"), 0, {65535}},
             {reply(R"("read_state":0,"data":-7.9)"), 0, {-7}},
             {reply(R"("data":"5")"), 0, {0}},
             {reply(R"("read_state":false)"), 1, {-1}},
             {reply(R"("read_state":false,"data":5)"), 1, {-1}},
             {reply(R"("read_state":true)"), 1, {-1}}},
            46,
            1};
}

INSTANTIATE_TEST_SUITE_P(
    Modbus, Getters,
    testing::Values(
        reading(
            "Get_Read_Coils", [](int fd, int* data) { return Get_Read_Coils(fd, 1, 10, 8, 2, data); },
            R"({"command":"read_coils","port":1,"address":10,"num":8,"device":2})", "coils_data"),
        reading(
            "Get_Read_Input_Status",
            [](int fd, int* data) { return Get_Read_Input_Status(fd, 1, 10, 8, 2, data); },
            R"({"command":"read_input_status","port":1,"address":10,"num":8,"device":2})", "input_status"),
        reading(
            "Get_Read_Holding_Registers",
            [](int fd, int* data) { return Get_Read_Holding_Registers(fd, 1, 10, 2, data); },
            R"({"command":"read_holding_registers","port":1,"address":10,"device":2})", "holding_registers"),
        reading(
            "Get_Read_Input_Registers",
            [](int fd, int* data) { return Get_Read_Input_Registers(fd, 1, 10, 2, data); },
            R"({"command":"read_input_registers","port":1,"address":10,"device":2})", "input_registers")),
    RowName());

TEST(Modbus, WritesWhatTheReferencePromisesToFit)
{
    unsigned char full[34];
    std::fill(std::begin(full), std::end(full), static_cast<unsigned char>(255));
    Arm arm;
    EXPECT_EQ(Write_Coils(arm.sockfd, INT_MIN, INT_MIN, 272, full, INT_MIN, false), 0);
    EXPECT_NE(arm.peer.next_request().find("255],\n\t\"device\":\t-2147483648"), std::string::npos);
    EXPECT_EQ(Write_Registers(arm.sockfd, INT_MIN, INT_MIN, 34, full, INT_MIN, false), 0);
    EXPECT_NE(arm.peer.next_request().find("255],\n\t\"device\":\t-2147483648"), std::string::npos);
}

// Before the end no more is read of the caller's bytes than could have been sent.
TEST(ModbusDeathTest, WritesThatDoNotFitEndTheProcess)
{
    for (int num : {800, INT_MAX}) {
        EXPECT_EXIT(Write_Coils(-1, 1, 0, num, bytes, 1, false), testing::KilledBySignal(SIGABRT), "");
        EXPECT_EXIT(Write_Registers(-1, 1, 0, num, bytes, 1, false), testing::KilledBySignal(SIGABRT), "");
    }
}
