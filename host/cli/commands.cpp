#include "host/cli/commands.h"

#include <algorithm>
#include <set>

#include "host/cli/links.h"
#include "host/cli/object_view.h"
#include "host/cli/reader.h"
#include "host/cli/status_names.h"
#include "host/cli/table.h"
#include "host/cli/tree.h"
#include "host/utf8.h"

namespace velkhost::cli {
namespace {

using nlohmann::ordered_json;

class CommandRunner {
  public:
    CommandRunner(const Options& options, Session& session, const Console& console)
        : options_(options),
          session_(session),
          console_(console),
          reader_(session.Services(), console, options.verbose),
          data_(session.Host().Data()) {}

    int Run() {
        switch (options_.command) {
            case Options::Command::kClasses:
                ListClasses();
                break;
            case Options::Command::kList:
                List();
                break;
            case Options::Command::kGet:
                Get();
                break;
            case Options::Command::kDump:
                Dump();
                break;
            case Options::Command::kAssociators:
                Associators();
                break;
            case Options::Command::kReferences:
                References();
                break;
            case Options::Command::kTree:
                Tree();
                break;
        }
        return exitCode_;
    }

  private:
    void Fail(const std::string& what, HRESULT status) {
        console_.PrintError("velkhost: " + what + ": " + DescribeStatus(status) + "\n");
        exitCode_ = kWmiFailure;
    }
    void Fail(const std::wstring& what, HRESULT status) { Fail(Utf8FromWide(what), status); }

    void PrintJson(const ordered_json& json) { console_.Print(json.dump(2) + "\n"); }

    bool HasInstances(const std::wstring& name) const {
        HRESULT failure = S_OK;
        return data_.FindProvider(session_.Namespace(), name, failure).has_value() || FAILED(failure) ||
               !OwnStaticInstances(name).empty();
    }

    Objects OwnStaticInstances(const std::wstring& name) const {
        Objects own = data_.StaticInstances(session_.Namespace(), name);
        std::erase_if(own, [&](const auto& object) { return !SameName(object->Class().name, name); });
        return own;
    }

    void ListClasses() {
        ordered_json json = ordered_json::array();
        std::vector<std::vector<std::string>> rows = {{"CLASS", "SUPERCLASS", "PROVIDER", "KEYS"}};
        for (const std::wstring& name : data_.ClassNames(session_.Namespace(), options_.all)) {
            if (!options_.all && !HasInstances(name)) continue;
            const ClassPtr definition = data_.FindClass(session_.Namespace(), name);
            HRESULT failure = S_OK;
            const auto info = data_.FindProvider(session_.Namespace(), name, failure);
            const std::string super =
                definition->derivation.empty() ? std::string() : Utf8FromWide(definition->derivation.front());
            const std::string provider = info              ? Utf8FromWide(info->name)
                                         : FAILED(failure) ? DescribeStatus(failure)
                                                           : std::string();
            std::vector<std::string> keys;
            std::string keyText;
            for (const PropertyDef& property : definition->properties) {
                if (!property.isKey) continue;
                keys.push_back(Utf8FromWide(property.name));
                keyText += (keyText.empty() ? "" : ", ") + keys.back();
            }
            rows.push_back({Utf8FromWide(name), super.empty() ? "-" : super,
                            provider.empty() ? "-" : provider, keyText});
            json.push_back({{"class", Utf8FromWide(name)},
                            {"superclass", super},
                            {"provider", provider},
                            {"keys", keys}});
        }
        options_.asJson ? PrintJson(json) : console_.Print(FormatTable(rows));
    }

    void List() {
        const std::wstring name = WideFromUtf8(options_.target);
        Objects objects;
        const HRESULT result = reader_.Enumerate(name, objects);
        if (FAILED(result)) Fail(name, result);
        if (FAILED(result) && objects.empty()) return;
        if (options_.asJson) {
            PrintJson(ToArray(objects));
        } else if (options_.columns.empty()) {
            PrintBlocks(name, objects);
        } else {
            PrintColumns(name, objects);
        }
    }

    static ordered_json ToArray(const Objects& objects) {
        ordered_json array = ordered_json::array();
        for (const auto& object : objects) array.push_back(ToJson(*object));
        return array;
    }

    void PrintBlocks(const std::wstring& title, const Objects& objects) {
        const char* noun = objects.size() == 1 ? " instance\n" : " instances\n";
        console_.Print(Utf8FromWide(title) + ": " + std::to_string(objects.size()) + noun);
        for (std::size_t i = 0; i < objects.size(); ++i) {
            const std::string heading = "\n[" + std::to_string(i + 1) + "] " + ShortName(*objects[i]);
            console_.Print(FormatBlock(*objects[i], heading, options_.all));
        }
    }

    void PrintColumns(const std::wstring& name, const Objects& objects) {
        const ClassPtr definition = data_.FindClass(session_.Namespace(), name);
        std::vector<std::vector<std::string>> rows(1);
        std::vector<std::size_t> columns;
        for (const std::string& column : options_.columns) {
            const std::size_t index = definition->IndexOf(WideFromUtf8(column));
            if (index == ClassDef::kNone) throw InputError(column + ": the class has no such property");
            columns.push_back(index);
            rows.front().push_back(Utf8FromWide(definition->properties[index].name));
        }
        for (const auto& object : objects) {
            std::vector<std::string> row;
            for (const std::size_t column : columns) {
                // A derived class may hold the property elsewhere.
                row.push_back(
                    ShowValue(*object, object->Class().IndexOf(definition->properties[column].name)));
            }
            rows.push_back(std::move(row));
        }
        console_.Print(FormatTable(rows));
    }

