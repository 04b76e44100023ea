#include "web/http.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include <arpa/inet.h>

namespace kx::sim {

namespace {

/** The text up to a mark, which is taken away with it; all of it if there is no mark. */
std::string_view cut(std::string_view& text, std::string_view mark)
{
    const auto found = text.find(mark);
    const std::string_view piece = text.substr(0, found);
    text.remove_prefix(found == text.npos ? text.size() : found + mark.size());
    return piece;
}

std::string_view trimmed(std::string_view text)
{
    const auto begin = text.find_first_not_of(" \t");
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

/** Of a header's name or a method. */
bool is_token(std::string_view text)
{
    const auto allowed = [](unsigned char c) { return std::isalnum(c) || c == '-' || c == '_'; };
    return !text.empty() && std::ranges::all_of(text, allowed);
}

bool is_control(unsigned char c)
{
    return std::iscntrl(c) && c != '\t';
}

bool is_number(std::string_view digits)
{
    return !digits.empty() && std::ranges::all_of(digits, [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

std::string_view HttpRequest::header(std::string_view name) const
{
    const auto found = headers.find(name);
    return found == headers.end() ? std::string_view() : found->second;
}

HttpReader::Status HttpReader::take(std::string_view bytes)
{
    if (!in_body_) {
        text_ += bytes.substr(0, max_head + max_body);
        const auto end = text_.find("\r\n\r\n");
        if (std::min(end, text_.size()) > max_head) return large_head;
        if (end == text_.npos) return unfinished;
        if (const Status status = read_head(std::string_view(text_).substr(0, end)); status != complete)
            return status;
        text_.erase(0, end + 4);
        in_body_ = true;
    } else {
        text_ += bytes.substr(0, max_body);
    }
    if (text_.size() < length_) return unfinished;
    request_.body = text_.substr(0, length_);
    return complete;
}

HttpReader::Status HttpReader::read_head(std::string_view head)
{
    std::string_view line = cut(head, "\r\n");
    request_.method = cut(line, " ");
    std::string_view target = cut(line, " ");
    request_.path = cut(target, "?");
    if (!is_token(request_.method) || !request_.path.starts_with('/') || !line.starts_with("HTTP/1."))
        return bad;
    while (!head.empty()) {
        std::string_view value = cut(head, "\r\n");
        std::string name(cut(value, ":"));
        if (!is_token(name) || std::ranges::any_of(value, is_control)) return bad;
        std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
        const bool fresh = request_.headers.emplace(name, trimmed(value)).second;
        if (!fresh && (name == "host" || name == "origin" || name == "content-length")) return bad;
    }
    return read_body_length();
}

HttpReader::Status HttpReader::read_body_length()
{
    if (request_.headers.contains("transfer-encoding")) return no_length;
    if (!request_.headers.contains("content-length")) return complete;
    const std::string_view digits = request_.header("content-length");
    if (!is_number(digits)) return bad;
    const auto end = digits.data() + digits.size();
    if (std::from_chars(digits.data(), end, length_).ec != std::errc() || length_ > max_body) return large;
    return complete;
}

bool is_address(std::string_view host)
{
    if (const auto colon = host.rfind(':'); colon != host.npos && is_number(host.substr(colon + 1)))
        if (host[0] != '[' || host[colon - 1] == ']') host = host.substr(0, colon);
    if (host == "localhost") return true;
    const bool is_ipv6 = host.size() > 2 && host.front() == '[' && host.back() == ']';
    const std::string address(is_ipv6 ? host.substr(1, host.size() - 2) : host);
    in6_addr any;
    return inet_pton(is_ipv6 ? AF_INET6 : AF_INET, address.c_str(), &any) == 1;
}

} // namespace kx::sim
