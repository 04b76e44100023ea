// What the examples share: they connect as their arguments say, take one step after the other, each with its status and
// the time it took, and count what was not as expected.
#pragma once

#include "kx_base.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

class Example {
  public:
    // Connects to a controller on this machine, or ends the program.
    // @param names what the program takes: "PORT", "PORT [MODEL]", or more; port and model come first
    // @param on_push receives pushes, and what is in `user`
    Example(int argc, char** argv, const char* names, KX_LINK_PUSH_CALLBACK on_push = nullptr,
            void* user = nullptr)
        : arguments_(argv + 1, argv + argc)
    {
        std::istringstream words(names);
        std::size_t most = 0;
        for (std::string word; words >> word;)
            ++most;
        if (arguments_.empty() || arguments_.size() > most) {
            fprintf(stderr, "usage: %s %s\n", argv[0], names);
            exit(2);
        }
        model = static_cast<int>(number(1, 46));
        joints = model == 47 ? 7 : 6;
        KX_LINK_OPTIONS options;
        KX_Link_Defaults(&options);
        options.on_push = on_push;
        options.user = user;
        arm = KX_Link_Open("127.0.0.1", static_cast<int>(number(0, 0)), model, &options);
        if (arm < 0) {
            fprintf(stderr, "cannot connect to 127.0.0.1:%s: %s\n", arguments_[0].c_str(),
                    KX_Status_Words(-arm));
            exit(1);
        }
    }

    ~Example() { KX_Link_Close(arm); }

    // The argument in this place, which must be a finite number.
    double number(std::size_t place, double otherwise) const
    {
        if (place >= arguments_.size()) return otherwise;
        char* end;
        const double value = strtod(arguments_[place].c_str(), &end);
        if (*end == '\0' && std::isfinite(value)) return value;
        fprintf(stderr, "%s is not a number\n", arguments_[place].c_str());
        exit(2);
    }

    std::string text(std::size_t place, const char* otherwise) const
    {
        return place < arguments_.size() ? arguments_[place] : otherwise;
    }

    // Runs a command and says how it went, and whether that is as it should be.
    template <class Command>
    bool step(const char* name, Command command, int expected = KX_SUCCESS)
    {
        const unsigned int begin = Get_Program_Runtime();
        const int status = command();
        printf("%-44s %8.2f s  %s\n", name, (Get_Program_Runtime() - begin) / 1000.0, words(status).c_str());
        return expect(status == expected, name);
    }

    bool expect(bool as_expected, const char* what)
    {
        if (!as_expected) {
            printf("NOT AS EXPECTED: %s\n", what);
            ++surprises_;
        }
        return as_expected;
    }

    // Says so only if a command did not succeed.
    bool check(int status, const char* what)
    {
        if (status != KX_SUCCESS) printf("%s: %s\n", what, words(status).c_str());
        return expect(status == KX_SUCCESS, what);
    }

    // What a status says, with the controller's own words for a refusal.
    std::string words(int status) const
    {
        char reason[300] = "";
        if (status == KX_REFUSED) KX_Link_Reason(arm, reason, sizeof reason);
        return std::string(KX_Status_Words(status)) + (*reason ? ": " : "") + reason;
    }

    // The exit status of the program.
    int result() const { return surprises_ == 0 ? 0 : 1; }

    int arm, model, joints;

  private:
    std::vector<std::string> arguments_;
    std::atomic<int> surprises_ = 0;
};
