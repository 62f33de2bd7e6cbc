#include "module/registry_script.h"

#include <algorithm>

namespace velk {

namespace {

/// Deeper than any real script, and little enough that a hostile one cannot exhaust the stack.
constexpr int kMaxDepth = 32;
/// The registry's own limit.
constexpr std::size_t kMaxKeyName = 255;

constexpr wchar_t kQuote = L'\'';

bool IsSpace(wchar_t character) { return character == L' ' || (character >= L'\t' && character <= L'\r'); }

wchar_t Fold(wchar_t character) {
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character;
}

bool SameWord(std::wstring_view left, std::wstring_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](wchar_t a, wchar_t b) { return Fold(a) == Fold(b); });
}

struct RootName {
    std::wstring_view shortName;
    std::wstring_view longName;
    RegistryRoot root;
};

constexpr RootName kRootNames[] = {
    {L"HKCR", L"HKEY_CLASSES_ROOT", RegistryRoot::kClassesRoot},
    {L"HKCU", L"HKEY_CURRENT_USER", RegistryRoot::kCurrentUser},
    {L"HKLM", L"HKEY_LOCAL_MACHINE", RegistryRoot::kLocalMachine},
    {L"HKU", L"HKEY_USERS", RegistryRoot::kUsers},
    {L"HKPD", L"HKEY_PERFORMANCE_DATA", RegistryRoot::kPerformanceData},
    {L"HKDD", L"HKEY_DYN_DATA", RegistryRoot::kDynData},
    {L"HKCC", L"HKEY_CURRENT_CONFIG", RegistryRoot::kCurrentConfig},
};

struct RuleName {
    std::wstring_view word;
    RegistryKeyRule rule;
};

constexpr RuleName kRuleNames[] = {
    {L"ForceRemove", RegistryKeyRule::kForceRemove},
    {L"NoRemove", RegistryKeyRule::kNoRemove},
    {L"Delete", RegistryKeyRule::kDelete},
};

/// Decimal, or hexadecimal after "0x"; no sign, no white space, at most 32 bits.
std::optional<std::uint32_t> ParseNumber(std::wstring_view text) {
    std::uint32_t base = 10;
    if (text.size() > 2 && text[0] == L'0' && Fold(text[1]) == L'x') {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty()) return std::nullopt;
    std::uint64_t number = 0;
    for (const wchar_t character : text) {
        const wchar_t folded = Fold(character);
        std::uint32_t digit = base;
        if (folded >= L'0' && folded <= L'9') digit = static_cast<std::uint32_t>(folded - L'0');
        if (folded >= L'a' && folded <= L'f') digit = static_cast<std::uint32_t>(folded - L'a' + 10);
        if (digit >= base) return std::nullopt;
        number = number * base + digit;
        if (number > 0xFFFFFFFF) return std::nullopt;
    }
    return static_cast<std::uint32_t>(number);
}

struct Token {
    enum class Kind { kEnd, kWord, kQuoted };

    Kind kind = Kind::kEnd;
    std::wstring text;
    std::size_t position = 0;

    bool IsEnd() const { return kind == Kind::kEnd; }
    /// Whether it is this word or sign of the language, which a quoted text never is.
    bool Is(std::wstring_view word) const { return kind == Kind::kWord && SameWord(text, word); }
    bool IsSign() const { return Is(L"{") || Is(L"}") || Is(L"=") || Is(L";"); }
    const RuleName* Rule() const {
        const auto* const found = std::find_if(std::begin(kRuleNames), std::end(kRuleNames),
                                               [&](const RuleName& name) { return Is(name.word); });
        return found == std::end(kRuleNames) ? nullptr : found;
    }
};

/// Recursive descent with one token of look-ahead. Each Parse... answers false once an error is recorded.
class Parser {
  public:
    explicit Parser(std::wstring_view text) : text_(text) {}

    bool ParseScript(RegistryScript& script) {
        if (!Advance()) return false;
        while (!SkipSeparators().IsEnd()) {
            if (!ParseRoot(script.emplace_back()) || failed_) return false;
        }
        return !failed_;
    }

    const RegistryScriptError& Error() const { return error_; }

  private:
    bool Fail(std::size_t position, const char* reason) {
        // The first error counts: what follows it is its echo.
        if (!failed_) error_ = {position, reason};
        failed_ = true;
        return false;
    }
    bool Fail(const char* reason) { return Fail(token_.position, reason); }

    bool Advance() {
        while (position_ < text_.size() && IsSpace(text_[position_])) ++position_;
        token_ = {Token::Kind::kEnd, {}, position_};
        if (position_ == text_.size()) return true;
        return text_[position_] == kQuote ? ReadQuoted() : ReadWord();
    }

    bool ReadWord() {
        token_.kind = Token::Kind::kWord;
        for (; position_ < text_.size() && !IsSpace(text_[position_]); ++position_) {
            if (text_[position_] == L'\0') return Fail("a null character");
            token_.text += text_[position_];
        }
        return true;
    }

