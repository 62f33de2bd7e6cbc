#include "host/path/object_path.h"

#include <cstddef>
#include <limits>
#include <utility>

#include "host/characters.h"

namespace velkhost {

namespace {

bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

bool IsIdentifier(std::wstring_view text) {
    if (text.empty() || IsAsciiDigit(text.front())) return false;
    for (const wchar_t c : text) {
        if (!IsNameCharacter(c)) return false;
    }
    return true;
}

/// Servers and namespaces may hold what class names may not.
bool IsPlaceCharacter(wchar_t c) { return IsNameCharacter(c) || c == L'-'; }
bool IsServerCharacter(wchar_t c) { return IsPlaceCharacter(c) || c == L'.'; }

std::optional<std::uint64_t> ParseMagnitude(std::wstring_view digits, unsigned base) {
    if (digits.empty()) return std::nullopt;
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t value = 0;
    for (const wchar_t c : digits) {
        const unsigned digit = DigitValue(c);
        if (digit >= base || value > (kMax - digit) / base) return std::nullopt;
        value = value * base + digit;
    }
    return value;
}

std::optional<PathKeyValue> ParseInteger(std::wstring_view word) {
    const bool negative = word.front() == L'-';
    if (negative) word.remove_prefix(1);
    const bool hexadecimal = word.size() > 2 && word[0] == L'0' && (word[1] == L'x' || word[1] == L'X');
    const auto magnitude = hexadecimal ? ParseMagnitude(word.substr(2), 16) : ParseMagnitude(word, 10);
    if (!magnitude) return std::nullopt;

    constexpr auto kSignedMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (negative) {
        if (*magnitude > kSignedMax + 1) return std::nullopt;
        if (*magnitude == kSignedMax + 1) return PathKeyValue(std::numeric_limits<std::int64_t>::min());
        return PathKeyValue(-static_cast<std::int64_t>(*magnitude));
    }
    if (*magnitude > kSignedMax) return PathKeyValue(*magnitude);
    return PathKeyValue(static_cast<std::int64_t>(*magnitude));
}

/// Reads a path from left to right; each method consumes what it names and answers whether it was there.
class PathReader {
  public:
    PathReader(std::wstring_view text, SingleIdentifier single) : rest_(text), single_(single) {}

    std::optional<ObjectPath> Read() {
        if (rest_.empty()) return path_;
        if (!ReadServer() || !ReadPlace()) return std::nullopt;
        if (!rest_.empty() && !ReadInstance()) return std::nullopt;
        return std::move(path_);
    }

  private:
    /// \\server, and the separator after it. A single leading separator is no path at all, nor is a mixed
    /// pair.
    bool ReadServer() {
        const wchar_t separator = rest_.front();
        if (!IsSeparator(separator)) return true;
        rest_.remove_prefix(1);
        if (!Take(separator)) return false;

        path_.server = TakeWhile(IsServerCharacter);
        if (path_.server.empty()) return false;
        return rest_.empty() || (TakeSeparator() && !rest_.empty());
    }

    /// The namespaces and the class name, up to what follows the class name.
    bool ReadPlace() {
        while (!rest_.empty()) {
            const std::wstring_view name = TakeWhile(IsPlaceCharacter);
            if (name.empty()) return false;
            if (TakeSeparator()) {
                path_.namespaces.emplace_back(name);
                if (rest_.empty()) return false;
            } else if (Take(L':')) {
                path_.namespaces.emplace_back(name);
                return ReadClassName(TakeWhile(IsNameCharacter));
            } else if (rest_.empty() && NamesNamespace()) {
                path_.namespaces.emplace_back(name);
            } else {
                // A class behind a separator instead of a colon (root\cimv2\X.K=1) is no path.
                return path_.namespaces.empty() && ReadClassName(name);
            }
        }
        return true;
    }

    /// Whether a last name without anything behind it is one more namespace.
    bool NamesNamespace() const {
        return !path_.namespaces.empty() || single_ == SingleIdentifier::kNamespace;
    }

    bool ReadClassName(std::wstring_view name) {
        if (!IsIdentifier(name)) return false;
        path_.className = name;
        return true;
    }

    /// What makes an instance of a class: .keys, =@ or ="implied key".
    bool ReadInstance() {
        if (path_.className.empty()) return false;
        if (Take(L'.')) {
            do {
                if (!ReadNamedKey()) return false;
            } while (Take(L','));
            return rest_.empty();
        }
        if (!Take(L'=')) return false;
        if (Take(L'@')) {
            path_.singleton = true;
            return rest_.empty();
        }
        return ReadValue({}) && rest_.empty();
    }

