// Which kind a text is taken for: the one pass must find what a search for each name in turn finds.
#include "target.h"

#include "kx_base.h"
#include "runtime/recognition.h"

#include <cstring>

namespace {

constexpr struct {
    const char* name;
    int code;
} kinds[] = {
#define KX_ROW(name, code, nature) {#name, code},
    KX_KINDS_OF_REPLY(KX_ROW)
#undef KX_ROW
};

} // namespace

void judge(std::string_view input)
{
    const std::string text(input);
    const auto* first = std::ranges::find_if(
        kinds, [&](const auto& kind) { return kind.code != 76 && std::strstr(text.c_str(), kind.name); });
    require(Get_Json_KeyCode(text.c_str()) == (first == std::end(kinds) ? 162 : first->code), // 162: none
            "the first name of the table decides");
}
