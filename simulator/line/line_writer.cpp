#include "line/line_writer.h"

#include <asio/buffer.hpp>
#include <asio/write.hpp>

namespace kx::sim {

LineWriter::LineWriter(asio::ip::tcp::socket socket, const LineFaults& faults, Luck luck,
                       std::chrono::milliseconds gap)
    : socket_(std::move(socket)), faults_(faults), luck_(luck), gap_(gap),
      delay_timer_(socket_.get_executor()), timer_(socket_.get_executor())
{
}

void LineWriter::reply(const std::string& line)
{
    delay([this, line] { out_.reply(line); });
}

void LineWriter::push(std::string_view kind, const std::string& line)
{
    if (gap_ == gap_.zero()) return reply(line);
    delay([this, kind = std::string(kind), line] { out_.push(kind, line); });
}

/** No line overtakes another one. */
void LineWriter::delay(std::function<void()> queue_up)
{
    if (!open_) return;
    auto due = Real::now() + std::chrono::ceil<Real::duration>(luck_.delay(faults_));
    if (delayed_.empty() && due <= Real::now()) {
        queue_up();
        return write();
    }
    if (!delayed_.empty()) due = std::max(due, delayed_.back().due);
    delayed_.push_back({due, std::move(queue_up)});
    if (delayed_.size() == 1) await_delayed();
}

void LineWriter::await_delayed()
{
    delay_timer_.expires_at(delayed_.front().due);
    delay_timer_.async_wait([self = shared_from_this()](auto) {
        for (auto& lines = self->delayed_; !lines.empty() && lines.front().due <= Real::now();) {
            lines.front().queue_up();
            lines.pop_front();
        }
        if (!self->delayed_.empty()) self->await_delayed();
        self->write();
    });
}

void LineWriter::write()
{
    if (busy_ || !open_ || faults_.silent) return;
    while (ready_.size() < faults_.together) {
        const auto line = out_.take();
        if (!line) break;
        for (std::string& sent : luck_.sent_for(*line, faults_))
            ready_.push_back(std::move(sent));
    }
    if (finishing_ && waiting() == 0) return close();
    if (ready_.empty()) {
        if (out_.empty()) return;
        busy_ = true;
        return after(gap_, &LineWriter::end_gap);
    }
    if (ready_.size() < faults_.together && !has_waited_) return await_company();
    awaits_company_ = has_waited_ = false;

    std::string chunk;
    for (std::size_t i = 0; i < faults_.together && !ready_.empty(); ++i) {
        leaves(ready_.front());
        chunk += ready_.front();
        ready_.pop_front();
    }
    const std::size_t pieces = std::min(chunk.size(), static_cast<std::size_t>(faults_.pieces));
    for (std::size_t i = 0; i < pieces; ++i) {
        const std::size_t begin = i * chunk.size() / pieces, end = (i + 1) * chunk.size() / pieces;
        pieces_.push_back(chunk.substr(begin, end - begin));
    }
    busy_ = true;
    write_piece();
}

void LineWriter::await_company()
{
    if (std::exchange(awaits_company_, true)) return;
    after(std::chrono::ceil<Real::duration>(faults_.company), &LineWriter::stop_waiting);
}

void LineWriter::stop_waiting()
{
    if (!awaits_company_) return;
    awaits_company_ = false;
    has_waited_ = true;
    write();
}

void LineWriter::write_piece()
{
    asio::async_write(socket_, asio::buffer(pieces_.front()), [self = shared_from_this()](auto error, auto) {
        if (error) return self->close();
        self->pieces_.pop_front();
        if (self->pieces_.empty())
            self->after(self->gap_, &LineWriter::end_gap);
        else
            self->after(std::chrono::ceil<Real::duration>(self->faults_.pause), &LineWriter::write_piece);
    });
}

void LineWriter::end_gap()
{
    busy_ = false;
    write();
    has_written();
}

void LineWriter::after(Real::duration time, void (LineWriter::*next)())
{
    timer_.expires_after(time);
    timer_.async_wait([self = shared_from_this(), next](auto cancelled) {
        if (!cancelled && self->open_) (*self.*next)();
    });
}

void LineWriter::finish()
{
    finishing_ = true;
    write();
}

void LineWriter::reset()
{
    asio::error_code ignored;
    socket_.set_option(asio::socket_base::linger(true, 0), ignored);
    close();
}

void LineWriter::close()
{
    if (!std::exchange(open_, false)) return;
    delayed_.clear();
    ready_.clear();
    delay_timer_.cancel();
    timer_.cancel();
    asio::error_code ignored;
    socket_.close(ignored);
    has_closed();
}

} // namespace kx::sim
