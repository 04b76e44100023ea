// Which kind a text is taken for: the one pass must find what a search for each name in turn finds.
#include "target.h"

#include "kx_base.h"
#include "runtime/recognition.h"

#include <cstring>
#include <string>

namespace {

constexpr struct {
    const char* name;
    int code;
} kinds[] = {
#define KX_ROW(name, code, nature) {#name, code},
    KX_KINDS_OF_REPLY(KX_ROW)
#undef KX_ROW
};

int searched(const char* text)
{
    for (const auto& kind : kinds)
        if (kind.code != 76 && std::strstr(text, kind.name)) return kind.code;
    return 162; // of none
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    require(Get_Json_KeyCode(text.c_str()) == searched(text.c_str()), "the first name of the table decides");
    return 0;
}
