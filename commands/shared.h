// What families of commands share.
#ifndef KX_COMMANDS_SHARED_H
#define KX_COMMANDS_SHARED_H

#include "runtime/command.h"

namespace kx {

// Reads an array with one value per joint.
template <class Store>
int get_joints(int sockfd, Request question, const char* key, ArrayFaults faults, Store store)
{
    return exchange(sockfd, std::move(question), [=](Reply& reply) {
        return reply.array(key, exactly(joint_count(sockfd)), faults, store).code();
    });
}

inline int get_joints(int sockfd, Request question, const char* key, float* thousandths_out)
{
    return get_joints(sockfd, std::move(question), key, {}, thousandths(thousandths_out));
}

// Some values keep the fraction that all others lose.
inline float fractional_thousandths(float value)
{
    return value * 1000.0f;
}
inline auto fractional_thousandths(const float* values)
{
    return [=](int i) { return fractional_thousandths(values[i]); };
}

} // namespace kx

#endif
