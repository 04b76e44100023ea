#include "station.h"

#include <cmath>
#include <fstream>
#include <sstream>

#include <asio/post.hpp>

#include "commands/command.h"
#include "commands/request.h"
#include "devices/modbus_tcp.h"
#include "line/past.h"
#include "line/recorder.h"
#include "line/secrets.h"

namespace kx::sim {

namespace {

using asio::ip::tcp;
using namespace std::chrono_literals;

constexpr auto frame_interval = 20ms;  // of the page, while the arm moves,
constexpr auto sample_interval = 20ms; // of the arm in recordings
constexpr auto rest_interval = 60ms;   // and while nothing changes

} // namespace

std::optional<std::string> told_to(std::size_t arm, std::size_t arms, const std::string& line)
{
    std::istringstream words(line);
    std::string first, number;
    words >> first >> number >> std::ws;
    if (first != "arm") return line;
    for (std::size_t each = 1; each <= arms; ++each)
        if (number == std::to_string(each)) {
            if (each != arm) return {};
            return std::string(std::istreambuf_iterator(words), {});
        }
    throw std::invalid_argument("there is no arm " + number);
}

Station::Station(asio::io_context& loop, const ServerOptions& options, std::size_t number, Log log)
    : loop_(loop), log_(std::move(log)), clock_(options.speed),
      controller_(options.models.at(number - 1), log_, options.world),
      simulated_(options.replay.empty() && options.proxy.empty()),
      source_(options.proxy.empty() ? options.replay : options.proxy),
      spacing_(options.proxy.empty() ? options.spacing : 0ms),
      sessions_("clients", places(512, 3) / options.models.size(), log_),
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
    if (!options.replay.empty())
        playback_ = std::make_shared<Playback>(loop_, options.replay, options.speed, log_);
    else if (!options.proxy.empty())
        proxy_ = std::make_unique<Proxy>(loop_, options.proxy);
    set_up_faults(options, number);
    listener_.emplace(loop_, options.host, options.ports.at(number - 1), log_,
                      [this](tcp::socket socket) { take_in(std::move(socket)); });
    if (!options.record.empty()) record(options);
}

std::string Station::answering()
{
    return playback_ ? "replay of " + source_
           : proxy_  ? "proxy of " + source_
                     : "model " + std::to_string(controller_.arm().model.code);
}

void Station::close()
{
    for (const auto& session : sessions_.all())
        session->close();
}

void Station::tell_end()
{
    if (playback_) log_(playback_->differences());
}

// --- clients

void Station::take_in(tcp::socket socket)
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

std::shared_ptr<Answerer> Station::answerer_of(const std::shared_ptr<Session>& session)
{
    if (proxy_) return proxy_->connect(session);
    if (playback_) return playback_;
    return {std::shared_ptr<void>(), this}; // outlives them all
}

void Station::comes(const Request& request)
{
    run_script();
    if (!script_.awaits_something() || !request.fault.empty()) return;
    const Json json = parsed(request.text);
    if (const auto name = json.find("command"); name != json.end() && name->is_string()) {
        if (const Command* command = find_command(name->get_ref<const std::string&>()))
            script_.requested(std::string(command->called()), clock_.now());
        run_script();
    }
}

void Station::answer(const Request& request, const ClientHandle& client)
{
    if (request.fault.empty())
        controller_.handle(request.text, clock_.now(), client);
    else
        controller_.complain(request.fault, *client);
    heed_outputs();
    schedule();
}

void Station::passed(int client, Direction direction, const std::string& line)
{
    if (taps_.empty()) return;
    const std::string shown = without_secrets(line);
    for (const auto& tap : taps_)
        tap->passed(clock_.now(), client, direction, shown);
}

void Station::log(int client, const std::string& event)
{
    log_((client ? "client " + std::to_string(client) + ' ' : "") + event);
    passed(client, Direction::event, event);
}

/** The arm acts when it is asked something, and when its next event is due. Time waits for the plan of a motion that shall
 *  begin, so that what is counted from its request does not depend on how long that takes. */
void Station::schedule()
{
    clock_.wait(controller_.arm().planning_to_leave());
    const auto event = controller_.next_event();
    if (!event) return void(event_.cancel());
    event_.expires_after(clock_.until(*event));
    event_.async_wait([this](asio::error_code cancelled) {
        if (!cancelled) catch_up();
    });
}

/** In one moment, or the arm might be beyond what is due by then. */
void Station::catch_up()
{
    const Clock::Moment moment(clock_);
    run_script();
    controller_.advance(clock_.now());
    schedule();
}

// --- recordings

void Station::record(const ServerOptions& options)
{
    if (!options.record.ends_with(".mcap"))
        return taps_.push_back(std::make_shared<Recorder>(options.record, log_));
    mcap_ = std::make_shared<McapRecorder>(options.record, options.models.front());
    taps_.push_back(mcap_);
    sample();
}

