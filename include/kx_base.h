/**
 * @file
 * KX Service, C interface: drive robot-arm controllers over TCP from a Linux application.
 *
 *     KX_API_Init(on_push);                                        // start the library
 *     int arm = Arm_Socket_Start("192.0.2.10", 8080, 46, 0);     // connect; the result is the arm's handle
 *     float home[6] = {0, -20, 60, 0, 40, 0};
 *     int status = Movej_Cmd(arm, home, 20, 0, true);              // move at 20 % speed, return on arrival
 *     Arm_Socket_Close(arm);
 *
 * Conventions, unless a function says otherwise:
 * - Every command takes the descriptor returned by Arm_Socket_Start first and returns a status code (KX_STATUS).
 * - With `block` true a command sends at once and waits for the controller's answer, at most m_nOutTime
 *   milliseconds. With `block` false it queues the request and returns 0; one queued request leaves every 5 ms.
 * - Joint angles are degrees, one float per joint (6, or 7 for model 47); lengths metres; pose angles radians.
 * - Non-blocking commands may be called from any thread at any time. Blocking ones must not overlap within a
 *   process, not even for different arms: a caller finds its reply by its place among those who wait, and an
 *   earlier caller that leaves moves the later ones, who then end with 9 or another's reply. So guard them with a
 *   mutex. To act while a blocking move runs, use non-blocking commands; to watch the arm meanwhile, send the move
 *   non-blocking and read the state until it has arrived. A callback must not call a blocking command.
 * - On a non-zero status outputs are untouched, except where a function says which are written first.
 * - Each command has exported workers, `_Block` and `_NonBlock`, which take its arguments less `block` and skip the
 *   waits and checks that the command makes before.
 */
#ifndef KX_BASE_H
#define KX_BASE_H

#include "kx/types.h"

#include "kx/arm_settings.h"
#include "kx/connection.h"
#include "kx/controller.h"
#include "kx/drag_teach.h"
#include "kx/end_effectors.h"
#include "kx/force.h"
#include "kx/force_position.h"
#include "kx/frame_transforms.h"
#include "kx/frames.h"
#include "kx/inverse_kinematics.h"
#include "kx/io.h"
#include "kx/joint_parameters.h"
#include "kx/kinematics.h"
#include "kx/library.h"
#include "kx/lift_and_base.h"
#include "kx/link.h"
#include "kx/modbus.h"
#include "kx/motion.h"
#include "kx/pass_through.h"
#include "kx/replies.h"
#include "kx/state.h"
#include "kx/system.h"
#include "kx/teaching.h"
#include "kx/words.h"

#endif
