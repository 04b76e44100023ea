#include "line/framing.h"

#include "commands/json.h"

namespace kx::sim {

namespace {

/** Reads JSON without keeping it, and notes where it ceases to be JSON. */
class Reader : public nlohmann::json_sax<Json> {
  public:
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override { return true; }
    bool key(string_t&) override { return true; }
    bool end_object() override { return true; }
    bool start_array(std::size_t) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(std::size_t position, const std::string&, const Json::exception& error) override
    {
        constexpr int syntax = 101;
        failed_at = error.id == syntax ? position : 0;
        return false;
    }

    std::size_t failed_at = 0;
};

/** Whether the text can still be continued to JSON: if it cannot be read, then only because it ends too
 * early. */
bool begins_json(const std::string& text)
{
    Reader reader;
    return Json::sax_parse(text, &reader) || reader.failed_at > text.size();
}

} // namespace

std::vector<Request> Framing::feed(std::string_view bytes)
{
    std::vector<Request> out;
    for (char c : bytes) {
        take(c, out);
        last_ = c;
    }
    return out;
}

void Framing::take(char c, std::vector<Request>& out)
{
    // Printed objects indent or close every line but their first, so a line that opens one begins a new
    // request: the one before it was broken off.
    if (c == '{' && last_ == '\n' && state_ == State::object) {
        give_up("the request before this one is incomplete", out);
        state_ = State::between;
    }
    if (state_ == State::after_fault)
        state_ = c == '\t' || c == '}' || c == ']' ? State::skipping : State::between;
    if (state_ == State::skipping) {
        if (c == '\n') state_ = last_ == '\r' ? State::between : State::after_fault;
        return;
    }
    if (state_ == State::between) {
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') return;
        text_ = c;
        state_ = c == '{' ? State::object : State::garbage;
        depth_ = 1;
        return;
    }

    text_ += c;
    if (text_.size() > max_length) return give_up("the request is too long", out);
    switch (state_) {
    case State::garbage:
        if (c != '\n') return;
        give_up("a request is a JSON object", out);
        state_ = State::between;
        return;
    case State::escape:
        state_ = State::string;
        if (c != '\n') return;
        break; // no string goes over a line end
    case State::string:
        if (c == '\\') state_ = State::escape;
        if (c == '"') state_ = State::object;
        if (c != '\n') return;
        break;
    default:
        if (c == '"') state_ = State::string;
        if (c == '{') ++depth_;
        if (c == '}' && --depth_ == 0) {
            const char* fault = nested_too_deeply(text_) ? "the request is nested too deeply" : "";
            out.push_back({std::move(text_), fault});
            text_.clear();
            state_ = State::between;
        }
        if (c != '\n') return;
    }

    // A line ends inside an object. CR LF ends the request too; and a first line that cannot become JSON is
    // no request at all.
    const bool request_ends = last_ == '\r';
    const bool first_line = text_.find('\n') == text_.size() - 1;
    if (state_ == State::string || request_ends || (first_line && !begins_json(text_))) {
        give_up("not JSON", out);
        state_ = request_ends ? State::between : State::after_fault;
    }
}

/** Reports what was collected as faulty and skips the rest of its line. */
void Framing::give_up(const char* fault, std::vector<Request>& out)
{
    out.push_back({std::move(text_), fault});
    text_.clear();
    state_ = State::skipping;
}

} // namespace kx::sim