    bool ReadQuoted() {
        token_.kind = Token::Kind::kQuoted;
        for (++position_; position_ < text_.size(); ++position_) {
            if (text_[position_] == L'\0') return Fail("a null character");
            if (text_[position_] == kQuote) {
                ++position_;
                if (position_ == text_.size() || text_[position_] != kQuote) return true;
            }
            token_.text += text_[position_];
        }
        return Fail("a quote that is not closed");
    }

    const Token& SkipSeparators() {
        while (token_.Is(L";") && Advance()) continue;
        return token_;
    }

    bool ParseRoot(RegistryBlock& block) {
        const auto* const found = std::find_if(
            std::begin(kRootNames), std::end(kRootNames),
            [&](const RootName& name) { return token_.Is(name.shortName) || token_.Is(name.longName); });
        if (found == std::end(kRootNames)) return Fail("a root key is expected");
        block.root = found->root;
        if (!Advance()) return false;
        if (!token_.Is(L"{")) return Fail("a brace is expected after the root key");
        return ParseItems(block.values, block.children, 1);
    }

    /// The items between braces; the opening one is the current token.
    bool ParseItems(std::vector<RegistryValue>& values, std::vector<RegistryKeyEntry>& children, int depth) {
        if (depth > kMaxDepth) return Fail("nested too deeply");
        if (!Advance()) return false;
        for (;;) {
            SkipSeparators();
            if (failed_) return false;
            if (token_.Is(L"}")) return Advance();
            if (token_.IsEnd()) return Fail("a closing brace is missing");
            const bool parsed = token_.Is(L"val") ? ParseNamedValue(values.emplace_back())
                                                  : ParseKey(children.emplace_back(), depth);
            if (!parsed) return false;
        }
    }

    bool ParseNamedValue(RegistryValue& value) {
        if (!Advance()) return false;
        if (token_.IsEnd() || token_.IsSign()) return Fail("a value name is expected");
        value.name = token_.text;
        if (!Advance()) return false;
        if (!token_.Is(L"=")) return Fail("an equals sign is expected after the value name");
        return ParseData(value.data);
    }

    bool ParseKey(RegistryKeyEntry& key, int depth) {
        if (const RuleName* const rule = token_.Rule()) {
            key.rule = rule->rule;
            if (!Advance()) return false;
        }
        if (token_.IsEnd() || token_.IsSign() || token_.Rule() != nullptr || token_.Is(L"val"))
            return Fail("a key name is expected");
        if (token_.text.empty()) return Fail("an empty key name");
        if (token_.text.size() > kMaxKeyName) return Fail("a key name of more than 255 characters");
        if (token_.text.find(L'\\') != std::wstring::npos) return Fail("a backslash in a key name");
        key.name = token_.text;
        if (!Advance()) return false;

        if (token_.Is(L"=") && !ParseData(key.defaultValue.emplace())) return false;
        return token_.Is(L"{") ? ParseItems(key.values, key.children, depth + 1) : true;
    }

    /// A type letter and a quoted text; the equals sign before it is the current token.
    bool ParseData(RegistryData& data) {
        if (!Advance()) return false;
        const bool isText = token_.Is(L"s");
        if (!isText && !token_.Is(L"d")) return Fail("a type, s or d, is expected");
        if (!Advance()) return false;
        if (token_.kind != Token::Kind::kQuoted) return Fail("a quoted text is expected");
        if (isText) {
            data.text = token_.text;
        } else {
            const std::optional<std::uint32_t> number = ParseNumber(token_.text);
            if (!number) return Fail("not a number of 32 bits");
            data.number = number;
        }
        return Advance();
    }

    std::wstring_view text_;
    std::size_t position_ = 0;
    Token token_;
    RegistryScriptError error_;
    bool failed_ = false;
};

}  // namespace

std::wstring EscapeQuotes(std::wstring_view text) {
    std::wstring escaped;
    for (const wchar_t character : text) escaped.append(character == kQuote ? 2 : 1, character);
    return escaped;
}

std::optional<RegistryScriptError> ReplaceNames(std::wstring_view script,
                                                const RegistryReplacements& replacements,
                                                std::wstring& replaced) {
    std::wstring result;
    for (std::size_t position = 0; position < script.size();) {
        const std::size_t percent = std::min(script.find(L'%', position), script.size());
        result += script.substr(position, percent - position);
        if (percent == script.size()) break;

        const std::size_t end = script.find(L'%', percent + 1);
        if (end == std::wstring_view::npos) return RegistryScriptError{percent, "a lone percent sign"};
        const std::wstring_view name = script.substr(percent + 1, end - percent - 1);
        const auto found =
            std::find_if(replacements.begin(), replacements.end(),
                         [&](const auto& replacement) { return SameWord(replacement.first, name); });
        if (name.empty()) {
            result += L'%';
        } else if (found != replacements.end()) {
            result += found->second;
        } else {
            return RegistryScriptError{percent, "a name without a replacement"};
        }
        position = end + 1;
    }
    replaced = std::move(result);
    return std::nullopt;
}

std::optional<RegistryScriptError> ParseRegistryScript(std::wstring_view text, RegistryScript& script) {
    RegistryScript parsed;
    Parser parser(text);
    if (!parser.ParseScript(parsed)) return parser.Error();
    script = std::move(parsed);
    return std::nullopt;
}

}  // namespace velk
