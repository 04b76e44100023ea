/**
 * @defgroup words Codes in words
 * What status codes and those of the inverse kinematics say, for messages. Inline, so usable from any thread; part of
 * kx_base.h.
 * @{
 */
#ifndef KX_WORDS_H
#define KX_WORDS_H

#include "kx/types.h"

/**
 * What a status code says.
 * @param status what a command returned
 * @return a few words without a full stop; never null
 */
static inline const char* KX_Status_Words(int status)
{
    switch (status) {
    case KX_SUCCESS:
        return "success";
    case KX_REFUSED:
        return "the controller refused it, or broke it off";
    case KX_NOT_RUNNING:
        return "the library is not running, or the model is unknown";
    case KX_NO_SOCKET:
        return "no socket can be had";
    case KX_BAD_DESCRIPTOR:
        return "the controller cannot be reached";
    case KX_SEND_FAILED:
        return "the connection is lost";
    case KX_TIMED_OUT:
        return "no answer in time";
    case KX_NOT_BOOLEAN:
        return "the answer says neither yes nor no";
    case KX_BAD_REPLY:
        return "the answer cannot be read";
    case KX_WRONG_SHAPE:
        return "the answer is not what was expected; does the model fit the arm?";
    case KX_WRONG_TYPE:
        return "an argument is out of range, or the answer is not what was expected; does the model fit the "
               "arm?";
    case KX_INCOMPLETE_POSE:
        return "the answer holds no whole pose";
    case KX_LOST:
        return "the connection is lost";
    case KX_CANCELLED:
        return "the wait was cancelled";
    case KX_OUTBOX_FULL:
        return "the controller does not keep up";
    case KX_NOT_FINITE:
        return "a value is not finite or too large";
    case KX_TOO_LONG:
        return "the request is too long";
    case KX_NO_MEMORY:
        return "out of memory";
    case KX_UNKNOWN_HOST:
        return "there is no host of that name";
    case KX_NOT_A_SETTING:
        return "only settings can be registered as set-up";
    case KX_ENDED:
        return "the stream has ended";
    default:
        return "unknown status";
    }
}

/**
 * What to do about a status code.
 * @param status what a command returned
 * @return a sentence without a full stop; empty for success; never null
 */
static inline const char* KX_Status_Advice(int status)
{
    switch (status) {
    case KX_SUCCESS:
        return "";
    case KX_REFUSED:
        return "read the controller's words, and the arm's error codes; clear an error before you try again";
    case KX_NOT_RUNNING:
        return "give the model 36, 46 or 47; on a classic connection call KX_API_Init first";
    case KX_NO_SOCKET:
        return "close what is no longer needed, or raise the limit of open files";
    case KX_BAD_DESCRIPTOR:
        return "check address and port, and that the connection was not closed";
    case KX_SEND_FAILED:
    case KX_LOST:
        return "look where the arm is before you go on: nobody knows whether the last command was carried "
               "out";
    case KX_TIMED_OUT:
        return "ask again, or allow more time";
    case KX_CANCELLED:
        return "nothing, if the stop, cancel or close was meant; the arm itself stops by Move_Stop_Cmd only";
    case KX_OUTBOX_FULL:
        return "send less often, or wait for answers";
    case KX_NOT_FINITE:
        return "check the arguments; nothing was sent";
    case KX_TOO_LONG:
        return "use shorter names or fewer values; nothing was sent";
    case KX_NO_MEMORY:
        return "free memory";
    case KX_UNKNOWN_HOST:
        return "check the name, or give the address";
    case KX_NOT_A_SETTING:
        return "send it after KX_Link_End_Setup; nothing was sent";
    case KX_ENDED:
        return "read why it has ended, look where the arm is, and open another";
    case KX_WRONG_TYPE:
        return "check the arguments, and that the model is that of the arm";
    default:
        return "check that the model is that of the arm, and the controller's version";
    }
}

/**
 * What a code of inverse_kinematics says.
 * @param model 36, 46 or 47
 * @param code what inverse_kinematics returned for it
 * @return a few words without a full stop; never null
 */
static inline const char* KX_Inverse_Words(int model, int code)
{
    static const char* const beyond[] = {"joint 1 would leave its limits", "joint 2 would leave its limits",
                                         "joint 3 would leave its limits", "joint 4 would leave its limits",
                                         "joint 5 would leave its limits", "joint 6 would leave its limits",
                                         "joint 7 would leave its limits"};
    const int joints = model == 47 ? 7 : 6;
    const int joint = (joints == 7 ? -5 : -3) - code; // counted from 0
    if (code == 1) return "a solution inside all limits";
    if (code == 2) return "unknown model";
    if (code == (joints == 7 ? -1 : -9)) return "out of reach";
    if (joints == 7 && code == -3) return "no position of the elbow keeps the joints within their limits";
    return joint >= 0 && joint < joints ? beyond[joint] : "unknown code";
}

/** @} */

#endif
