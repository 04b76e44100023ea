// kx::nothrow::Arm compiles where there are no exceptions.
#include "kx/arm.hpp"

template class kx::BasicArm<kx::Returning>;
template class kx::Modbus<kx::Returning>;
template class kx::Motion<kx::Returning>;
template class kx::Stream<kx::Returning>;
