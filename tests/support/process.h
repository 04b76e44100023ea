// A program that runs beside a test and says on its output where it listens; ended with the object.
#pragma once

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

class Process {
  public:
    explicit Process(std::vector<std::string> command)
    {
        std::vector<char*> arguments;
        for (std::string& argument : command)
            arguments.push_back(argument.data());
        arguments.push_back(nullptr);

        int output[2];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        EXPECT_EQ(pipe(output), 0);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, output[0]);
        EXPECT_EQ(posix_spawn(&process_, arguments[0], &actions, nullptr, arguments.data(), environ), 0)
            << arguments[0];
        posix_spawn_file_actions_destroy(&actions);
        close(output[1]);
        output_ = fdopen(output[0], "r");
    }

    Process(const Process&) = delete;

    ~Process()
    {
        end(SIGTERM);
        fclose(output_);
    }

    // The next line that it prints, empty if it ends instead.
    std::string line()
    {
        char text[300] = "";
        return fgets(text, sizeof text, output_) ? text : "";
    }

    // Its exit status, or -1 if the signal killed it; with signal 0 it is left to end by itself.
    int end(int signal)
    {
        if (process_ <= 0) return -1;
        kill(process_, signal);
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
};

// The number behind a text in a line, 0 if there is none.
inline int number_behind(const std::string& text, const std::string& line)
{
    const auto found = line.rfind(text);
    return found == line.npos ? 0 : atoi(line.c_str() + found + text.size());
}
