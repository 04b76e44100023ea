// Modbus transactions through the controller.
#include "kx/modbus.h"
#include "runtime/command.h"

#include <math.h>

using namespace kx;

static Request modbus_mode(int port, int baudrate, int timeout)
{
    return Request("set_modbus_mode", KeyCode::set_modbus_mode)
        .number("port", port)
        .number("baudrate", baudrate)
        .number("timeout", timeout);
}

int Set_Modbus_Mode_Block(int sockfd, int port, int baudrate, int timeout)
{
    return exchange(sockfd, modbus_mode(port, baudrate, timeout), boolean_state("set_state"));
}

int Set_Modbus_Mode_NonBlock(int sockfd, int port, int baudrate, int timeout)
{
    return post(sockfd, modbus_mode(port, baudrate, timeout));
}

int Set_Modbus_Mode(int sockfd, int port, int baudrate, int timeout, bool block)
{
    return sleeping(sockfd, block, Set_Modbus_Mode_Block, Set_Modbus_Mode_NonBlock, port, baudrate, timeout);
}

static Request close_modbus_mode(int port)
{
    return Request("close_modbus_mode", KeyCode::close_modbus_mode).number("port", port);
}

int Close_Modbus_Mode_Block(int sockfd, int port)
{
    return exchange(sockfd, close_modbus_mode(port), boolean_state("set_state"));
}

int Close_Modbus_Mode_NonBlock(int sockfd, int port)
{
    return post(sockfd, close_modbus_mode(port));
}

int Close_Modbus_Mode(int sockfd, int port, bool block)
{
    return sleeping(sockfd, block, Close_Modbus_Mode_Block, Close_Modbus_Mode_NonBlock, port);
}

static Request at(const char* command, KeyCode answer, int port, int address)
{
    return Request(command, answer).number("port", port).number("address", address);
}

// A reply without data counts as a refusal.
static int read_data(int sockfd, Request read, int* out)
{
    return exchange(sockfd, std::move(read), [=](Reply& reply) -> int {
        if (cJSON_IsFalse(reply.find("read_state"))) return KX_REFUSED;
        return reply.integer("data", *out, any_type, KX_REFUSED).code();
    });
}

int Get_Read_Coils_Block(int sockfd, int port, int address, int num, int device, int* coils_data)
{
    return read_data(
        sockfd,
        at("read_coils", KeyCode::coils_data, port, address).number("num", num).number("device", device),
        coils_data);
}

int Get_Read_Coils(int sockfd, int port, int address, int num, int device, int* coils_data)
{
    return query(Get_Read_Coils_Block, sockfd, port, address, num, device, coils_data);
}

int Get_Read_Input_Status_Block(int sockfd, int port, int address, int num, int device, int* coils_data)
{
    return read_data(sockfd,
                     at("read_input_status", KeyCode::input_status, port, address)
                         .number("num", num)
                         .number("device", device),
                     coils_data);
}

int Get_Read_Input_Status(int sockfd, int port, int address, int num, int device, int* coils_data)
{
    return query(Get_Read_Input_Status_Block, sockfd, port, address, num, device, coils_data);
}

int Get_Read_Holding_Registers_Block(int sockfd, int port, int address, int device, int* coils_data)
{
    return read_data(
        sockfd,
        at("read_holding_registers", KeyCode::holding_registers, port, address).number("device", device),
        coils_data);
}

int Get_Read_Holding_Registers(int sockfd, int port, int address, int device, int* coils_data)
{
    return query(Get_Read_Holding_Registers_Block, sockfd, port, address, device, coils_data);
}

int Get_Read_Input_Registers_Block(int sockfd, int port, int address, int device, int* coils_data)
{
    return read_data(
        sockfd, at("read_input_registers", KeyCode::input_registers, port, address).number("device", device),
        coils_data);
}

int Get_Read_Input_Registers(int sockfd, int port, int address, int device, int* coils_data)
{
    return query(Get_Read_Input_Registers_Block, sockfd, port, address, device, coils_data);
}

static Request single_coil(int port, int address, int data, int device)
{
    return at("write_single_coil", KeyCode::write_single_coil, port, address)
        .number("data", data)
        .number("device", device);
}

int Write_Single_Coil_Block(int sockfd, int port, int address, int data, int device)
{
    return exchange(sockfd, single_coil(port, address, data, device), boolean_state("write_state"));
}

int Write_Single_Coil_NonBlock(int sockfd, int port, int address, int data, int device)
{
    return post(sockfd, single_coil(port, address, data, device));
}

int Write_Single_Coil(int sockfd, int port, int address, int data, int device, bool block)
{
    return sleeping(sockfd, block, Write_Single_Coil_Block, Write_Single_Coil_NonBlock, port, address, data,
                    device);
}

static auto items(const unsigned char* bytes)
{
    return [=](int i) { return bytes[i]; };
}

// Up to eight coils travel as one number, more as an array of bytes.
static Request coils(int port, int address, int num, const unsigned char* data, int device)
{
    Request write = at("write_coils", KeyCode::write_coils, port, address).number("num", num);
    if (num > 8)
        write.array("data", static_cast<int>(ceilf(static_cast<float>(num) * 0.125f)), items(data));
    else
        write.number("data", data[0]);
    return write.number("device", device);
}

int Write_Coils_Block(int sockfd, int port, int address, int num, unsigned char* coils_data, int device)
{
    return exchange(sockfd, coils(port, address, num, coils_data, device), boolean_state("write_state"));
}

int Write_Coils_NonBlock(int sockfd, int port, int address, int num, unsigned char* coils_data, int device)
{
    return post(sockfd, coils(port, address, num, coils_data, device));
}

int Write_Coils(int sockfd, int port, int address, int num, unsigned char* coils_data, int device, bool block)
{
    return sleeping(sockfd, block, Write_Coils_Block, Write_Coils_NonBlock, port, address, num, coils_data,
                    device);
}

static Request single_register(int port, int address, int data, int device)
{
    return at("write_single_register", KeyCode::write_single_register, port, address)
        .number("data", data)
        .number("device", device);
}

int Write_Single_Register_Block(int sockfd, int port, int address, int data, int device)
{
    return exchange(sockfd, single_register(port, address, data, device), boolean_state("write_state"));
}

int Write_Single_Register_NonBlock(int sockfd, int port, int address, int data, int device)
{
    return post(sockfd, single_register(port, address, data, device));
}

int Write_Single_Register(int sockfd, int port, int address, int data, int device, bool block)
{
    return sleeping(sockfd, block, Write_Single_Register_Block, Write_Single_Register_NonBlock, port, address,
                    data, device);
}

// One byte per register, unlike Modbus itself.
static Request registers(int port, int address, int num, const unsigned char* data, int device)
{
    return at("write_registers", KeyCode::write_registers, port, address)
        .number("num", num)
        .array("data", num, items(data))
        .number("device", device);
}

int Write_Registers_Block(int sockfd, int port, int address, int num, unsigned char* single_data, int device)
{
    return exchange(sockfd, registers(port, address, num, single_data, device), boolean_state("write_state"));
}

int Write_Registers_NonBlock(int sockfd, int port, int address, int num, unsigned char* single_data,
                             int device)
{
    return post(sockfd, registers(port, address, num, single_data, device));
}

int Write_Registers(int sockfd, int port, int address, int num, unsigned char* single_data, int device,
                    bool block)
{
    return sleeping(sockfd, block, Write_Registers_Block, Write_Registers_NonBlock, port, address, num,
                    single_data, device);
}
