/**
 * @defgroup controller Controller and network
 * The controller's own state and its communication interfaces.
 *
 * The settings are sent and never wait for an answer, since the controller may drop the connection while it
 * takes them: 0 says that the request went out, not that the controller accepted it. Texts go out in clear,
 * and a null one is left out; the library keeps none.
 *
 * @{
 */
#ifndef KX_CONTROLLER_H
#define KX_CONTROLLER_H

#include "kx/types.h"

/**
 * Reads the controller's supply and health, written in the order of the parameters; when the reply breaks
 * off, what was decoded before stays written.
 * @param voltage receives V
 * @param current receives A
 * @param temperature receives degrees Celsius
 * @param sys_err receives the error code of the controller, 0 when healthy
 * @waits
 * @return @read_up_to_a_fault, 11 a member that is no number
 */
KX_API int Get_Controller_State(int sockfd, float* voltage, float* current, float* temperature,
                                unsigned short* sys_err);

/**
 * Sets up the controller's own WiFi access point.
 * @param wifi_name its name
 * @param password its password. Both together at most 230 bytes, in which quotes and backslashes count
 *   twice and control characters up to six times
 * @sends
 * @return 0 sent, 6 not sent; also 11, on a link 17, with nothing sent, for a longer name and password
 */
KX_API int Set_WiFi_AP_Data(int sockfd, const char* wifi_name, const char* password);

/**
 * Makes the controller join a router's WiFi.
 * @param router_name the router's name
 * @param password its password; both together as long as for Set_WiFi_AP_Data
 * @sends
 * @return 0 sent, 6 not sent; also 11, on a link 17, with nothing sent, for a longer name and password
 */
KX_API int Set_WiFI_STA_Data(int sockfd, const char* router_name, const char* password);

/**
 * Sets the baud rate of the USB port.
 * @param baudrate 1200 to 4000000 bits/s
 * @sends
 * @return 0 sent, 6 not sent
 */
KX_API int Set_USB_Data(int sockfd, int baudrate);

/**
 * Sets the baud rate of the RS485 port.
 * @param baudrate 1200 to 4000000 bits/s
 * @sends
 * @return 0 sent, 6 not sent
 */
KX_API int Set_RS485(int sockfd, int baudrate);

/**
 * Switches the controller to Ethernet.
 * @sends
 * @return 0 sent, 6 not sent
 */
KX_API int Set_Ethernet(int sockfd);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Get_Controller_State_Block(int sockfd, float* voltage, float* current, float* temperature,
                                      unsigned short* sys_err);
KX_API int Set_WiFi_AP_Data_Blcok(int sockfd, const char* wifi_name, const char* password);
KX_API int Set_WiFI_STA_Data_Block(int sockfd, const char* router_name, const char* password);
KX_API int Set_USB_Data_Block(int sockfd, int baudrate);
KX_API int Set_RS485_Block(int sockfd, int baudrate);
KX_API int Set_Ethernet_Block(int sockfd);

/** @} */
/** @} */

#endif
