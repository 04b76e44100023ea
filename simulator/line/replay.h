// Answers requests as a recorded controller did.
//
// A request is answered by what followed the first recorded one of the same content that has not been used
// yet; if all have been, by what followed the last one again, so that an application may ask more often than
// the recorded one did. Passwords are not recorded and so not compared.
#pragma once

#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "commands/json.h"

namespace kx::sim {

class Replay {
  public:
    struct Line {
        double after; ///< the request, s
        std::string text;
    };

    /** @param recording of either form
     *  @param name of it
     *  @throws std::runtime_error if it is none, with the place */
    Replay(std::istream& recording, const std::string& name);

    /** The lines that answered the request, none if it is not in the recording. */
    const std::vector<Line>* answer(const std::string& request);

    /** Recorded requests that have not come. */
    std::size_t unused() const;

  private:
    struct Exchange {
        double time; ///< of the request
        std::vector<Line> lines;
    };
    struct Same { ///< requests of the same content
        std::vector<std::size_t> exchanges;
        std::size_t used = 0;
    };
    struct Asker {
        static constexpr std::size_t none = ~std::size_t{};
        std::set<std::pair<int, std::size_t>> waiting; ///< exchanges, with the key code of what they await
        std::size_t last = none;
    };

    void read(const Json& entry, double time);

    std::vector<Exchange> exchanges_;
    std::map<std::string, Same> by_content_;
    std::map<int, Asker> clients_; ///< while the recording is read
};

} // namespace kx::sim
