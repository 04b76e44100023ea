// The library's time base.
#include "kx/connection.h"

#include <time.h>
#include <unistd.h>

unsigned int Get_Program_Runtime()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned int>(now.tv_sec) * 1000u + static_cast<unsigned int>(now.tv_nsec / 1000000);
}

void sleep_cp(unsigned int milliseconds)
{
    usleep(milliseconds * 1000u);
}
