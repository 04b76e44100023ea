#include "runtime/command.h"
#include "runtime/library.h"
#include "runtime/pending.h"

namespace kx {

constexpr unsigned int reply_poll_ms = 10;
constexpr unsigned int completion_poll_ms = 1000;

int post(int sockfd, Request request)
{
    const Line line = framed(std::move(request));
    Add_Queue(sockfd, line.text, line.length);
    return KX_SUCCESS;
}

int dispatch(int sockfd, Request request)
{
    Line line;
    if (!request.print(line)) return KX_WRONG_TYPE;
    return send_now(sockfd, line.text, line.length) ? KX_SUCCESS : KX_SEND_FAILED;
}

// Without a free entry the push is forgone, but the target still goes out: a moving arm must not be starved.
int stream(int sockfd, Request request, KeyCode push)
{
    const Line line = framed(std::move(request));
    const int index = add_pending(sockfd, push, push_registration);
    if (send_now(sockfd, line.text, line.length)) return KX_SUCCESS;
    if (index >= 0) remove_pending(index);
    return KX_SEND_FAILED;
}

// Registers for the reply and sends; the index of the entry, or -1 when there is no room or nothing was sent.
static int send_awaiting(int sockfd, Request request, KeyCode key)
{
    const Line line = framed(std::move(request));
    const int index = add_pending(sockfd, key, waiting_caller);
    if (index < 0 || send_now(sockfd, line.text, line.length)) return index;
    remove_pending(index);
    return -1;
}

int await_reply(int sockfd, Request request, KeyCode key, Line& reply)
{
    const int index = send_awaiting(sockfd, std::move(request), key);
    if (index < 0) return KX_SEND_FAILED;

    const unsigned int start = Get_Program_Runtime();
    do {
        sleep_cp(reply_poll_ms);
        if (static_cast<int>(Get_Program_Runtime() - start) >= reply_timeout()) {
            remove_waiting(sockfd, key);
            return KX_TIMED_OUT;
        }
    } while (find_answered(sockfd, key) < 0);

    // The text at the index where this caller registered, even if the list has moved since: overlapping calls
    // for one key code share their replies by position.
    reply = stored_reply(index);
    remove_pending(index);
    return KX_SUCCESS;
}

int await_completion(int sockfd, Request request, KeyCode key, int (*is_alive)(int sockfd), Line& reply)
{
    if (send_awaiting(sockfd, std::move(request), key) < 0) return KX_SEND_FAILED;

    int answered;
    while ((answered = find_answered(sockfd, key)) < 0) {
        if (is_alive(sockfd) != KX_SUCCESS) {
            remove_waiting(sockfd, key);
            return KX_TIMED_OUT;
        }
        sleep_cp(completion_poll_ms);
    }
    reply = stored_reply(answered);
    remove_pending(answered);
    return KX_SUCCESS;
}

int guard(int sockfd)
{
    if (sockfd < 1) return KX_BAD_DESCRIPTOR;
    return m_nThreadIsRun < 1 ? KX_NOT_RUNNING : KX_SUCCESS;
}

} // namespace kx
