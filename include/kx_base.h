/**
 * @file
 * KX Service, C interface: drive robot-arm controllers over TCP from a Linux application.
 *
 *     int arm = KX_Link_Open("192.0.2.10", 8080, 46, NULL);  // connect; the result is the arm's handle
 *     float home[6] = {0, -20, 60, 0, 40, 0};
 *     int status = Movej_Cmd(arm, home, 20, 0, true);        // move at 20 % speed, return on arrival
 *     KX_Link_Close(arm);
 *
 * There are two kinds of connection, for the same commands: links (kx/link.h), and the classic connection of
 * Arm_Socket_Start (kx/connection.h), kept as it was for applications that rely on it.
 *
 * Conventions, unless a function says otherwise:
 * - Every command takes the handle of a link or the descriptor of a classic connection first and returns a status
 *   code (KX_STATUS, in words by KX_Status_Words).
 * - With `block` true a command sends and waits for the controller's answer. With `block` false it hands the
 *   request over and returns 0. That may be done from any thread at any time.
 * - On links any number of threads may wait. **On a classic connection one blocking command at a time may be under
 *   way in a process**, whatever the arm, and none in the callback; most sleep 20 ms before they send, and look for
 *   the answer every 10 ms, at most for m_nOutTime.
 * - Joint angles are degrees, one float per joint (6, or 7 for model 47); lengths metres; pose angles radians.
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
#include "kx/stream.h"
#include "kx/system.h"
#include "kx/teaching.h"
#include "kx/words.h"

#endif
