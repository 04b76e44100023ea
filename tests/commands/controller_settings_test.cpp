// The controller's state, and its network settings, which nobody answers.
#include "support/command_rows.h"
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/pending.h"
#include "runtime/transmit.h"

static int controller_state(int fd, std::vector<double>& values)
{
    unsigned short sys_err = 9;
    const int status = filled<float, 3>(
        values, [&](float* out) { return Get_Controller_State(fd, out, out + 1, out + 2, &sys_err); });
    values.push_back(sys_err);
    return status;
}

static std::string state_reply(const std::string& members)
{
    return R"({"command":"controller_state",)" + members + "}";
}

INSTANTIATE_TEST_SUITE_P(
    Controller, Getters,
    testing::Values(Getter{
        "Get_Controller_State",
        controller_state,
        R"({"command":"get_controller_state"})",
        "controller_state",
        {{state_reply(R"("voltage":24000,"current":1500,"temperature":35000,"err_flag":65537)"),
          0,
          {24, 1.5, 35, 1}},
         {state_reply(R"("voltage":"24000")"), 11, {-1, -1, -1, 9}},
         {state_reply(R"("voltage":-1)"), 9, {-0.001, -1, -1, 9}},
         {state_reply(R"("voltage":1,"current":null)"), 11, {0.001, -1, -1, 9}},
         {state_reply(R"("voltage":1,"current":2)"), 9, {0.001, 0.002, -1, 9}},
         {state_reply(R"("voltage":1,"current":2,"temperature":[])"), 11, {0.001, 0.002, -1, 9}},
         {state_reply(R"("voltage":1,"current":2,"temperature":3)"), 9, {0.001, 0.002, 0.003, 9}},
         {state_reply(R"("voltage":1,"current":2,"temperature":3,"err_flag":true)"),
          11,
          {0.001, 0.002, 0.003, 9}}}}),
    RowName());

// Sent at once and awaited by nobody.
struct Setting {
    std::string name;
    std::function<int(int sockfd)> call;
    std::string request;
};

class Settings : public testing::TestWithParam<Setting> {};

TEST_P(Settings, GoOutAtOnceAndAreForgotten)
{
    const Setting& row = GetParam();
    Arm arm;
    const unsigned int start = Get_Program_Runtime();
    EXPECT_EQ(row.call(arm.sockfd), 0);
    EXPECT_GE(Get_Program_Runtime() - start, 20u);
    EXPECT_EQ(arm.peer.next_request(), on_the_wire(row.request));
    EXPECT_EQ(m_nSockeRIinfosLen, 0);

    EXPECT_EQ(row.call(-1), 6);
    ASSERT_EQ(Movep_CANFD(arm.sockfd, {}), 0);
    EXPECT_EQ(row.call(-1), 6);
    EXPECT_EQ(m_nSockeRIinfosLen, 1) << "a failed setting removed another's entry";
    EXPECT_EQ(SuspendQueue, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Controller, Settings,
    testing::Values(Setting{"Set_WiFi_AP_Data",
                            [](int fd) { return Set_WiFi_AP_Data(fd, "cell \"7\"", "pass\\word"); },
                            R"({"command":"set_wifi_ap","wifi_name":"cell \"7\"","password":"pass\\word"})"},
                    Setting{"Set_WiFi_AP_Data_without_password",
                            [](int fd) { return Set_WiFi_AP_Data(fd, "open", nullptr); },
                            R"({"command":"set_wifi_ap","wifi_name":"open"})"},
                    Setting{"Set_WiFI_STA_Data", [](int fd) { return Set_WiFI_STA_Data(fd, "", "secret"); },
                            R"({"command":"set_wifi_sta","router_name":"","password":"secret"})"},
                    Setting{"Set_USB_Data", [](int fd) { return Set_USB_Data(fd, 115200); },
                            R"({"command":"set_usb","baudrate":115200})"},
                    Setting{"Set_RS485", [](int fd) { return Set_RS485(fd, -1); },
                            R"({"command":"set_RS485","baudrate":-1})"},
                    Setting{"Set_Ethernet", Set_Ethernet, R"({"command":"set_ethernet"})"}),
    RowName());

TEST(NetworkSettings, AreRefusedWhenTheyDoNotFit)
{
    Arm arm;
    const std::string password(250, 'x');
    EXPECT_EQ(Set_WiFi_AP_Data(arm.sockfd, "cell", password.c_str()), 11);
    EXPECT_EQ(Set_WiFI_STA_Data(arm.sockfd, password.c_str(), ""), 11);
    EXPECT_EQ(Set_Ethernet(arm.sockfd), 0);
    EXPECT_EQ(arm.peer.next_request(), on_the_wire(R"({"command":"set_ethernet"})"))
        << "the first that was sent";
}
