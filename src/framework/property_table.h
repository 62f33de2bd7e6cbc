#pragma once

#include <cstdint>
#include <span>
#include <variant>
#include <vector>

#include "common/computer_system.h"
#include "common/platform.h"
#include "common/text.h"
#include "common/wbem_status.h"
#include "framework/property_values.h"

namespace velk {

/// Stands in a property table for the computer's name.
struct ComputerName {};
/// Stands in a property table for the class name of the computer system.
struct ComputerSystemClassName {};
/// Stands in a property table for a text that is written only when it is not empty.
template <class Record>
struct NonEmptyText {
    CString Record::*field;
};

/// One property of a WMI class and where its value comes from: a constant text, a fact about the computer, a
/// field of the record, or a function of it. The C++ type decides which writer is used, and with it
/// the CIM type.
template <class Record>
struct PropertyRow {
    using Value =
        std::variant<const wchar_t*, ComputerName, ComputerSystemClassName, NonEmptyText<Record>,
                     CString Record::*, bool Record::*, std::uint8_t Record::*, std::uint16_t Record::*,
                     std::uint32_t Record::*, std::vector<CString> Record::*,
                     std::vector<std::uint16_t> Record::*, std::vector<CString> (*)(const Record&),
                     std::vector<std::uint16_t> (*)(const Record&)>;

    const wchar_t* name;
    Value value;
};

/// Writes one value of a property table, picked by the kind of the value.
template <class Record>
class PropertyTableWriter {
  public:
    PropertyTableWriter(IWbemClassObject* instance, const wchar_t* name, const Record& record,
                        const CString& computerName)
        : instance_(instance), name_(name), record_(record), computerName_(computerName) {}

    HRESULT operator()(const wchar_t* constant) const { return Write(constant); }
    HRESULT operator()(ComputerName) const { return Write(computerName_); }
    HRESULT operator()(ComputerSystemClassName) const { return Write(GetComputerSystemClassName()); }
    HRESULT operator()(NonEmptyText<Record> text) const {
        const CString& value = record_.*text.field;
        return value.empty() ? kWbemNoError : Write(value);
    }
    template <class Field>
    HRESULT operator()(Field Record::*field) const {
        return Write(record_.*field);
    }
    template <class Result>
    HRESULT operator()(Result (*function)(const Record&)) const {
        return Write(function(record_));
    }

  private:
    HRESULT Write(const wchar_t* value) const { return SetStringProperty(instance_, name_, value); }
    HRESULT Write(const CString& value) const { return SetStringProperty(instance_, name_, value); }
    HRESULT Write(bool value) const { return SetBoolProperty(instance_, name_, value); }
    HRESULT Write(std::uint8_t value) const { return SetUInt8Property(instance_, name_, value); }
    HRESULT Write(std::uint16_t value) const { return SetUInt16Property(instance_, name_, value); }
    HRESULT Write(std::uint32_t value) const { return SetUInt32Property(instance_, name_, value); }
    HRESULT Write(const std::vector<CString>& value) const {
        return SetStringArrayProperty(instance_, name_, value);
    }
    HRESULT Write(const std::vector<std::uint16_t>& value) const {
        return SetUInt16ArrayProperty(instance_, name_, value);
    }

    IWbemClassObject* instance_;
    const wchar_t* name_;
    const Record& record_;
    const CString& computerName_;
};

/// Writes the properties of a table in their order. The first write that fails ends it with WBEM_E_FAILED,
/// whatever the writer reported; what was written before stays on the instance. Throws std::bad_alloc or
/// std::length_error.
template <class Record>
HRESULT WriteProperties(IWbemClassObject* instance, std::span<const PropertyRow<Record>> table,
                        const Record& record, const CString& computerName = {}) {
    for (const PropertyRow<Record>& row : table) {
        const PropertyTableWriter<Record> writer(instance, row.name, record, computerName);
        if (FAILED(std::visit(writer, row.value))) return kWbemFailed;
    }
    return kWbemNoError;
}

}  // namespace velk
