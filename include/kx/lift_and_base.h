/**
 * @defgroup lift_and_base Lift and mobile base
 * What may carry the arm: a vertical lift and a wheeled base that drives freely or from station to station.
 *
 * Values go out as they are, and the controller refuses what lies beyond its ranges; units and ranges are
 * those of kx-controller.
 *
 * @{
 */
#ifndef KX_LIFT_AND_BASE_H
#define KX_LIFT_AND_BASE_H

#include "kx/types.h"

/**
 * Drives the carrying vehicle.
 * @param speed -1500 to 1500 mm/s
 * @param angular -2000 to 2000 thousandths of a radian per second
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Vehicle(int sockfd, int speed, int angular, bool block);

/**
 * Sends the lift to a height, without waiting for its arrival.
 * @param height 0 to 1000 mm
 * @param speed 1 to 200 mm/s
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Lift(int sockfd, int height, int speed, bool block);

/**
 * Moves the lift at a speed, open loop.
 * @param speed -200 to 200 mm/s, downwards if negative; 0 stops
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Lift_Speed(int sockfd, int speed, bool block);

/**
 * Moves the lift to a height.
 *
 * The end of an arm motion on the same controller would end the wait too.
 * @param height 0 to 1000 mm
 * @param speed 1 to 200 mm/s
 * @waits_for_the_end_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Lift_Height(int sockfd, int height, int speed, bool block);

/**
 * Reads the state of the lift, written in the order of the parameters up to the first fault in the reply.
 * @param height receives the height, mm
 * @param current receives the current of its motor, mA
 * @param err_flag receives the error code, 0 when healthy
 * @waits
 * @return @read_up_to_a_fault, 11 not a number
 */
KX_API int Get_Lift_State(int sockfd, int* height, int* current, int* err_flag);

/**
 * Drives the base.
 * @param linear_speed -1500 to 1500 mm/s
 * @param angular_speed -2000 to 2000 thousandths of a radian per second
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Car_Move(int sockfd, int linear_speed, int angular_speed, bool block);

/**
 * Sends the base to a station.
 * @param station number of the station, 1 to 10
 * @param speed 1 to 1500 mm/s, or 0 for that of Set_Car_Navigation_Speed
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Car_Station(int sockfd, int station, int speed, bool block);

/**
 * Sets the speed of the base between stations.
 * @param speed 1 to 1500 mm/s
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Car_Navigation_Speed(int sockfd, int speed, bool block);

/**
 * Chooses how the base finds its way between stations.
 * @param mode 0 or 1
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Car_Navigation_Mode(int sockfd, int mode, bool block);

/**
 * Reads the state of the base. Outputs are written in the order of the parameters up to the first fault in
 * the reply.
 * @param battery_volume receives the charge of the battery, percent
 * @param voltage receives its voltage, mV
 * @param current receives its current, mA, negative while charging
 * @param car_err receives the error code of the base, 0 when healthy
 * @param car_state receives 0 standing, 1 driving, 2 on the way to a station, 3 charging
 * @param station_num receives the station it is at, 0 between stations
 * @waits
 * @return 0; 4 no "car_state" in the reply, 6 not sent, 7 no answer, 9 unreadable reply or other value
 *   missing, 11 no number
 */
KX_API int Get_Car_State(int sockfd, int* battery_volume, int* voltage, int* current, int* car_err,
                         int* car_state, int* station_num);

/**
 * Starts or ends charging.
 * @param charge_state 1 to start, which asks for station 1, 0 to end
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Car_Charge(int sockfd, int charge_state, bool block);

/**
 * Tells the base at which station it stands.
 * @param station_num number of the station, 1 to 10
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Car_Station_Num(int sockfd, int station_num, bool block);

/** @name Workers
 * @{ */
/** @worker */
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
/** @} */

#endif
