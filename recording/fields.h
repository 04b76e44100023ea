// Numbers and texts as recordings keep them: little endian, texts behind their length.
#pragma once

#include <concepts>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kx::recording {

/** What is read does not hold what it says. */
struct Damaged : std::runtime_error {
    using std::runtime_error::runtime_error;
};

template <std::unsigned_integral Number>
void put(std::string& out, Number number)
{
    char bytes[sizeof number];
    for (std::size_t i = 0; i < sizeof number; ++i)
        bytes[i] = static_cast<char>(number >> 8 * i);
    out.append(bytes, sizeof bytes);
}

inline void put_text(std::string& out, std::string_view text)
{
    put(out, static_cast<std::uint32_t>(text.size()));
    out += text;
}

/** What has not been read yet of some bytes; throws Damaged where they are too few. */
class Fields {
  public:
    explicit Fields(std::string_view bytes) : rest_(bytes) {}

    template <std::unsigned_integral Number>
    Number take()
    {
        Number number = 0;
        const std::string_view bytes = take_bytes(sizeof number);
        for (std::size_t i = sizeof number; i-- > 0;)
            number = static_cast<Number>(number << 4 << 4 | static_cast<unsigned char>(bytes[i]));
        return number;
    }

    std::string_view take_text() { return take_bytes(take<std::uint32_t>()); }

    std::string_view take_bytes(std::uint64_t count)
    {
        if (count > rest_.size()) throw Damaged("it breaks off");
        const std::string_view bytes = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return bytes;
    }

    std::string_view rest() const { return rest_; }

  private:
    std::string_view rest_;
};

} // namespace kx::recording
