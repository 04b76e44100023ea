#include "server.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <unistd.h>

#include "arm/clock.h"
#include "control.h"
#include "devices/modbus_tcp.h"
#include "journal.h"
#include "line/faults.h"
#include "line/mcap_recorder.h"
#include "line/playback.h"
#include "line/proxy.h"
#include "line/recorder.h"
#include "line/script.h"
#include "line/secrets.h"
#include "listener.h"
#include "session.h"
#include "web/onlooker.h"
#include "web/page.h"
#include "web/web.h"

namespace kx::sim {

namespace {

using asio::ip::tcp;
using namespace std::chrono_literals;

constexpr auto frame_interval = 20ms;  // of the page, while the arm moves,
constexpr auto sample_interval = 20ms; // of the arm in recordings
constexpr auto rest_interval = 60ms;   // and while nothing changes

/** Prints what passes. */
class Trace : public Tap {
  public:
    void passed(double time, int client, Direction direction, const std::string& line) override
    {
        constexpr const char* arrows[] = {"->", "<-", "--"}; // of Direction
        std::printf("%10.3f client %d %s %s\n", time, client, arrows[static_cast<int>(direction)],
                    printable(line).c_str());
        std::fflush(stdout);
    }
};

class Server : public Session::Host, public Answerer {
  public:
    explicit Server(const ServerOptions& options);
    void run();

  private:
    void passed(int client, Direction direction, const std::string& line) override;
    void log(int client, const std::string& event) override;
    void comes(const Request& request) override;
    void answer(const Request& request, const ClientHandle& client) override;

    void take_in(tcp::socket socket);
    std::shared_ptr<Answerer> answerer_of(const std::shared_ptr<Session>& session);
    void schedule();

    void record(const ServerOptions& options);
    void sample();

    std::string start_page(const ServerOptions& options);
    void look_on(const ServerOptions& options);
    void show_frame();
    std::string act(const std::string& request, const std::string& from);
    void tell_action(const Json& wish);

    void set_up_faults(const ServerOptions& options);
    std::string make_happen(const std::string& text, double time);
    std::string hear(const std::string& line);
    void run_script();
    void heed_outputs();
    void await_end_of_input();

    asio::io_context loop_{1};
    asio::signal_set signals_{loop_, SIGINT, SIGTERM};
    Journal journal_{loop_};
    const Log log_ = [this](const std::string& text) { journal_.say(text); };
    asio::steady_timer event_{loop_}; ///< fires when the arm's next event is due
    Clock clock_;
    Controller controller_;
    const bool simulated_; ///< the arm answers, not somebody else
    std::vector<std::shared_ptr<Tap>> taps_;

    std::shared_ptr<McapRecorder> mcap_; ///< if such a recording is made
    asio::steady_timer sample_{loop_};

    // Who answers instead of the simulated arm, if anybody.
    std::shared_ptr<Playback> playback_;
    std::unique_ptr<Proxy> proxy_;

    const std::chrono::milliseconds spacing_; ///< of lines; a proxy keeps that of its controller
    int clients_ = 0;                         ///< counted
    Guests<Session> sessions_{"clients", places(512, 3), log_};

    Faults faults_;
    unsigned seed_;
    Script script_;
    asio::steady_timer script_timer_{loop_};
    decltype(Io::digital_outputs) outputs_{}; ///< as the script knows them
    std::optional<Control> control_;
    asio::posix::stream_descriptor input_{loop_}; ///< if nobody is heard there, but its end
    std::array<char, 64> unheard_;

