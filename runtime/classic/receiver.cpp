#include "runtime/classic/receiver.h"
#include "kx/library.h"
#include "kx/replies.h"
#include "runtime/classic/connection.h"
#include "runtime/classic/pending.h"
#include "runtime/classic/state.h"
#include "runtime/push.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>

using namespace kx;

constexpr unsigned int receiver_period_ms = 5;

// Appends what has arrived to the line; the result of recv, 0 for a connection that was closed. A line of 300
// characters or more ends the process: a controller never sends one, and going on would deliver halves of
// replies.
static ssize_t receive_more(int sockfd, Line& line)
{
    const InUse open(InUse::receiver, sockfd);
    if (!open) return 0;
    char chunk[line_capacity];
    const ssize_t received = recv(sockfd, chunk, sizeof chunk, MSG_DONTWAIT);
    if (received <= 0) return received;
    const int added = static_cast<int>(strnlen(chunk, static_cast<size_t>(received)));
    if (line.length + added >= line_capacity) abort();
    memcpy(line.text + line.length, chunk, static_cast<size_t>(added));
    line.length += added;
    line.text[line.length] = '\0';
    return received;
}

static bool is_complete(const Line& line)
{
    return line.length > 0 && line.text[line.length - 1] == '\n';
}

static bool is_nothing_yet(ssize_t received)
{
    return received < 0 && (errno == EAGAIN || errno == EINTR);
}

// Reads one line, if one has begun to arrive, and stays with it until it is whole or the connection is gone.
static bool receive_line(int sockfd, Line& line)
{
    ssize_t received = receive_more(sockfd, line);
    if (received <= 0) return false;
    while (!is_complete(line) && (received > 0 || is_nothing_yet(received)))
        received = receive_more(sockfd, line);
    return true;
}

// `push` is the receiver's one record: its pose outlives a push that brings none.
static void call_back(int sockfd, int type, const char* line, CallbackData& push)
{
    memset(push.joint, 0, sizeof push.joint);
    push.sockfd = sockfd;
    push.push_type = type;
    push.result = type == 3 ? Parser_Force_Position_Move(line)
                            : Parser_Movej_CANFD(sockfd, line, push.pose, push.joint);
    if (const KX_Callback callback = callback1) callback(push);
}

static void deliver(int sockfd, const char* line, CallbackData& push)
{
    const int key = Get_Json_KeyCode(line);
    for (int k = 0; k < m_nSockeRIinfosLen; ++k) {
        fflush(stdout);
        Pending& entry = SockeRIinfos[k];
        if (entry.descriptor != sockfd || entry.key != key) continue;
        if (entry.waiting == waiting_caller) {
            store_reply(entry, line);
            return;
        }
        const int type = push_type(static_cast<KeyCode>(key));
        if (type == 0) continue;
        call_back(sockfd, type, line, push);
        ClearList(SockeRIinfos, &m_nSockeRIinfosLen, k); // the entry that moves here is passed over
    }
}

void* RecvThread(void*)
{
    fflush(stdout);
    CallbackData push = {};
    for (;;) {
        for (int c = 0; c < m_nSockInfoLen; ++c) {
            const int sockfd = SockInfo[c].descriptor;
            Line line;
            if (receive_line(sockfd, line)) deliver(sockfd, line.text, push);
        }
        sleep_cp(receiver_period_ms);
    }
}
