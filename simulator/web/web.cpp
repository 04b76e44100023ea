#include "web/web.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>

#include <asio/buffer.hpp>
#include <asio/steady_timer.hpp>
#include <asio/write.hpp>

#include "web/assets.h"

namespace kx::sim {

namespace {

using asio::ip::tcp;
using namespace std::chrono_literals;

constexpr std::size_t places_for_a_page = 4; // of them one for its stream
constexpr auto request_time = 5s;
constexpr auto answer_time = 60s;
constexpr auto goodbye_time = 1s; // in which a client may notice that the answer is complete

constexpr std::string_view headers =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; font-src 'self'; "
    "img-src 'self'; connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Connection: close\r\n";

constexpr std::string_view event_stream = "text/event-stream";

/** Changes with the content (FNV-1a, Fowler, Noll and Vo, 1991). */
std::string tag_of(std::string_view content)
{
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const unsigned char c : content)
        hash = (hash ^ c) * 0x100000001b3;
    return '"' + std::to_string(hash) + '"';
}

std::string random_token()
{
    std::random_device random; // the kernel's
    std::string token;
    for (int i = 0; i < 4; ++i) {
        char digits[9];
        std::snprintf(digits, sizeof digits, "%08x", random());
        token += digits;
    }
    return token;
}

const char* words_of(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 204:
        return "No Content";
    case 304:
        return "Not Modified";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 409:
        return "Conflict";
    case HttpReader::no_length:
        return "Length Required";
    case HttpReader::large:
        return "Content Too Large";
    case HttpReader::large_head:
        return "Request Header Fields Too Large";
    default:
        return "Bad Request";
    }
}

} // namespace

/** Reads one request, answers it and ends; a page's stream goes on until the page is gone. */
class Web::Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(Web& web, tcp::socket socket)
        : web_(web), socket_(std::move(socket)), timer_(socket_.get_executor())
    {
    }

    void begin()
    {
        limit(request_time);
        read();
    }

    bool is_stream() const { return answer_.goes_on; }

    /** Sends what is new, if that is a stream and all before was sent. */
    void tell_news();

    void close()
    {
        timer_.cancel();
        asio::error_code ignored;
        socket_.close(ignored);
    }

  private:
    void read();
    void answer(Answer answer);
    void write();
    void has_written();
    void await_end();
    void leave();
    void limit(std::chrono::seconds time);

    Web& web_;
    tcp::socket socket_;
    asio::steady_timer timer_;
    char buffer_[4096];
    HttpReader reader_;
    Answer answer_;
    std::string head_;
    bool writing_ = false;
    std::vector<News::Told> told_; ///< of each arm
};

void Web::Connection::limit(std::chrono::seconds time)
{
    timer_.expires_after(time);
    timer_.async_wait([self = shared_from_this()](auto cancelled) {
        if (!cancelled) self->leave();
    });
}

void Web::Connection::leave()
{
    close();
    std::erase(web_.connections_, shared_from_this());
}

void Web::Connection::read()
{
    socket_.async_read_some(asio::buffer(buffer_), [self = shared_from_this()](auto error, auto length) {
        if (error) return self->leave();
        const auto status = self->reader_.take({self->buffer_, length});
        if (status == HttpReader::unfinished) return self->read();
        if (status != HttpReader::complete) return self->answer({.status = status});
        asio::error_code gone;
        const auto from = self->socket_.remote_endpoint(gone).address().to_string();
        self->answer(self->web_.answer(self->reader_.request(), from));
    });
}

void Web::Connection::answer(Answer answer)
{
    answer_ = std::move(answer);
    if (answer_.status >= 400 && answer_.status != 404 && answer_.status != 409)
        web_.log_(std::string("page: refused a request: ") + words_of(answer_.status));
    head_ = "HTTP/1.1 " + std::to_string(answer_.status) + ' ' + words_of(answer_.status) + "\r\n" +
            std::string(headers);
    if (!answer_.type.empty()) head_ += "Content-Type: " + std::string(answer_.type) + "\r\n";
    if (!answer_.content.empty()) head_ += "Content-Encoding: gzip\r\n";
    head_ += answer_.tag.empty() ? "Cache-Control: no-store\r\n"
                                 : "Cache-Control: no-cache\r\nETag: " + answer_.tag + "\r\n";
    if (is_stream()) {
        for (const auto& news : web_.arms_)
            told_.push_back(news->before_all());
        await_end();
    } else if (answer_.status != 204 && answer_.status != 304)
        head_ += "Content-Length: " + std::to_string(answer_.content.size() + answer_.text.size()) + "\r\n";
    head_ += "\r\n";
    write();
}