    Page page_;
    asio::steady_timer frame_{loop_};
    std::shared_ptr<Web> web_; ///< if there is a page
    std::optional<Listener> page_listener_, listener_;
    std::unique_ptr<Onlooker> onlooker_; ///< of a proxy with a page
};

Server::Server(const ServerOptions& options)
    : clock_(options.speed), controller_(options.model, log_, options.world),
      simulated_(options.replay.empty() && options.proxy.empty()),
      spacing_(options.proxy.empty() ? options.spacing : 0ms),
      faults_({.controller = simulated_ ? &controller_ : nullptr,
               .reset_connections =
                   [this] {
                       for (const auto& session : sessions_.all())
                           session->reset();
                   },
               .set_speed = [this](double factor) { clock_.set_speed(factor); },
               .pause = [this](bool on) { clock_.pause(on); },
               .step = [this](double seconds) { clock_.step(seconds); },
               .speed = options.speed}),
      seed_(options.seed), page_(controller_, simulated_)
{
    if (!options.modbus_tcp.empty()) {
        const auto [host, port] = host_and_port(options.modbus_tcp);
        controller_.peripherals().modbus.connect(std::make_unique<ModbusTcp>(
            host, port, [this](std::function<void()> function) { asio::post(loop_, std::move(function)); }));
    }
    std::string answering = "model " + std::to_string(options.model);
    if (!options.replay.empty()) {
        playback_ = std::make_shared<Playback>(loop_, options.replay, options.speed, log_);
        answering = "replay of " + options.replay;
    } else if (!options.proxy.empty()) {
        proxy_ = std::make_unique<Proxy>(loop_, options.proxy);
        answering = "proxy of " + options.proxy;
    }
    set_up_faults(options);
    listener_.emplace(loop_, options.host, options.port, log_,
                      [this](tcp::socket socket) { take_in(std::move(socket)); });
    if (options.trace) taps_.push_back(std::make_shared<Trace>());
    if (!options.record.empty()) record(options);
    const std::string page = options.web_port ? start_page(options) : "";
    if (!options.control.empty())
        control_.emplace(
            loop_, options.control, log_, [this](const std::string& line) { return hear(line); },
            [this, until_eof = options.until_eof] {
                if (until_eof) loop_.stop();
            });
    if (options.until_eof && options.control != "-") {
        input_.assign(dup(STDIN_FILENO));
        await_end_of_input();
    }
    signals_.async_wait([this](auto, int) { loop_.stop(); });
    std::cout << "kx-controller: " << answering << " listening on " << listener_->endpoint() << std::endl;
    if (web_) std::cout << "kx-controller: page at " << page << std::endl;
    if (control_ && control_->endpoint())
        std::cout << "kx-controller: control at " << *control_->endpoint() << std::endl;
}

void Server::run()
{
    loop_.run();
    for (const auto& session : sessions_.all())
        session->close();
    journal_.end_second();
    if (playback_) log_(playback_->differences());
}

// --- clients

void Server::take_in(tcp::socket socket)
{
    const int number = ++clients_;
    passed(number, Direction::event, "connected");
    if (const std::string why = proxy_ ? proxy_->refuses(socket) : ""; !why.empty())
        return log(number, "turned away: " + why);
    if (!sessions_.have_room()) return passed(number, Direction::event, "turned away: too many clients");
    const auto session = std::make_shared<Session>(*this, number, std::move(socket), faults_.lines(),
                                                   Luck(seed_, number), spacing_);
    sessions_.add(session);
    session->begin(answerer_of(session));
    script_.connected(clock_.now());
    run_script();
}

std::shared_ptr<Answerer> Server::answerer_of(const std::shared_ptr<Session>& session)
{
    if (proxy_) return proxy_->connect(session);
    if (playback_) return playback_;
    return {std::shared_ptr<void>(), this}; // outlives them all
}

void Server::comes(const Request& request)
{
    run_script();
    if (!script_.awaits_something() || !request.fault.empty()) return;
    const Json json = parsed(request.text);
    if (const auto name = json.find("command"); name != json.end() && name->is_string()) {
        script_.requested(*name, clock_.now());
        run_script();
    }
}

void Server::answer(const Request& request, const ClientHandle& client)
{
    if (request.fault.empty())
        controller_.handle(request.text, clock_.now(), client);
    else
        controller_.complain(request.fault, *client);
    heed_outputs();
    schedule();
}

void Server::passed(int client, Direction direction, const std::string& line)
{
    if (taps_.empty()) return;
    const std::string shown = without_secrets(line);
    for (const auto& tap : taps_)
        tap->passed(clock_.now(), client, direction, shown);
}

void Server::log(int client, const std::string& event)
{
    log_((client ? "client " + std::to_string(client) + ' ' : "") + event);
    passed(client, Direction::event, event);
}

/** The arm acts when it is asked something, and when its next event is due. */
void Server::schedule()
{
    const auto event = controller_.next_event();
    if (!event) return void(event_.cancel());
    event_.expires_after(clock_.until(*event));
    event_.async_wait([this](asio::error_code cancelled) {
        if (cancelled) return;
        run_script();
        controller_.advance(clock_.now());
        schedule();
    });
}

// --- recordings

void Server::record(const ServerOptions& options)
{
    if (!options.record.ends_with(".mcap"))
        return taps_.push_back(std::make_shared<Recorder>(options.record));
    mcap_ = std::make_shared<McapRecorder>(options.record, options.model);
    taps_.push_back(mcap_);
    sample();
}

void Server::sample()
{
    if (simulated_) {
        run_script();
        controller_.advance(clock_.now());
        schedule();
        mcap_->sample(controller_);
    }
    if (const std::string trouble = mcap_->trouble(); !trouble.empty()) log_(trouble);
    sample_.expires_after(sample_interval);
    sample_.async_wait([this](auto) { sample(); });
}

// --- the page

/** Returns its address. */
std::string Server::start_page(const ServerOptions& options)
{
    Json about = page_.about();
    about["port"] = listener_->endpoint().port();
    about["source"] = proxy_ ? options.proxy : options.replay;
    for (const auto& [name, arguments, help] : Faults::forms())
        about["faults"].push_back({name, arguments, help});
    const std::string& host = options.web_host;
    page_listener_.emplace(loop_, host, *options.web_port, log_,
                           [this](tcp::socket socket) { web_->serve(std::move(socket)); });
    const std::string address = (host.find(':') == host.npos ? host : '[' + host + ']') + ':' +
                                std::to_string(page_listener_->endpoint().port());
    web_ = std::make_shared<Web>(
        address, std::move(about),
        [this](const std::string& request, const std::string& from) { return act(request, from); }, log_,
        places(96, 2));
    taps_.push_back(web_);
    taps_.emplace_back(std::shared_ptr<void>(), &page_);
    if (proxy_) look_on(options);
    show_frame();
    return "http://" + address + '/';
}

void Server::look_on(const ServerOptions& options)
{
    const auto [host, port] = host_and_port(options.proxy);
    const auto joints = static_cast<std::ptrdiff_t>(controller_.arm().joint_count());
    onlooker_ = std::make_unique<Onlooker>(
        host, std::stoi(port), options.model, [this, joints](const KX_ARM_STATE& state) {
            asio::post(loop_,
                       [this, degrees = Joints(state.joint, state.joint + joints)] { page_.shows(degrees); });
        });
}

void Server::show_frame()
{
    page_.look(clock_.now());
    bool changes = page_.holds();
    if (web_->watched()) {
        run_script();
        const double now = clock_.now();
        controller_.advance(now);
        schedule();
        Json state = page_.state();
        state["faults"] = faults_.in_force();
        changes |= web_->publish(now, state);
    }
    frame_.expires_after(changes ? frame_interval : rest_interval);
    frame_.async_wait([this](auto) { show_frame(); });
}

/** Does what a page on some machine asks for; returns why not. */
std::string Server::act(const std::string& request, const std::string& from)
{
    run_script();
    controller_.advance(clock_.now());
    std::string refused;
    try {
        const Json wish = parsed(request);
        if (wish.is_discarded()) throw std::invalid_argument("not JSON");
        if (wish.at("act") == "fault")
            refused = make_happen(wish.at("text"), clock_.now());
        else
            page_.act(wish, from), tell_action(wish);
    } catch (const std::exception& error) {
        refused = error.what();
    }
    controller_.advance(clock_.now());
    schedule();
    return refused;
}

/** To whoever reads what happened, without what comes many times a second. */
void Server::tell_action(const Json& wish)
{
    const std::string what = wish["act"];
    if (what == "confirm" || what == "lead") return;
    std::string told = "page: " + what;
    for (const char* key : {"joint", "frame", "axis", "by", "on", "kind", "channel"})
        if (wish.contains(key))
            told += std::string(" ") + key + ' ' +
                    (wish[key].is_string() ? wish[key].get<std::string>() : wish[key].dump());
    passed(0, Direction::event, told);
}

// --- what happens on demand

void Server::set_up_faults(const ServerOptions& options)
{
    for (const std::string& fault : options.faults)
        if (const std::string wrong = faults_.apply(fault); !wrong.empty())
            throw std::invalid_argument("--fault: " + wrong);
    if (options.script.empty()) return;
    std::ifstream file(options.script);
    script_ = Script(file, options.script, [this](const auto& text) { return faults_.check(text); });
}

/** Begins or ends a fault, or what else its text says; returns what is wrong with that.
 * @param time when it happens to the arm, if that has not gone beyond it */
std::string Server::make_happen(const std::string& text, double time)
{
    if (std::string wrong = faults_.check(text); !wrong.empty()) return wrong;
    log(0, "happens: " + text);
    controller_.advance(time);
    faults_.apply(text);
    controller_.advance(time); // tells those whose motion it has ended
    for (const auto& session : sessions_.all())
        session->wake();
    schedule();
    run_script(); // the clock may run at another speed now
    return "";
}

void Server::await_end_of_input()
{
    input_.async_read_some(asio::buffer(unheard_), [this](asio::error_code error, std::size_t) {
        if (error) return loop_.stop();
        await_end_of_input();
    });
}

/** A line of the control: what happens now, or when something is to happen. */
std::string Server::hear(const std::string& line)
{
    run_script();
    const double now = clock_.now();
    if (!Script::says_when(line)) {
        std::string wrong = make_happen(line, now);
        do // after a step, what there is to plan before the next
            controller_.advance(clock_.now());
        while (controller_.arm().planning());
        schedule();
        return wrong;
    }
    try {
        script_.add(
            line, [this](const auto& text) { return faults_.check(text); }, now);
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
    run_script();
    return "";
}

/** Tells the script which digital outputs a request has switched. */
void Server::heed_outputs()
{
    const auto& outputs = controller_.peripherals().io.digital_outputs;
    for (std::size_t i = 0; i < outputs.size(); ++i)
        if (outputs[i] != outputs_[i]) script_.switched(i + 1, outputs[i], clock_.now());
    outputs_ = outputs;
    run_script();
}

/** Before the controller is moved on, so that faults come when they are due even on a busy machine. */
void Server::run_script()
{
    while (const auto due = script_.due(clock_.now()))
        make_happen(due->text, due->time);
    const auto event = script_.next_event();
    if (!event) return void(script_timer_.cancel());
    script_timer_.expires_after(clock_.until(*event));
    script_timer_.async_wait([this](asio::error_code cancelled) {
        if (!cancelled) run_script();
    });
}

} // namespace

void serve(const ServerOptions& options)
{
    Server(options).run();
}

} // namespace kx::sim
