// The commands of kx: what each was given, and what it does with it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "answer.h"

namespace kx::tool {

struct Given {
    std::string arm;               ///< HOST:PORT
    int model = 0;                 ///< 0: none
    bool json = false;             ///< print JSON
    std::optional<double> timeout; ///< seconds

    std::vector<float> numbers;  ///< joint angles, degrees, or a pose, metres and radians
    std::vector<float> near;     ///< joint angles, degrees
    int speed = 20;              ///< of the arm, percent
    bool watch = false;          ///< the state, again and again
    double every = 0.2;          ///< so many seconds
    std::string kind, value;     ///< of a channel
    int channel = 0;             ///< 0: all
    std::string action;          ///< of the gripper
    std::optional<int> position; ///< of the gripper, its units
    int finger_speed = 500, force = 200;
    std::optional<int> described;       ///< model
    std::string prefix, meshes, output; ///< of a description
    std::string line;                   ///< for the controller as it is
    double listen = 0;                  ///< seconds
    std::string file;                   ///< a recording
    bool csv = false;                   ///< is wanted of it
    bool overwrite = false;
    double hz = 50;                ///< states a second
    std::optional<double> seconds; ///< of a recording; else until interrupted
};

/*
 * Each gives what is to be printed, if it has not printed it itself.
 * Throws WrongUse, with nothing sent, and Failed.
 */
Answer state(const Given& given);
Answer movej(const Given& given);
Answer movel(const Given& given);
Answer stop(const Given& given);
Answer io(const Given& given);
Answer gripper(const Given& given);
Answer forward(const Given& given);
Answer inverse(const Given& given);
Answer raw(const Given& given);
Answer record(const Given& given);
Answer export_recording(const Given& given);

/** Of the model that is given. @throws WrongUse if none is */
std::size_t joints_of(const Given& given);

double timeout_of(const Given& given, double usual = 3);

// In describe.cpp: they print a description, or write it where the output shall be.
Answer urdf(const Given& given);
Answer srdf(const Given& given);
Answer mjcf(const Given& given);
Answer meshes(const Given& given);

} // namespace kx::tool
