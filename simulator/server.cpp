#include "server.h"

#include <cstdio>
#include <fstream>
#include <future>
#include <iostream>
#include <memory>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>

#include "arm/clock.h"
#include "commands/json.h"
#include "commands/virtual_controller.h"
#include "devices/modbus_tcp.h"
#include "line/fault_script.h"
#include "line/faults.h"
#include "line/framing.h"
#include "line/line_writer.h"
#include "line/outbox.h"
#include "line/recording.h"
#include "line/replay.h"
#include "line/upstream.h"
#include "web/page.h"
#include "web/web.h"

namespace kx::sim {

namespace {

using asio::ip::tcp;
using namespace std::chrono_literals;

// A client that asks without end faster than its replies can be sent is not read from while so many wait.
constexpr std::size_t waiting_replies = 1000;
constexpr std::size_t waiting_bytes = 64 * 1024; // to the controller behind a proxy

constexpr auto frame_interval = std::chrono::milliseconds(20); // of the page

/** Control characters would garble the terminal. */
std::string printable(std::string_view text)
{
    std::string out;
    for (char c : text)
        if (c != '\r' && c != '\n' && c != '\t') out += c >= ' ' && c != 127 ? c : '?';
    return out;
}

/** HOST:PORT, the port last. */
std::pair<std::string, std::string> host_and_port(const std::string& address, const char* whose)
{
    const auto colon = address.rfind(':');
    if (colon == std::string::npos)
        throw std::invalid_argument(std::string(whose) + " is given as HOST:PORT, not " + address);
    return {address.substr(0, colon), address.substr(colon + 1)};
}

class Session;

class Server {
  public:
    explicit Server(const ServerOptions& options);
    void run();

    /** Whatever comes from a client passes here first. */
    void received(const Request& request, int client, bool is_secret);
    void answer(const Request& request, const ClientHandle& client);
    void trace(int client, const char* direction, const std::string& line);
    const tcp::resolver::results_type& behind_proxy() const { return behind_proxy_; }

    /** Begins or ends a fault; returns what is wrong with its text. */
    std::string apply_fault(const std::string& text);

  private:
    void accept();
    void schedule();
    void start_page(const ServerOptions& options);
    void show_frame();
    std::string act(const std::string& request);
    void set_up_faults(const ServerOptions& options);
    std::string apply_fault(const std::string& text, double time);
    void run_fault_script();
    std::string start_answering(const ServerOptions& options);
    void answer_from_recording(const std::string& request, const ClientHandle& client);
    std::vector<std::shared_ptr<Session>> sessions() const;

    asio::io_context loop_{1};
    tcp::acceptor acceptor_{loop_};
    asio::signal_set signals_{loop_, SIGINT, SIGTERM};
    asio::steady_timer event_{loop_}; ///< fires when the arm's next event is due
    asio::steady_timer retry_{loop_};
    Clock clock_;
    Controller controller_;
    bool trace_;
    int clients_ = 0;
    std::vector<std::weak_ptr<Session>> sessions_;

    Faults faults_;
    unsigned seed_;
    FaultScript script_;
    asio::steady_timer script_timer_{loop_};

    // Who answers instead of the simulated controller, if anybody.
    tcp::resolver::results_type behind_proxy_;
    std::unique_ptr<Replay> replay_;
    double replay_speed_;
    int not_recorded_ = 0; ///< requests

    std::unique_ptr<Recording> recording_;

    Page page_;
    asio::steady_timer frame_{loop_};
    std::unique_ptr<Web> web_; ///< if there is a page; last, since its threads use the others
};

void log_line(const std::string& text)
{
    std::cerr << "kx-controller: " << printable(text) << std::endl;
}

/** One client. It lives as long as something is to be read, to be written or to be reported to it. */
class Session : public LineWriter {
  public:
    Session(Server& server, tcp::socket socket, int number, const LineFaults& faults, unsigned seed)
        : LineWriter(std::move(socket), faults, Luck(seed, number),
                     server.behind_proxy().empty() ? Outbox::gap : 0ms),
          server_(server), number_(number)
    {
    }

    void begin()
    {
        if (!server_.behind_proxy().empty()) connect_upstream();
        read();
    }

    /** Goes on after a change of the faults. */
    void wake()
    {
        if (!faults_.silent)
            if (const auto held = std::exchange(held_, nullptr)) has_read();
        write();
    }

  private:
    std::shared_ptr<Session> self() { return std::static_pointer_cast<Session>(shared_from_this()); }

    void connect_upstream()
    {
        upstream_ = std::make_shared<Upstream>(
            socket_.get_executor(),
            Upstream::Client{[self = self()](const std::string& line) { self->reply(line); },
                             [self = self()] { return self->waiting() < waiting_replies; },
                             [self = self()] { self->read_on(); },
                             [self = self()](const std::string& why) {
                                 self->server_.trace(self->number_, "--", why);
                                 self->finish();
                             }});
        upstream_->connect(server_.behind_proxy());
    }

    void read()
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

