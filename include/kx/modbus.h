/**
 * @defgroup modbus Modbus
 * Modbus through the controller, which acts as master on one of its ports: opening a port, reading and
 * writing coils and registers of the devices behind it. Values go out as they are.
 *
 * @{
 */
#ifndef KX_MODBUS_H
#define KX_MODBUS_H

#include "kx/types.h"

/**
 * Opens a port for Modbus.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @param baudrate bits/s, 0 or more
 * @param timeout how long a device may take, 1 to 100 tenths of a second
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Modbus_Mode(int sockfd, int port, int baudrate, int timeout, bool block);

/**
 * Closes a port for Modbus.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Close_Modbus_Mode(int sockfd, int port, bool block);

/**
 * Reads coils.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @param address address of the first coil or register, 0 to 65535
 * @param num how many, 1 to 31
 * @param device address of the device, 1 to 247
 * @param coils_data receives the coils as one number; 0 when the reply's data are no number, 1 for true
 * @waits
 * @return @read_or_failed; 1 refused or no data
 */
KX_API int Get_Read_Coils(int sockfd, int port, int address, int num, int device, int* coils_data);

/**
 * Reads discrete inputs.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @param address address of the first coil or register, 0 to 65535
 * @param num how many, 1 to 31
 * @param device address of the device, 1 to 247
 * @param coils_data receives the inputs as one number; 0 when the reply's data are no number, 1 for true
 * @waits
 * @return @read_or_failed; 1 refused or no data
 */
KX_API int Get_Read_Input_Status(int sockfd, int port, int address, int num, int device, int* coils_data);

/**
 * Reads one holding register.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @param address address of the first coil or register, 0 to 65535
 * @param device address of the device, 1 to 247
 * @param coils_data receives its value; 0 when the reply's data are no number, 1 for true
 * @waits
 * @return @read_or_failed; 1 refused or no data
 */
KX_API int Get_Read_Holding_Registers(int sockfd, int port, int address, int device, int* coils_data);

/**
 * Reads one input register.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @param address address of the first coil or register, 0 to 65535
 * @param device address of the device, 1 to 247
 * @param coils_data receives its value; 0 when the reply's data are no number, 1 for true
 * @waits
 * @return @read_or_failed; 1 refused or no data
 */
KX_API int Get_Read_Input_Registers(int sockfd, int port, int address, int device, int* coils_data);

/**
 * Writes one coil.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @param address address of the first coil or register, 0 to 65535
 * @param data 1 on, 0 off
 * @param device address of the device, 1 to 247
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Write_Single_Coil(int sockfd, int port, int address, int data, int device, bool block);

/**
 * Writes several coils.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @param address address of the first coil or register, 0 to 65535
 * @param num how many. 272 always fit; more can make a request of over 299 bytes, which a link refuses, while a
 *   classic connection ends the process by abort()
 * @param coils_data the coils, eight to a byte, lowest bit first; at least one byte. Only read
 * @param device address of the device, 1 to 247
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Write_Coils(int sockfd, int port, int address, int num, unsigned char* coils_data, int device,
                       bool block);

/**
 * Writes one register.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @param address address of the first coil or register, 0 to 65535
 * @param data 0 to 65535
 * @param device address of the device, 1 to 247
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Write_Single_Register(int sockfd, int port, int address, int data, int device, bool block);

/**
 * Writes several registers with values of 0 to 255; for larger ones use Write_Single_Register.
 * @param port 0 the controller's own, 1 that of the tool flange
 * @param address address of the first coil or register, 0 to 65535
 * @param num how many; below 1 none. 34 always fit; more can make a request of over 299 bytes, which a
 *   link refuses, while a classic connection ends the process by abort()
 * @param single_data one byte per register. Only read
 * @param device address of the device, 1 to 247
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Write_Registers(int sockfd, int port, int address, int num, unsigned char* single_data, int device,
                           bool block);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Set_Modbus_Mode_Block(int sockfd, int port, int baudrate, int timeout);
KX_API int Set_Modbus_Mode_NonBlock(int sockfd, int port, int baudrate, int timeout);
KX_API int Close_Modbus_Mode_Block(int sockfd, int port);
KX_API int Close_Modbus_Mode_NonBlock(int sockfd, int port);
KX_API int Get_Read_Coils_Block(int sockfd, int port, int address, int num, int device, int* coils_data);
KX_API int Get_Read_Input_Status_Block(int sockfd, int port, int address, int num, int device,
                                       int* coils_data);
KX_API int Get_Read_Holding_Registers_Block(int sockfd, int port, int address, int device, int* coils_data);
KX_API int Get_Read_Input_Registers_Block(int sockfd, int port, int address, int device, int* coils_data);
KX_API int Write_Single_Coil_Block(int sockfd, int port, int address, int data, int device);
KX_API int Write_Single_Coil_NonBlock(int sockfd, int port, int address, int data, int device);
KX_API int Write_Coils_Block(int sockfd, int port, int address, int num, unsigned char* coils_data,
                             int device);
KX_API int Write_Coils_NonBlock(int sockfd, int port, int address, int num, unsigned char* coils_data,
                                int device);
KX_API int Write_Single_Register_Block(int sockfd, int port, int address, int data, int device);
KX_API int Write_Single_Register_NonBlock(int sockfd, int port, int address, int data, int device);
KX_API int Write_Registers_Block(int sockfd, int port, int address, int num, unsigned char* single_data,
                                 int device);
KX_API int Write_Registers_NonBlock(int sockfd, int port, int address, int num, unsigned char* single_data,
                                    int device);

/** @} */
/** @} */

#endif
