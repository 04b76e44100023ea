// Inputs and outputs of the controller and of the tool flange.
#include "kx/io.h"
#include "runtime/command.h"

using namespace kx;

constexpr ArrayLength channels = up_to(16); // of a kind

static Request channel(const char* command, KeyCode answer, unsigned char IO_Num)
{
    return Request(command, answer).number("IO_Num", IO_Num);
}

static Request digital_output(unsigned char IO_Num, bool state)
{
    return channel("set_DO_state", KeyCode::set_DO_state, IO_Num).number("state", state);
}

int Set_DO_State_Block(int sockfd, unsigned char IO_Num, bool state)
{
    return exchange(sockfd, digital_output(IO_Num, state), boolean_state("state"));
}

int Set_DO_State_NonBlock(int sockfd, unsigned char IO_Num, bool state)
{
    return post(sockfd, digital_output(IO_Num, state));
}

int Set_DO_State(int sockfd, unsigned char IO_Num, bool state, bool block)
{
    return direct(sockfd, block, Set_DO_State_Block, Set_DO_State_NonBlock, IO_Num, state);
}

static Request analogue_output(unsigned char IO_Num, float voltage)
{
    return channel("set_AO_state", KeyCode::set_AO_state, IO_Num)
        .number("voltage", truncated(voltage, 1000.0f));
}

int Set_AO_State_Block(int sockfd, unsigned char IO_Num, float voltage)
{
    return exchange(sockfd, analogue_output(IO_Num, voltage), boolean_state("state"));
}

int Set_AO_State_NonBlock(int sockfd, unsigned char IO_Num, float voltage)
{
    return post(sockfd, analogue_output(IO_Num, voltage));
}

int Set_AO_State(int sockfd, unsigned char IO_Num, bool block, float voltage)
{
    return direct(sockfd, block, Set_AO_State_Block, Set_AO_State_NonBlock, IO_Num, voltage);
}

// One flag serves both kinds: an analogue output is driven with 0 V or 1 V.
int Set_IO_State(int sockfd, int io_type, unsigned char IO_Num, bool state, bool block)
{
    entry_delay(sockfd);
    switch (io_type) {
    case 0:
        return Set_DO_State(sockfd, IO_Num, state, block);
    case 1:
        return Set_AO_State(sockfd, IO_Num, block, static_cast<float>(state));
    default:
        return KX_WRONG_TYPE;
    }
}

static int read_channel(int sockfd, Request question, int (*decode)(Reply& reply, unsigned char* out),
                        unsigned char* out)
{
    return exchange(sockfd, std::move(question), [=](Reply& reply) { return decode(reply, out); });
}

int Get_DO_State_Block(int sockfd, unsigned char IO_Num, unsigned char* state)
{
    return read_channel(sockfd, channel("get_DO_state", KeyCode::DO_state, IO_Num), number_reply, state);
}

int Get_DO_State(int sockfd, unsigned char IO_Num, unsigned char* state)
{
    return quick_query(Get_DO_State_Block, sockfd, IO_Num, state);
}

int Get_DI_State_Block(int sockfd, unsigned char IO_Num, unsigned char* state)
{
    return read_channel(sockfd, channel("get_DI_state", KeyCode::DI_state, IO_Num), number_reply, state);
}

int Get_DI_State(int sockfd, unsigned char IO_Num, unsigned char* state)
{
    return quick_query(Get_DI_State_Block, sockfd, IO_Num, state);
}

int Get_AO_State_Block(int sockfd, unsigned char IO_Num, unsigned char* voltage)
{
    return read_channel(sockfd, channel("get_AO_state", KeyCode::AO_state, IO_Num), millivolt_reply, voltage);
}

int Get_AO_State(int sockfd, unsigned char IO_Num, unsigned char* voltage)
{
    return quick_query(Get_AO_State_Block, sockfd, IO_Num, voltage);
}

int Get_AI_State_Blcok(int sockfd, unsigned char IO_Num, unsigned char* voltage)
{
    return read_channel(sockfd, channel("get_AI_state", KeyCode::AI_state, IO_Num), millivolt_reply, voltage);
}

int Get_AI_State(int sockfd, unsigned char IO_Num, unsigned char* voltage)
{
    return quick_query(Get_AI_State_Blcok, sockfd, IO_Num, voltage);
}

int Get_IO_State(int sockfd, int io_type, unsigned char IO_Num, unsigned char* state)
{
    entry_delay(sockfd);
    switch (io_type) {
    case 0:
        return Get_DO_State(sockfd, IO_Num, state);
    case 1:
        return Get_DI_State(sockfd, IO_Num, state);
    case 2:
        return Get_AO_State(sockfd, IO_Num, state);
    case 3:
        return Get_AI_State(sockfd, IO_Num, state);
    default:
        return KX_WRONG_TYPE;
    }
}

