// What the page's server understands of HTTP: one short request a connection.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace kx::sim {

struct HttpRequest {
    std::string method, path;
    std::map<std::string, std::string, std::less<>> headers; ///< by name, in small letters
    std::string body;

    std::string_view header(std::string_view name) const;
};

/** Reads a request as it comes. It has a length that was said before, and is not long, so that nobody fills
 * the memory. */
class HttpReader {
  public:
    static constexpr std::size_t max_head = 8192, max_body = 4096;

    enum Status { unfinished = 0, complete = 200, bad = 400, no_length = 411, large = 413, large_head = 431 };

    /** Takes the next bytes. What comes after `unfinished` stays. */
    Status take(std::string_view bytes);

    const HttpRequest& request() const { return request_; }

  private:
    Status read_head(std::string_view head);
    Status read_body_length();

    std::string text_; ///< the head, then the body
    bool in_body_ = false;
    std::size_t length_ = 0; ///< of the body
    HttpRequest request_;
};

/** Whether a name, as the header Host has it, is an address or localhost, with a port or without: one that no
 * web site's name can stand for. */
bool is_address(std::string_view host);

} // namespace kx::sim
