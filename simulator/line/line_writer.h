// The way of lines to one client: keeps them a gap apart, and has the faults act on them.
//
// A line is first delayed, then queues up in the outbox; when its turn comes it may be dropped, filled up or
// preceded by noise; then it leaves, possibly together with others and in pieces.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include "line/answerer.h"
#include "line/faults.h"
#include "line/outbox.h"

namespace kx::sim {

/** Lives as long as something is to be written, or its heir is at work. */
class LineWriter : public OnlyClient, public std::enable_shared_from_this<LineWriter> {
  public:
    /** @param faults is looked at for every line; after a change of it call write()
     *  @param gap between two lines, in real time; without one, every push leaves on its own */
    LineWriter(asio::ip::tcp::socket socket, const LineFaults& faults, Luck luck,
               std::chrono::milliseconds gap);
    LineWriter(const LineWriter&) = delete;

    void reply(const std::string& line) override;
    void push(std::string_view kind, const std::string& line) override;

    /** Sends what is due, if anything. */
    void write();

    /** Lines that are still to be sent, apart from pushes. */
    std::size_t waiting() const { return delayed_.size() + out_.replies() + ready_.size(); }

    /** Ends the connection when all is written. */
    void finish();

    void close();

    /** Ends the connection at once, and tells the client so by a reset. */
    void reset();

  protected:
    virtual void leaves(const std::string& line) = 0; ///< is sent now
    virtual void has_written() = 0;                   ///< there is room again
    virtual void has_closed() = 0;

    bool is_open() const { return open_; }

    asio::ip::tcp::socket socket_;
    const LineFaults& faults_;

  private:
    using Real = std::chrono::steady_clock;

    struct Delayed {
        Real::time_point due;
        std::function<void()> queue_up;
    };

    void delay(std::function<void()> queue_up);
    void await_delayed();
    void await_company();
    void write_piece();
    void after(Real::duration time, void (LineWriter::*next)());
    void end_gap();
    void stop_waiting();

    Luck luck_;
    const std::chrono::milliseconds gap_;
    asio::steady_timer delay_timer_, timer_;
    std::deque<Delayed> delayed_;
    Outbox out_;
    std::deque<std::string> ready_;  ///< to leave
    std::deque<std::string> pieces_; ///< leaving
    bool busy_ = false;              ///< with pieces, or in the gap after them
    bool awaits_company_ = false, has_waited_ = false;
    bool finishing_ = false;
    bool open_ = true;
};

} // namespace kx::sim
