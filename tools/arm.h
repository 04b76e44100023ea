// The two ways in which commands of kx reach a controller.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace kx::tool {

/** A wrong use of the program, found before anything was sent. */
struct WrongUse : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** A status of the library that ends the command. */
struct Failed {
    int status;
    std::string why;
};

/** An arm on a link of the library. */
class Arm {
  public:
    /**
     * @param address HOST:PORT
     * @param timeout seconds, for the connection and for every answer
     * @throws WrongUse for something else than an address, Failed when it cannot be reached
     */
    Arm(const std::string& address, int model, double timeout);
    ~Arm();
    Arm(const Arm&) = delete;

    operator int() const { return link_; } // as which the library knows it

    /** Runs a move that waits; an interrupt of the program stops the arm, which ends the move. */
    int run_stoppably(const std::function<int()>& move) const;

    /** What a status says, with the controller's own words for a refusal, and whether the arm is of another
     *  model. */
    std::string words(int status) const;

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
