#include "support/recording_sink.h"

namespace velktest {

HRESULT RecordingSink::Indicate(LONG count, IWbemClassObject** objects) {
    auto& delivered = indications.emplace_back();
    for (LONG at = 0; at < count; ++at) delivered.emplace_back(objects[at]);
    if (onIndicate) onIndicate();
    return indicateStatus;
}

HRESULT RecordingSink::SetStatus(LONG flags, HRESULT result, BSTR text, IWbemClassObject* object) {
    statuses.push_back({flags, result});
    plainStatuses = plainStatuses && text == nullptr && object == nullptr;
    if (onStatus) onStatus();
    return S_OK;
}

}  // namespace velktest
