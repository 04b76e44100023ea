// Signals are the application's: the library's threads take none, and one that interrupts a connect ends nothing.
#include "support/peer.h"

#include "kx_base.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

static bool interrupts = false;

// In place of the system's: as if a signal came while the connection is being made.
extern "C" int connect(int sockfd, const sockaddr* address, socklen_t size)
{
    const long result = syscall(SYS_connect, sockfd, address, size);
    if (!interrupts || result < 0) return static_cast<int>(result);
    errno = EINTR;
    return -1;
}

TEST(Signals, DoNotReachTheThreadsOfTheLibrary)
{
    const Arm arm;
    const int link = KX_Link_Open("127.0.0.1", arm.peer.port(), 46, nullptr);
    ASSERT_GT(link, 0);
    int quiet = 0, takers = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(task.path() / "status");
        std::string line;
        unsigned long blocked = 0;
        while (std::getline(file, line))
            if (line.starts_with("SigBlk:")) blocked = std::stoul(line.substr(8), nullptr, 16);
        ++((blocked >> (SIGALRM - 1) & blocked >> (SIGTERM - 1) & 1) ? quiet : takers);
    }
    EXPECT_EQ(takers, 2) << "this one and the peer's";
    EXPECT_GE(quiet, 4) << "writer and receiver; the links' own and that of their callbacks";
    KX_Link_Close(link);
}

TEST(Signals, LeaveAConnectionBeingMade)
{
    Arm before; // starts the library
    interrupts = true;
    const int arm = Arm_Socket_Start("127.0.0.1", before.peer.port(), 46, 0);
    interrupts = false;
    ASSERT_GT(arm, 5);
    EXPECT_EQ(Arm_Sockrt_State(arm), KX_SUCCESS);
    Arm_Socket_Close(arm);
}