void Station::sample()
{
    if (simulated_) {
        catch_up();
        mcap_->sample(controller_);
    }
    if (const std::string trouble = mcap_->trouble(); !trouble.empty()) log_(trouble);
    sample_.expires_after(sample_interval);
    sample_.async_wait([this](auto) { sample(); });
}

// --- the page

Json Station::about() const
{
    Json about = page_.about();
    about["port"] = endpoint().port();
    about["source"] = source_;
    about["recording"] = playback_ != nullptr;
    return about;
}

/** Of a recording, as the page looks at it: time, joints and the flange's pose of each place. */
std::string Station::recorded()
{
    std::ifstream file(source_, std::ios::binary);
    const Past past = past_of(file, source_);
    const auto rounded = [](double value) { return std::round(value * 1e5) / 1e5; };
    const Model& model = controller_.arm().model;
    Json states = Json::array();
    for (const auto& [time, joints] : past.places) {
        if (joints.size() != model.lower.size())
            return Json({{"why", "it is of an arm with " + std::to_string(joints.size()) + " joints"}})
                .dump();
        const POSE pose = model.tool_pose(joints);
        Json& state = states.emplace_back(Json::array({time}));
        for (const double angle : joints)
            state.push_back(rounded(angle));
        for (const float value : {pose.x, pose.y, pose.z, pose.rx, pose.ry, pose.rz})
            state.push_back(rounded(value));
    }
    return Json({{"states", states}, {"events", past.events}}).dump();
}

void Station::show_on(std::shared_ptr<Web> web, std::shared_ptr<News> news)
{
    web_ = std::move(web);
    news_ = std::move(news);
    taps_.push_back(news_);
    taps_.emplace_back(std::shared_ptr<void>(), &page_);
    if (proxy_) look_on();
    if (playback_) web_->offer("/recording", recorded());
    show_frame();
}

void Station::look_on()
{
    const auto [host, port] = host_and_port(source_);
    const auto joints = static_cast<std::ptrdiff_t>(controller_.arm().joint_count());
    onlooker_ = std::make_unique<Onlooker>(host, std::stoi(port), controller_.arm().model.code,
                                           [this, joints](const KX_ARM_STATE& state) {
                                               asio::post(loop_, [this, joints, state] {
                                                   if (state.status == KX_SUCCESS)
                                                       page_.shows(Joints(state.joint, state.joint + joints));
                                                   else
                                                       page_.wonders();
                                               });
                                           });
}

void Station::show_frame()
{
    page_.look(clock_.now());
    bool changes = page_.holds();
    if (web_->watched()) {
        const Clock::Moment moment(clock_);
        catch_up();
        Json state = page_.state();
        state["faults"] = faults_.in_force();
        changes |= news_->take(clock_.now(), state);
        web_->publish();
    }
    frame_.expires_after(changes ? frame_interval : rest_interval);
    frame_.async_wait([this](auto) { show_frame(); });
}

std::string Station::act(const Json& wish, const std::string& from)
{
    const Clock::Moment moment(clock_);
    catch_up();
    std::string refused;
    try {
        if (member(wish, "act") == "fault")
            refused = make_happen(text(member(wish, "text")), clock_.now());
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
void Station::tell_action(const Json& wish)
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

void Station::set_up_faults(const ServerOptions& options, std::size_t number)
{
    const std::size_t arms = options.models.size();
    for (const std::string& fault : options.faults)
        if (const auto text = told_to(number, arms, fault))
            if (const std::string wrong = faults_.apply(*text); !wrong.empty())
                throw std::invalid_argument("--fault: " + wrong);
    if (options.script.empty()) return;
    std::ifstream file(options.script);
    script_ = Script(
        file, options.script, [this](const auto& text) { return faults_.check(text); },
        [=](const auto& line) { return told_to(number, arms, line); });
}

/** Begins or ends a fault, or what else its text says; returns what is wrong with that.
 * @param time when it happens to the arm, if that has not gone beyond it */
std::string Station::make_happen(const std::string& text, double time)
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

std::string Station::check(const std::string& line)
{
    const auto wrong = [this](const auto& text) { return faults_.check(text); };
    if (!Script::says_when(line)) return wrong(line);
    try {
        Script().add(line, wrong, 0);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

std::string Station::hear(const std::string& line)
{
    const Clock::Moment moment(clock_);
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
void Station::heed_outputs()
{
    const auto& outputs = controller_.peripherals().io.digital_outputs;
    for (std::size_t i = 0; i < outputs.size(); ++i)
        if (outputs[i] != outputs_[i]) script_.switched(i + 1, outputs[i], clock_.now());
    outputs_ = outputs;
    run_script();
}

/** Before the controller is moved on, so that faults come when they are due even on a busy machine. */
void Station::run_script()
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

} // namespace kx::sim
