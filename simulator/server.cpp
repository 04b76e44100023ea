#include "server.h"

#include <array>
#include <cstdio>
#include <iostream>
#include <memory>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "control.h"
#include "journal.h"
#include "station.h"

namespace kx::sim {

namespace {

using asio::ip::tcp;

/** Prints what passes. */
class Trace : public Tap {
  public:
    explicit Trace(std::string whose) : whose_(std::move(whose)) {}

    void passed(double time, int client, Direction direction, const std::string& line) override
    {
        std::printf("%10.3f %sclient %d %s %s\n", time, whose_.c_str(), client, arrow(direction),
                    printable(line).c_str());
        std::fflush(stdout);
    }

  private:
    const std::string whose_;
};

class Server {
  public:
    explicit Server(const ServerOptions& options);
    void run();

  private:
    std::string start_page(const ServerOptions& options);
    std::string act(const std::string& request, const std::string& from);
    std::string hear(const std::string& line);
    void await_end_of_input();

    asio::io_context loop_{1};
    asio::signal_set signals_{loop_, SIGINT, SIGTERM};
    Journal journal_{loop_};
    const Log log_ = [this](const std::string& text) { journal_.say(text); };
    std::vector<std::unique_ptr<Station>> arms_;
    std::optional<Control> control_;
    asio::posix::stream_descriptor input_{loop_}; ///< if nobody is heard there, but its end
    std::array<char, 64> unheard_;
    std::shared_ptr<Web> web_; ///< if there is a page
    std::optional<Listener> page_listener_;
};

Server::Server(const ServerOptions& options)
{
    for (std::size_t number = 1; number <= options.models.size(); ++number) {
        const std::string whose = options.models.size() > 1 ? "arm " + std::to_string(number) + ' ' : "";
        arms_.push_back(std::make_unique<Station>(
            loop_, options, number, [this, whose](const std::string& text) { log_(whose + text); }));
        if (options.trace) arms_.back()->add(std::make_shared<Trace>(whose));
    }
    const std::string page = options.web_port ? start_page(options) : "";
    if (!options.control.empty())
        control_.emplace(
            loop_, options.control, log_, [this](const std::string& line) { return hear(line); },
            [this, until_eof = options.until_eof] {
                if (until_eof) loop_.stop();
            });
    if (options.until_eof && options.control != "-") {
        input_ = standard_input(loop_);
        await_end_of_input();
    }
    signals_.async_wait([this](auto, int) { loop_.stop(); });
    for (const auto& arm : arms_)
        std::cout << "kx-controller: " << arm->answering() << " listening on " << arm->endpoint()
                  << std::endl;
    if (web_) std::cout << "kx-controller: page at " << page << std::endl;
    if (control_ && control_->endpoint())
        std::cout << "kx-controller: control at " << *control_->endpoint() << std::endl;
}

void Server::run()
{
    loop_.run();
    for (const auto& arm : arms_)
        arm->close();
    journal_.end_second();
    for (const auto& arm : arms_)
        arm->tell_end();
}

/** Returns its address. */
std::string Server::start_page(const ServerOptions& options)
{
    Json about = {{"arms", Json::array()}, {"faults", Json::array()}};
    std::vector<std::shared_ptr<News>> news;
    for (const auto& arm : arms_) {
        about["arms"].push_back(arm->about());
        news.push_back(std::make_shared<News>());
    }
    const bool is_simulated = options.proxy.empty() && options.replay.empty();
    for (const auto& [name, arguments, help, needs_arm] : Faults::forms())
        if (is_simulated || !needs_arm) about["faults"].push_back({name, arguments, help});
    const std::string& host = options.web_host;
    page_listener_.emplace(loop_, host, *options.web_port, log_,
                           [this](tcp::socket socket) { web_->serve(std::move(socket)); });
    const std::string address = (host.find(':') == host.npos ? host : '[' + host + ']') + ':' +
                                std::to_string(page_listener_->endpoint().port());
    web_ = std::make_shared<Web>(
        address, std::move(about), news,
        [this](const std::string& request, const std::string& from) { return act(request, from); }, log_,
        places(96, 2));
    for (std::size_t arm = 0; arm < arms_.size(); ++arm)
        arms_[arm]->show_on(web_, news[arm]);
    return "http://" + address + '/';
}

/** Has the arm do what a page asks for, the first one unless it says which; "all" of them try. */
std::string Server::act(const std::string& request, const std::string& from)
{
    const Json wish = parsed(request);
    if (!wish.is_object()) return "not JSON";
    const Json whose = wish.value("arm", Json(1));
    std::string refused;
    bool known = false;
    for (std::size_t number = 1; number <= arms_.size(); ++number) {
        if (whose != "all" && whose != number) continue;
        known = true;
        if (const std::string why = arms_[number - 1]->act(wish, from); !why.empty())
            refused += (refused.empty() ? "" : "; ") + why;
    }
    return known ? refused : "there is no such arm";
}

/** A line for one arm or for all of them, who can all do what it says or do nothing. */
std::string Server::hear(const std::string& line)
{
    try {
        for (auto ask : {&Station::check, &Station::hear})
            for (std::size_t number = 1; number <= arms_.size(); ++number)
                if (const auto told = told_to(number, arms_.size(), line))
                    if (std::string wrong = (*arms_[number - 1].*ask)(*told); !wrong.empty()) return wrong;
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
    return "";
}

void Server::await_end_of_input()
{
    input_.async_read_some(asio::buffer(unheard_), [this](asio::error_code error, std::size_t) {
        if (error) return loop_.stop();
        await_end_of_input();
    });
}

} // namespace

void serve(const ServerOptions& options)
{
    Server(options).run();
}

} // namespace kx::sim
