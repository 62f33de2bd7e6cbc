#pragma once

#include <vector>

#include "support/fake_wbem.h"
#include "support/recording_sink.h"

namespace velktest {

/// What a sink was given, as the fakes that they are.
FakeObjects DeliveredTo(const RecordingSink& sink);

/// All properties of instances as text, for comparison.
velk::CString TextOf(const FakeObjects& instances);

/// The relative path of an instance: its class and the keys named, with `suffix` behind each key value.
velk::CString PathOf(const velk::CString& wmiClass, const FakeClassObject& instance,
                     const std::vector<velk::CString>& keys, const velk::CString& suffix);

}  // namespace velktest
