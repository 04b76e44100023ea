#include "runtime/receiver.h"
#include "kx/connection.h"
#include "runtime/connection.h"
#include "runtime/library.h"
#include "runtime/pending.h"

#include <cjson/cJSON.h>
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
    return received;
}

static bool is_complete(const Line& line)
{
    return line.length > 0 && line.text[line.length - 1] == '\n';
}

static bool is_nothing_yet(ssize_t received)
{
    return received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
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

// Elements that the array lacks leave the output as it was.
static void copy_numbers(const cJSON* array, float* out, int count)
{
    if (!cJSON_IsArray(array)) return;
    const cJSON* item = array->child;
    for (int i = 0; i < count && item; ++i, item = item->next)
        out[i] = static_cast<float>(item->valuedouble);
}

static int decode_push(const cJSON* push, int joints, float* pose, float* joint)
{
    if (!cJSON_GetObjectItem(push, "arm_err")) return KX_BAD_REPLY;
    copy_numbers(cJSON_GetObjectItem(push, "pose"), pose, 6);
    const cJSON* angles = cJSON_GetObjectItem(push, "joint");
    copy_numbers(angles, joint, joints == 7 ? 7 : 6);
    return angles ? angles->valueint : KX_BAD_REPLY;
}

int Parser_Movej_CANFD(int sockfd, const char* text, float* pose, float* joint)
{
    cJSON* push = cJSON_Parse(text);
    const int result = push ? decode_push(push, joint_count(sockfd), pose, joint) : KX_BAD_REPLY;
    cJSON_Delete(push);
    return result;
}

int Parser_Force_Position_Move(const char*)
{
    return KX_SUCCESS;
}

// What kind of push a key code announces; 0 for replies.
static int push_type(int key)
{
    switch (static_cast<KeyCode>(key)) {
    case KeyCode::joint_state:
        return 1;
    case KeyCode::pose_state:
        return 2;
    case KeyCode::Force_Position_State:
        return 3;
    default:
        return 0;
    }
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
        const int type = push_type(key);
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
