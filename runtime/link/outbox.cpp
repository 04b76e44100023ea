#include "runtime/link/outbox.h"

#include <stdlib.h>
#include <string.h>

namespace kx::link {

bool Outbox::add(const Line& line, int sent, KeyCode kind, uint64_t serial)
{
    auto* waiting = static_cast<Waiting*>(malloc(sizeof(Waiting)));
    if (!waiting) return false;
    waiting->serial = serial;
    waiting->kind = kind;
    waiting->sent = sent;
    waiting->line.length = line.length;
    memcpy(waiting->line.text, line.text, static_cast<size_t>(line.length));

    Waiting** at = &first_;
    const bool goes_ahead = nature_of(kind) == Nature::stop && sent == 0;
    while (*at && !(goes_ahead && (*at)->sent == 0 && nature_of((*at)->kind) != Nature::stop))
        at = &(*at)->next;
    waiting->next = *at;
    *at = waiting;
    bytes_ += line.length - sent;
    return true;
}

void Outbox::sent(int bytes)
{
    first_->sent += bytes;
    bytes_ -= bytes;
}

void Outbox::remove(Waiting** at)
{
    Waiting* gone = *at;
    *at = gone->next;
    bytes_ -= gone->line.length - gone->sent;
    free(gone);
}

void Outbox::remove_first()
{
    remove(&first_);
}

bool Outbox::take_back_motion(uint64_t& serial)
{
    for (Waiting** at = &first_; *at; at = &(*at)->next) {
        const Nature nature = nature_of((*at)->kind);
        if ((*at)->sent > 0 || (nature != Nature::motion && nature != Nature::push)) continue;
        serial = (*at)->serial;
        remove(at);
        return true;
    }
    return false;
}

bool Outbox::take_back(uint64_t serial)
{
    for (Waiting** at = &first_; *at; at = &(*at)->next)
        if ((*at)->serial == serial && (*at)->sent == 0) {
            remove(at);
            return true;
        }
    return false;
}

void Outbox::clear()
{
    while (first_)
        remove_first();
}

} // namespace kx::link
