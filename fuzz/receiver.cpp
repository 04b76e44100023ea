// What the classic receiver reads, in pieces of any size: the lines reach whoever awaits them, and nothing beyond. The one
// input that ends the process by design, a line that does not fit, is left out.
#include "target.h"

#include "kx_base.h"
#include "runtime/classic/connection.h"
#include "runtime/classic/pending.h"
#include "runtime/classic/receiver.h"
#include "runtime/classic/state.h"

#include <csetjmp>
#include <cstring>
#include <sys/socket.h>
#include <vector>

using namespace kx;

namespace {

constexpr int arms[] = {100000, 100001}; // of six and of seven joints, numbers that no descriptor has
constexpr KeyCode awaited[] = {KeyCode::set_payload, KeyCode::joint_degree, KeyCode::timer};

std::vector<std::string> pieces; // the last comes first
std::string line;                // as it was received so far
std::jmp_buf all_is_read;

void take_push(CallbackData push)
{
    require(push.sockfd == arms[0] || push.sockfd == arms[1], "a push is of an arm");
    require(push.result >= 0 && push.result <= 12, "a status of the table");
}

} // namespace

extern "C" ssize_t recv(int, void* bytes, std::size_t size, int)
{
    if (line.ends_with('\n')) line.clear();
    while (!pieces.empty()) {
        const std::string piece = std::move(pieces.back());
        pieces.pop_back();
        const std::string text = piece.c_str(); // which a zero byte ends
        if (line.size() + text.size() >= line_capacity) continue;
        require(piece.size() <= size, "there is room");
        line += text;
        std::memcpy(bytes, piece.data(), piece.size());
        return static_cast<ssize_t>(piece.size());
    }
    line.clear();
    return 0;
}

/** The receiver has looked at all connections. */
extern "C" int usleep(useconds_t)
{
    if (pieces.empty()) std::longjmp(all_is_read, 1);
    return 0;
}

void judge(std::string_view input)
{
    if (m_nSockInfoLen == 0) {
        Init_Socket_Joint(46, arms[0]);
        Init_Socket_Joint(47, arms[1]);
        callback1 = take_push;
    }
    for (const int arm : arms) {
        for (const KeyCode key : awaited)
            add_pending(arm, key, waiting_caller);
        add_pending(arm, KeyCode::joint_state, push_registration);
    }
    line.clear();
    pieces.clear();
    in_pieces(input, [](std::string_view piece) {
        pieces.insert(pieces.begin(), std::string(piece));
        return true;
    });
    if (setjmp(all_is_read) == 0) RecvThread(nullptr);
    for (int i = 0; i < m_nSockeRIinfosLen; ++i) {
        const Line reply = stored_reply(i);
        require(reply.length < line_capacity && reply.text[reply.length] == '\0', "a reply fits and ends");
        if (SockeRIinfos[i].received)
            require(Get_Json_KeyCode(reply.text) == SockeRIinfos[i].key,
                    "it is of the kind that was awaited");
    }
    while (m_nSockeRIinfosLen > 0)
        remove_pending(0);
}
