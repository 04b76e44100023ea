// The other form of recordings, to be read and written by hand: one JSON object a line, the times are real seconds since
// it began.
//
//   {"recording":"kx-controller","version":1,"began":"2026-11-21T14:50:00Z"}
//   {"time":0.512034,"client":1,"event":"connected"}
//   {"time":0.562119,"client":1,"request":{"command":"get_joint_degree"}}
//   {"time":0.562401,"client":1,"reply":{"command":"joint_degree","joint":[0,0,0,0,0,0]}}
//   {"time":9.120077,"client":1,"event":"no more requests"}
//
// Events that concern no client, as faults on demand, are those of client 0. The messages of MCAP's topics wire and
// events are such lines without the time.
#pragma once

#include <ctime>
#include <string>

#include "recording/json.h"

namespace kx::recording {

/** A request or reply as recordings keep it, without its end. What is no JSON object, or would not read the same again
 *  but for its blanks, is kept as a text. */
Json as_recorded(std::string_view line);

/** The first line, with its end. */
std::string json_lines_head(std::time_t began);

/** Another one.
 *  @param seconds since the begin
 *  @param entry an object without its time, which becomes its first member */
std::string json_line(double seconds, const Json& entry);

} // namespace kx::recording
