#include "host/mof/parser.h"

#include <array>
#include <utility>

#include "host/mof/lexer.h"

namespace velkhost::mof {

namespace {

using Kind = Token::Kind;

// What an error message shows of a name: names are ASCII, anything else of a string's contents is a '?'.
std::string Narrow(std::wstring_view text) {
    std::string narrow;
    for (const wchar_t character : text) {
        narrow += character >= 0x20 && character < 0x7F ? static_cast<char>(character) : '?';
    }
    return narrow;
}

bool SameWord(std::wstring_view text, std::wstring_view lowerCase) {
    if (text.size() != lowerCase.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const wchar_t character = text[i];
        const bool isUpper = character >= L'A' && character <= L'Z';
        if ((isUpper ? character - L'A' + L'a' : character) != lowerCase[i]) return false;
    }
    return true;
}

class Parser {
  public:
    Parser(std::string_view text, const std::string& file) : lexer_(text, file), token_(lexer_.Next()) {
        document_.file = file;
    }

    Document Run() {
        while (token_.kind != Kind::kEnd) ParseDeclaration();
        return std::move(document_);
    }

  private:
    [[noreturn]] void Fail(Location at, const std::string& message) const {
        throw MofError(lexer_.File(), at, message);
    }
    [[noreturn]] void FailExpected(const std::string& what) const {
        std::string found = "the end of the text";
        if (token_.kind == Kind::kInteger || token_.kind == Kind::kReal) found = "a number";
        if (token_.kind == Kind::kString) found = "a string";
        if (!token_.text.empty() && token_.kind != Kind::kString) found = "'" + Narrow(token_.text) + "'";
        Fail(token_.at, "expected " + what + ", found " + found);
    }

    Token Take() { return std::exchange(token_, lexer_.Next()); }
    bool IsSymbol(wchar_t symbol) const { return token_.kind == Kind::kSymbol && token_.text[0] == symbol; }
    bool IsWord(std::wstring_view lowerCase) const {
        return token_.kind == Kind::kIdentifier && SameWord(token_.text, lowerCase);
    }
    bool TakeSymbolIf(wchar_t symbol) {
        if (!IsSymbol(symbol)) return false;
        Take();
        return true;
    }
    void TakeSymbol(wchar_t symbol) {
        if (!TakeSymbolIf(symbol)) FailExpected(std::string("'") + static_cast<char>(symbol) + "'");
    }
    Token TakeIdentifier(const std::string& what) {
        if (token_.kind != Kind::kIdentifier) FailExpected(what);
        return Take();
    }

    void ParseDeclaration();
    void ParsePragma();
    void ParseDeletion(bool isInstance, Location at);
    void ParseClass(std::vector<Qualifier> qualifiers);
    void ParseInstance();
    Property ParseProperty();
    std::vector<Qualifier> ParseQualifiers();
    Qualifier ParseQualifier();
    void ParseFlavors(std::vector<std::wstring>& flavors);
    Literal ParseValue();
    Literal ParseList();
    Literal ParseScalar();

