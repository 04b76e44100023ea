#include "server.h"

#include <cstdio>
#include <deque>
#include <iostream>
#include <memory>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <asio/write.hpp>

#include "clock.h"
#include "controller.h"
#include "framing.h"

namespace kx::sim {

namespace {

using asio::ip::tcp;

// The client library polls its connections every 5 ms and takes all that it finds in one poll for one line,
// so two lines too close together would lose one. This is real time, whatever the simulation's speed.
constexpr auto gap_between_lines = std::chrono::milliseconds(20);

// A client that asks without end faster than the gap allows to answer is not read from while so many lines
// wait.
constexpr std::size_t waiting_lines = 1000;

/** Control characters would garble the terminal. */
std::string printable(std::string_view text)
{
    std::string out;
    for (char c : text)
        if (c != '\r' && c != '\n' && c != '\t') out += c >= ' ' && c != 127 ? c : '?';
    return out;
}

class Server {
  public:
    explicit Server(const ServerOptions& options);
    void run() { loop_.run(); }

    void received(const Request& request, int client, const Send& send);
    void trace(int client, const char* direction, std::string_view text) const;

  private:
    void accept();
    void schedule();

    asio::io_context loop_{1};
    tcp::acceptor acceptor_{loop_};
    asio::signal_set signals_{loop_, SIGINT, SIGTERM};
    asio::steady_timer event_{loop_}; ///< fires when the arm's next event is due
    asio::steady_timer retry_{loop_};
    Clock clock_;
    Controller controller_;
    bool trace_;
    int clients_ = 0;
};

/** One client. It lives as long as something is to be read, to be written or to be reported to it. */
class Session : public std::enable_shared_from_this<Session> {
  public:
    Session(Server& server, tcp::socket socket, int number)
        : server_(server), socket_(std::move(socket)), gap_(socket_.get_executor()), number_(number)
    {
    }

    void read()
    {
        reading_ = true;
        socket_.async_read_some(asio::buffer(buffer_), [self = shared_from_this()](auto error, auto length) {
            self->reading_ = false;
            if (error)
                self->end();
            else
                self->take({self->buffer_, length});
        });
    }

    void send(const std::string& line)
    {
        if (broken_) return;
        out_.push_back(line);
        if (out_.size() == 1) write();
    }

  private:
    void take(std::string_view bytes)
    {
        const Send to_client = [self = shared_from_this()](const std::string& line) { self->send(line); };
        for (const Request& request : framing_.feed(bytes))
            server_.received(request, number_, to_client);
        if (out_.size() < waiting_lines) read();
    }

    void write()
    {
        server_.trace(number_, "<-", out_.front());
        asio::async_write(socket_, asio::buffer(out_.front()), [self = shared_from_this()](auto error, auto) {
            if (error) return self->fail();
            self->gap_.expires_after(gap_between_lines);
            self->gap_.async_wait([self](auto) { self->next(); });
        });
    }

    void next()
    {
        out_.pop_front();
        if (!out_.empty()) write();
        if (!reading_ && !ended_ && out_.size() < waiting_lines) read();
    }

    void end()
    {
        ended_ = true;
        server_.trace(number_, "--", "no more requests");
    }

    void fail()
    {
        broken_ = ended_ = true;
        out_.clear();
        asio::error_code ignored;
        socket_.close(ignored);
    }

    Server& server_;
    tcp::socket socket_;
    asio::steady_timer gap_;
    const int number_;
    char buffer_[4096];
    Framing framing_;
    std::deque<std::string> out_; ///< lines to send; the first one stays until the gap after it is over
    bool reading_ = false;
    bool ended_ = false;  ///< the client sends no more
    bool broken_ = false; ///< and takes no more
};

void log_line(const std::string& text)
{
    std::cerr << "kx-controller: " << printable(text) << std::endl;
}

Server::Server(const ServerOptions& options)
    : clock_(options.speed), controller_(options.model, log_line), trace_(options.trace)
{
    const tcp::endpoint endpoint(asio::ip::make_address(options.host), options.port);
    acceptor_.open(endpoint.protocol());
    acceptor_.set_option(tcp::acceptor::reuse_address(true));
    acceptor_.bind(endpoint);
    acceptor_.listen();
    signals_.async_wait([this](auto, int) { loop_.stop(); });
    std::cout << "kx-controller: model " << options.model << " listening on " << acceptor_.local_endpoint()
              << std::endl;
    accept();
}

void Server::accept()
{
    acceptor_.async_accept([this](asio::error_code error, tcp::socket socket) {
        if (error) { // most likely out of descriptors, which passes when clients leave
            log_line("cannot accept a client: " + error.message());
            retry_.expires_after(std::chrono::milliseconds(100));
            return retry_.async_wait([this](auto) { accept(); });
        }
        asio::error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        const int number = ++clients_;
        trace(number, "--", "connected");
        std::make_shared<Session>(*this, std::move(socket), number)->read();
        accept();
    });
}

void Server::received(const Request& request, int client, const Send& send)
{
    trace(client, "->", request.text);
    if (request.fault.empty())
        controller_.handle(request.text, clock_.now(), send);
    else
        controller_.complain(request.fault, send);
    schedule();
}

/** The arm acts when it is asked something, and when its next event is due. */
void Server::schedule()
{
    const auto event = controller_.next_event();
    if (!event) return void(event_.cancel());
    event_.expires_after(clock_.until(*event));
    event_.async_wait([this](asio::error_code cancelled) {
        if (cancelled) return;
        controller_.advance(clock_.now());
        schedule();
    });
}

void Server::trace(int client, const char* direction, std::string_view text) const
{
    if (!trace_) return;
    std::printf("%10.3f client %d %s %s\n", clock_.now(), client, direction, printable(text).c_str());
    std::fflush(stdout);
}

} // namespace

void serve(const ServerOptions& options)
{
    Server(options).run();
}

} // namespace kx::sim
