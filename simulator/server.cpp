#include "server.h"

#include <cstdio>
#include <future>
#include <iostream>
#include <memory>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <asio/write.hpp>

#include "clock.h"
#include "controller.h"
#include "framing.h"
#include "json.h"
#include "modbus_tcp.h"
#include "outbox.h"
#include "page.h"
#include "web.h"

namespace kx::sim {

namespace {

using asio::ip::tcp;

// A client that asks without end faster than its replies can be sent is not read from while so many wait.
constexpr std::size_t waiting_replies = 1000;

constexpr auto frame_interval = std::chrono::milliseconds(20); // of the page

/** Control characters would garble the terminal. */
std::string printable(std::string_view text)
{
    std::string out;
    for (char c : text)
        if (c != '\r' && c != '\n' && c != '\t') out += c >= ' ' && c != 127 ? c : '?';
    return out;
}

/** A request as it may be shown: passwords go nowhere. */
std::string without_secrets(const std::string& text)
{
    Json request = Json::parse(text, nullptr, false);
    if (request.is_discarded())
        return text.find("password") == text.npos ? text : "(not JSON; not shown, as it may hold a password)";
    if (!request.is_object() || !request.contains("password")) return text;
    request["password"] = "***";
    return request.dump(-1, ' ', true, Json::error_handler_t::replace);
}

class Server {
  public:
    explicit Server(const ServerOptions& options);
    void run()
    {
        loop_.run();
        acceptor_.close(); // the page's threads take a moment to end, and the next controller may wait for
                           // the port
    }

    void received(const Request& request, int client, const Send& send, const Push& push);
    void trace(int client, const char* direction, std::string_view text) const;

  private:
    void accept();
    void schedule();
    void start_page(const ServerOptions& options);
    void show_frame();
    std::string act(const std::string& request);

    asio::io_context loop_{1};
    tcp::acceptor acceptor_{loop_};
    asio::signal_set signals_{loop_, SIGINT, SIGTERM};
    asio::steady_timer event_{loop_}; ///< fires when the arm's next event is due
    asio::steady_timer retry_{loop_};
    Clock clock_;
    Controller controller_;
    bool trace_;
    int clients_ = 0;
    Page page_{controller_};
    asio::steady_timer frame_{loop_};
    std::unique_ptr<Web> web_; ///< if there is a page; last, since its threads use the others
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

  private:
    void take(std::string_view bytes)
    {
        const auto self = shared_from_this();
        const Send send = [self](const std::string& line) {
            self->out_.reply(line);
            self->write();
        };
        const Push push = [self](std::string_view kind, const std::string& line) {
            self->out_.push(kind, line);
            self->write();
        };
        for (const Request& request : framing_.feed(bytes))
            server_.received(request, number_, send, push);
        read_on();
    }

    void read_on()
    {
        if (!reading_ && !ended_ && out_.replies() < waiting_replies) read();
    }

    void write()
    {
        if (writing_ || broken_) return;
        std::optional<std::string> next = out_.take(std::chrono::steady_clock::now());
        if (!next) return;
        writing_ = true;
        line_ = std::move(*next);
        server_.trace(number_, "<-", line_);
        asio::async_write(socket_, asio::buffer(line_), [self = shared_from_this()](auto error, auto) {
            if (error) return self->fail();
            self->gap_.expires_after(Outbox::gap);
            self->gap_.async_wait([self](auto) {
                self->writing_ = false;
                self->write();
                self->read_on();
            });
        });
    }

    void end()
    {
        ended_ = true;
        server_.trace(number_, "--", "no more requests");
    }

    void fail()
    {
        broken_ = ended_ = true;
        asio::error_code ignored;
        socket_.close(ignored);
    }

    Server& server_;
    tcp::socket socket_;
    asio::steady_timer gap_;
    const int number_;
    char buffer_[4096];
    Framing framing_;
    Outbox out_;
    std::string line_; ///< being sent
    bool reading_ = false;
    bool writing_ = false; ///< a line, or in the gap after it
    bool ended_ = false;   ///< the client sends no more
    bool broken_ = false;  ///< and takes no more
};

void log_line(const std::string& text)
{
    std::cerr << "kx-controller: " << printable(text) << std::endl;
}

Server::Server(const ServerOptions& options)
    : clock_(options.speed), controller_(options.model, log_line, options.world), trace_(options.trace)
{
    if (!options.modbus_tcp.empty()) {
        const auto colon = options.modbus_tcp.rfind(':');
        if (colon == std::string::npos) throw std::invalid_argument("the Modbus slave is given as HOST:PORT");
        controller_.peripherals().modbus.connect(std::make_unique<ModbusTcp>(
            options.modbus_tcp.substr(0, colon), options.modbus_tcp.substr(colon + 1),
            [this](std::function<void()> function) { asio::post(loop_, std::move(function)); }));
    }
    const tcp::endpoint endpoint(asio::ip::make_address(options.host), options.port);
    acceptor_.open(endpoint.protocol());
    acceptor_.set_option(tcp::acceptor::reuse_address(true));
    acceptor_.bind(endpoint);
    acceptor_.listen();
    signals_.async_wait([this](auto, int) { loop_.stop(); });
    std::cout << "kx-controller: model " << options.model << " listening on " << acceptor_.local_endpoint()
              << std::endl;
    if (options.web_port) start_page(options);
    accept();
}

void Server::start_page(const ServerOptions& options)
{
    Json about = page_.about();
    about["port"] = acceptor_.local_endpoint().port();
    web_ = std::make_unique<Web>(options.web_host, *options.web_port, std::move(about),
                                 [this](const std::string& request) { return act(request); });
    std::cout << "kx-controller: page at " << web_->address() << std::endl;
    show_frame();
}

void Server::show_frame()
{
    page_.check_hold();
    if (web_->watched()) {
        const double now = clock_.now();
        controller_.advance(now);
        schedule();
        web_->publish(page_.state(now));
    }
    frame_.expires_after(frame_interval);
    frame_.async_wait([this](auto) { show_frame(); });
}

/** Called by the page's threads. */
std::string Server::act(const std::string& request)
{
    const auto outcome = std::make_shared<std::promise<std::string>>();
    auto answer = outcome->get_future();
    asio::post(loop_, [this, request, outcome] {
        controller_.advance(clock_.now());
        std::string refused;
        try {
            page_.act(Json::parse(request));
        } catch (const std::exception& error) {
            refused = error.what();
        }
        controller_.advance(clock_.now());
        schedule();
        outcome->set_value(refused);
    });
    const bool answered = answer.wait_for(std::chrono::seconds(2)) == std::future_status::ready;
    return answered ? answer.get() : "the controller does not answer";
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

void Server::received(const Request& request, int client, const Send& send, const Push& push)
{
    if (trace_ || web_) trace(client, "->", without_secrets(request.text));
    if (request.fault.empty())
        controller_.handle(request.text, clock_.now(), send, push);
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
    if (web_) web_->wire(clock_.now(), client, direction, printable(text));
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
