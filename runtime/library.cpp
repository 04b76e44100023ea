// The library's version and time base.
#include "kx/library.h"

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

const char* API_Version()
{
    return "4.0.0";
}
