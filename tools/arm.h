// The two ways in which commands of kx reach a controller.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include <kx_base.h>

namespace kx::tool {

/** A wrong use of the program, found before anything was sent. */
struct WrongUse : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** Beside the statuses of the library: a file that cannot be read or written. */
constexpr int bad_file = 65;

/** A status that ends the command. */
struct Failed {
    int status;
    std::string why;
};

/** From now on, has the first interrupt of the program noted, which ends it otherwise. */
void catch_interrupts();
bool interrupted();

/** An arm on a link of the library. */
class Arm {
  public:
    /**
     * @param address HOST:PORT
     * @param timeout seconds, for the connection and for every answer
     * @param options the rest of them
     * @throws WrongUse for something else than an address, Failed when it cannot be reached
     */
    Arm(const std::string& address, int model, double timeout, KX_LINK_OPTIONS options = usual_options());
    ~Arm();
    Arm(const Arm&) = delete;

    operator int() const { return link_; } // as which the library knows it

    /** Runs a move that waits; an interrupt of the program stops the arm, which ends the move. */
    int run_stoppably(const std::function<int()>& move) const;

    /** What a status says, with the controller's own words for a refusal, and whether the arm is of another
     *  model. */
    std::string words(int status) const;

    static KX_LINK_OPTIONS usual_options();

  private:
    std::string misfit() const;

    int link_;
    const std::string address_;
    const int model_;
    const double timeout_;
};

/** A bare connection, for lines that are not the library's. Everything may throw Failed. */
class Wire {
  public:
    /** As for an arm. */
    Wire(const std::string& address, double timeout);
    ~Wire();
    Wire(const Wire&) = delete;

    void send(const std::string& line) const;

    /** The next line, without its end. @throws Failed when none comes within some seconds */
    std::string receive(double seconds);

  private:
    int socket_;
    std::string received_; // and not yet asked for
};

} // namespace kx::tool
