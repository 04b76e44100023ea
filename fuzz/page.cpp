// What comes to the page's server: HTTP, and in it what the page wants done.
#include "target.h"

#include "web/http.h"
#include "web/page.h"

using namespace kx::sim;

void judge(std::string_view input)
{
    HttpReader reader;
    HttpReader::Status status = HttpReader::unfinished;
    in_pieces(input, [&](std::string_view piece) {
        status = reader.take(piece);
        return status == HttpReader::unfinished;
    });
    if (status != HttpReader::complete) return;
    const HttpRequest& request = reader.request();
    require(request.path.starts_with('/'), "a path begins with a slash");
    require(request.body.size() <= HttpReader::max_body, "a body has a bound");
    const std::string_view host = request.header("host");
    if (is_address(host))
        require(host.find_first_not_of("0123456789abcdefABCDEF.:[]lhost") == host.npos, "an address");
    try {
        Controller controller(46, [](const std::string&) {});
        Page page(controller, true);
        page.act(parsed(request.body), "127.0.0.1");
        controller.advance(1);
        page.look(1);
        printed(page.state());
    } catch (const std::exception& refused) {
        require(*refused.what(), "a refusal says why");
    }
}
