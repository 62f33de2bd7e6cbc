#include "fuzz/input.h"
#include "host/mof/lexer.h"
#include "host/mof/parser.h"

namespace mof = velkhost::mof;
using velkfuzz::Require;

namespace {

class Text {
  public:
    explicit Text(std::string_view text)
        : text_(text), lines_(1 + static_cast<int>(std::count(text.begin(), text.end(), '\n'))) {}

    void RequireInside(mof::Location at) const {
        Require(at.line >= 1 && at.line <= lines_ && at.column >= 1 &&
                    static_cast<std::size_t>(at.column) <= text_.size() + 1,
                "a place lies in the text");
    }

  private:
    std::string_view text_;
    int lines_;
};

/// Every token moves forward, and the end stays the end.
void CheckTokens(std::string_view text, const Text& places) {
    mof::Lexer lexer(text, "fuzz");
    mof::Location last{1, 0};
    for (std::size_t count = 0;; ++count) {
        const mof::Token token = lexer.Next();
        places.RequireInside(token.at);
        if (token.kind == mof::Token::Kind::kEnd) break;
        Require(count < text.size(), "there are no more tokens than characters");
        Require(token.at.line > last.line || (token.at.line == last.line && token.at.column > last.column),
                "a token stands behind the one before it");
        last = token.at;
    }
    Require(lexer.Next().kind == mof::Token::Kind::kEnd, "the end stays the end");
}

void CheckLiteral(const mof::Literal& literal, const Text& places, bool isElement) {
    places.RequireInside(literal.at);
    if (const auto* list = std::get_if<mof::Literal::List>(&literal.data)) {
        Require(!isElement, "a list holds no list");
        for (const mof::Literal& element : *list) CheckLiteral(element, places, true);
    }
}

void CheckQualifiers(const std::vector<mof::Qualifier>& qualifiers, const Text& places) {
    for (const mof::Qualifier& qualifier : qualifiers) {
        Require(!qualifier.name.empty(), "a qualifier has a name");
        CheckLiteral(qualifier.value, places, false);
    }
}

void Check(const mof::ClassDeclaration& declaration, const Text& places) {
    Require(!declaration.name.empty(), "a class has a name");
    CheckQualifiers(declaration.qualifiers, places);
    for (const mof::Property& property : declaration.properties) {
        Require(!property.name.empty(), "a property has a name");
        Require((property.type.element == velkhost::Cim::kReference) == !property.referenceClass.empty(),
                "references and no others name a class");
        Require(velkhost::CimFromNumber(property.type.Number()) == property.type, "a type has its number");
        CheckQualifiers(property.qualifiers, places);
        // Where none is written it has no place.
        if (property.initial.data.index() != 0) CheckLiteral(property.initial, places, false);
    }
}

void Check(const mof::InstanceDeclaration& declaration, const Text& places) {
    Require(!declaration.className.empty(), "an instance has a class");
    for (const auto& assignment : declaration.values) {
        Require(!assignment.name.empty(), "a value has a name");
        CheckLiteral(assignment.value, places, false);
    }
}

void Check(const mof::Deletion& deletion, const Text& places) { places.RequireInside(deletion.at); }

}  // namespace

// Tokens and errors have a place in the text, nothing but a MofError is thrown, the document keeps the limits
// that it promises, and a text that is written twice declares everything twice.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // On the heap, to its exact size: a string would have a zero behind it.
    const std::vector<char> bytes(data, data + size);
    const std::string_view text(bytes.data(), bytes.size());
    const Text places(text);
    try {
        CheckTokens(text, places);
        const mof::Document document = mof::Parse(text, "fuzz");
        for (const mof::Declaration& declaration : document.declarations) {
            std::visit([&](const auto& one) { Check(one, places); }, declaration);
        }
        if (text.starts_with("\xEF\xBB\xBF")) return 0;
        const std::string twice = std::string(text) + "\n" + std::string(text);
        Require(mof::Parse(twice, "fuzz").declarations.size() == 2 * document.declarations.size(),
                "a text written twice declares everything twice");
    } catch (const mof::MofError& error) {
        places.RequireInside(error.At());
        Require(std::string_view(error.what()).starts_with("fuzz("), "an error names the file and the place");
    }
    return 0;
}
