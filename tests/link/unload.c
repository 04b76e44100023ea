// The library is loaded, used and unloaded again and again by a program that is not linked with it: unload LIBRARY.
// Afterwards neither its code nor its threads are there any more.
#include <arpa/inet.h>
#include <dirent.h>
#include <dlfcn.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>

static int is_loaded(const char* library)
{
    FILE* maps = fopen("/proc/self/maps", "r");
    char line[1000];
    int found = 0;
    while (fgets(line, sizeof line, maps))
        found |= strstr(line, library) != NULL;
    fclose(maps);
    return found;
}

static int threads(void)
{
    DIR* tasks = opendir("/proc/self/task");
    int count = 0;
    for (const struct dirent* task; (task = readdir(tasks));)
        count += task->d_name[0] != '.';
    closedir(tasks);
    return count;
}

int main(int count, char** arguments)
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    struct sockaddr_in address = {.sin_family = AF_INET, .sin_addr.s_addr = htonl(INADDR_LOOPBACK)};
    socklen_t size = sizeof address;
    if (count < 2 || bind(listener, (struct sockaddr*)&address, size) != 0 || listen(listener, 100) != 0)
        return 2;
    getsockname(listener, (struct sockaddr*)&address, &size);

    const int threads_before = threads();
    for (int i = 0; i < 20; ++i) {
        void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (!library) return fprintf(stderr, "%s\n", dlerror()), 1;
        int (*open_link)(const char*, int, int, const void*);
        int (*close_link)(int), (*post)(int, int, float, float, float, bool);
        *(void**)&open_link = dlsym(library, "KX_Link_Open");
        *(void**)&close_link = dlsym(library, "KX_Link_Close");
        *(void**)&post = dlsym(library, "Set_Payload");
        const int link = open_link("127.0.0.1", ntohs(address.sin_port), 46, NULL);
        if (link < 0 || post(link, 1, 0, 0, 0, false) != 0 || close_link(link) != 0) return 1;
        dlclose(library);
        if (is_loaded("libKX_Service") || threads() != threads_before)
            return fprintf(stderr, "time %d: still loaded, or %d threads\n", i, threads()), 1;
    }
    return 0;
}
