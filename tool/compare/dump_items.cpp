#include <algorithm>
#include <iterator>

#include "host/path/object_path.h"
#include "host/utf8.h"
#include "tool/basics/errors.h"
#include "tool/compare/snapshot.h"
#include "tool/view/json_view.h"
#include "tool/view/object_view.h"

namespace velkpci {
namespace {

constexpr const char* kComputer = "Velk_WinComputerSystem";

/// The kinds that the classes of the provider are, for whoever reads the comparison.
constexpr std::pair<const char*, const char*> kKinds[] = {
    {kComputer, "computer"},        {"Velk_ComputerSystemChassis", "chassis"},
    {"Velk_PCISlot", "slot"},       {"Velk_PCISlotLocation", "location"},
    {"Velk_PCICard", "card"},       {"Velk_PCIDevice", "function"},
    {"Velk_PCIBridge", "function"},
};

std::string KindOf(const std::string& className) {
    const auto known =
        std::ranges::find_if(kKinds, [&](const auto& each) { return className == each.first; });
    return known == std::end(kKinds) ? className : known->second;
}

/// What a path leads to, without what only says in which computer.
std::string NameOfPath(const std::string& path) {
    const std::wstring wide = velkhost::WideFromUtf8(path);
    const auto parsed = velkhost::ParseObjectPath(wide);
    if (parsed && velkhost::SameName(parsed->className, velkhost::WideFromUtf8(kComputer))) return "computer";
    return ShortNameOfPath(wide);
}

class DumpReader {
  public:
    DumpReader(const Json& document, const std::string& file) : document_(document), file_(file) {}

    std::vector<Item> Read() const {
        if (document_.value("document", Json()) != "velkpci.instances")
            Fail("$.document", "neither a machine file nor a document that dump --json prints");
        if (document_.value("version", Json()) != kJsonVersion)
            Fail("$.version", "only version " + std::to_string(kJsonVersion) + " is understood");
        std::vector<Item> items;
        for (const auto& [name, told] : Member(document_, "$", "classes", Json::value_t::object).items())
            AddFailure(name, told, items);
        std::size_t index = 0;
        for (const Json& instance : Member(document_, "$", "instances", Json::value_t::array)) {
            const std::string place = "$.instances[" + std::to_string(index++) + "]";
            if (!instance.is_null()) items.push_back(ReadInstance(instance, place));
        }
        return items;
    }

  private:
    [[noreturn]] void Fail(const std::string& place, const std::string& complaint) const {
        throw InputError(file_ + ": " + place + ": " + complaint);
    }

    const Json& Member(const Json& parent, const std::string& place, const char* name,
                       Json::value_t type) const {
        const std::string where = place + "." + name;
        if (!parent.is_object() || !parent.contains(name)) Fail(where, "the member is missing");
        if (parent[name].type() != type) Fail(where, "another kind of value is expected");
        return parent[name];
    }

    /// A class that failed has no instances to compare: that it failed is what there is to tell.
    void AddFailure(const std::string& name, const Json& told, std::vector<Item>& items) const {
        if (!told.is_object() || !told.contains("status")) return;
        const std::string place = "$.classes." + name;
        const Json& status = Member(told, place, "status", Json::value_t::object);
        const Json& hex = Member(status, place + ".status", "hex", Json::value_t::string);
        items.push_back({"class", name, {{"status", status.value("name", Json())}, {"hex", hex}}});
    }

    Item ReadInstance(const Json& instance, const std::string& place) const {
        const std::string className = Member(instance, place, "class", Json::value_t::string);
        Item item{KindOf(className), {}, {{"class", className}}};
        const Json& properties = Member(instance, place, "properties", Json::value_t::object);
        for (const auto& [name, value] : properties.items()) {
            if (IsReference(className, name) && value.is_string()) {
                item.id += (item.id.empty() ? "" : " - ") + NameOfPath(value);
            } else if (name != "SystemName") {
                item.properties[name] = value;
            }
        }
        if (item.id.empty())
            item.id = NameOfPath(Member(instance, place, "path", Json::value_t::string).get<std::string>());
        return item;
    }

    bool IsReference(const std::string& className, const std::string& property) const {
        const Json::json_pointer place = Json::json_pointer() / "classes" / className / "types" / property;
        return document_.contains(place) && document_[place] == "ref";
    }

    const Json& document_;
    const std::string& file_;
};

}  // namespace

std::vector<Item> ItemsOfDump(const Json& document, const std::string& file) {
    return DumpReader(document, file).Read();
}

}  // namespace velkpci