    void has_read()
    {
        if (length_ == 0) return end();
        const std::string_view bytes(buffer_, length_);
        for (const Request& request : framing_.feed(bytes)) {
            // What follows a broken request may be the rest of it.
            may_hold_password_ = !request.fault.empty() && (may_hold_password_ || has_password(request.text));
            server_.received(request, number_, may_hold_password_);
            if (!upstream_) server_.answer(request, self());
        }
        if (upstream_) upstream_->send(bytes);
        read_on();
    }

    void read_on()
    {
        const bool keeps_up =
            waiting() < waiting_replies && (!upstream_ || upstream_->waiting() < waiting_bytes);
        if (!reading_ && !held_ && !ended_ && is_open() && keeps_up) read();
    }

    void end()
    {
        ended_ = true;
        if (is_open()) server_.trace(number_, "--", "no more requests");
        if (upstream_) upstream_->end();
    }

    void leaves(const std::string& line) override { server_.trace(number_, "<-", line); }

    void has_written() override
    {
        read_on();
        if (upstream_) upstream_->resume();
    }

    void has_closed() override
    {
        held_ = nullptr;
        if (upstream_) upstream_->close();
        server_.trace(number_, "--", "closed");
    }

    Server& server_;
    const int number_;
    char buffer_[4096];
    std::size_t length_ = 0;        ///< of what was read last, 0 at the end
    std::shared_ptr<Session> held_; ///< itself, while what it has read waits for the end of a silence
    Framing framing_;
    std::shared_ptr<Upstream> upstream_; ///< of a proxy
    bool reading_ = false;
    bool may_hold_password_ = false; ///< what came last, although it does not look so
    bool ended_ = false;             ///< the client sends no more
};

Server::Server(const ServerOptions& options)
    : clock_(options.speed), controller_(options.model, log_line, options.world), trace_(options.trace),
      faults_({.controller = options.replay.empty() && options.proxy.empty() ? &controller_ : nullptr,
               .reset_connections =
                   [this] {
                       for (const auto& session : sessions())
                           session->reset();
                   },
               .set_speed = [this](double factor) { clock_.set_speed(factor); },
               .speed = options.speed}),
      seed_(options.seed), replay_speed_(options.speed),
      page_(controller_, options.replay.empty() && options.proxy.empty())
{
    if (!options.modbus_tcp.empty()) {
        const auto [host, port] = host_and_port(options.modbus_tcp, "the Modbus slave");
        controller_.peripherals().modbus.connect(std::make_unique<ModbusTcp>(
            host, port, [this](std::function<void()> function) { asio::post(loop_, std::move(function)); }));
    }
    const std::string answering = start_answering(options);
    set_up_faults(options);
    const tcp::endpoint endpoint(asio::ip::make_address(options.host), options.port);
    acceptor_.open(endpoint.protocol());
    acceptor_.set_option(tcp::acceptor::reuse_address(true));
    acceptor_.bind(endpoint);
    acceptor_.listen();
    if (!options.record.empty()) recording_ = std::make_unique<Recording>(options.record);
    signals_.async_wait([this](auto, int) { loop_.stop(); });
    std::cout << "kx-controller: " << answering << " listening on " << acceptor_.local_endpoint()
              << std::endl;
    if (options.web_port) start_page(options);
    accept();
}

void Server::start_page(const ServerOptions& options)
{
    Json about = page_.about();
    about["port"] = acceptor_.local_endpoint().port();
    for (const auto& [name, arguments, help] : Faults::forms())
        about["faults"].push_back({name, arguments, help});
    web_ = std::make_unique<Web>(options.web_host, *options.web_port, std::move(about),
                                 [this](const std::string& request) { return act(request); });
    std::cout << "kx-controller: page at " << web_->address() << std::endl;
    show_frame();
}

void Server::show_frame()
{
    page_.check_hold();
    if (web_->watched()) {
        run_fault_script();
        const double now = clock_.now();
        controller_.advance(now);
        schedule();
        Json state = page_.state(now);
        state["faults"] = faults_.in_force();
        web_->publish(state);
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
            const Json wish = Json::parse(request);
            if (wish.at("act") == "fault")
                refused = apply_fault(wish.at("text"));
            else
                page_.act(wish);
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

/** Returns by which words the answering one is announced. */
std::string Server::start_answering(const ServerOptions& options)
{
    if (!options.replay.empty()) {
        replay_ = std::make_unique<Replay>(options.replay);
        return "replay of " + options.replay;
    }
    if (!options.proxy.empty()) {
        const auto [host, port] = host_and_port(options.proxy, "the controller behind the proxy");
        asio::error_code error;
        behind_proxy_ = tcp::resolver(loop_).resolve(host, port, error);
        if (error) throw std::runtime_error("--proxy " + options.proxy + ": " + error.message());
        return "proxy of " + options.proxy;
    }
    return "model " + std::to_string(options.model);
}

void Server::set_up_faults(const ServerOptions& options)
{
    for (const std::string& fault : options.faults)
        if (const std::string wrong = faults_.apply(fault); !wrong.empty())
            throw std::invalid_argument("--fault: " + wrong);
    if (options.fault_script.empty()) return;
    std::ifstream file(options.fault_script);
    script_ =
        FaultScript(file, options.fault_script, [this](const auto& fault) { return faults_.check(fault); });
}

void Server::run()
{
    loop_.run();
    acceptor_.close(); // now: the page's threads take a moment to end, and others may wait for the port
    for (const auto& session : sessions())
        session->close();
    if (replay_)
        log_line("replay: " + std::to_string(replay_->unused()) + " recorded requests did not come, " +
                 std::to_string(not_recorded_) + " came that are not recorded");
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
        const auto session =
            std::make_shared<Session>(*this, std::move(socket), number, faults_.lines(), seed_);
        std::erase_if(sessions_, [](const auto& past) { return past.expired(); });
        sessions_.push_back(session);
        session->begin();
        script_.connected(clock_.now());
        run_fault_script();
        accept();
    });
}

std::vector<std::shared_ptr<Session>> Server::sessions() const
{
    std::vector<std::shared_ptr<Session>> alive;
    for (const auto& session : sessions_)
        if (auto still = session.lock()) alive.push_back(std::move(still));
    return alive;
}

void Server::received(const Request& request, int client, bool is_secret)
{
    trace(client, "->", is_secret ? "(not shown, as it may hold a password)" : request.text);
    run_fault_script();
    if (!script_.awaits_requests() || !request.fault.empty()) return;
    const Json json = Json::parse(request.text, nullptr, false);
    if (const auto name = json.find("command"); name != json.end() && name->is_string()) {
        script_.requested(*name, clock_.now());
        run_fault_script();
    }
}

void Server::answer(const Request& request, const ClientHandle& client)
{
    if (replay_) return answer_from_recording(request.text, client);
    if (request.fault.empty())
        controller_.handle(request.text, clock_.now(), client);
    else
        controller_.complain(request.fault, *client);
    schedule();
}

void Server::answer_from_recording(const std::string& request, const ClientHandle& client)
{
    const auto* lines = replay_->answer(request);
    if (!lines) {
        ++not_recorded_;
        return controller_.complain("not in the recording", *client);
    }
    for (const Replay::Line& line : *lines) {
        const auto timer = std::make_shared<asio::steady_timer>(loop_);
        timer->expires_after(
            std::chrono::ceil<Clock::Real::duration>(Clock::Seconds(line.after / replay_speed_)));
        timer->async_wait([timer, client, text = line.text](auto) { client->reply(text); });
    }
}

std::string Server::apply_fault(const std::string& text)
{
    run_fault_script();
    return apply_fault(text, clock_.now());
}

/** @param time when it happens to the arm, if that has not gone beyond it */
std::string Server::apply_fault(const std::string& text, double time)
{
    if (std::string wrong = faults_.check(text); !wrong.empty()) return wrong;
    log_line("fault: " + text);
    trace(0, "--", "fault: " + text);
    controller_.advance(time);
    faults_.apply(text);
    controller_.advance(time); // tells those whose motion it has ended
    for (const auto& session : sessions())
        session->wake();
    schedule();
    run_fault_script(); // the clock may run at another speed now
    return "";
}

/** Before the controller is moved on, so that faults come when they are due even on a busy machine. */
void Server::run_fault_script()
{
    while (const auto due = script_.due(clock_.now()))
        apply_fault(due->fault, due->time);
    const auto event = script_.next_event();
    if (!event) return void(script_timer_.cancel());
    script_timer_.expires_after(clock_.until(*event));
    script_timer_.async_wait([this](asio::error_code cancelled) {
        if (!cancelled) run_fault_script();
    });
}

/** The arm acts when it is asked something, and when its next event is due. */
void Server::schedule()
{
    const auto event = controller_.next_event();
    if (!event) return void(event_.cancel());
    event_.expires_after(clock_.until(*event));
    event_.async_wait([this](asio::error_code cancelled) {
        if (cancelled) return;
        run_fault_script();
        controller_.advance(clock_.now());
        schedule();
    });
}

/** What passes between the server and a client: requests "->", replies "<-", events "--". */
void Server::trace(int client, const char* direction, const std::string& line)
{
    if (!trace_ && !recording_ && !web_) return;
    const std::string shown = without_secrets(line);
    if (web_) {
        web_->wire(clock_.now(), client, direction, printable(shown));
        if (*direction == '<') page_.watch(line);
    }
    if (trace_) {
        std::printf("%10.3f client %d %s %s\n", clock_.now(), client, direction, printable(shown).c_str());
        std::fflush(stdout);
    }
    if (!recording_) return;
    if (*direction == '<')
        recording_->reply(client, shown);
    else if (direction[1] == '>')
        recording_->request(client, shown);
    else
        recording_->event(client, shown);
}

} // namespace

void serve(const ServerOptions& options)
{
    Server(options).run();
}

} // namespace kx::sim