int Get_IO_Input_Block(int sockfd, unsigned char* DI_state, float* AI_voltage)
{
    return exchange(sockfd, Request("get_IO_input", KeyCode::IO_input_state), [=](Reply& reply) {
        return reply.array("DI", channels, {}, plain(DI_state))
            .array("AI", channels, {}, thousandths(AI_voltage))
            .code();
    });
}

int Get_IO_Input(int sockfd, unsigned char* DI_state, float* AI_voltage)
{
    return query(Get_IO_Input_Block, sockfd, DI_state, AI_voltage);
}

int Get_IO_Output_Block(int sockfd, unsigned char* DO_state, float* AO_voltage)
{
    return exchange(sockfd, Request("get_IO_output", KeyCode::IO_output_state), [=](Reply& reply) {
        return reply.array("DO", channels, {}, plain(DO_state))
            .array("AO", channels, {}, thousandths(AO_voltage))
            .code();
    });
}

int Get_IO_Output(int sockfd, unsigned char* DO_state, float* AO_voltage)
{
    return query(Get_IO_Output_Block, sockfd, DO_state, AO_voltage);
}

static Request tool_output(unsigned char IO_Num, bool state)
{
    return channel("set_tool_DO_state", KeyCode::set_tool_DO_state, IO_Num).number("state", state);
}

// Its reply is taken for that of Get_DO_State, so this ends with 7 although the output was switched.
int Set_Tool_DO_State_Block(int sockfd, unsigned char IO_Num, bool state)
{
    return exchange(sockfd, tool_output(IO_Num, state), boolean_state("set_state"));
}

int Set_Tool_DO_State_NonBlock(int sockfd, unsigned char IO_Num, bool state)
{
    return post(sockfd, tool_output(IO_Num, state));
}

int Set_Tool_DO_State(int sockfd, unsigned char IO_Num, bool state, bool block)
{
    return sleeping(sockfd, block, Set_Tool_DO_State_Block, Set_Tool_DO_State_NonBlock, IO_Num, state);
}

static Request tool_direction(unsigned char IO_Num, bool state)
{
    return channel("set_tool_IO_mode", KeyCode::set_tool_IO_mode, IO_Num).number("state", state);
}

int Set_Tool_IO_Mode_Block(int sockfd, unsigned char IO_Num, bool state)
{
    return exchange(sockfd, tool_direction(IO_Num, state), boolean_state("set_state"));
}

int Set_Tool_IO_Mode_NonBlock(int sockfd, unsigned char IO_Num, bool state)
{
    return post(sockfd, tool_direction(IO_Num, state));
}

int Set_Tool_IO_Mode(int sockfd, unsigned char IO_Num, bool state, bool block)
{
    return sleeping(sockfd, block, Set_Tool_IO_Mode_Block, Set_Tool_IO_Mode_NonBlock, IO_Num, state);
}

int Get_Tool_IO_State_Block(int sockfd, float* IO_Mode, float* IO_State)
{
    return exchange(sockfd, Request("get_tool_IO_state", KeyCode::tool_IO_state), [=](Reply& reply) {
        return reply.array("IO_Mode", channels, {}, plain(IO_Mode))
            .array("IO_State", channels, {}, plain(IO_State))
            .code();
    });
}

int Get_Tool_IO_State(int sockfd, float* IO_Mode, float* IO_State)
{
    return query(Get_Tool_IO_State_Block, sockfd, IO_Mode, IO_State);
}

static Request tool_voltage(unsigned char type)
{
    return Request("set_tool_voltage", KeyCode::set_tool_voltage).number("voltage_type", type);
}

int Set_Tool_Voltage_Block(int sockfd, unsigned char type)
{
    return exchange(sockfd, tool_voltage(type), boolean_state("state"));
}

int Set_Tool_Voltage_NonBlock(int sockfd, unsigned char type)
{
    return post(sockfd, tool_voltage(type));
}

int Set_Tool_Voltage(int sockfd, unsigned char type, bool block)
{
    return sleeping(sockfd, block, Set_Tool_Voltage_Block, Set_Tool_Voltage_NonBlock, type);
}

int Get_Tool_Voltage_Block(int sockfd, unsigned char* type)
{
    return exchange(sockfd, Request("get_tool_voltage", KeyCode::tool_voltage_state),
                    [=](Reply& reply) { return reply.integer("voltage_type", *type).code(); });
}

int Get_Tool_Voltage(int sockfd, unsigned char* type)
{
    return query(Get_Tool_Voltage_Block, sockfd, type);
}
