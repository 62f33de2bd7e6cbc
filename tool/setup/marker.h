#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "tool/setup/decision.h"

namespace velkpci {

/// What setup put into the system, and so takes out again.
struct SetupNotes {
    bool classes = false;     ///< of VelkWmiPci.mof
    bool standalone = false;  ///< of standalone.mof
    bool logFolder = false;
    std::optional<StandaloneChoice> choice;  ///< the administrator's last word

    bool operator==(const SetupNotes&) const = default;
};

/// The notes as they are, and as they were before the last compilation: what a rollback goes back to.
struct Marker {
    SetupNotes now, before;

    bool operator==(const Marker&) const = default;
};

/// As the file has it: a line for each note, those of before after the word "before". Unknown lines are no
/// notes.
Marker ParseMarker(const std::string& text);
std::string FormatMarker(const Marker& marker);

/// Empty when there is no file.
Marker ReadMarker(const std::filesystem::path& file);
/// Removes the file where there is nothing to note. Throws InputError.
void WriteMarker(const std::filesystem::path& file, const Marker& marker);

}  // namespace velkpci
