// The controller: whether it is there, its state, its communication interfaces. Nobody awaits an answer to a
// change of interface: the connection may be gone with it.
#include "kx/controller.h"
#include "kx/connection.h"
#include "runtime/command.h"

using namespace kx;

int Get_Controller_State_Block(int sockfd, float* voltage, float* current, float* temperature,
                               unsigned short* sys_err)
{
    return exchange(sockfd, Request("get_controller_state", KeyCode::controller_state), [=](Reply& reply) {
        return reply.scaled("voltage", *voltage, 1000.0f)
            .scaled("current", *current, 1000.0f)
            .scaled("temperature", *temperature, 1000.0f)
            .integer("err_flag", *sys_err)
            .code();
    });
}

int Get_Controller_State(int sockfd, float* voltage, float* current, float* temperature,
                         unsigned short* sys_err)
{
    return query(Get_Controller_State_Block, sockfd, voltage, current, temperature, sys_err);
}

int Set_WiFi_AP_Data_Blcok(int sockfd, const char* wifi_name, const char* password)
{
    return dispatch(sockfd, Request("set_wifi_ap").text("wifi_name", wifi_name).text("password", password));
}

int Set_WiFi_AP_Data(int sockfd, const char* wifi_name, const char* password)
{
    return query(Set_WiFi_AP_Data_Blcok, sockfd, wifi_name, password);
}

int Set_WiFI_STA_Data_Block(int sockfd, const char* router_name, const char* password)
{
    return dispatch(sockfd,
                    Request("set_wifi_sta").text("router_name", router_name).text("password", password));
}

int Set_WiFI_STA_Data(int sockfd, const char* router_name, const char* password)
{
    return query(Set_WiFI_STA_Data_Block, sockfd, router_name, password);
}

int Set_USB_Data_Block(int sockfd, int baudrate)
{
    return dispatch(sockfd, Request("set_usb").number("baudrate", baudrate));
}

int Set_USB_Data(int sockfd, int baudrate)
{
    return query(Set_USB_Data_Block, sockfd, baudrate);
}

int Set_RS485_Block(int sockfd, int baudrate)
{
    return dispatch(sockfd, Request("set_RS485").number("baudrate", baudrate));
}

int Set_RS485(int sockfd, int baudrate)
{
    return query(Set_RS485_Block, sockfd, baudrate);
}

int Set_Ethernet_Block(int sockfd)
{
    return dispatch(sockfd, Request("set_ethernet"));
}

int Set_Ethernet(int sockfd)
{
    return query(Set_Ethernet_Block, sockfd);
}

// Nobody waits for the answer.
int Arm_Sockrt_State_Block(int sockfd)
{
    return dispatch(sockfd, Request("get_joint_max_speed", KeyCode::joint_max_speed));
}

int Arm_Sockrt_State(int sockfd)
{
    entry_delay(sockfd);
    if (const int fault = guard(sockfd)) return fault;
    return quick_query(Arm_Sockrt_State_Block, sockfd);
}
