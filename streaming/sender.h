// The thread of a stream.
#ifndef KX_STREAMING_SENDER_H
#define KX_STREAMING_SENDER_H

#include "streaming/place.h"

namespace kx::streaming {

// From when there is a set-point to the stream's end. False when no thread can be had.
bool start_sender(Place& place);

} // namespace kx::streaming

#endif
