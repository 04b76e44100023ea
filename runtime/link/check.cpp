#include "runtime/link/check.h"
#include "runtime/link/thread_local.h"

namespace kx::link {

constexpr Time check_period = 50 * millisecond;

KX_THREAD_LOCAL int (*own_check)(void* user);
KX_THREAD_LOCAL void* own_user;

void set_check(int (*check)(void* user), void* user)
{
    own_check = check;
    own_user = user;
}

Time next_check(Time until)
{
    const Time next = own_check ? now() + check_period : until;
    return next < until ? next : until;
}

bool check_ends_wait()
{
    return own_check && own_check(own_user) != 0;
}

} // namespace kx::link
