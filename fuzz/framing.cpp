// The bytes of a client, cut into requests.
#include "target.h"

#include "commands/json.h"
#include "line/framing.h"
#include "line/secrets.h"
#include "recording/json_lines.h"

using namespace kx::sim;

namespace {

std::string all(const std::vector<Request>& requests)
{
    std::string text;
    for (const Request& request : requests)
        text += request.text + '\0' + request.fault + '\0';
    return text;
}

void look_at(const Request& request)
{
    require(request.text.size() <= Framing::max_length + 1, "a request has a bound");
    if (!request.fault.empty()) return;
    require(!nested_too_deeply(request.text), "a request is not deep");
    require(request.text.front() == '{' && request.text.back() == '}', "a request is an object");
    const Json json = parsed(request.text);
    require(json.is_discarded() || json.is_object(), "what is JSON is an object");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    Framing whole, pieces;
    std::vector<Request> found;
    in_pieces(input, [&](std::string_view piece) {
        for (Request& request : pieces.feed(piece))
            found.push_back(std::move(request));
        return true;
    });
    for (const Request& request : found) {
        look_at(request);
        printed(kx::recording::as_recorded(without_secrets(request.text)));
    }
    require(all(found) == all(whole.feed(input.substr(std::min<std::size_t>(size, 1)))),
            "the pieces in which a stream comes do not matter");
    return 0;
}
