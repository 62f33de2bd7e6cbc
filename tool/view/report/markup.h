#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velkpci {

/// Text as HTML and XML hold it, in contents and in quoted attributes. Characters that XML has no place for
/// (controls but tab and line ends, U+FFFE, U+FFFF) become U+FFFD: names come from the machine as they are.
std::string EscapeMarkup(std::string_view text);

/// Writes elements, of HTML or SVG alike. Whatever is handed to it is escaped, but for Raw().
class Markup {
  public:
    using Attributes = std::vector<std::pair<const char*, std::string>>;

    /// An element that is open for as long as this lives.
    class [[nodiscard]] Element {
      public:
        Element(Element&& other) noexcept : out_(std::exchange(other.out_, nullptr)), name_(other.name_) {}
        Element(const Element&) = delete;
        Element& operator=(const Element&) = delete;
        Element& operator=(Element&&) = delete;
        ~Element() {
            if (out_ != nullptr) *out_ += std::string("</") + name_ + ">";
        }

      private:
        friend class Markup;
        Element(std::string& out, const char* name) : out_(&out), name_(name) {}

        std::string* out_;
        const char* name_;
    };

    Element Open(const char* name, const Attributes& attributes = {});
    /// An element with a text and nothing else.
    void Put(const char* name, const Attributes& attributes, std::string_view text);
    /// A start tag whose element HTML never closes.
    void Void(const char* name, const Attributes& attributes);
    void Text(std::string_view text);
    /// Our own style sheets, scripts and pictures; never what a machine said.
    void Raw(std::string_view markup) { out_ += markup; }

    const std::string& Written() const { return out_; }

  private:
    std::string out_;
};

}  // namespace velkpci
