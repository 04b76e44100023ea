#include "runtime/classic/exchange.h"
#include "kx/library.h"
#include "runtime/classic/pending.h"
#include "runtime/classic/state.h"
#include "runtime/classic/writer.h"

#include <stdlib.h>

namespace kx::classic {

constexpr unsigned int reply_poll_ms = 10;
constexpr unsigned int completion_poll_ms = 1000;

// The line of a request that is known to fit; one that does not ends the process before anything is sent.
static const Line& fitting(Request& request)
{
    const Line* line = request.framed();
    if (!line) abort();
    return *line;
}

static bool send_now(int sockfd, const Line& line)
{
    return kx::send_now(sockfd, line.text, line.length);
}

int post(int sockfd, Request& request)
{
    const Line& line = fitting(request);
    Add_Queue(sockfd, line.text, line.length);
    return KX_SUCCESS;
}

int dispatch(int sockfd, Request& request)
{
    const Line* line = request.framed();
    if (!line) return KX_WRONG_TYPE;
    return send_now(sockfd, *line) ? KX_SUCCESS : KX_SEND_FAILED;
}

// Without a free entry the push is forgone, but the target still goes out: a moving arm must not be starved.
int stream(int sockfd, Request& request)
{
    const Line& line = fitting(request);
    const int index = add_pending(sockfd, request.answer(), push_registration);
    if (send_now(sockfd, line)) return KX_SUCCESS;
    if (index >= 0) remove_pending(index);
    return KX_SEND_FAILED;
}

// Registers for the reply and sends; the index of the entry, or -1 when there is no room or nothing was sent.
static int send_awaiting(int sockfd, Request& request)
{
    const Line& line = fitting(request);
    const int index = add_pending(sockfd, request.answer(), waiting_caller);
    if (index < 0 || send_now(sockfd, line)) return index;
    remove_pending(index);
    return -1;
}

static Reply taken(int index)
{
    const Line text = stored_reply(index);
    remove_pending(index);
    return Reply(text.text);
}

Reply await_reply(int sockfd, Request& request)
{
    const int index = send_awaiting(sockfd, request);
    if (index < 0) return Reply::none(KX_SEND_FAILED);

    const unsigned int start = Get_Program_Runtime();
    do {
        sleep_cp(reply_poll_ms);
        if (static_cast<int>(Get_Program_Runtime() - start) >= reply_timeout()) {
            remove_waiting(sockfd, request.answer());
            return Reply::none(KX_TIMED_OUT);
        }
    } while (find_answered(sockfd, request.answer()) < 0);

    // The text at the index where this caller registered, even if the list has moved since: overlapping calls
    // for one key code share their replies by position.
    return taken(index);
}

Reply await_completion(int sockfd, Request& request, int (*is_alive)(int sockfd))
{
    if (send_awaiting(sockfd, request) < 0) return Reply::none(KX_SEND_FAILED);

    int answered;
    while ((answered = find_answered(sockfd, request.answer())) < 0) {
        if (is_alive(sockfd) != KX_SUCCESS) {
            remove_waiting(sockfd, request.answer());
            return Reply::none(KX_TIMED_OUT);
        }
        sleep_cp(completion_poll_ms);
    }
    return taken(answered);
}

} // namespace kx::classic
