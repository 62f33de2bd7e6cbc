#pragma once

#include <optional>
#include <string>

#include "tool/setup/suite_classes.h"

namespace velkpci {

/// What the administrator wants of standalone.mof: its classes where nobody else's are there, always, never.
enum class StandaloneChoice { kAuto, kOn, kOff };

/// "auto", "on" or "1", "off" or "0", in any case; nothing for another word.
std::optional<StandaloneChoice> ParseChoice(std::string word);
/// "auto", "on", "off".
const char* ChoiceName(StandaloneChoice choice);

struct StandaloneDecision {
    enum class Step { kLeave, kCompile, kRemove };
    Step step = Step::kLeave;
    bool isOurs = false;  ///< whether a later removal takes the classes out
    std::string reason;   ///< a sentence
};

/// What to do about the classes of standalone.mof. `isNoted` says that an earlier setup put them in: what
/// anybody else put in is left alone, and what setup put in but somebody replaced since is his.
StandaloneDecision DecideStandalone(StandaloneChoice choice, SuiteState state, bool isNoted);

}  // namespace velkpci
