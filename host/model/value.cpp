#include "host/model/value.h"

#include <array>
#include <charconv>
#include <string_view>
#include <type_traits>

#include "common/text.h"

namespace velkhost {

namespace {

std::wstring RealText(double number) {
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return {buffer.data(), result.ptr};
}

std::wstring QuoteForMof(const std::wstring& text) {
    std::wstring quoted = L"\"";
    for (const wchar_t character : text) {
        if (character == L'"' || character == L'\\') {
            quoted += L'\\';
            quoted += character;
        } else if (character < 0x20) {
            quoted += velk::FormatText(L"\\x%04x", static_cast<int>(character));
        } else {
            quoted += character;
        }
    }
    return quoted + L"\"";
}

template <class Element>
std::wstring Join(const Value::List& elements, Element&& textOf) {
    std::wstring text;
    for (const Value& element : elements) {
        if (&element != &elements.front()) text += L", ";
        text += textOf(element);
    }
    return text;
}

}  // namespace

bool operator==(const Value& left, const Value& right) {
    if (left.data.index() != right.data.index()) return false;
    return std::visit(
        [&right](const auto& held) {
            using Held = std::remove_cvref_t<decltype(held)>;
            const Held& other = std::get<Held>(right.data);
            if constexpr (std::is_same_v<Held, velk::ComPtr<IUnknown>>) {
                return held.Get() == other.Get();
            } else {
                return held == other;
            }
        },
        left.data);
}

std::wstring ToText(const Value& value) {
    if (const auto* truth = value.As<bool>()) return *truth ? L"TRUE" : L"FALSE";
    if (const auto* number = value.As<std::int64_t>()) return std::to_wstring(*number);
    if (const auto* number = value.As<std::uint64_t>()) return std::to_wstring(*number);
    if (const auto* number = value.As<double>()) return RealText(*number);
    if (const auto* text = value.As<std::wstring>()) return *text;
    if (value.As<velk::ComPtr<IUnknown>>() != nullptr) return L"(object)";
    if (const auto* elements = value.As<Value::List>()) return Join(*elements, ToText);
    return {};
}

std::wstring ToMof(const Value& value) {
    if (value.IsNull()) return L"NULL";
    if (const auto* text = value.As<std::wstring>()) return QuoteForMof(*text);
    if (const auto* elements = value.As<Value::List>()) return L"{" + Join(*elements, ToMof) + L"}";
    return ToText(value);
}

}  // namespace velkhost