    Lexer lexer_;
    Token token_;
    Document document_;
    std::wstring nameSpace_ = L"\\\\.\\root\\default";
};

void Parser::ParseDeclaration() {
    if (TakeSymbolIf(L'#')) return ParsePragma();
    const Location at = token_.at;
    std::vector<Qualifier> qualifiers;
    if (IsSymbol(L'[')) qualifiers = ParseQualifiers();
    if (IsWord(L"class")) return ParseClass(std::move(qualifiers));
    if (IsWord(L"qualifier")) Fail(token_.at, "qualifier declarations are not supported");
    if (!IsWord(L"instance")) FailExpected("'class', 'instance' or '#pragma'");
    if (!qualifiers.empty()) Fail(at, "qualifiers on an instance are not supported");
    ParseInstance();
}

void Parser::ParsePragma() {
    if (!IsWord(L"pragma")) FailExpected("'pragma'");
    Take();
    const Token name = TakeIdentifier("the name of a pragma");
    if (SameWord(name.text, L"autorecover")) {
        document_.autorecover = true;
        return;
    }
    if (SameWord(name.text, L"deleteclass")) return ParseDeletion(false, name.at);
    if (SameWord(name.text, L"deleteinstance")) return ParseDeletion(true, name.at);
    const bool isNamespace = SameWord(name.text, L"namespace");
    if (!isNamespace && !SameWord(name.text, L"classflags") && !SameWord(name.text, L"instanceflags")) {
        Fail(name.at, "pragma '" + Narrow(name.text) + "' is not supported");
    }
    TakeSymbol(L'(');
    if (token_.kind != Kind::kString) FailExpected("a string");
    const Token argument = Take();
    TakeSymbol(L')');
    if (isNamespace) {
        if (argument.text.empty()) Fail(argument.at, "a namespace needs a name");
        nameSpace_ = argument.text;
    }
}

void Parser::ParseDeletion(bool isInstance, Location at) {
    Deletion deletion;
    deletion.nameSpace = nameSpace_;
    deletion.isInstance = isInstance;
    deletion.at = at;
    TakeSymbol(L'(');
    if (token_.kind != Kind::kString) FailExpected("a string");
    deletion.target = Take().text;
    TakeSymbol(L',');
    deletion.mayBeMissing = IsWord(L"nofail");
    if (!deletion.mayBeMissing && !IsWord(L"fail")) FailExpected("'FAIL' or 'NOFAIL'");
    Take();
    TakeSymbol(L')');
    document_.declarations.emplace_back(std::move(deletion));
}

void Parser::ParseClass(std::vector<Qualifier> qualifiers) {
    ClassDeclaration declaration;
    declaration.at = Take().at;
    declaration.nameSpace = nameSpace_;
    declaration.qualifiers = std::move(qualifiers);
    declaration.name = TakeIdentifier("the name of a class").text;
    if (TakeSymbolIf(L':')) declaration.superclass = TakeIdentifier("the name of a superclass").text;
    TakeSymbol(L'{');
    while (!IsSymbol(L'}')) declaration.properties.push_back(ParseProperty());
    TakeSymbol(L'}');
    TakeSymbol(L';');
    document_.declarations.emplace_back(std::move(declaration));
}

Property Parser::ParseProperty() {
    Property property;
    if (IsSymbol(L'[')) property.qualifiers = ParseQualifiers();
    const Token type = TakeIdentifier("the type of a property or '}'");
    if (IsWord(L"ref")) {
        Take();
        property.type.element = Cim::kReference;
        property.referenceClass = type.text;
    } else if (const std::optional<Cim> known = CimFromKeyword(type.text)) {
        property.type.element = *known;
    } else {
        Fail(type.at, "'" + Narrow(type.text) + "' is not a CIM type");
    }
    const Token name = TakeIdentifier("the name of a property");
    property.name = name.text;
    property.at = name.at;
    if (IsSymbol(L'(')) Fail(name.at, "methods are not supported");
    if (TakeSymbolIf(L'[')) {
        TakeSymbol(L']');
        property.type.isArray = true;
    }
    if (TakeSymbolIf(L'=')) property.initial = ParseValue();
    TakeSymbol(L';');
    return property;
}

void Parser::ParseInstance() {
    InstanceDeclaration declaration;
    declaration.at = Take().at;
    declaration.nameSpace = nameSpace_;
    if (!IsWord(L"of")) FailExpected("'of'");
    Take();
    declaration.className = TakeIdentifier("the name of a class").text;
    if (IsWord(L"as")) {
        Take();
        if (token_.kind != Kind::kAlias) FailExpected("an alias");
        declaration.alias = Take().text;
    }
    TakeSymbol(L'{');
    while (!IsSymbol(L'}')) {
        InstanceDeclaration::Assignment assignment;
        const Token name = TakeIdentifier("the name of a property or '}'");
        assignment.name = name.text;
        assignment.at = name.at;
        TakeSymbol(L'=');
        assignment.value = ParseValue();
        TakeSymbol(L';');
        declaration.values.push_back(std::move(assignment));
    }
    TakeSymbol(L'}');
    TakeSymbol(L';');
    document_.declarations.emplace_back(std::move(declaration));
}

std::vector<Qualifier> Parser::ParseQualifiers() {
    std::vector<Qualifier> qualifiers;
    TakeSymbol(L'[');
    do {
        qualifiers.push_back(ParseQualifier());
    } while (TakeSymbolIf(L','));
    TakeSymbol(L']');
    return qualifiers;
}

Qualifier Parser::ParseQualifier() {
    Qualifier qualifier;
    const Token name = TakeIdentifier("the name of a qualifier");
    qualifier.name = name.text;
    qualifier.at = name.at;
    qualifier.value = {true, name.at};
    if (TakeSymbolIf(L'(')) {
        qualifier.value = ParseScalar();
        TakeSymbol(L')');
    } else if (IsSymbol(L'{')) {
        qualifier.value = ParseList();
    }
    if (TakeSymbolIf(L':')) ParseFlavors(qualifier.flavors);
    return qualifier;
}

void Parser::ParseFlavors(std::vector<std::wstring>& flavors) {
    static constexpr std::array<std::wstring_view, 8> kFlavors = {
        L"enableoverride", L"disableoverride", L"restricted",    L"tosubclass",
        L"nottosubclass",  L"toinstance",      L"nottoinstance", L"amended"};
    do {
        const Token flavor = TakeIdentifier("a flavor");
        bool isKnown = false;
        for (const std::wstring_view known : kFlavors) isKnown = isKnown || SameWord(flavor.text, known);
        if (!isKnown) Fail(flavor.at, "'" + Narrow(flavor.text) + "' is not a flavor");
        flavors.push_back(flavor.text);
    } while (token_.kind == Kind::kIdentifier);
}

Literal Parser::ParseValue() { return IsSymbol(L'{') ? ParseList() : ParseScalar(); }

// CIM has no arrays of arrays, so that a list holds scalars only and nothing here recurses.
Literal Parser::ParseList() {
    Literal literal;
    literal.at = token_.at;
    Literal::List elements;
    TakeSymbol(L'{');
    if (!IsSymbol(L'}')) {
        do {
            if (IsSymbol(L'{')) Fail(token_.at, "an array cannot hold an array");
            elements.push_back(ParseScalar());
        } while (TakeSymbolIf(L','));
    }
    TakeSymbol(L'}');
    literal.data = std::move(elements);
    return literal;
}

Literal Parser::ParseScalar() {
    Literal literal;
    literal.at = token_.at;
    if (token_.kind == Kind::kInteger) {
        literal.data = Take().integer;
    } else if (token_.kind == Kind::kReal) {
        literal.data = Take().real;
    } else if (token_.kind == Kind::kAlias) {
        literal.data = Alias{Take().text};
    } else if (IsWord(L"true") || IsWord(L"false")) {
        literal.data = IsWord(L"true");
        Take();
    } else if (IsWord(L"null")) {
        Take();
    } else if (token_.kind == Kind::kString) {
        std::wstring text;
        while (token_.kind == Kind::kString) text += Take().text;
        literal.data = std::move(text);
    } else if (IsWord(L"instance")) {
        Fail(token_.at, "an embedded instance as a value is not supported");
    } else {
        FailExpected("a value");
    }
    return literal;
}

}  // namespace

Document Parse(std::string_view text, const std::string& file) { return Parser(text, file).Run(); }

}  // namespace velkhost::mof