void Web::Connection::write()
{
    writing_ = true;
    limit(answer_time);
    const std::array<asio::const_buffer, 3> parts = {asio::buffer(head_), asio::buffer(answer_.content),
                                                     asio::buffer(answer_.text)};
    asio::async_write(socket_, parts, [self = shared_from_this()](auto error, auto) {
        if (error) return self->leave();
        self->has_written();
    });
}

void Web::Connection::has_written()
{
    writing_ = false;
    head_.clear();
    timer_.cancel();
    if (is_stream()) return tell_news();
    asio::error_code ignored;
    socket_.shutdown(tcp::socket::shutdown_send, ignored);
    limit(goodbye_time);
    await_end();
}

/** Of the client. What is closed while something is unread may not reach it; and a stream to nobody is in the way. */
void Web::Connection::await_end()
{
    socket_.async_read_some(asio::buffer(buffer_), [self = shared_from_this()](auto error, auto) {
        if (error) return self->leave();
        self->await_end();
    });
}

void Web::Connection::tell_news()
{
    if (!is_stream() || writing_) return;
    answer_.text.clear();
    for (std::size_t arm = 0; arm < told_.size(); ++arm) {
        const std::string news = web_.arms_[arm]->since(told_[arm]);
        if (!news.empty() && told_.size() > 1) answer_.text += event("arm", std::to_string(arm));
        answer_.text += news;
    }
    if (!answer_.text.empty()) write();
}

Web::Web(std::string host, Json about, std::vector<std::shared_ptr<News>> arms, Act act, Log log,
         std::size_t places)
    : host_(std::move(host)), token_(random_token()), greeting_([&] {
          about["token"] = token_;
          return event("about", about.dump());
      }()),
      act_(std::move(act)), log_(std::move(log)), places_(places), most_pages_(places / places_for_a_page),
      arms_(std::move(arms))
{
}

void Web::serve(tcp::socket socket)
{
    if (connections_.size() >= places_) {
        const auto oldest = std::ranges::find_if_not(connections_, &Connection::is_stream);
        log_("page: closed the oldest of too many connections");
        (*oldest)->close();
        connections_.erase(oldest);
    }
    connections_.push_back(std::make_shared<Connection>(*this, std::move(socket)));
    connections_.back()->begin();
}

Web::Answer Web::answer(const HttpRequest& request, const std::string& from)
{
    const std::string_view host = request.header("host");
    if (!is_address(host) && host != host_) return {.status = 403};
    if (request.method == "POST" && request.path == "/act") return take_action(request, from);
    if (request.method != "GET") return {};
    if (request.path == "/events") return open_stream();
    if (const auto offer = offered_.find(request.path); offer != offered_.end())
        return {.status = 200, .type = "application/json", .text = offer->second};
    const auto asset =
        std::ranges::find_if(assets, [&](const Asset& file) { return request.path.substr(1) == file.path; });
    if (asset == assets.end()) return {};
    const std::string tag = tag_of(asset->content);
    if (request.header("if-none-match") == tag) return {.status = 304, .tag = tag};
    return {.status = 200, .type = asset->type, .content = asset->content, .tag = tag};
}

Web::Answer Web::open_stream()
{
    const auto pages = std::ranges::count_if(connections_, &Connection::is_stream);
    if (static_cast<std::size_t>(pages) >= most_pages_) {
        const std::string why = std::to_string(pages) + " browsers are looking on already, and no more can";
        log_("page: " + why);
        return {.status = 200, .type = event_stream, .text = greeting_ + event("full", Json(why).dump())};
    }
    return {.status = 200, .type = event_stream, .text = greeting_, .goes_on = true};
}

Web::Answer Web::take_action(const HttpRequest& request, const std::string& from)
{
    const bool own_origin = request.header("origin") == "http://" + std::string(request.header("host"));
    if (!own_origin || request.header("x-token") != token_) return {.status = 403};
    const std::string refused = act_(request.body, from);
    if (refused.empty()) return {.status = 204};
    return {.status = 409, .type = "text/plain; charset=utf-8", .text = refused};
}

bool Web::watched() const
{
    return std::ranges::any_of(connections_, &Connection::is_stream);
}

void Web::publish()
{
    for (const auto& connection : connections_)
        connection->tell_news();
}

} // namespace kx::sim
