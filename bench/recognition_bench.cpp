// What a reply is: the library's one pass over the text beside the plain search for one name after the other.
#include "kx_base.h"
#include "runtime/recognition.h"

#include <benchmark/benchmark.h>
#include <cstring>

static const char* const names[] = {
#define KX_NAME(name, code, nature) #name,
    KX_KINDS_OF_REPLY(KX_NAME)
#undef KX_NAME
};

static const char* const replies[] = {
    R"({"command":"get_current_arm_state","arm_state":{"pose":[-1,0,850500,0,0,3142],"joint":[0,0,0,0,0,0],"arm_err":0,"sys_err":0}})",
    R"({"command":"set_joint_max_speed","joint_max_speed":true})",
    R"({"command":"joint_state","arm_err":0,"pose":[341114,-1,321966,3142,-29,0],"joint":[-10,-29720,-59440,23,-89160,-10]})",
    R"({"command":"something_else","error":"nobody knows"})",
};

static int named_first(const char* text)
{
    int index = 0;
    for (const char* name : names) {
        if (strstr(text, name)) break;
        ++index;
    }
    return index;
}

template <int (*recognise)(const char*)>
static void recognition(benchmark::State& state)
{
    for (auto _ : state)
        for (const char* reply : replies)
            benchmark::DoNotOptimize(recognise(reply));
}

BENCHMARK(recognition<named_first>)->Name("recognition, 4 replies/one name after the other");
BENCHMARK(recognition<Get_Json_KeyCode>)->Name("recognition, 4 replies/library");
