#include "description/xml.h"

#include <charconv>
#include <cmath>

namespace kx::description {

namespace {

std::string escaped(std::string_view text)
{
    std::string result;
    for (const char c : text)
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += c;
        }
    return result;
}

} // namespace

std::string text(double number)
{
    char digits[32];
    const double rounded = std::round(number * 1e9) / 1e9 + 0.0;
    return {digits, std::to_chars(digits, digits + sizeof digits, rounded).ptr};
}

std::string texts(const std::vector<double>& numbers)
{
    std::string result;
    for (const double number : numbers) {
        if (!result.empty()) result += ' ';
        result += text(number);
    }
    return result;
}

std::string text(const KDL::Vector& v)
{
    return texts({v.x(), v.y(), v.z()});
}

Xml::Element Xml::open(std::string_view name, const Attributes& attributes)
{
    begin(name, attributes);
    written_ += ">\n";
    ++depth_;
    return {*this, name};
}

void Xml::empty(std::string_view name, const Attributes& attributes)
{
    begin(name, attributes);
    written_ += "/>\n";
}

void Xml::comment(std::string_view words)
{
    written_.append(2 * depth_, ' ').append("<!-- ").append(words).append(" -->\n");
}

void Xml::begin(std::string_view name, const Attributes& attributes)
{
    written_.append(2 * depth_, ' ').append("<").append(name);
    for (const auto& [key, value] : attributes)
        written_.append(" ").append(key).append("=\"").append(escaped(value)).append("\"");
}

void Xml::close(const std::string& name)
{
    --depth_;
    written_.append(2 * depth_, ' ').append("</").append(name).append(">\n");
}

} // namespace kx::description
