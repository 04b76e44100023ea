// One arm on its TCP port: its controller or whoever answers in its place, its clients, what happens to it, and what the
// page does with it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "arm/clock.h"
#include "line/faults.h"
#include "line/mcap_recorder.h"
#include "line/playback.h"
#include "line/proxy.h"
#include "line/script.h"
#include "listener.h"
#include "server.h"
#include "session.h"
#include "web/onlooker.h"
#include "web/page.h"
#include "web/web.h"

namespace kx::sim {

class Station : public Session::Host, public Answerer {
  public:
    /** @param number of the arm, counted from 1
     *  @param log is told what happens
     *  @throws std::exception if it cannot listen, or if the options have something wrong */
    Station(asio::io_context& loop, const ServerOptions& options, std::size_t number, Log log);

    /** Which arm this is, or who answers in its place. */
    std::string answering();

    asio::ip::tcp::endpoint endpoint() const { return listener_->endpoint(); }

    /** Whoever wants to see its lines. */
    void add(std::shared_ptr<Tap> tap) { taps_.push_back(std::move(tap)); }

    /** What the page is told of it once. */
    Json about() const;

    /** Has the page show it from now on. */
    void show_on(std::shared_ptr<Web> web, std::shared_ptr<News> news);

    /** Does what a page on some machine asks for; returns why not. */
    std::string act(const Json& wish, const std::string& from);

    /** What hear() would find wrong with a line. */
    std::string check(const std::string& line);

    /** A line of the control: what happens now, or when something is to happen. Returns what is wrong with it. */
    std::string hear(const std::string& line);

    void close();

    /** What is to be said when all is over. */
    void tell_end();

  private:
    void passed(int client, Direction direction, const std::string& line) override;
    void log(int client, const std::string& event) override;
    Clock& clock() override { return clock_; }
    void comes(const Request& request) override;
    void answer(const Request& request, const ClientHandle& client) override;

    void take_in(asio::ip::tcp::socket socket);
    std::shared_ptr<Answerer> answerer_of(const std::shared_ptr<Session>& session);
    void schedule();
    void catch_up();

    void record(const ServerOptions& options);
    void sample();

    void look_on();
    std::string recorded();
    void show_frame();
    void tell_action(const Json& wish);

    void set_up_faults(const ServerOptions& options, std::size_t number);
    std::string make_happen(const std::string& text, double time);
    void run_script();
    void heed_outputs();

    asio::io_context& loop_;
    const Log log_;
    asio::steady_timer event_{loop_}; ///< fires when the arm's next event is due
    Clock clock_;
    Controller controller_;
    const bool simulated_; ///< the arm answers, not somebody else
    std::vector<std::shared_ptr<Tap>> taps_;

    std::shared_ptr<McapRecorder> mcap_; ///< if such a recording is made
    asio::steady_timer sample_{loop_};

    // Who answers instead of the simulated arm, if anybody.
    const std::string source_;
    std::shared_ptr<Playback> playback_;
    std::unique_ptr<Proxy> proxy_;

    const std::chrono::milliseconds spacing_; ///< of lines; a proxy keeps that of its controller
    int clients_ = 0;                         ///< counted
    Guests<Session> sessions_;

    Faults faults_;
    unsigned seed_;
    Script script_;
    asio::steady_timer script_timer_{loop_};
    decltype(Io::digital_outputs) outputs_{}; ///< as the script knows them

    Page page_;
    asio::steady_timer frame_{loop_};
    std::shared_ptr<Web> web_; ///< if there is a page
    std::shared_ptr<News> news_;
    std::unique_ptr<Onlooker> onlooker_; ///< of a proxy with a page
    std::optional<Listener> listener_;
};

/** What a line says to an arm: all of it, or what stands behind "arm 2", or nothing if that is another arm.
 * @throws std::invalid_argument if there is no such arm */
std::optional<std::string> told_to(std::size_t arm, std::size_t arms, const std::string& line);

} // namespace kx::sim
