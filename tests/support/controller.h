// A kx-controller process on a free port of its own, ended with the object.
#pragma once

#include "kx_base.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

class Controller {
  public:
    explicit Controller(std::vector<std::string> options = {})
    {
        options.insert(options.begin(), {KX_CONTROLLER, "--port", "0"});
        std::vector<char*> arguments;
        for (std::string& option : options)
            arguments.push_back(option.data());
        arguments.push_back(nullptr);

        int output[2];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        EXPECT_EQ(pipe(output), 0);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, output[0]);
        EXPECT_EQ(posix_spawn(&process_, KX_CONTROLLER, &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(output[1]);

        output_ = fdopen(output[0], "r");
        char line[200] = "";
        EXPECT_NE(fgets(line, sizeof line, output_), nullptr) << "kx-controller did not start";
        const char* colon = strrchr(line, ':');
        port_ = colon ? atoi(colon + 1) : 0;
    }

    ~Controller()
    {
        end(SIGTERM);
        fclose(output_);
    }

    int port() const { return port_; }

    void end(int signal)
    {
        if (process_ <= 0) return;
        kill(process_, signal);
        waitpid(process_, nullptr, 0);
        process_ = 0;
    }

    // Ends the process and gives all that it printed; it must not print more than a pipe holds before.
    std::string printed()
    {
        end(SIGTERM);
        std::string all;
        for (int c; (c = fgetc(output_)) != EOF;)
            all += static_cast<char>(c);
        return all;
    }

  private:
    pid_t process_ = 0;
    FILE* output_ = nullptr;
    int port_ = 0;
};
