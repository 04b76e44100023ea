// What a small program does, as a table: every step with its status and the time it took. Counts what was not
// as expected.
#pragma once

#include "kx_base.h"

#include <cstdio>
#include <cstdlib>

class Steps {
  public:
    Steps() { printf("%-44s status  seconds\n", "step"); }

    // Runs a command and says whether its status was the expected one.
    template <class Command>
    bool step(const char* name, Command command, int expected = KX_SUCCESS)
    {
        const unsigned int begin = Get_Program_Runtime();
        const int status = command();
        printf("%-44s %6d %8.2f\n", name, status, (Get_Program_Runtime() - begin) / 1000.0);
        expect(status == expected, name);
        return status == expected;
    }

    void expect(bool as_expected, const char* what)
    {
        if (as_expected) return;
        printf("NOT AS EXPECTED: %s\n", what);
        ++surprises_;
    }

    // The exit status of the program.
    int result() const { return surprises_ == 0 ? 0 : 1; }

  private:
    int surprises_ = 0;
};

// Starts the library and connects to a controller on this machine whose port is the program's first argument;
// ends the program if that fails.
inline int connect_to_arm(int argc, char** argv, int model)
{
    if (argc < 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        exit(2);
    }
    KX_API_Init(nullptr);
    const int arm = Arm_Socket_Start("127.0.0.1", atoi(argv[1]), model, 0);
    if (Arm_Sockrt_State(arm) != KX_SUCCESS) { // a small descriptor looks like a status code, so ask
        fprintf(stderr, "cannot connect to 127.0.0.1:%s: status %d\n", argv[1], arm);
        exit(1);
    }
    return arm;
}
