#include "host/mof/cim_type.h"

#include <array>
#include <limits>

namespace velkhost {

namespace {

struct Keyword {
    std::wstring_view text;
    Cim type;
};

constexpr std::array kKeywords = {
    Keyword{L"boolean", Cim::kBoolean},   Keyword{L"uint8", Cim::kUInt8},   Keyword{L"sint8", Cim::kSInt8},
    Keyword{L"uint16", Cim::kUInt16},     Keyword{L"sint16", Cim::kSInt16}, Keyword{L"uint32", Cim::kUInt32},
    Keyword{L"sint32", Cim::kSInt32},     Keyword{L"uint64", Cim::kUInt64}, Keyword{L"sint64", Cim::kSInt64},
    Keyword{L"real32", Cim::kReal32},     Keyword{L"real64", Cim::kReal64}, Keyword{L"char16", Cim::kChar16},
    Keyword{L"datetime", Cim::kDateTime}, Keyword{L"string", Cim::kString}, Keyword{L"object", Cim::kObject},
};

template <class Type>
constexpr IntegerRange RangeOf() {
    return {std::numeric_limits<Type>::lowest(), std::numeric_limits<Type>::max()};
}

// Keywords are ASCII: no locale is needed to compare them without regard to case.
bool SameKeyword(std::wstring_view keyword, std::wstring_view written) {
    if (keyword.size() != written.size()) return false;
    for (std::size_t i = 0; i < keyword.size(); ++i) {
        const wchar_t character = written[i];
        const bool isUpper = character >= L'A' && character <= L'Z';
        if ((isUpper ? character - L'A' + L'a' : character) != keyword[i]) return false;
    }
    return true;
}

}  // namespace

std::optional<IntegerRange> IntegerRangeOf(Cim type) {
    switch (type) {
        case Cim::kSInt8:
            return RangeOf<std::int8_t>();
        case Cim::kUInt8:
            return RangeOf<std::uint8_t>();
        case Cim::kSInt16:
            return RangeOf<std::int16_t>();
        case Cim::kUInt16:
        case Cim::kChar16:
            return RangeOf<std::uint16_t>();
        case Cim::kSInt32:
            return RangeOf<std::int32_t>();
        case Cim::kUInt32:
            return RangeOf<std::uint32_t>();
        case Cim::kSInt64:
            return RangeOf<std::int64_t>();
        case Cim::kUInt64:
            return RangeOf<std::uint64_t>();
        default:
            return std::nullopt;
    }
}

std::wstring_view CimKeyword(Cim type) {
    for (const Keyword& keyword : kKeywords) {
        if (keyword.type == type) return keyword.text;
    }
    return L"ref";
}

std::optional<Cim> CimFromKeyword(std::wstring_view written) {
    for (const Keyword& keyword : kKeywords) {
        if (SameKeyword(keyword.text, written)) return keyword.type;
    }
    return std::nullopt;
}

std::optional<CimType> CimFromNumber(std::int32_t number) {
    const bool isArray = (number & 0x2000) != 0;
    const std::int32_t element = number & ~0x2000;
    if (element == static_cast<std::int32_t>(Cim::kReference)) return CimType{Cim::kReference, isArray};
    for (const Keyword& keyword : kKeywords) {
        if (static_cast<std::int32_t>(keyword.type) == element) return CimType{keyword.type, isArray};
    }
    return std::nullopt;
}

}  // namespace velkhost
