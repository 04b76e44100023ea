#include "control.h"

#include <charconv>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <utility>

#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kx::sim {

namespace {

constexpr std::size_t longest_line = 1000;
constexpr std::size_t most_clients = 16;

/** Reads a line, answers it, reads the next one. */
template <typename In>
class Talk : public std::enable_shared_from_this<Talk<In>> {
  public:
    Talk(In in, Control::Act act, Log log, std::function<void()> ended)
        : in_(std::move(in)), act_(std::move(act)), log_(std::move(log)), ended_(std::move(ended))
    {
    }

    void read()
    {
        asio::async_read_until(in_, asio::dynamic_buffer(said_, longest_line), '\n',
                               [self = this->shared_from_this()](asio::error_code error, std::size_t length) {
                                   if (error == asio::error::not_found)
                                       self->skip();
                                   else if (!error)
                                       self->hear(length);
                                   else
                                       self->ended_();
                               });
    }

    bool is_introduced() const { return understood_; }

    void close()
    {
        asio::error_code ignored;
        in_.close(ignored);
    }

  private:
    /** The rest of a line that is too long is no other line. */
    void skip()
    {
        said_.clear();
        if (std::exchange(skips_, true)) return read();
        answer("the line is too long", false);
    }

    void hear(std::size_t length)
    {
        std::string line = said_.substr(0, length - 1);
        said_.erase(0, length);
        if (std::exchange(skips_, false)) return read();
        if (line.ends_with('\r')) line.pop_back();
        const std::string wrong = act_(line);
        understood_ |= wrong.empty();
        answer(wrong, understood_); // the first line of a web browser, for instance, is not
    }

    void answer(const std::string& wrong, bool goes_on)
    {
        answer_ = (wrong.empty() ? "ok" : "error: " + wrong) + '\n';
        if constexpr (std::is_same_v<In, asio::ip::tcp::socket>) {
            if (!goes_on) log_("control: turned away: " + wrong);
            asio::async_write(
                in_, asio::buffer(answer_),
                [self = this->shared_from_this(), goes_on](asio::error_code error, std::size_t) {
                    if (!error && goes_on) self->read();
                });
        } else {
            std::cout << answer_ << std::flush;
            read();
        }
    }

    In in_;
    const Control::Act act_;
    const Log log_;
    const std::function<void()> ended_;
    std::string said_, answer_;
    bool understood_ = false, skips_ = false;
};

unsigned short port_of(const std::string& text)
{
    unsigned short port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size())
        throw std::invalid_argument("--control takes a port, or - for the standard input, not " + text);
    return port;
}

} // namespace

Control::Control(asio::io_context& loop, const std::string& where, Log log, Act act,
                 std::function<void()> ended)
{
    using asio::ip::tcp;
    using asio::posix::stream_descriptor;
    struct stat input = {};
    if (where == "-" && fstat(STDIN_FILENO, &input) == 0 && S_ISREG(input.st_mode))
        throw std::invalid_argument("--control - takes a pipe or a terminal; for a file there is --script");
    if (where == "-")
        std::make_shared<Talk<stream_descriptor>>(standard_input(loop), std::move(act), std::move(log),
                                                  std::move(ended))
            ->read();
    else
        listener_.emplace(loop, "127.0.0.1", port_of(where), log,
                          [act = std::move(act), log,
                           clients = Guests<Talk<tcp::socket>>("control", places(most_clients, 1), log)](
                              tcp::socket socket) mutable {
                              if (!clients.have_room()) return;
                              const auto client =
                                  std::make_shared<Talk<tcp::socket>>(std::move(socket), act, log, [] {});
                              clients.add(client);
                              client->read();
                          });
}

asio::posix::stream_descriptor standard_input(asio::io_context& loop)
{
    const int anew = isatty(STDIN_FILENO) ? open("/proc/self/fd/0", O_RDONLY | O_NOCTTY | O_CLOEXEC) : -1;
    return {loop, anew >= 0 ? anew : dup(STDIN_FILENO)};
}

std::optional<asio::ip::tcp::endpoint> Control::endpoint() const
{
    return listener_ ? std::optional(listener_->endpoint()) : std::nullopt;
}

} // namespace kx::sim
