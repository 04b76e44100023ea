#include "control.h"

#include <charconv>
#include <iostream>
#include <memory>
#include <stdexcept>

#include <asio/posix/stream_descriptor.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace kx::sim {

namespace {

constexpr std::size_t longest_line = 1000;

/** Reads a line, answers it, reads the next one. */
template <typename In>
class Talk : public std::enable_shared_from_this<Talk<In>> {
  public:
    Talk(In in, Control::Act act, std::function<void()> ended)
        : in_(std::move(in)), act_(std::move(act)), ended_(std::move(ended))
    {
    }

    void read()
    {
        asio::async_read_until(in_, asio::dynamic_buffer(said_, longest_line), '\n',
                               [self = this->shared_from_this()](asio::error_code error, std::size_t length) {
                                   if (error == asio::error::not_found)
                                       self->answer("the line is too long", false);
                                   else if (!error)
                                       self->hear(length);
                                   else
                                       self->ended_();
                               });
    }

  private:
    void hear(std::size_t length)
    {
        std::string line = said_.substr(0, length - 1);
        said_.erase(0, length);
        if (line.ends_with('\r')) line.pop_back();
        const std::string wrong = act_(line);
        understood_ |= wrong.empty();
        answer(wrong, understood_); // the first line of a web browser, for instance, is not
    }

    void answer(const std::string& wrong, bool goes_on)
    {
        answer_ = (wrong.empty() ? "ok" : "error: " + wrong) + '\n';
        if constexpr (std::is_same_v<In, asio::ip::tcp::socket>) {
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
    const std::function<void()> ended_;
    std::string said_, answer_;
    bool understood_ = false;
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
        std::make_shared<Talk<stream_descriptor>>(stream_descriptor(loop, dup(STDIN_FILENO)), std::move(act),
                                                  std::move(ended))
            ->read();
    else
        listener_.emplace(loop, "127.0.0.1", port_of(where), std::move(log),
                          [act = std::move(act)](tcp::socket socket) {
                              std::make_shared<Talk<tcp::socket>>(std::move(socket), act, [] {})->read();
                          });
}

std::optional<asio::ip::tcp::endpoint> Control::endpoint() const
{
    return listener_ ? std::optional(listener_->endpoint()) : std::nullopt;
}

} // namespace kx::sim
