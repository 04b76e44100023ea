#include "runtime/recognition.h"
#include "kx/replies.h"

#include <array>
#include <stdint.h>
#include <string.h>

using namespace kx;

struct Kind {
    const char* name;
    KeyCode code;
    Nature nature;
};

static constexpr Kind kinds[] = {
#define KX_ROW(name, code, nature) {#name, KeyCode::name, Nature::nature},
    KX_KINDS_OF_REPLY(KX_ROW)
#undef KX_ROW
};
constexpr int kind_count = static_cast<int>(sizeof kinds / sizeof kinds[0]);
constexpr int searched = kind_count - 1;

// One pass over the text finds all names: at every place the four characters there lead to the few names that
// begin so.
constexpr int prefix_length = 4;

static constexpr uint32_t appended(uint32_t prefix, char next)
{
    return prefix << 8 | static_cast<unsigned char>(next);
}

static constexpr uint32_t prefix_of(const char* name)
{
    uint32_t prefix = 0;
    for (int i = 0; i < prefix_length; ++i)
        prefix = appended(prefix, name[i]);
    return prefix;
}

static constexpr uint32_t bucket_of(uint32_t prefix)
{
    return prefix * 2654435761u >> 23;
}

// Names by their first characters, each chain in the order of the list.
struct Index {
    std::array<int16_t, 512> first{};
    std::array<int16_t, kind_count> next{};
    std::array<uint32_t, kind_count> prefix{};
};

static constexpr Index index_of_kinds()
{
    Index index;
    index.first.fill(kind_count);
    for (int k = kind_count - 1; k >= 0; --k) {
        index.prefix[k] = prefix_of(kinds[k].name);
        int16_t& first = index.first[bucket_of(index.prefix[k])];
        index.next[k] = first;
        first = static_cast<int16_t>(k);
    }
    return index;
}

static constexpr Index by_prefix = index_of_kinds();

static constexpr auto natures_by_code()
{
    std::array<Nature, 256> natures{}; // a code without a kind asks nothing
    for (const Kind& kind : kinds)
        natures[static_cast<size_t>(kind.code)] = kind.nature;
    return natures;
}

static constexpr auto natures = natures_by_code();

static bool begins_with(const char* text, const char* name)
{
    while (*name && *text == *name)
        ++text, ++name;
    return *name == '\0';
}

KeyCode kx::find_kind(const char* text)
{
    int best = searched;
    uint32_t prefix = 0;
    for (const char* end = text; *end; ++end) {
        prefix = appended(prefix, *end);
        for (int k = by_prefix.first[bucket_of(prefix)]; k < best; k = by_prefix.next[k])
            if (by_prefix.prefix[k] == prefix && begins_with(end + 1, kinds[k].name + prefix_length)) {
                best = k;
                break;
            }
    }
    return best < searched ? kinds[best].code : KeyCode::none;
}

KeyCode kx::kind_named(const char* name)
{
    if (strlen(name) < prefix_length) return KeyCode::none;
    for (int k = by_prefix.first[bucket_of(prefix_of(name))]; k < kind_count; k = by_prefix.next[k])
        if (strcmp(name, kinds[k].name) == 0) return kinds[k].code;
    return KeyCode::none;
}

Nature kx::nature_of(KeyCode kind)
{
    return natures[static_cast<size_t>(kind)];
}

int Get_Json_KeyCode(const char* text)
{
    const KeyCode kind = find_kind(text);
    return static_cast<int>(kind == KeyCode::none ? KeyCode::Stop_Force_Position_Move : kind);
}
