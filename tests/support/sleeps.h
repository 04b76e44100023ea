// The library's sleeps, made short and written down. A program with sleeps.cpp in it has a usleep of its own,
// which the library calls: what it would wait is known exactly, and no test waits for it or depends on the
// machine's speed.
#pragma once

#include <vector>

// What this thread slept since the last call, in milliseconds.
std::vector<unsigned int> slept();
