#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "tool/setup/marker.h"
#include "tool/setup/mof_compiler.h"

namespace velkpci {

/// Where setup finds and leaves things.
struct SetupPlaces {
    std::filesystem::path folder;       ///< the program's, with "mof" in it; the log goes there
    std::filesystem::path compiler;     ///< mofcomp.exe
    std::filesystem::path logFolder;    ///< that the provider logs into
    std::filesystem::path autoRecover;  ///< where WMI keeps copies of what it is to compile again
};

/// Those of this program on this computer. Throws InputError where no folder "mof" lies beside the program.
SetupPlaces ThisSetup();

/// Tells WMI about the classes of the provider, and makes it forget them. What is put in is noted beside the
/// MOF files, so that just that is taken out again. What is done is told on the console and in
/// compile-mof.log.
class Setup {
  public:
    Setup(SetupPlaces places, const Console& console);

    /// Without a choice the last one counts, and at first "auto". Returns 0, or the MOF compiler's code.
    /// Throws InputError when nothing can be noted.
    int Compile(std::optional<StandaloneChoice> choice);
    /// Takes out the provider's classes, and those of standalone.mof where setup put them in. No failure:
    /// a removal must go on.
    void Remove();
    /// Takes out what the last compilation put in, with what it left in files and folders.
    void Rollback();

  private:
    std::filesystem::path Mof(const wchar_t* name) const { return places_.folder / L"mof" / name; }
    void Say(const std::string& line);
    unsigned long Run(const wchar_t* mof);
    int CompileAll(const NamespaceAnswers& answers);
    void TakeOutClasses();
    void TakeOutStandalone(SuiteState state);
    void KeepLog() const;
    void NoteAll() const;
    void DropFile(const std::filesystem::path& file) const;

    const SetupPlaces places_;
    const Console& console_;
    const std::filesystem::path markerFile_, logFile_;
    Marker marker_;
    std::string log_;
};

}  // namespace velkpci
