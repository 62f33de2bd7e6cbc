#include "ledger.h"

namespace velktest {

namespace {

constexpr const char* kNames[] = {"memory",  "heap",       "local memory", "text",   "array",
                                  "mutex",   "semaphore",  "file",         "thread", "registry key",
                                  "library", "device set", "apartment"};

/// The texts of an array of BSTR.
template <class Visitor>
void ForEachText(SAFEARRAY* array, Visitor visit) {
    VARTYPE type = VT_EMPTY;
    LONG lower = 0;
    LONG upper = -1;
    BSTR* texts = nullptr;
    if (FAILED(::SafeArrayGetVartype(array, &type)) || type != VT_BSTR) return;
    if (FAILED(::SafeArrayGetLBound(array, 1, &lower)) || FAILED(::SafeArrayGetUBound(array, 1, &upper)))
        return;
    if (FAILED(::SafeArrayAccessData(array, reinterpret_cast<void**>(&texts)))) return;
    for (LONG index = lower; index <= upper; ++index) {
        if (texts[index - lower] != nullptr) visit(texts[index - lower]);
    }
    ::SafeArrayUnaccessData(array);
}

/// Kinds of which the module may give back what it acquired before anybody kept books, or what others
/// acquired in its name.
bool MayBeUnknown(Owned kind) { return kind == Owned::kMemory || kind == Owned::kLibrary; }

}  // namespace

void Ledger::Add(Owned kind, const void* what) {
    const std::lock_guard lock(mutex_);
    ++Of(kind)[what];
}

bool Ledger::TryRemove(Owned kind, const void* what) {
    const std::lock_guard lock(mutex_);
    const auto found = Of(kind).find(what);
    if (found == Of(kind).end()) return false;
    if (--found->second == 0) Of(kind).erase(found);
    return true;
}

void Ledger::Remove(Owned kind, const void* what) {
    if (TryRemove(kind, what) || MayBeUnknown(kind)) return;
    const std::lock_guard lock(mutex_);
    ++strangers_;
}

void Ledger::RemoveHandle(HANDLE handle) {
    for (const Owned kind : {Owned::kFile, Owned::kMutex, Owned::kSemaphore, Owned::kThread}) {
        if (TryRemove(kind, handle)) return;
    }
}

void Ledger::AddVariant(const VARIANT& value) {
    if (value.vt == VT_BSTR) Add(Owned::kText, value.bstrVal);
    if ((value.vt & VT_ARRAY) == 0) return;
    Add(Owned::kArray, value.parray);
    ForEachText(value.parray, [this](BSTR text) { Add(Owned::kText, text); });
}

void Ledger::RemoveVariant(const VARIANT& value) {
    if (value.vt == VT_BSTR && value.bstrVal != nullptr) Remove(Owned::kText, value.bstrVal);
    if ((value.vt & VT_ARRAY) != 0) RemoveArray(value.parray);
}

void Ledger::RemoveArray(SAFEARRAY* array) {
    ForEachText(array, [this](BSTR text) { Remove(Owned::kText, text); });
    Remove(Owned::kArray, array);
}

std::string Ledger::Summary() const {
    const std::lock_guard lock(mutex_);
    std::string summary;
    for (std::size_t kind = 0; kind < books_.size(); ++kind) {
        int count = 0;
        for (const auto& [what, times] : books_[kind]) count += times;
        if (count != 0) summary += std::string(kNames[kind]) + ": " + std::to_string(count) + "; ";
    }
    return summary;
}

std::size_t Ledger::Strangers() const {
    const std::lock_guard lock(mutex_);
    return strangers_;
}

std::vector<HANDLE> Ledger::All(Owned kind) const {
    const std::lock_guard lock(mutex_);
    std::vector<HANDLE> all;
    for (const auto& [what, times] : Of(kind)) all.push_back(const_cast<HANDLE>(what));
    return all;
}

Ledger& Books() {
    static Ledger ledger;
    return ledger;
}

}  // namespace velktest
