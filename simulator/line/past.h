// What a recording tells of its arm, to be looked at: where it stood when, and what happened.
#pragma once

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace kx::sim {

struct Past {
    std::vector<std::pair<double, std::vector<double>>> places; ///< time (s), joints (degrees)
    std::vector<std::pair<double, std::string>> events;

    static constexpr std::size_t most_places = 20000, most_events = 1000;
};

/** Where the arm was, from its recorded states, or from replies if there are none: as many places as can be handed about,
 * fewer while it rests. The first events if there are many, without questions and targets of streams.
 * @throws std::runtime_error if it is no recording */
Past past_of(std::istream& recording, const std::string& name);

} // namespace kx::sim
