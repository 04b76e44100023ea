#include "web/web.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <random>
#include <regex>
#include <thread>

#include <httplib.h>

#include "web/assets.h"

namespace kx::sim {

namespace {

constexpr std::size_t max_pages = 24; // each takes a thread
constexpr std::size_t threads = 32;   // and some are left for short requests
constexpr std::size_t kept_lines = 400;
constexpr std::size_t lines_at_once = 40; // to one page
constexpr std::size_t longest_line = 1000;

const httplib::Headers headers = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; font-src 'self'; img-src "
     "'self'; connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors "
     "'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cache-Control", "no-store"},
};

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

} // namespace

struct Web::Server {
    Server(const std::string& listen_host, Json about, Act act);

    bool own_host(const std::string& host) const;
    bool own_origin(const httplib::Request& request) const;
    void open_stream(httplib::Response& response);
    bool send_news(httplib::DataSink& sink, std::uint64_t& seen_state, std::uint64_t& seen_line);
    void take_action(const httplib::Request& request, httplib::Response& response);

    const std::string host, token = random_token();
    const std::string greeting;
    const Act act;
    std::atomic<std::size_t> pages = 0;

    std::mutex mutex; ///< of all below
    std::condition_variable news;
    std::string state;
    std::uint64_t states = 0; ///< counted
    std::deque<std::string> lines;
    std::uint64_t line_count = 0; ///< ever
    bool closed = false;

    int port = 0;
    httplib::Server http;
    std::thread thread;
};

Web::Server::Server(const std::string& listen_host, Json about, Act act_)
    : host(listen_host), greeting([&] {
          about["token"] = token;
          return "event: about\ndata: " + about.dump() + "\n\n";
      }()),
      act(std::move(act_))
{
    http.new_task_queue = [] { return new httplib::ThreadPool(threads); };
    http.set_keep_alive_max_count(1); // an idle connection would keep a thread
    http.set_keep_alive_timeout(1);
    http.set_read_timeout(5);
    http.set_write_timeout(5);
    http.set_payload_max_length(4096);
    http.set_tcp_nodelay(true);
    http.set_default_headers(headers);
    http.set_socket_options([](socket_t socket) { // as httplib sets them, two programs could share the port
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    http.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        if (own_host(request.get_header_value("Host"))) return httplib::Server::HandlerResponse::Unhandled;
        response.status = 403;
        return httplib::Server::HandlerResponse::Handled;
    });
    for (const Asset& asset : assets)
        http.Get(std::string("/") + asset.path,
                 [&asset](const httplib::Request&, httplib::Response& response) {
                     response.set_content(asset.content.data(), asset.content.size(), asset.type);
                 });
    http.Get("/events",
             [this](const httplib::Request&, httplib::Response& response) { open_stream(response); });
    http.Post("/act", [this](const httplib::Request& request, httplib::Response& response) {
        take_action(request, response);
    });
}

/** An address, or a name that no DNS server can give to somebody else's site. */
bool Web::Server::own_host(const std::string& given) const
{
    static const std::regex address(R"((localhost|\d+\.\d+\.\d+\.\d+|\[[0-9a-fA-F:.]+\])(:\d+)?)");
    return std::regex_match(given, address) || given == host + ":" + std::to_string(port);
}

bool Web::Server::own_origin(const httplib::Request& request) const
{
    return request.get_header_value("Origin") == "http://" + request.get_header_value("Host");
}

void Web::Server::take_action(const httplib::Request& request, httplib::Response& response)
{
    if (!own_origin(request) || request.get_header_value("X-Token") != token) {
        response.status = 403;
        return;
    }
    const std::string refused = act(request.body);
    response.status = refused.empty() ? 204 : 409;
    if (!refused.empty()) response.set_content(refused, "text/plain; charset=utf-8");
}

void Web::Server::open_stream(httplib::Response& response)
{
    if (pages.fetch_add(1) >= max_pages) {
        --pages;
        response.status = 503;
        return;
    }
    const auto seen_state = std::make_shared<std::uint64_t>(0),
               seen_line = std::make_shared<std::uint64_t>(0);
    {
        std::lock_guard lock(mutex);
        *seen_state = states; // the last state may be as old as the last page
    }
    response.set_chunked_content_provider(
        "text/event-stream",
        [this, seen_state, seen_line](std::size_t offset, httplib::DataSink& sink) {
            if (offset == 0 && !sink.write(greeting.data(), greeting.size())) return false;
            return send_news(sink, *seen_state, *seen_line);
        },
        [this](bool) { --pages; });
}

bool Web::Server::send_news(httplib::DataSink& sink, std::uint64_t& seen_state, std::uint64_t& seen_line)
{
    std::string text;
    {
        std::unique_lock lock(mutex);
        news.wait(lock, [&] { return closed || states > seen_state; });
        if (closed) {
            sink.done();
            return true;
        }
        seen_state = states;
        text = state;
        if (line_count > seen_line) {
            const std::size_t fresh = std::min<std::uint64_t>(
                {line_count - seen_line, lines.size(), seen_line ? lines_at_once : kept_lines});
            text += "event: wire\ndata: [";
            for (std::size_t i = lines.size() - fresh; i < lines.size(); ++i)
                text += lines[i] + (i + 1 < lines.size() ? "," : "]\n\n");
            seen_line = line_count;
        }
    }
    return sink.write(text.data(), text.size());
}

Web::Web(const std::string& host, int port, Json about, Act act)
    : server_(std::make_unique<Server>(host, std::move(about), std::move(act)))
{
    Server& server = *server_;
    server.port = port ? port : server.http.bind_to_any_port(host);
    if (port ? !server.http.bind_to_port(host, port) : server.port <= 0)
        throw std::runtime_error("the page's server cannot listen on " + host + ":" + std::to_string(port));
    server.thread = std::thread([&server] { server.http.listen_after_bind(); });
    while (!server.http.is_running()) // so that it can be stopped
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

Web::~Web()
{
    {
        std::lock_guard lock(server_->mutex);
        server_->closed = true;
    }
    server_->news.notify_all();
    server_->http.stop();
    server_->thread.join();
}

std::string Web::address() const
{
    const bool is_ipv6 = server_->host.find(':') != std::string::npos;
    return "http://" + (is_ipv6 ? "[" + server_->host + "]" : server_->host) + ":" +
           std::to_string(server_->port) + "/";
}

bool Web::watched() const
{
    return server_->pages > 0;
}

void Web::publish(const Json& state)
{
    std::string text =
        "event: state\ndata: " + state.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n\n";
    {
        std::lock_guard lock(server_->mutex);
        server_->state = std::move(text);
        ++server_->states;
    }
    server_->news.notify_all();
}

void Web::wire(double time, int client, const char* direction, const std::string& text)
{
    std::lock_guard lock(server_->mutex);
    const Json line = {++server_->line_count, std::round(time * 1e3) / 1e3, client, direction,
                       text.substr(0, longest_line)};
    server_->lines.push_back(line.dump(-1, ' ', false, Json::error_handler_t::replace));
    if (server_->lines.size() > kept_lines) server_->lines.pop_front();
}

} // namespace kx::sim