    /// The object of a path that the user gave; null after telling why there is none.
    velk::ComPtr<ClassObject> GetByPath(const std::string& path) {
        velk::ComPtr<ClassObject> object;
        const HRESULT result = reader_.Get(WideFromUtf8(path), object);
        if (FAILED(result)) Fail(path, result);
        return object;
    }
    velk::ComPtr<ClassObject> Target() { return GetByPath(options_.target); }

    void Get() {
        ordered_json json = ordered_json::array();
        bool isFirst = true;
        for (const std::string& path : options_.paths) {
            const auto object = GetByPath(path);
            if (options_.asJson) {
                json.push_back(object ? ToJson(*object) : ordered_json());
                continue;
            }
            if (!object) continue;
            if (!isFirst) console_.Print("\n");
            isFirst = false;
            const std::wstring heading = object->FullPath().value_or(object->Class().name);
            console_.Print(FormatBlock(*object, Utf8FromWide(heading), options_.all));
        }
        if (!options_.asJson) return;
        // One path gives its object; several give an array in their order, with null for what was not found.
        if (json.size() > 1) {
            PrintJson(json);
        } else if (!json.front().is_null()) {
            PrintJson(json.front());
        }
    }

    void Dump() {
        ordered_json json = ordered_json::object();
        bool isFirst = true;
        for (const std::wstring& name : data_.ClassNames(session_.Namespace())) {
            if (!HasInstances(name)) continue;
            Objects objects;
            const HRESULT result = reader_.Enumerate(name, objects);
            if (FAILED(result)) Fail(name, result);
            if (options_.asJson) {
                json[Utf8FromWide(name)] = ToArray(objects);
                continue;
            }
            if (!isFirst) console_.Print("\n");
            isFirst = false;
            PrintBlocks(name, objects);
        }
        if (options_.asJson) PrintJson(json);
    }

    /// The links of all association classes that have the target at one end; `identity` is the target's.
    std::vector<Link> LinksOf(const ClassObject& target, std::wstring& identity) {
        identity = PathIdentity(target.RelativePath().value_or(std::wstring()));
        std::vector<Link> found;
        for (const std::wstring& name : AssociationClasses(data_, session_.Namespace())) {
            std::vector<Link> links;
            const HRESULT result = ReadLinks(reader_, name, links);
            if (FAILED(result)) Fail(name, result);
            for (Link& link : links) {
                if (LinksTo(link, identity)) found.push_back(std::move(link));
            }
        }
        return found;
    }

    void PrintObjects(const std::wstring& title, const Objects& objects) {
        options_.asJson ? PrintJson(ToArray(objects)) : PrintBlocks(title, objects);
    }

    void References() {
        const auto target = Target();
        if (!target) return;
        std::wstring identity;
        Objects objects;
        for (const Link& link : LinksOf(*target, identity)) objects.push_back(link.association);
        PrintObjects(L"References of " + WideFromUtf8(ShortName(*target)), objects);
    }

    void Associators() {
        const auto target = Target();
        if (!target) return;
        std::wstring identity;
        Objects objects;
        std::set<std::wstring> seen;
        for (const Link& link : LinksOf(*target, identity)) {
            for (const std::wstring& end : link.ends) {
                const std::wstring other = PathIdentity(end);
                if (other == identity || !seen.insert(other).second) continue;
                velk::ComPtr<ClassObject> object;
                const HRESULT result = reader_.Get(end, object);
                // A reference may name what no class publishes; that is told and is no failure of the
                // command.
                if (SUCCEEDED(result)) {
                    objects.push_back(object);
                } else {
                    console_.PrintError("velkhost: " + Utf8FromWide(end) + ": " + DescribeStatus(result) +
                                        "\n");
                }
            }
        }
        PrintObjects(L"Associators of " + WideFromUtf8(ShortName(*target)), objects);
    }

    void Tree() {
        const TreeNode root =
            ReadTree(reader_, [this](const std::wstring& name, HRESULT result) { Fail(name, result); });
        options_.asJson ? PrintJson(ToJson(root)) : console_.Print(FormatTree(root));
    }

    const Options& options_;
    Session& session_;
    const Console& console_;
    const Reader reader_;
    const Repository& data_;
    int exitCode_ = kSuccess;
};

}  // namespace

int RunCommand(const Options& options, Session& session, const Console& console) {
    return CommandRunner(options, session, console).Run();
}

int RunProgram(std::vector<std::string> arguments, const Console& console) {
    const ParsedOptions parsed = ParseOptions(std::move(arguments));
    if (!parsed.options) {
        parsed.exitCode == 0 ? console.Print(parsed.message) : console.PrintError(parsed.message);
        return parsed.exitCode;
    }
    try {
        Session session(*parsed.options, console);
        return RunCommand(*parsed.options, session, console);
    } catch (const std::exception& error) {
        // Files that cannot be read or say what they must not; everything that WMI answers is a status.
        console.PrintError(std::string("velkhost: ") + error.what() + "\n");
        return kBadUsage;
    }
}

}  // namespace velkhost::cli
