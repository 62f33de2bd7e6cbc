#include "host/mof/lexer.h"

#include <charconv>
#include <utility>

#include "host/characters.h"

namespace velkhost::mof {

namespace {

bool IsWordStart(char32_t character) { return IsAsciiLetter(character) || character == U'_'; }
bool IsWordPart(char32_t character) { return IsWordStart(character) || IsAsciiDigit(character); }

// Beyond the basic plane a character takes two units where wchar_t is UTF-16 (on Windows).
void Append(std::wstring& text, char32_t character) {
    if (sizeof(wchar_t) > 2 || character < 0x10000) {
        text += static_cast<wchar_t>(character);
        return;
    }
    text += static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
    text += static_cast<wchar_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
}

}  // namespace

Lexer::Lexer(std::string_view text, std::string file) : text_(text), file_(std::move(file)) {
    if (text_.starts_with("\xEF\xBB\xBF")) position_ = 3;
}

void Lexer::Fail(Location at, const std::string& message) const { throw MofError(file_, at, message); }

char32_t Lexer::Peek() {
    if (length_ != 0) return character_;
    if (position_ >= text_.size()) return kEnd;

    const auto lead = static_cast<unsigned char>(text_[position_]);
    std::size_t length = 1;
    char32_t character = lead;
    if (lead >= 0x80) {
        length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if (lead < 0xC2 || lead > 0xF4 || text_.size() - position_ < length) Fail(at_, "text is not UTF-8");
        character = lead & (0x7Fu >> length);
        for (std::size_t i = 1; i < length; ++i) {
            const auto follower = static_cast<unsigned char>(text_[position_ + i]);
            if ((follower & 0xC0) != 0x80) Fail(at_, "text is not UTF-8");
            character = (character << 6) | (follower & 0x3Fu);
        }
        const bool isOverlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
        const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
        if (isOverlong || isSurrogate || character > 0x10FFFF) Fail(at_, "text is not UTF-8");
    }
    length_ = length;
    character_ = character;
    return character;
}

char32_t Lexer::PeekSecond() const {
    // Asked only after an ASCII character and compared with ASCII ones: the byte is enough.
    return position_ + 1 < text_.size() ? static_cast<unsigned char>(text_[position_ + 1]) : kEnd;
}

void Lexer::Advance() {
    const char32_t character = Peek();
    if (character == kEnd) return;
    position_ += std::exchange(length_, 0);
    if (character == U'\n') {
        ++at_.line;
        at_.column = 1;
    } else {
        ++at_.column;
    }
}

void Lexer::SkipBlockComment() {
    const Location begin = at_;
    Advance();
    Advance();
    while (!(Peek() == U'*' && PeekSecond() == U'/')) {
        if (Peek() == kEnd) Fail(begin, "comment is not closed");
        Advance();
    }
    Advance();
    Advance();
}

void Lexer::SkipBlanksAndComments() {
    for (;;) {
        const char32_t character = Peek();
        if (character == U' ' || character == U'\t' || character == U'\r' || character == U'\n') {
            Advance();
        } else if (character == U'/' && PeekSecond() == U'/') {
            while (Peek() != U'\n' && Peek() != kEnd) Advance();
        } else if (character == U'/' && PeekSecond() == U'*') {
            SkipBlockComment();
        } else {
            return;
        }
    }
}

Token Lexer::Next() {
    SkipBlanksAndComments();
    Token token;
    token.at = at_;
    const char32_t character = Peek();
    if (character == kEnd) return token;
    if (IsWordStart(character) || character == U'$') return ReadWord(std::move(token));
    if (IsAsciiDigit(character) || character == U'-' || character == U'+')
        return ReadNumber(std::move(token));
    if (character == U'"') return ReadString(std::move(token));

    static constexpr std::u32string_view kSymbols = U"{}()[];:,=#";
    if (kSymbols.find(character) == kSymbols.npos) Fail(at_, "unexpected character");
    token.kind = Token::Kind::kSymbol;
    token.text = static_cast<wchar_t>(character);
    Advance();
    return token;
}

Token Lexer::ReadWord(Token token) {
    token.kind = Peek() == U'$' ? Token::Kind::kAlias : Token::Kind::kIdentifier;
    do {
        Append(token.text, Peek());
        Advance();
    } while (IsWordPart(Peek()));
    if (token.text == L"$") Fail(token.at, "an alias needs a name after $");
    return token;
}

Token Lexer::ReadNumber(Token token) {
    std::string digits;
    if (Peek() == U'-' || Peek() == U'+') {
        token.integer.negative = Peek() == U'-';
        Advance();
        if (!IsAsciiDigit(Peek())) Fail(token.at, "a sign must be followed by digits");
    }
    const auto takesExponentSign = [&] {
        return (digits.ends_with('e') || digits.ends_with('E')) && !digits.starts_with("0x") &&
               !digits.starts_with("0X") && (Peek() == U'-' || Peek() == U'+');
    };
    while (IsWordPart(Peek()) || Peek() == U'.' || takesExponentSign()) {
        digits += static_cast<char>(Peek());
        Advance();
    }

    const bool isHex = digits.starts_with("0x") || digits.starts_with("0X");
    const char* begin = digits.data() + (isHex ? 2 : 0);
    const char* end = digits.data() + digits.size();
    const bool isReal = !isHex && digits.find_first_of(".eE") != std::string::npos;
    if (!isHex && !isReal && digits.size() > 1 && digits[0] == '0') {
        Fail(token.at, "numbers with a leading zero are octal in MOF and not supported");
    }
    std::from_chars_result result{};
    if (isReal) {
        token.kind = Token::Kind::kReal;
        result = std::from_chars(begin, end, token.real);
        if (token.integer.negative) token.real = -token.real;
    } else {
        token.kind = Token::Kind::kInteger;
        result = std::from_chars(begin, end, token.integer.magnitude, isHex ? 16 : 10);
    }
    if (result.ec == std::errc::result_out_of_range)
        Fail(token.at, "number '" + digits + "' is out of range");
    if (result.ec != std::errc() || result.ptr != end) Fail(token.at, "'" + digits + "' is not a number");
    return token;
}

Token Lexer::ReadString(Token token) {
    token.kind = Token::Kind::kString;
    Advance();
    while (Peek() != U'"') {
        char32_t character = Peek();
        if (character == kEnd || character == U'\n' || character == U'\r') {
            Fail(token.at, "string is not closed on its line");
        }
        if (character == U'\\') {
            character = ReadEscape();
        } else {
            Advance();
        }
        Append(token.text, character);
    }
    Advance();
    return token;
}

char32_t Lexer::ReadEscape() {
    const Location begin = at_;
    Advance();
    const char32_t letter = Peek();
    Advance();
    switch (letter) {
        case U'b':
            return U'\b';
        case U't':
            return U'\t';
        case U'n':
            return U'\n';
        case U'f':
            return U'\f';
        case U'r':
            return U'\r';
        case U'"':
        case U'\'':
        case U'\\':
            return letter;
        case U'x':
        case U'X':
            break;
        default:
            Fail(begin, "unknown escape in a string");
    }
    char32_t character = 0;
    int digits = 0;
    for (; digits < 4 && DigitValue(Peek()) < 16; ++digits) {
        character = character * 16 + DigitValue(Peek());
        Advance();
    }
    if (digits == 0) Fail(begin, "\\x must be followed by one to four hexadecimal digits");
    return character;
}

}  // namespace velkhost::mof
