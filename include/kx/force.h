/**
 * @defgroup force Force sensing
 * The force sensor, which delivers a vector, with its force-position control, and the Fz sensor, which
 * delivers one value.
 *
 * All calibrations of either sensor wait for the same reply, that of Set_Force_Sensor: run one at a time, and
 * where a controller answers another calibration under that command's own name, the call ends with 7 although
 * the calibration was taken on.
 *
 * @{
 */
#ifndef KX_FORCE_H
#define KX_FORCE_H

#include "kx/types.h"

/**
 * Switches force-position control on.
 * @param sensor 0 the Fz sensor, 1 the force sensor of six axes
 * @param mode 0 along the axes of the base, 1 of the flange
 * @param direction 0 to 2 force along x, y, z; 3 to 5 torque about them
 * @param N the force, 0 to 200 N or Nm
 * @waits_or_queues Here the flag is an int, and only exactly 1 waits.
 * @return @done_or_refused
 */
KX_API int Set_Force_Postion(int sockfd, int sensor, int mode, int direction, int N, int block);

/**
 * Switches force-position control off.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Stop_Force_Postion(int sockfd, bool block);

/**
 * Reads the force data in whole newtons and newton metres, fractions cut off toward zero.
 * @param force_data receives as many values as the controller sends, usually six: forces along x, y, z and
 *   torques about them
 * @waits
 * @return @read_or_failed, 11 no array
 */
KX_API int Get_Force_Data(int sockfd, float* force_data);

/**
 * Takes the present force data as zero.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Clear_Force_Data(int sockfd, bool block);

/**
 * Starts the automatic calibration of the force sensor.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Set_Force_Sensor(int sockfd, bool block);

/**
 * Gives one of the four poses of the manual calibration of the force sensor; call it once for each.
 * @param type 1 to 4, which pose. Another number is not rejected here but sends a request without a command
 * @param joint six joint angles, degrees, for arms with seven joints too; not rounded
 * @waits
 * @return @done_or_refused
 */
KX_API int Manual_Set_Force(int sockfd, int type, const float* joint);

/**
 * Breaks off the calibration of the force sensor.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Stop_Set_Force_Sensor(int sockfd, bool block);

/**
 * Reads the Fz sensor.
 * @param Fz receives the force along the flange's z, N; what is no number reads as 0, true as 1
 * @waits
 * @return 0; 6 not sent, 7 no answer, 8 no value in the reply, 9 refused or unreadable reply
 */
KX_API int Get_Fz(int sockfd, float* Fz);

/**
 * Takes the present Fz as zero.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Clear_Fz(int sockfd, bool block);

/**
 * Starts the automatic calibration of the Fz sensor.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Auto_Set_Fz(int sockfd, bool block);

/**
 * Calibrates the Fz sensor by two poses.
 *
 * Angles go out with all their digits, and a request longer than 299 bytes is refused by a link, while a
 * classic connection ends the process by abort(): pass rounded angles. Multiples of 1/8 degree always fit;
 * many angles with long fractions may not, above all on seven joints.
 * @param pose1 joint angles, degrees: 6 values, 7 for model 47
 * @param pose2 the same; for model 47 its seventh value travels as an eighth one of the first pose
 * @waits
 * @return @done_or_refused
 */
KX_API int Manual_Set_Fz(int sockfd, const float* pose1, const float* pose2);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Set_Force_Postion_Block(int sockfd, int sensor, int mode, int direction, int N);
KX_API int Set_Force_Postion_NonBlock(int sockfd, int sensor, int mode, int direction, int N);
KX_API int Stop_Force_Postion_Block(int sockfd);
KX_API int Stop_Force_Postion_NonBlock(int sockfd);
KX_API int Get_Force_Data_Block(int sockfd, float* force_data);
KX_API int Clear_Force_Data_Block(int sockfd);
KX_API int Clear_Force_Data_NonBlock(int sockfd);
KX_API int Set_Force_Sensor_Block(int sockfd);
KX_API int Set_Force_Sensor_NonBlock(int sockfd);
KX_API int Manual_Set_Force_Block(int sockfd, int type, const float* joint);
KX_API int Stop_Set_Force_Sensor_Block(int sockfd);
KX_API int Stop_Set_Force_Sensor_NonBlock(int sockfd);
KX_API int Get_Fz_Block(int sockfd, float* Fz);
KX_API int Clear_Fz_Block(int sockfd);
KX_API int Clear_Fz_NonBlock(int sockfd);
KX_API int Auto_Set_Fz_Block(int sockfd);
KX_API int Auto_Set_Fz_NonBlock(int sockfd);
KX_API int Manual_Set_Fz_Block(int sockfd, const float* pose1, const float* pose2);

/** @} */
/** @} */

#endif
