/**
 * @defgroup pass_through Realtime pass-through
 * Targets that go straight to the joint drives, without the controller's planning. Call at your own control
 * rate; a call neither sleeps nor waits, it costs building one request and one send.
 *
 * Each call asks for one push of the arm's state, which reaches the callback, its numbers as they came:
 * thousandths of a degree, millionths of a metre, thousandths of a radian. A push whose result is not 0 tells
 * that a target was refused, as after an emergency stop; the calls themselves go on returning 0.
 *
 * On a classic connection use no blocking command, of whatever arm, while pushes are awaited: a push that
 * comes in meanwhile can make it miss its reply and end in 9. Pushes that never come stay awaited: there is
 * room for 300, and when it is used up, targets still go out but ask for no push, and blocking commands
 * return 6.
 *
 * @{
 */
#ifndef KX_PASS_THROUGH_H
#define KX_PASS_THROUGH_H

#include "kx/types.h"

/**
 * Sends joint angles to the drives. Each must lie close to the one before: nothing smooths the way between.
 * @param joint target angles, degrees: 6 values, 7 for model 47; sent in thousandths, truncated
 * @sends{at once}
 * @return 0 sent, 6 not sent
 */
KX_API int Movej_CANFD(int sockfd, const float* joint);

/**
 * Sends a tool pose to the drives, under the conditions of Movej_CANFD.
 * @param pose target, metres and radians; sent in millionths and thousandths, truncated
 * @sends{at once}
 * @return 0 sent, 6 not sent
 */
KX_API int Movep_CANFD(int sockfd, POSE pose);

/** @name Workers
 * The non-blocking ones are what the functions above run. The blocking ones wait for the push instead and drop its
 * values: 0 it came, 6 not sent, 7 none in time, 9 it could not be read. The callback is not called.
 * @{ */
/** @worker */
KX_API int Movej_CANFD_Block(int sockfd, const float* joint);
KX_API int Movej_CANFD_NonBlock(int sockfd, const float* joint);
KX_API int Movep_CANFD_Block(int sockfd, POSE pose);
KX_API int Movep_CANFD_NonBlock(int sockfd, POSE pose);

/** @} */
/** @} */

#endif
