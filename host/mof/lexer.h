#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/mof/document.h"

namespace velkhost::mof {

struct Token {
    enum class Kind { kEnd, kIdentifier, kAlias, kString, kInteger, kReal, kSymbol };
    Kind kind = Kind::kEnd;
    std::wstring text;  ///< identifier, alias with its $, contents of a string, or the symbol
    Integer integer;
    double real = 0;
    Location at;
};

/// Cuts a MOF text (UTF-8) into tokens. Throws MofError for characters, numbers, escapes and comments that
/// are not MOF.
class Lexer {
  public:
    Lexer(std::string_view text, std::string file);

    const std::string& File() const { return file_; }
    Token Next();

  private:
    static constexpr char32_t kEnd = 0xFFFFFFFF;

    /// The character at the position, or kEnd.
    char32_t Peek();
    char32_t PeekSecond() const;
    void Advance();
    void SkipBlanksAndComments();
    void SkipBlockComment();
    Token ReadWord(Token token);
    Token ReadNumber(Token token);
    Token ReadString(Token token);
    char32_t ReadEscape();
    [[noreturn]] void Fail(Location at, const std::string& message) const;

    const std::string_view text_;
    const std::string file_;
    std::size_t position_ = 0;  ///< of the character last looked at
    std::size_t length_ = 0;    ///< its bytes; 0 before it was looked at
    char32_t character_ = kEnd;
    Location at_;
};

}  // namespace velkhost::mof
