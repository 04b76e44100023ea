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

void judge(std::string_view input)
{
    if (input.empty()) return;
    constexpr int models[] = {36, 46, 47};
    Controller controller(models[static_cast<unsigned char>(input[0]) % 3], [](const std::string&) {});
    const auto client = std::make_shared<Judge>();
    double time = 0;
    Framing framing;
    for (const Request& request : framing.feed(input.substr(1))) {
        if (request.fault.empty())
            controller.handle(request.text, time, client);
        else
            controller.complain(request.fault, *client);
        controller.advance(time += 0.25);
    }
}
