#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace velkfuzz {

/// Ends the run with a finding unless the condition holds. The message names the property that was broken.
inline void Require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "property broken: %s\n", property);
    std::abort();
}

/// Whether a view lies inside another; an empty one may stand at its end.
template <class Outer, class Inner>
bool LiesInside(const Outer& outer, const Inner& inner) {
    const std::less_equal<const void*> notBehind;
    return inner.empty() || (notBehind(outer.data(), inner.data()) &&
                             notBehind(inner.data() + inner.size(), outer.data() + outer.size()));
}

/// The input as bytes.
inline std::span<const std::uint8_t> Bytes(const std::uint8_t* data, std::size_t size) {
    return {data, size};
}

/// The input as wide text, in memory that ends with it: not even a terminator stands behind, so that the
/// sanitizer sees the first character too far. A byte stands for the character of its number, which keeps
/// seeds readable and mutations meaningful; FFh and two bytes behind it stand for any UTF-16 unit.
class WideInput {
  public:
    WideInput(const std::uint8_t* data, std::size_t size) : text_(new wchar_t[size]) {
        for (std::size_t at = 0; at < size; ++at) {
            std::uint16_t unit = data[at];
            if (unit == 0xFF && size - at > 2) {
                unit = static_cast<std::uint16_t>(data[at + 1] << 8 | data[at + 2]);
                at += 2;
            }
            text_[length_++] = unit;
        }
        // The unused part would hide a read behind the end.
        if (length_ == size) return;
        std::unique_ptr<wchar_t[]> exact(new wchar_t[length_]);
        std::copy(text_.get(), text_.get() + length_, exact.get());
        text_ = std::move(exact);
    }

    std::wstring_view Text() const { return {text_.get(), length_}; }
    std::span<wchar_t> Buffer() { return {text_.get(), length_}; }

  private:
    std::unique_ptr<wchar_t[]> text_;
    std::size_t length_ = 0;
};

}  // namespace velkfuzz
