// One client: reads what it sends, has it answered, and lets it know.
#pragma once

#include "arm/clock.h"
#include "commands/tap.h"
#include "line/answerer.h"
#include "line/framing.h"
#include "line/line_writer.h"

namespace kx::sim {

/** Lives as long as something is to be read, to be written or to be reported to it. */
class Session : public LineWriter {
  public:
    /** What a session needs of its server. */
    class Host {
      public:
        virtual void passed(int client, Direction direction, const std::string& line) = 0;

        /** Tells an event to whoever runs the program, too. */
        virtual void log(int client, const std::string& event) = 0;

        /** Whose time stands still while a request is answered. */
        virtual Clock& clock() = 0;

        /** Before it is answered. */
        virtual void comes(const Request& request) = 0;

      protected:
        ~Host() = default;
    };

    Session(Host& host, int number, asio::ip::tcp::socket socket, const LineFaults& faults, Luck luck,
            std::chrono::milliseconds gap);

    void begin(std::shared_ptr<Answerer> answerer);

    /** By a request; who is not may be anybody. */
    bool is_introduced() const { return is_introduced_; }

    /** Goes on after a change of the faults. */
    void wake();

    bool takes_more() const override;
    void answerer_has_room() override { read_on(); }
    void answerer_has_ended(const std::string& why) override;

  private:
    std::shared_ptr<Session> self() { return std::static_pointer_cast<Session>(shared_from_this()); }

    void read();
    void has_read();
    void take(std::string_view bytes);
    void turn_away(const Request& request);
    std::string shown(const Request& request);
    void read_on();

    void leaves(const std::string& line) override { host_.passed(number_, Direction::reply, line); }
    void has_written() override;
    void has_closed() override;

    Host& host_;
    const int number_;
    std::shared_ptr<Answerer> answerer_;
    char buffer_[4096];
    std::size_t length_ = 0;        ///< of what was read last, 0 at the end
    std::shared_ptr<Session> held_; ///< itself, while what it has read waits for the end of a silence
    Framing framing_;
    bool is_introduced_ = false;
    std::string before_; ///< what has come until then
    bool reading_ = false;
    bool may_hold_password_ = false; ///< what is no request, although it does not look so
    bool ended_ = false;             ///< nothing more is taken
};

} // namespace kx::sim
