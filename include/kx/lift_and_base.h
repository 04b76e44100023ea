/**
 * @defgroup lift_and_base Lift and mobile base
 * What may carry the arm: a vertical lift and a wheeled base that drives freely or from station to station.
 *
 * Values are in the controller's units and go out as they are.
 *
 * - `speed` speed, in the controller's unit
 * - `height` height of the lift, in the controller's unit
 *
 * Setters return: 0 done, 1 refused; blocking also 6 not sent, 7 no answer within m_nOutTime, 9 or 11 a reply
 * that cannot be read.
 *
 * @{
 */
#ifndef KX_LIFT_AND_BASE_H
#define KX_LIFT_AND_BASE_H

#include "kx/types.h"

/**
 * Drives the carrying vehicle.
 * @param speed linear speed
 * @param angular angular speed
 */
KX_API int Set_Vehicle(int sockfd, int speed, int angular, bool block);

/** Sends the lift to a height, without waiting for its arrival. */
KX_API int Set_Lift(int sockfd, int height, int speed, bool block);

/** Moves the lift at a speed, open loop. */
KX_API int Set_Lift_Speed(int sockfd, int speed, bool block);

/**
 * Moves the lift to a height.
 *
 * Blocking, it returns when the lift has arrived, but waits for that no longer than m_nOutTime; a longer
 * motion goes on, and the call returns 7. The end of an arm motion on the same controller would end the wait
 * too.
 */
KX_API int Set_Lift_Height(int sockfd, int height, int speed, bool block);

/**
 * Reads the state of the lift, written in the order of the parameters up to the first fault in the reply.
 * @param height receives the height
 * @param current receives the current of its motor
 * @param err_flag receives the error code, 0 when healthy
 * @return 0; 6 not sent, 7 no answer, 9 unreadable reply, 11 not a number
 */
KX_API int Get_Lift_State(int sockfd, int* height, int* current, int* err_flag);

/**
 * Drives the base.
 * @param linear_speed linear speed
 * @param angular_speed angular speed
 */
KX_API int Set_Car_Move(int sockfd, int linear_speed, int angular_speed, bool block);

/**
 * Sends the base to a station.
 * @param station number of the station
 */
KX_API int Set_Car_Station(int sockfd, int station, int speed, bool block);

/** Sets the speed of the base between stations. */
KX_API int Set_Car_Navigation_Speed(int sockfd, int speed, bool block);

/**
 * Chooses how the base finds its way between stations.
 * @param mode as the controller numbers them
 */
KX_API int Set_Car_Navigation_Mode(int sockfd, int mode, bool block);

/**
 * Reads the state of the base. Outputs are written in the order of the parameters up to the first fault in
 * the reply.
 * @param battery_volume receives the charge of the battery
 * @param voltage receives its voltage
 * @param current receives its current
 * @param car_err receives the error code of the base
 * @param car_state receives what the base is doing
 * @param station_num receives the station it is at
 * @return 0; 4 no "car_state" in the reply, 6 not sent, 7 no answer, 9 unreadable reply or other value
 * missing, 11 no number
 */
KX_API int Get_Car_State(int sockfd, int* battery_volume, int* voltage, int* current, int* car_err,
                         int* car_state, int* station_num);

/**
 * Starts or ends charging.
 * @param charge_state 1 to start, 0 to end, as the controller numbers them
 */
KX_API int Set_Car_Charge(int sockfd, int charge_state, bool block);

/**
 * Sets the station number of the base.
 * @param station_num number of the station
 */
KX_API int Set_Car_Station_Num(int sockfd, int station_num, bool block);

/* Workers. */
KX_API int Set_Vehicle_Block(int sockfd, int speed, int angular);
KX_API int Set_Vehicle_NonBlock(int sockfd, int speed, int angular);
KX_API int Set_Lift_Block(int sockfd, int height, int speed);
KX_API int Set_Lift_NonBlock(int sockfd, int height, int speed);
KX_API int Set_Lift_Speed_Block(int sockfd, int speed);
KX_API int Set_Lift_Speed_NonBlock(int sockfd, int speed);
KX_API int Set_Lift_Height_BLock(int sockfd, int height, int speed);
KX_API int Set_Lift_Height_NonBLock(int sockfd, int height, int speed);
KX_API int Get_Lift_State_Block(int sockfd, int* height, int* current, int* err_flag);
KX_API int Set_Car_Move_Block(int sockfd, int linear_speed, int angular_speed);
KX_API int Set_Car_Move_NonBlock(int sockfd, int linear_speed, int angular_speed);
KX_API int Set_Car_Station_Block(int sockfd, int station, int speed);
KX_API int Set_Car_Station_NonBlock(int sockfd, int station, int speed);
KX_API int Set_Car_Navigation_Speed_Block(int sockfd, int speed);
KX_API int Set_Car_Navigation_Speed_NonBlock(int sockfd, int speed);
KX_API int Set_Car_Navigation_Mode_Block(int sockfd, int mode);
KX_API int Set_Car_Navigation_Mode_NonBlock(int sockfd, int mode);
KX_API int Get_Car_State_Block(int sockfd, int* battery_volume, int* voltage, int* current, int* car_err,
                               int* car_state, int* station_num);
KX_API int Set_Car_Charge_Block(int sockfd, int charge_state);
KX_API int Set_Car_Charge_NonBlock(int sockfd, int charge_state);
KX_API int Set_Car_Station_Num_Block(int sockfd, int station_num);
KX_API int Set_Car_Station_Num_NonBlock(int sockfd, int station_num);

/** @} */

#endif
