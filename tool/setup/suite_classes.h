#pragma once

#include <span>
#include <vector>

#include "tool/basics/console.h"

namespace velkpci {

/// One of the management suite's two classes, as WMI has it.
struct SuiteClass {
    HRESULT status = S_OK;        ///< of its get, or of the connection where there was none
    bool isOfStandalone = false;  ///< defined as standalone.mof does, with no provider behind it
};

/// Whose the two classes are, taken together.
enum class SuiteState {
    kMissing,     ///< neither is there
    kStandalone,  ///< those of standalone.mof, or one of them
    kSuite,       ///< at least one is somebody else's
    kUnknown,     ///< WMI did not say
};

/// What WMI answers about root\VKQ.
struct NamespaceAnswers {
    std::vector<SuiteClass> suite;
    HRESULT ownClass = S_OK;  ///< of the get of a class of this provider
};

SuiteState StateOf(std::span<const SuiteClass> classes);

/// The first status that left the question open; S_OK without one.
HRESULT OpenStatus(std::span<const SuiteClass> classes);

/// Asks WMI's services of the namespace.
NamespaceAnswers AskAboutClasses(IWbemServices& services);

/// Connects to this computer's WMI and asks. A refused connection is the answer to each question.
NamespaceAnswers AskWmiAboutClasses(const Console& console);

}  // namespace velkpci
