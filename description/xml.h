// Writes XML: indented, with numbers that need no more digits than they have.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <kdl/frames.hpp>

namespace kx::description {

/** Of at most nine decimals; no negative zero. */
std::string text(double number);
std::string texts(const std::vector<double>& numbers);
std::string text(const KDL::Vector& v);

class Xml {
  public:
    using Attributes = std::vector<std::pair<std::string, std::string>>;

    /** An element that holds what is written until it is closed. */
    class Element {
      public:
        ~Element() { xml_.close(name_); }
        Element(const Element&) = delete;

      private:
        friend class Xml;
        Element(Xml& xml, std::string_view name) : xml_(xml), name_(name) {}
        Xml& xml_;
        const std::string name_;
    };

    [[nodiscard]] Element open(std::string_view name, const Attributes& attributes = {});
    void empty(std::string_view name, const Attributes& attributes);
    void comment(std::string_view words);

    const std::string& written() const { return written_; }

  private:
    void begin(std::string_view name, const Attributes& attributes);
    void close(const std::string& name);

    std::string written_ = "<?xml version=\"1.0\"?>\n";
    std::size_t depth_ = 0;
};

} // namespace kx::description
