// Requests in the hands of the controller. A quarter of a second passes after each of them.
#include "target.h"

#include "commands/virtual_controller.h"
#include "line/framing.h"

using namespace kx::sim;

namespace {

class Judge : public Client {
  public:
    void reply(const std::string& line) override
    {
        require(line.size() < Controller::reply_buffer, "a reply fits into the client's buffer");
        require(line.find('\n') == line.size() - 1, "a reply is one line");
        require(Json::accept(line), "a reply is JSON");
    }
    void push(std::string_view, const std::string& line) override { reply(line); }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    constexpr int models[] = {36, 46, 47};
    Controller controller(models[*data % 3], [](const std::string&) {});
    const auto client = std::make_shared<Judge>();
    double time = 0;
    Framing framing;
    for (const Request& request : framing.feed({reinterpret_cast<const char*>(data + 1), size - 1})) {
        if (request.fault.empty())
            controller.handle(request.text, time, client);
        else
            controller.complain(request.fault, *client);
        controller.advance(time += 0.25);
    }
    return 0;
}
