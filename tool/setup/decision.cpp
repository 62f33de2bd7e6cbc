#include "tool/setup/decision.h"

#include <algorithm>

namespace velkpci {
namespace {

using Step = StandaloneDecision::Step;

StandaloneDecision DecideAuto(SuiteState state, bool isNoted) {
    switch (state) {
        case SuiteState::kMissing:
            return {Step::kCompile, true,
                    "The suite's two classes are not there: those of standalone.mof are put in."};
        case SuiteState::kStandalone:
            // Anew, so that an upgrade brings its own definition.
            if (isNoted) return {Step::kCompile, true, "The classes of standalone.mof are compiled anew."};
            return {Step::kLeave, false,
                    "The classes of standalone.mof are there, and were not put in by setup."};
        case SuiteState::kSuite:
            return {Step::kLeave, false,
                    "The suite's two classes are there: standalone.mof is not compiled."};
        case SuiteState::kUnknown:
            break;
    }
    return {Step::kLeave, isNoted,
            "WMI does not say whether the suite's two classes are there: standalone.mof is NOT compiled."};
}

StandaloneDecision DecideOff(SuiteState state, bool isNoted) {
    if (!isNoted) return {Step::kLeave, false, "standalone.mof is not compiled."};
    switch (state) {
        case SuiteState::kMissing:
        case SuiteState::kStandalone:
            return {Step::kRemove, false,
                    "The classes of standalone.mof, which setup put in, are taken out."};
        case SuiteState::kSuite:
            return {Step::kLeave, false,
                    "Another product's classes are in the place of those of standalone.mof: they stay."};
        case SuiteState::kUnknown:
            break;
    }
    return {Step::kLeave, true, "WMI does not say whose the suite's two classes are: they stay."};
}

}  // namespace

std::optional<StandaloneChoice> ParseChoice(std::string word) {
    std::ranges::transform(word, word.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
    });
    if (word == "auto") return StandaloneChoice::kAuto;
    if (word == "on" || word == "1") return StandaloneChoice::kOn;
    if (word == "off" || word == "0") return StandaloneChoice::kOff;
    return {};
}

const char* ChoiceName(StandaloneChoice choice) {
    switch (choice) {
        case StandaloneChoice::kOn:
            return "on";
        case StandaloneChoice::kOff:
            return "off";
        case StandaloneChoice::kAuto:
            break;
    }
    return "auto";
}

StandaloneDecision DecideStandalone(StandaloneChoice choice, SuiteState state, bool isNoted) {
    if (choice == StandaloneChoice::kOff) return DecideOff(state, isNoted);
    if (choice == StandaloneChoice::kAuto) return DecideAuto(state, isNoted);
    return {Step::kCompile, isNoted || state != SuiteState::kStandalone,
            "standalone.mof is compiled, as asked."};
}

}  // namespace velkpci
