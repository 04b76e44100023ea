// The bytes of a client, cut into requests.
#include "target.h"

#include "commands/json.h"
#include "line/framing.h"
#include "line/secrets.h"
#include "recording/json_lines.h"

using namespace kx::sim;

void judge(std::string_view input)
{
    Framing whole, pieces;
    std::vector<Request> found;
    in_pieces(input, [&](std::string_view piece) {
        for (Request& request : pieces.feed(piece))
            found.push_back(std::move(request));
        return true;
    });
    for (const Request& request : found) {
        require(request.text.size() <= Framing::max_length + 1, "a request has a bound");
        printed(kx::recording::as_recorded(without_secrets(request.text)));
        if (!request.fault.empty()) continue;
        require(!nested_too_deeply(request.text), "a request is not deep");
        require(request.text.front() == '{' && request.text.back() == '}', "a request is an object");
        const Json json = parsed(request.text);
        require(json.is_discarded() || json.is_object(), "what is JSON is an object");
    }
    const auto same = [](const Request& a, const Request& b) {
        return a.text == b.text && a.fault == b.fault;
    };
    require(std::ranges::equal(found, whole.feed(input.substr(std::min<std::size_t>(input.size(), 1))), same),
            "the pieces in which a stream comes do not matter");
}
