/**
 * @defgroup io Inputs and outputs
 * Inputs and outputs of the controller and of the tool flange.
 *
 * - `IO_Num` the channel, as the controller numbers them, counted from 1
 *
 * Setters return: 0 done, 1 refused; blocking also 6 not sent, 7 no answer within m_nOutTime, 9 or 11 a reply
 * that cannot be read.
 *
 * Getters return: 0; 6 not sent, 7 no answer within m_nOutTime, 9 unreadable reply, 11 wrong type.
 *
 * @{
 */
#ifndef KX_IO_H
#define KX_IO_H

#include "kx/types.h"

/**
 * Switches a digital output of the controller.
 * @param state true on, false off
 */
KX_API int Set_DO_State(int sockfd, unsigned char IO_Num, bool state, bool block);

/**
 * Sets an analogue output of the controller. Mind the order: the block flag stands before the value.
 * @param voltage V; sent in millivolts, truncated toward zero
 */
KX_API int Set_AO_State(int sockfd, unsigned char IO_Num, bool block, float voltage);

/**
 * Switches an output of either kind.
 * @param io_type 0 digital, 1 analogue
 * @param state on or off; an analogue output is driven with 1 V or 0 V (Set_AO_State gives other voltages)
 * @return also 11 for another type, with nothing sent
 */
KX_API int Set_IO_State(int sockfd, int io_type, unsigned char IO_Num, bool state, bool block);

/**
 * Reads a digital output of the controller.
 * @param state receives 1 or 0
 */
KX_API int Get_DO_State(int sockfd, unsigned char IO_Num, unsigned char* state);

/**
 * Reads a digital input of the controller.
 * @param state receives 1 or 0
 */
KX_API int Get_DI_State(int sockfd, unsigned char IO_Num, unsigned char* state);

/**
 * Reads an analogue output of the controller.
 * @param voltage receives whole volts, fraction cut off (Get_IO_Output keeps it)
 */
KX_API int Get_AO_State(int sockfd, unsigned char IO_Num, unsigned char* voltage);

/**
 * Reads an analogue input of the controller.
 * @param voltage receives whole volts, fraction cut off (Get_IO_Input keeps it)
 */
KX_API int Get_AI_State(int sockfd, unsigned char IO_Num, unsigned char* voltage);

/**
 * Reads a channel of any kind.
 * @param io_type 0 digital output, 1 digital input, 2 analogue output, 3 analogue input
 * @param state 1 or 0; of an analogue channel whole volts
 * @return also 11 for another type, with nothing sent
 */
KX_API int Get_IO_State(int sockfd, int io_type, unsigned char IO_Num, unsigned char* state);

/**
 * Reads all inputs of the controller, as many as it has; both arrays must have room for them. The digital
 * states are written before the voltages are looked at, and stay written when those cannot be read.
 * @param DI_state 1 or 0 per digital input
 * @param AI_voltage V per analogue input, in steps of a millivolt
 */
KX_API int Get_IO_Input(int sockfd, unsigned char* DI_state, float* AI_voltage);

/**
 * Reads all outputs of the controller, in the way of Get_IO_Input.
 * @param DO_state receives 1 or 0 per digital output
 * @param AO_voltage receives V per analogue output, in steps of a millivolt
 */
KX_API int Get_IO_Output(int sockfd, unsigned char* DO_state, float* AO_voltage);

/**
 * Switches a digital output of the tool flange. Call it without blocking: its reply cannot be told from that
 * of Get_DO_State, so the blocking form switches the output and then always ends with 7 after m_nOutTime.
 * @param state true on, false off
 * @return 0 queued; blocking 7, or 6 if nothing could be sent
 */
KX_API int Set_Tool_DO_State(int sockfd, unsigned char IO_Num, bool state, bool block);

/**
 * Chooses the direction of an IO channel of the tool flange.
 * @param state one of the two directions, as the controller defines them
 */
KX_API int Set_Tool_IO_Mode(int sockfd, unsigned char IO_Num, bool state, bool block);

/**
 * Reads direction and state of all IO channels of the tool flange; both arrays must have room for them. The
 * directions are written before the states are looked at, and stay written when those cannot be read.
 * @param IO_Mode direction per channel, as set by Set_Tool_IO_Mode, as 1.0 or 0.0
 * @param IO_State state per channel, as 1.0 or 0.0
 */
KX_API int Get_Tool_IO_State(int sockfd, float* IO_Mode, float* IO_State);

/**
 * Chooses the supply voltage of the tool flange.
 * @param type the controller's number for the voltage
 */
KX_API int Set_Tool_Voltage(int sockfd, unsigned char type, bool block);

/**
 * Reads the supply voltage of the tool flange.
 * @param type receives the controller's number for it
 */
KX_API int Get_Tool_Voltage(int sockfd, unsigned char* type);

/* Workers. */
KX_API int Set_DO_State_Block(int sockfd, unsigned char IO_Num, bool state);
KX_API int Set_DO_State_NonBlock(int sockfd, unsigned char IO_Num, bool state);
KX_API int Set_AO_State_Block(int sockfd, unsigned char IO_Num, float voltage);
KX_API int Set_AO_State_NonBlock(int sockfd, unsigned char IO_Num, float voltage);
KX_API int Get_DO_State_Block(int sockfd, unsigned char IO_Num, unsigned char* state);
KX_API int Get_DI_State_Block(int sockfd, unsigned char IO_Num, unsigned char* state);
KX_API int Get_AO_State_Block(int sockfd, unsigned char IO_Num, unsigned char* voltage);
KX_API int Get_AI_State_Blcok(int sockfd, unsigned char IO_Num, unsigned char* voltage);
KX_API int Get_IO_Input_Block(int sockfd, unsigned char* DI_state, float* AI_voltage);
KX_API int Get_IO_Output_Block(int sockfd, unsigned char* DO_state, float* AO_voltage);
KX_API int Set_Tool_DO_State_Block(int sockfd, unsigned char IO_Num, bool state);
KX_API int Set_Tool_DO_State_NonBlock(int sockfd, unsigned char IO_Num, bool state);
KX_API int Set_Tool_IO_Mode_Block(int sockfd, unsigned char IO_Num, bool state);
KX_API int Set_Tool_IO_Mode_NonBlock(int sockfd, unsigned char IO_Num, bool state);
KX_API int Get_Tool_IO_State_Block(int sockfd, float* IO_Mode, float* IO_State);
KX_API int Set_Tool_Voltage_Block(int sockfd, unsigned char type);
KX_API int Set_Tool_Voltage_NonBlock(int sockfd, unsigned char type);
KX_API int Get_Tool_Voltage_Block(int sockfd, unsigned char* type);

/** @} */

#endif
