// A connection to an arm for as long as a command of kx runs.
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
};

/** Who reads what the controller sends: the library, or the program itself. */
enum class Reader { library, program };

class Arm {
  public:
    /**
     * @param address HOST:PORT
     * @param timeout seconds, for the connection and for every answer
     * @throws WrongUse for something else than an address, Failed when it cannot be reached
     */
    Arm(const std::string& address, int model, double timeout, Reader reader = Reader::library);
    ~Arm();
    Arm(const Arm&) = delete;

    operator int() const { return descriptor_; } // as which the library knows it

    /** Runs a blocking move; an interrupt of the program stops the arm, which ends the move. */
    int run_stoppably(const std::function<int()>& move) const;

    /** Of Reader::program. @throws Failed */
    void send(const std::string& line) const;

    /** The next line, without its end. @throws Failed when none comes within some seconds */
    std::string receive(double seconds);

  private:
    int descriptor_;
    std::string received_; // and not yet asked for
};

} // namespace kx::tool