    bool ReadNamedKey() {
        const std::wstring_view name = TakeWhile(IsNameCharacter);
        return IsIdentifier(name) && Take(L'=') && ReadValue(name);
    }

    bool ReadValue(std::wstring_view name) {
        if (rest_.empty()) return false;
        auto value =
            rest_.front() == L'"' || rest_.front() == L'\'' ? ReadQuoted(rest_.front()) : ReadUnquoted();
        if (!value) return false;
        path_.keys.push_back({std::wstring(name), std::move(*value)});
        return true;
    }

    /// A backslash before any other character stands for itself: paths typed by hand hold C:\Windows.
    std::optional<PathKeyValue> ReadQuoted(wchar_t quote) {
        std::wstring text;
        for (std::size_t i = 1; i < rest_.size(); ++i) {
            const wchar_t c = rest_[i];
            if (c == quote) {
                rest_.remove_prefix(i + 1);
                return text;
            }
            const wchar_t next = i + 1 < rest_.size() ? rest_[i + 1] : L'\0';
            const bool escape = c == L'\\' && (next == L'\\' || next == L'"' || next == L'\'');
            text.push_back(escape ? next : c);
            if (escape) ++i;
        }
        return std::nullopt;
    }

    std::optional<PathKeyValue> ReadUnquoted() {
        const std::wstring_view word = TakeWhile([](wchar_t c) { return c != L','; });
        if (word.empty()) return std::nullopt;
        if (EqualsAsciiWord(word, L"true")) return PathKeyValue(true);
        if (EqualsAsciiWord(word, L"false")) return PathKeyValue(false);
        return ParseInteger(word);
    }

    template <class Predicate>
    std::wstring_view TakeWhile(Predicate belongs) {
        std::size_t end = 0;
        while (end < rest_.size() && belongs(rest_[end])) ++end;
        const std::wstring_view taken = rest_.substr(0, end);
        rest_.remove_prefix(end);
        return taken;
    }

    bool Take(wchar_t c) {
        if (rest_.empty() || rest_.front() != c) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool TakeSeparator() { return Take(L'\\') || Take(L'/'); }

    std::wstring_view rest_;
    SingleIdentifier single_;
    ObjectPath path_;
};

void AppendQuoted(std::wstring& out, std::wstring_view text) {
    out.push_back(L'"');
    for (const wchar_t c : text) {
        if (c == L'"' || c == L'\\') out.push_back(L'\\');
        out.push_back(c);
    }
    out.push_back(L'"');
}

}  // namespace

std::optional<ObjectPath> ParseObjectPath(std::wstring_view text, SingleIdentifier single) {
    return PathReader(text, single).Read();
}

std::wstring FormatNamespace(const ObjectPath& path) {
    std::wstring out;
    for (const std::wstring& part : path.namespaces) {
        if (!out.empty()) out.push_back(L'\\');
        out += part;
    }
    return out;
}

std::wstring FormatKeyValue(const PathKeyValue& value) {
    std::wstring out;
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        AppendQuoted(out, *text);
    } else if (const auto* truth = std::get_if<bool>(&value)) {
        out = *truth ? L"TRUE" : L"FALSE";
    } else if (const auto* wide = std::get_if<std::uint64_t>(&value)) {
        out = std::to_wstring(*wide);
    } else {
        out = std::to_wstring(std::get<std::int64_t>(value));
    }
    return out;
}

std::wstring FormatKeys(const ObjectPath& path) {
    std::wstring out;
    for (const PathKey& key : path.keys) {
        if (!out.empty()) out.push_back(L',');
        if (!key.name.empty()) (out += key.name).push_back(L'=');
        out += FormatKeyValue(key.value);
    }
    return out;
}

std::wstring FormatRelativePath(const ObjectPath& path) {
    if (path.singleton) return path.className + L"=@";
    if (path.keys.empty()) return path.className;
    const wchar_t* join = path.keys.front().name.empty() ? L"=" : L".";
    return path.className + join + FormatKeys(path);
}

std::wstring FormatLocalPath(const ObjectPath& path) {
    const std::wstring relative = FormatRelativePath(path);
    std::wstring out = FormatNamespace(path);
    if (!out.empty() && !relative.empty()) out.push_back(L':');
    return out + relative;
}

std::wstring FormatFullPath(const ObjectPath& path) {
    const std::wstring local = FormatLocalPath(path);
    std::wstring out = L"\\\\" + (path.server.empty() ? std::wstring(L".") : path.server);
    // A separator that nothing follows would be no path.
    if (!local.empty()) out.push_back(L'\\');
    return out + local;
}

}  // namespace velkhost
