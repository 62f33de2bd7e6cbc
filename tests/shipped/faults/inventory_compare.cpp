#include <algorithm>
#include <string_view>

#include "fault_bench.h"
#include "inventory.h"

namespace velktest {

namespace {

constexpr std::wstring_view kNotFound = L"<String could not be found!>";

velk::CString Replaced(velk::CString text, std::wstring_view what, std::wstring_view with) {
    for (std::size_t at = text.find(what); at != velk::CString::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

/// Whether one text of the value stands as not found in the other and nothing else differs.
bool LacksText(std::wstring_view value, std::wstring_view delivered) {
    const std::size_t at = delivered.find(kNotFound);
    if (at == std::wstring_view::npos) return false;
    const std::wstring_view before = delivered.substr(0, at);
    const std::wstring_view behind = delivered.substr(at + kNotFound.size());
    return value.size() >= before.size() + behind.size() && value.starts_with(before) &&
           value.ends_with(behind);
}

/// What the property may be instead of its reference value.
std::vector<velk::CString> Variants(const PropertyText& reference, const Differences& allowed) {
    const bool isGroup = reference.name == L"GroupComponent";
    std::vector<velk::CString> variants = {reference.value};
    const auto add = [&](Difference difference, auto vary) {
        if (!allowed.contains(difference)) return;
        for (std::size_t index = variants.size(); index-- > 0;) variants.push_back(vary(variants[index]));
    };
    add(Difference::kNextName, [](const auto& value) { return Replaced(value, kFullName, kHostName); });
    if (!isGroup) {
        add(Difference::kNoServer, [](const auto& value) {
            return Replaced(value, velk::FormatText(L"\\\\%s\\", kServerName), L"\\\\\\");
        });
    } else {
        add(Difference::kNoGroup, [](const auto&) { return velk::CString(); });
    }
    if (reference.value.starts_with(L'{')) {
        // One text each; the slot in the array stays, empty.
        add(Difference::kNoElement, [](const auto&) { return velk::CString(L"{,}"); });
    }
    if (reference.name == L"BusLayout")
        add(Difference::kNoLayout, [](const auto&) { return velk::CString(L"0"); });
    return variants;
}

bool Matches(const PropertyText& reference, const PropertyText& delivered, const Differences& allowed) {
    if (reference.name != delivered.name) return false;
    return std::ranges::any_of(Variants(reference, allowed), [&](const velk::CString& value) {
        return value == delivered.value ||
               (allowed.contains(Difference::kNoText) && LacksText(value, delivered.value));
    });
}

bool Matches(const RecordText& reference, const RecordText& delivered, const Differences& allowed) {
    return std::ranges::equal(reference, delivered, [&](const PropertyText& left, const PropertyText& right) {
        return Matches(left, right, allowed);
    });
}

std::string Text(const RecordText& record) {
    std::string text;
    for (const PropertyText& property : record) {
        for (const velk::CString& part :
             {property.name, velk::CString(L"="), property.value, velk::CString(L"; ")})
            for (const wchar_t letter : part) text += letter < 0x80 ? static_cast<char>(letter) : '?';
    }
    return text;
}

/// The most that may be missing of `count` records.
std::size_t MostMissing(std::size_t count, std::size_t delivered, const Differences& allowed) {
    if (allowed.contains(Difference::kFewerDevices) || allowed.contains(Difference::kNotDelivered))
        return count;
    if (allowed.contains(Difference::kNoSlots) && delivered == 0) return count;
    return allowed.contains(Difference::kOneDevice) ? 1 : 0;
}

}  // namespace

std::string Compare(const Inventory& reference, const Inventory& delivered, const Differences& allowed) {
    std::string missing;
    std::string strange;
    std::size_t missingCount = 0;
    std::size_t strangeCount = 0;
    auto next = reference.begin();
    for (const RecordText& record : delivered) {
        const auto found = std::find_if(next, reference.end(), [&](const RecordText& candidate) {
            return Matches(candidate, record, allowed);
        });
        if (found == reference.end()) {
            ++strangeCount;
            strange += "not of the reference: " + Text(record);
            continue;
        }
        for (; next != found; ++next, ++missingCount) missing += "missing: " + Text(*next);
        ++next;
    }
    for (; next != reference.end(); ++next, ++missingCount) missing += "missing: " + Text(*next);

    // A device that lacks a property is there, as another; never more than there are.
    const std::size_t mostStrange = allowed.contains(Difference::kOneDevice) ? 1 : 0;
    std::string complaint;
    if (missingCount > MostMissing(reference.size(), delivered.size(), allowed)) complaint += missing;
    if (strangeCount > mostStrange || strangeCount > missingCount) complaint += strange;
    return complaint;
}

}  // namespace velktest
