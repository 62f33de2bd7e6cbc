#include "assoc/object_paths.h"

#include "common/computer_system.h"
#include "common/suite_names.h"
#include "slots/slot_texts.h"

namespace velk {

namespace {

CString FullPath(const CString& relativePath) {
    CString path;
    MakeFullObjectPath(path, kSuiteNamespace, relativePath);
    return path;
}

}  // namespace

CString FullSlotPath(std::uint32_t number) { return FullPath(SlotRelativePath(SlotTag(number))); }

CString FullCardPath(std::uint32_t slotNumber) { return FullPath(CardRelativePath(CardTag(slotNumber))); }

CString FullLocationPath(std::uint32_t slotNumber) {
    return FullPath(LocationRelativePath(SlotTag(slotNumber), SlotPosition(slotNumber)));
}

}  // namespace velk
