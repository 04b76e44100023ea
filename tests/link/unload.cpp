// The library is loaded, used and unloaded again and again by a program that is not linked with it: unload LIBRARY.
// Afterwards neither its code nor its threads are there any more.
#include "kx_base.h"
#include "support/bound.h"

#include <cstdio>
#include <dlfcn.h>
#include <filesystem>

static auto threads()
{
    const std::filesystem::directory_iterator all("/proc/self/task");
    return std::distance(begin(all), end(all));
}

int main(int, char** arguments)
{
    const char* const path = arguments[1];
    const Bound listener(100);
    const auto threads_before = threads();
    for (int i = 0; i < 20; ++i) {
        void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        if (!library) return std::fprintf(stderr, "%s\n", dlerror()), 1;
        const auto open = reinterpret_cast<decltype(&KX_Link_Open)>(dlsym(library, "KX_Link_Open"));
        const auto close = reinterpret_cast<decltype(&KX_Link_Close)>(dlsym(library, "KX_Link_Close"));
        const auto post = reinterpret_cast<decltype(&Set_Payload)>(dlsym(library, "Set_Payload"));
        const int link = open("127.0.0.1", listener.port(), 46, nullptr);
        if (link < 0 || post(link, 1, 0, 0, 0, false) != 0 || close(link) != 0) return 1;
        dlclose(library);
        if (dlopen(path, RTLD_NOW | RTLD_NOLOAD) || threads() != threads_before)
            return std::fprintf(stderr, "time %d: still loaded, or %td threads\n", i, threads()), 1;
    }
}
