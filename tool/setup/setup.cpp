#include "tool/setup/setup.h"

#include "common/log_paths.h"
#include "host/machine/machine_setup.h"
#include "host/utf8.h"
#include "tool/basics/errors.h"
#include "tool/basics/files.h"
#include "tool/inventory/status_names.h"
#include "tool/setup/autorecover.h"
#include "tool/setup/log_folder.h"

namespace velkpci {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kClassesMof[] = L"VelkWmiPci.mof";
constexpr wchar_t kStandaloneMof[] = L"standalone.mof";
constexpr wchar_t kUninstallMof[] = L"uninstall.mof";
constexpr wchar_t kUninstallStandaloneMof[] = L"uninstall-standalone.mof";

}  // namespace

SetupPlaces ThisSetup() {
    // The path of the logs ends with a backslash.
    const fs::path logs = fs::path(velk::WbemLogFolder(MAX_PATH)).parent_path();
    const fs::path wbem = logs.parent_path();
    SetupPlaces places{velkhost::FileOfModule(nullptr).parent_path(), wbem / L"mofcomp.exe", logs,
                       wbem / L"AutoRecover"};
    if (!fs::exists(places.folder / L"mof" / kClassesMof))
        throw InputError(
            "no folder \"mof\" with VelkWmiPci.mof beside the program: run the installed velkpci");
    return places;
}

Setup::Setup(SetupPlaces places, const Console& console)
    : places_(std::move(places)),
      console_(console),
      markerFile_(Mof(L"setup-notes.txt")),
      logFile_(places_.folder / L"compile-mof.log"),
      marker_(ReadMarker(markerFile_)) {}

int Setup::Compile(std::optional<StandaloneChoice> choice) {
    marker_.before = marker_.now;
    if (choice) marker_.now.choice = choice;
    if (MakeLogFolder(places_.logFolder)) marker_.now.logFolder = true;
    const NamespaceAnswers answers = AskWmiAboutClasses(console_);
    const int code = CompileAll(answers);
    KeepLog();
    return code;
}

int Setup::CompileAll(const NamespaceAnswers& answers) {
    // Noted first: a compilation that fails may have put in the half. Classes that are there without a note
    // were put in by hand.
    if (IsNotThere(answers.ownClass)) marker_.now.classes = true;
    NoteAll();
    if (const auto code = Run(kClassesMof); code != 0) {
        Say("The WMI classes of VelkWmiPci are NOT available: the MOF compiler failed (code " +
            std::to_string(code) + ").");
        Say("The provider itself needs nothing more. Repair WMI, then run as administrator:");
        Say("  \"" + velkhost::Utf8FromWide((places_.folder / L"velkpci.exe").wstring()) +
            "\" setup compile");
        return static_cast<int>(code);
    }
    Say("The WMI classes of VelkWmiPci are ready.");

    const SuiteState state = StateOf(answers.suite);
    const auto decision =
        DecideStandalone(marker_.now.choice.value_or(StandaloneChoice::kAuto), state, marker_.now.standalone);
    Say(decision.reason);
    if (const HRESULT open = OpenStatus(answers.suite); FAILED(open))
        Say("WMI answered " + DescribeStatus(open) + ".");
    if (decision.step == StandaloneDecision::Step::kRemove) TakeOutStandalone(state);
    marker_.now.standalone = decision.isOurs;
    NoteAll();
    if (decision.step != StandaloneDecision::Step::kCompile) return 0;
    const auto code = Run(kStandaloneMof);
    if (code != 0)
        Say("standalone.mof FAILED (code " + std::to_string(code) + "): associations lead to no chassis.");
    return static_cast<int>(code);
}

void Setup::Remove() {
    TakeOutClasses();
    TakeOutStandalone(StateOf(AskWmiAboutClasses(console_).suite));
    DropFile(markerFile_);
}

void Setup::Rollback() {
    const SetupNotes was = marker_.before;
    if (marker_.now.classes && !was.classes) TakeOutClasses();
    if (marker_.now.standalone && !was.standalone)
        TakeOutStandalone(StateOf(AskWmiAboutClasses(console_).suite));
    std::error_code ignored;
    // Only when it is empty: what others logged meanwhile is theirs.
    if (marker_.now.logFolder && !was.logFolder) fs::remove(places_.logFolder, ignored);
    DropFile(logFile_);
    marker_ = {was, {}};
    NoteAll();
}

void Setup::TakeOutClasses() {
    Run(kUninstallMof);
    ForgetFiles({Mof(kClassesMof)}, places_.autoRecover);
}

void Setup::TakeOutStandalone(SuiteState state) {
    const auto decision = DecideStandalone(StandaloneChoice::kOff, state, marker_.now.standalone);
    if (decision.step != StandaloneDecision::Step::kRemove) return;
    Run(kUninstallStandaloneMof);
    ForgetFiles({Mof(kStandaloneMof)}, places_.autoRecover);
}

unsigned long Setup::Run(const wchar_t* mof) {
    const CompilerRun run = RunMofCompiler(places_.compiler, Mof(mof));
    console_.Print(run.said);
    log_ += run.said;
    return run.code;
}

void Setup::Say(const std::string& line) {
    console_.Print(line + "\r\n");
    log_ += line + "\r\n";
}

void Setup::KeepLog() const { WriteFileWhole(velkhost::Utf8FromWide(logFile_.wstring()), log_); }

void Setup::NoteAll() const { WriteMarker(markerFile_, marker_); }

void Setup::DropFile(const fs::path& file) const {
    std::error_code ignored;
    fs::remove(file, ignored);
}

}  // namespace velkpci
