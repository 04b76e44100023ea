#include "runtime/classic/pending.h"
#include "kx/library.h"

#include <string.h>

using namespace kx;

Pending SockeRIinfos[pending_capacity];
std::atomic<int> m_nSockeRIinfosLen;

constexpr auto relaxed = std::memory_order_relaxed;

static void wipe_text(Pending& entry)
{
    for (auto& character : entry.text)
        character.store('\0', relaxed);
}

static void copy(Pending& to, const Pending& from)
{
    for (int i = 0; i < line_capacity; ++i)
        to.text[i].store(from.text[i].load(relaxed), relaxed);
    to.descriptor = from.descriptor.load();
    to.key = from.key.load();
    to.received = from.received.load();
    to.waiting = from.waiting.load();
}

int Add_List(Pending* list, int index, int descriptor, int key, int received, int waiting)
{
    Pending& entry = list[index];
    wipe_text(entry);
    entry.descriptor = descriptor;
    entry.key = key;
    entry.received = received;
    entry.waiting = waiting;
    return 0;
}

void ClearList(Pending* list, std::atomic<int>* count, int index)
{
    KX_Mutex_Lock();
    const int length = *count;
    if (length == 1) {
        Add_List(list, 0, 0, 0, 0, waiting_caller);
        *count = 0;
    } else if (index >= 0 && index < length) {
        for (int k = index; k < length - 1; ++k)
            copy(list[k], list[k + 1]);
        *count = length - 1;
    }
    KX_Mutex_UnLock();
}

int kx::add_pending(int sockfd, KeyCode key, Waiter waiter)
{
    KX_Mutex_Lock();
    const int index = m_nSockeRIinfosLen;
    const bool has_room = index < pending_capacity;
    if (has_room) {
        Add_List(SockeRIinfos, index, sockfd, static_cast<int>(key), 0, waiter);
        m_nSockeRIinfosLen = index + 1;
    }
    KX_Mutex_UnLock();
    return has_room ? index : -1;
}

void kx::remove_pending(int index)
{
    ClearList(SockeRIinfos, &m_nSockeRIinfosLen, index);
}

static bool is_awaited(const Pending& entry, int sockfd, KeyCode key)
{
    return entry.descriptor == sockfd && entry.waiting == waiting_caller &&
           entry.key == static_cast<int>(key);
}

void kx::remove_waiting(int sockfd, KeyCode key)
{
    for (int k = 0; k < m_nSockeRIinfosLen; ++k)
        if (is_awaited(SockeRIinfos[k], sockfd, key)) remove_pending(k);
}

int kx::find_answered(int sockfd, KeyCode key)
{
    const int length = m_nSockeRIinfosLen;
    for (int k = 0; k < length; ++k)
        if (SockeRIinfos[k].received == 1 && is_awaited(SockeRIinfos[k], sockfd, key)) return k;
    return -1;
}

void kx::store_reply(Pending& entry, const char* line)
{
    const size_t length = strnlen(line, line_capacity);
    for (size_t i = 0; i < length; ++i)
        entry.text[i].store(line[i], relaxed);
    entry.received = 1;
}

Line kx::stored_reply(int index)
{
    Line line;
    while (line.length < line_capacity - 1) {
        const char character = SockeRIinfos[index].text[line.length].load(relaxed);
        if (character == '\0') break;
        line.text[line.length++] = character;
    }
    line.text[line.length] = '\0';
    return line;
}
