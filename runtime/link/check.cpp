#include "runtime/link/check.h"
#include "runtime/link/thread_local.h"

namespace kx::link {

constexpr Time check_period = 50 * millisecond;

KX_THREAD_LOCAL int (*own_check)(void* user);
KX_THREAD_LOCAL void* own_user;

static int forks; // to which this process owes that it is there

void end_waits_of_child()
{
    ++forks;
}

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
    const int before = forks;
    return own_check && (own_check(own_user) != 0 || forks != before);
}

} // namespace kx::link
