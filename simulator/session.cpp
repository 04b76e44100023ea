#include "session.h"

#include "commands/command.h"
#include "line/secrets.h"

namespace kx::sim {

namespace {

// A client that asks without end faster than its replies can be sent is not read from while so many wait.
constexpr std::size_t waiting_replies = 1000;

} // namespace

Session::Session(Host& host, int number, asio::ip::tcp::socket socket, const LineFaults& faults, Luck luck,
                 std::chrono::milliseconds gap)
    : LineWriter(std::move(socket), faults, luck, gap), host_(host), number_(number)
{
}

void Session::begin(std::shared_ptr<Answerer> answerer)
{
    answerer_ = std::move(answerer);
    read();
}

void Session::wake()
{
    if (!faults_.silent)
        if (const auto held = std::exchange(held_, nullptr)) has_read();
    write();
}

void Session::read()
{
    reading_ = true;
    socket_.async_read_some(asio::buffer(buffer_), [self = self()](auto error, auto length) {
        self->reading_ = false;
        self->length_ = error ? 0 : length;
        if (self->faults_.silent)
            self->held_ = self;
        else
            self->has_read();
    });
}

void Session::has_read()
{
    if (length_ > 0) {
        take({buffer_, length_});
        return read_on();
    }
    ended_ = true;
    if (is_open()) host_.passed(number_, Direction::event, "no more requests");
    answerer_->client_has_ended();
}

void Session::take(std::string_view bytes)
{
    for (const Request& request : framing_.feed(bytes)) {
        const Clock::Moment moment(host_.clock());
        host_.passed(number_, Direction::request, shown(request));
        if (!is_introduced_ && (!request.fault.empty() || !parsed(request.text).is_object()))
            return turn_away(request);
        is_introduced_ = true;
        host_.comes(request);
        answerer_->answer(request, self());
    }
    if (is_introduced_) return answerer_->pass_on(std::exchange(before_, {}) += bytes);
    before_ += bytes;
    if (before_.size() > Framing::max_length) turn_away({"", "no request has come"});
}

/** Any web site can have a browser send bytes to this port, though none that begin with a request. So what
 * begins with something else gets nothing done, whatever follows. */
void Session::turn_away(const Request& request)
{
    ended_ = true;
    const std::string fault = request.fault.empty() ? "not JSON" : request.fault;
    host_.log(number_, "turned away, as it does not begin with a request: " + fault);
    reply(reply_line({{"error", fault}}));
    finish();
}

/** What follows a broken request, or one with a password, may be the rest of it. */
std::string Session::shown(const Request& request)
{
    const bool suspicious = may_hold_password(request.text);
    const bool broken = !request.fault.empty() || (suspicious && parsed(request.text).is_discarded());
    may_hold_password_ = suspicious || (broken && may_hold_password_);
    return broken && may_hold_password_ ? withheld : without_secrets(request.text);
}

bool Session::takes_more() const
{
    return waiting() < waiting_replies;
}

void Session::read_on()
{
    if (!reading_ && !held_ && !ended_ && is_open() && takes_more() && answerer_->takes_more()) read();
}

void Session::answerer_has_ended(const std::string& why)
{
    host_.log(number_, why);
    finish();
}

void Session::has_written()
{
    read_on();
    answerer_->client_has_room();
}

void Session::has_closed()
{
    held_ = nullptr;
    answerer_->client_has_closed();
    host_.passed(number_, Direction::event, "closed");
}

} // namespace kx::sim
