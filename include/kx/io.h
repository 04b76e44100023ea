/**
 * @defgroup io Inputs and outputs
 * Inputs and outputs of the controller and of the tool flange. Where all of a kind are read at once, a link writes 16 at most,
 * and refuses a reply with more: 11.
 *
 * @{
 */
#ifndef KX_IO_H
#define KX_IO_H

#include "kx/types.h"

/**
 * Switches a digital output of the controller.
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param state true on, false off
 * @waits_or_queues{at once}
 * @return @done_or_refused
 */
KX_API int Set_DO_State(int sockfd, unsigned char IO_Num, bool state, bool block);

/**
 * Sets an analogue output of the controller. Mind the order: the block flag stands before the value.
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param voltage 0 to 10 V; sent in millivolts, truncated toward zero
 * @waits_or_queues{at once}
 * @return @done_or_refused
 */
KX_API int Set_AO_State(int sockfd, unsigned char IO_Num, bool block, float voltage);

/**
 * Switches an output of either kind.
 * @param io_type 0 digital, 1 analogue
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param state on or off; an analogue output is driven with 1 V or 0 V (Set_AO_State gives other voltages)
 * @waits_or_queues
 * @return @done_or_refused; also 11 for another @p io_type, with nothing sent
 */
KX_API int Set_IO_State(int sockfd, int io_type, unsigned char IO_Num, bool state, bool block);

/**
 * Reads a digital output of the controller.
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param state receives 1 or 0
 * @waits{at once}
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_DO_State(int sockfd, unsigned char IO_Num, unsigned char* state);

/**
 * Reads a digital input of the controller.
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param state receives 1 or 0
 * @waits{at once}
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_DI_State(int sockfd, unsigned char IO_Num, unsigned char* state);

/**
 * Reads an analogue output of the controller.
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param voltage receives whole volts, fraction cut off (Get_IO_Output keeps it)
 * @waits{at once}
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_AO_State(int sockfd, unsigned char IO_Num, unsigned char* voltage);

/**
 * Reads an analogue input of the controller.
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param voltage receives whole volts, fraction cut off (Get_IO_Input keeps it)
 * @waits{at once}
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_AI_State(int sockfd, unsigned char IO_Num, unsigned char* voltage);

/**
 * Reads a channel of any kind.
 * @param io_type 0 digital output, 1 digital input, 2 analogue output, 3 analogue input
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param state receives 1 or 0; of an analogue channel whole volts
 * @waits
 * @return @read_or_failed, 11 wrong type; also 11 for another @p io_type, with nothing sent
 */
KX_API int Get_IO_State(int sockfd, int io_type, unsigned char IO_Num, unsigned char* state);

/**
 * Reads all inputs of the controller, as many as it has; both arrays must have room for them. The digital
 * states are written before the voltages are looked at, and stay written when those cannot be read.
 * @param DI_state receives 1 or 0 per digital input
 * @param AI_voltage receives V per analogue input, in steps of a millivolt
 * @waits
 * @return @read_up_to_a_fault, 11 wrong type
 */
KX_API int Get_IO_Input(int sockfd, unsigned char* DI_state, float* AI_voltage);

/**
 * Reads all outputs of the controller, in the way of Get_IO_Input.
 * @param DO_state receives 1 or 0 per digital output
 * @param AO_voltage receives V per analogue output, in steps of a millivolt
 * @waits
 * @return @read_up_to_a_fault, 11 wrong type
 */
KX_API int Get_IO_Output(int sockfd, unsigned char* DO_state, float* AO_voltage);

/**
 * Switches a digital output of the tool flange. Call it without blocking: its reply cannot be told from
 * that of Get_DO_State, so the blocking form switches the output and then always ends with 7.
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param state true on, false off
 * @waits_or_queues
 * @return 0 queued; blocking 7, or 6 if nothing could be sent
 */
KX_API int Set_Tool_DO_State(int sockfd, unsigned char IO_Num, bool state, bool block);

/**
 * Chooses the direction of an IO channel of the tool flange.
 * @param IO_Num the channel, counted from 1; kx-controller has four of each kind
 * @param state true output, false input
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Tool_IO_Mode(int sockfd, unsigned char IO_Num, bool state, bool block);

/**
 * Reads direction and state of all IO channels of the tool flange; both arrays must have room for them. The
 * directions are written before the states are looked at, and stay written when those cannot be read.
 * @param IO_Mode receives 1 output or 0 input per channel
 * @param IO_State receives 1 or 0 per channel
 * @waits
 * @return @read_up_to_a_fault, 11 wrong type
 */
KX_API int Get_Tool_IO_State(int sockfd, float* IO_Mode, float* IO_State);

/**
 * Chooses the supply voltage of the tool flange.
 * @param type 0 off, 1 5 V, 2 12 V, 3 24 V
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Tool_Voltage(int sockfd, unsigned char type, bool block);

/**
 * Reads the supply voltage of the tool flange.
 * @param type receives 0 off, 1 5 V, 2 12 V, 3 24 V
 * @waits
 * @return @read_or_failed, 11 wrong type
 */
KX_API int Get_Tool_Voltage(int sockfd, unsigned char* type);

/** @name Workers
 * @{ */
/** @worker */
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
/** @} */

#endif
