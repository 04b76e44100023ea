/**
 * @defgroup drag_teach Drag teaching
 * Teaching by hand: the controller lets an operator drag the arm, records the path and replays it. The usual
 * order is start, drag, stop, go to the origin, run, pause and continue, stop; the library enforces none.
 *
 * @{
 */
#ifndef KX_DRAG_TEACH_H
#define KX_DRAG_TEACH_H

#include "kx/types.h"

/**
 * Sets the arm free to be dragged and records its path.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Start_Drag_Teach(int sockfd, bool block);

/**
 * Ends dragging and recording.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Stop_Drag_Teach(int sockfd, bool block);

/**
 * Replays the recorded path; the arm must stand at its origin.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Run_Drag_Trajectory(int sockfd, bool block);

/**
 * Pauses the replay.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Pause_Drag_Trajectory(int sockfd, bool block);

/**
 * Continues a paused replay.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Continue_Drag_Trajectory(int sockfd, bool block);

/**
 * Ends the replay.
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Stop_Drag_Trajectory(int sockfd, bool block);

/**
 * Moves the arm to the first point of the recorded path.
 *
 * @waits_for_the_end_or_queues
 * @return @done_or_refused
 */
KX_API int Drag_Trajectory_Origin(int sockfd, bool block);

/**
 * Sets some axes of the arm free to be dragged.
 * @param mode 0 all, 1 the position only, 2 the orientation only
 * @waits_or_queues
 * @return @done_or_refused
 */
KX_API int Start_Multi_Drag_Teach(int sockfd, int mode, bool block);

/** @name Workers
 * @{ */
/** @worker */
KX_API int Start_Drag_Teach_Block(int sockfd);
KX_API int Start_Drag_Teach_NonBlock(int sockfd);
KX_API int Stop_Drag_Teach_Block(int sockfd);
KX_API int Stop_Drag_Teach_NonBlock(int sockfd);
KX_API int Run_Drag_Trajectory_Block(int sockfd);
KX_API int Run_Drag_Trajectory_NonBlock(int sockfd);
KX_API int Pause_Drag_Trajectory_Block(int sockfd);
KX_API int Pause_Drag_Trajectory_NonBlock(int sockfd);
KX_API int Continue_Drag_Trajectory_Block(int sockfd);
KX_API int Continue_Drag_Trajectory_NonBlock(int sockfd);
KX_API int Stop_Drag_Trajectory_Block(int sockfd);
KX_API int Stop_Drag_Trajectory_NonBlock(int sockfd);
KX_API int Drag_Trajectory_Origin_Block(int sockfd);
KX_API int Drag_Trajectory_Origin_NonBlock(int sockfd);
KX_API int Start_Multi_Drag_Teach_Block(int sockfd, int mode);
KX_API int Start_Multi_Drag_Teach_NonBlock(int sockfd, int mode);

/** @} */
/** @} */

#endif
