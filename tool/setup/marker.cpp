#include "tool/setup/marker.h"

#include <fstream>
#include <sstream>
#include <string_view>

#include "host/utf8.h"
#include "tool/basics/files.h"

namespace velkpci {
namespace {

constexpr char kClasses[] = "classes";
constexpr char kStandalone[] = "standalone";
constexpr char kLogFolder[] = "log folder";
constexpr std::string_view kChoice = "choice ";
constexpr std::string_view kBefore = "before ";

void ParseNote(std::string_view line, SetupNotes& notes) {
    if (line == kClasses) notes.classes = true;
    if (line == kStandalone) notes.standalone = true;
    if (line == kLogFolder) notes.logFolder = true;
    if (line.starts_with(kChoice)) notes.choice = ParseChoice(std::string(line.substr(kChoice.size())));
}

std::string FormatNotes(const SetupNotes& notes, std::string_view prefix) {
    std::string text;
    const auto add = [&](std::string_view note) { text.append(prefix).append(note).append("\r\n"); };
    if (notes.classes) add(kClasses);
    if (notes.standalone) add(kStandalone);
    if (notes.logFolder) add(kLogFolder);
    if (notes.choice) add(std::string(kChoice) + ChoiceName(*notes.choice));
    return text;
}

}  // namespace

Marker ParseMarker(const std::string& text) {
    Marker marker;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r')) line.pop_back();
        std::string_view note = line;
        const bool isBefore = note.starts_with(kBefore);
        if (isBefore) note.remove_prefix(kBefore.size());
        ParseNote(note, isBefore ? marker.before : marker.now);
    }
    return marker;
}

std::string FormatMarker(const Marker& marker) {
    return FormatNotes(marker.now, "") + FormatNotes(marker.before, kBefore);
}

Marker ReadMarker(const std::filesystem::path& file) {
    std::ifstream input(file, std::ios::binary);
    std::ostringstream text;
    text << input.rdbuf();
    return ParseMarker(text.str());
}

void WriteMarker(const std::filesystem::path& file, const Marker& marker) {
    const std::string text = FormatMarker(marker);
    if (!text.empty()) {
        WriteFileWhole(velkhost::Utf8FromWide(file.wstring()), text);
        return;
    }
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

}  // namespace velkpci
