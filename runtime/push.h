// What a realtime push says, for both kinds of connection.
#ifndef KX_RUNTIME_PUSH_H
#define KX_RUNTIME_PUSH_H

#include "runtime/recognition.h"

struct cJSON;

namespace kx {

// The push_type of CallbackData; 0 for kinds that are no pushes.
int push_type(KeyCode kind);

// Stores "pose" and "joint" of a push, of which what it lacks leaves the output as it was. 0, or 9 for no
// JSON (null), no "arm_err" or no "joint".
int decode_push(const cJSON* push, int joints, float* pose, float* joint);

} // namespace kx

#endif
