#include "host/utf8.h"
#include "tool/basics/errors.h"
#include "tool/commands/commands.h"
#include "tool/view/csv_view.h"
#include "tool/view/json_view.h"
#include "tool/view/table.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;

std::string SuperclassOf(const ClassDef& definition) {
    return definition.derivation.empty() ? std::string() : Utf8FromWide(definition.derivation.front());
}

std::string KeysOf(const ClassDef& definition) {
    std::string keys;
    for (const PropertyDef& property : definition.properties) {
        if (property.isKey) keys += (keys.empty() ? "" : ", ") + Utf8FromWide(property.name);
    }
    return keys;
}

Json RowToJson(const ClassDef& definition) {
    Json row = {{"class", Utf8FromWide(definition.name)}};
    row["provider"] = TextOrNull(Utf8FromWide(definition.Provider()));
    row.update(ClassToJson(definition));
    row.update(DeclarationToJson(definition));
    return row;
}

/// A line for the document, each class and each failure.
std::string FormatLines(const SourceInfo& source, const Json& document) {
    Json head = BeginDocument("lines", source);
    head["command"] = "classes";
    std::string out = PrintJsonLine("document", head);
    for (const Json& row : document["classes"]) out += PrintJsonLine("class", row);
    for (const Json& failure : document["failures"]) out += PrintJsonLine("failure", failure);
    return out;
}

std::string FormatClasses(const std::vector<ClassPtr>& classes, const std::vector<Failure>& failures,
                          const SourceInfo& source, Format format) {
    Json document = BeginDocument("classes", source);
    document["classes"] = Json::array();
    std::vector<std::vector<std::string>> rows = {{"CLASS", "SUPERCLASS", "PROVIDER", "KEYS"}};
    std::vector<std::vector<std::optional<std::string>>> csv = {{"class", "superclass", "provider", "keys"}};
    for (const ClassPtr& each : classes) {
        const std::string name = Utf8FromWide(each->name), super = SuperclassOf(*each),
                          provider = Utf8FromWide(each->Provider()), keys = KeysOf(*each);
        rows.push_back({name, super.empty() ? "-" : super, provider.empty() ? "-" : provider, keys});
        csv.push_back({name, super.empty() ? std::nullopt : std::optional(super),
                       provider.empty() ? std::nullopt : std::optional(provider), keys});
        document["classes"].push_back(RowToJson(*each));
    }
    document["failures"] = FailuresToJson(failures);
    switch (format) {
        case Format::kJson:
            return PrintJson(document);
        case Format::kCsv:
            return FormatCsv(csv);
        case Format::kNdjson:
            return FormatLines(source, document);
        case Format::kText:
            break;
    }
    return FormatTable(rows);
}

class ClassesCommand final : public Command {
  public:
    int Run(Context& context) override {
        WmiReader& reader = context.Reader();
        const bool all = context.Options().output.all;
        std::vector<std::wstring> names;
        const HRESULT listed = reader.ClassNames(names, all);
        if (FAILED(listed)) throw WmiError("the classes of " + reader.From().Info().nameSpace, listed);
        std::vector<ClassPtr> classes;
        std::vector<Failure> failures;
        for (const std::wstring& name : names) {
            ClassPtr definition;
            const HRESULT result = reader.Definition(name, definition);
            if (FAILED(result)) {
                failures.push_back(context.Explain(Utf8FromWide(name), result));
            } else if (all || reader.HasInstances(*definition)) {
                classes.push_back(std::move(definition));
            }
        }
        context.Out().Print(
            FormatClasses(classes, failures, reader.From().Info(), context.Options().output.format));
        return context.Finish(failures);
    }
};

}  // namespace

std::unique_ptr<Command> MakeClassesCommand() { return std::make_unique<ClassesCommand>(); }

}  // namespace velkpci
