// Trajectories from any bytes: each is checked, and what is wrong is named and has a place.
#include "kx_base.h"

#include "target.h"

#include <sys/mman.h>
#include <unistd.h>

void judge(std::string_view input)
{
    const int file = memfd_create("trajectory", 0);
    require(write(file, input.data(), input.size()) == static_cast<ssize_t>(input.size()),
            "the file is written");
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    for (const int model : {46, 47}) {
        KX_TRAJECTORY_FAULT fault = {};
        const bool is_fine = KX_Stream_Check(path.c_str(), model, nullptr, &fault) == KX_SUCCESS;
        require(is_fine == (fault.violation == KX_TRAJECTORY_FINE), "a refusal has a violation");
        const bool has_line = is_fine || fault.violation == KX_TRAJECTORY_UNREADABLE || fault.line > 0;
        require(has_line, "a violation has a line");
        require(fault.joint >= 0 && fault.joint <= (model == 47 ? 7 : 6), "a joint that the arm has");
    }
    close(file);
}
