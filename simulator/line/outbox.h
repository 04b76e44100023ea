// The lines that wait to be sent to one client: replies, and the pushes that it registered for.
//
// The library takes all that it finds in one poll, every 5 ms, for one line, and what does not fit into its
// buffer, three pushes for instance, ends it. So lines are kept a gap apart, and a push two gaps from the
// line before it: a client's thread may be late by that. Pushes cannot then answer a stream of targets, one
// every 5 ms, one by one. They need not: the library hands one push to several registrations. It calls back
// for the first of its list and takes that out, whereby the next one moves into its place and is passed over,
// and so on: of k registrations one line answers every other one, ceil(k / 2) or more. So k stays within
// twice the targets that come between two pushes, and when the stream ends, a few more lines answer the rest,
// down to none.
//
// The registrations are counted here as the targets come in. The client has never more than that and what is
// still on its way here, so a line answers at least as many of the client's as it does of ours.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx::sim {

class Outbox {
  public:
    void reply(std::string line) { replies_.push_back(std::move(line)); }

    /** A push of a kind, for one more registration; takes the place of one of that kind that waits. */
    void push(std::string_view kind, std::string line);

    /** The line that is sent now, if any: to be called once a gap. Replies and pushes take turns. */
    std::optional<std::string> take();

    std::size_t replies() const { return replies_.size(); }
    bool empty() const;

  private:
    struct Pushes {
        std::string kind;
        std::string line;
        int registrations = 0;
    };

    std::deque<std::string> replies_;
    std::vector<Pushes> pushes_; ///< one for every kind; their turn goes from the first to the last
    bool push_was_last_ = false;
    bool rested_ = true; ///< no line left in the last gap
};

} // namespace kx::sim
