#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/platform.h"
#include "common/text.h"

namespace velk {

// Typed writers and readers of the properties of a WMI object, one per CIM type. Each holds a reference on
// the object for the duration of the call. They do not log: the caller decides what a failure means to it.

// Writers. The variant has the form that WMI expects for the CIM type, which is not always the obvious one:
// 16-bit and 32-bit integers travel as VT_I4, 64-bit integers as decimal text. Each returns what
// IWbemClassObject::Put answers. Throw std::bad_alloc when the value cannot be built.

HRESULT SetBoolProperty(IWbemClassObject* instance, const wchar_t* name, bool value);
HRESULT SetUInt8Property(IWbemClassObject* instance, const wchar_t* name, unsigned char value);
HRESULT SetSInt8Property(IWbemClassObject* instance, const wchar_t* name, signed char value);
HRESULT SetUInt16Property(IWbemClassObject* instance, const wchar_t* name, std::uint16_t value);
HRESULT SetSInt16Property(IWbemClassObject* instance, const wchar_t* name, std::int16_t value);
/// The bit pattern is kept: 0xFFFFFFFF travels as -1.
HRESULT SetUInt32Property(IWbemClassObject* instance, const wchar_t* name, std::uint32_t value);
HRESULT SetSInt32Property(IWbemClassObject* instance, const wchar_t* name, std::int32_t value);
HRESULT SetUInt64Property(IWbemClassObject* instance, const wchar_t* name, std::uint64_t value);
HRESULT SetSInt64Property(IWbemClassObject* instance, const wchar_t* name, std::int64_t value);

/// An empty text is written as an empty text, not as null; so is a null pointer.
HRESULT SetStringProperty(IWbemClassObject* instance, const wchar_t* name, const CString& value);
HRESULT SetStringProperty(IWbemClassObject* instance, const wchar_t* name, const wchar_t* value);
/// The text is in the system's ANSI code page.
HRESULT SetStringProperty(IWbemClassObject* instance, const wchar_t* name, const char* value);

/// Writes a local time as CIM DATETIME text in UTC: yyyymmddHHMMSS.mmm000+000. Where the system cannot
/// convert local time to UTC, the local time is written unconverted.
HRESULT SetDateTimeProperty(IWbemClassObject* instance, const wchar_t* name, const SYSTEMTIME& localTime);

/// An empty vector makes an array without elements, not a null property. A text that cannot be copied for
/// want of memory is left out: the others close up, and the array ends in null elements.
HRESULT SetStringArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               const std::vector<CString>& values);
HRESULT SetUInt32ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               const std::vector<std::uint32_t>& values);
HRESULT SetSInt32ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               const std::vector<std::int32_t>& values);
/// The elements travel as VT_I4.
HRESULT SetUInt16ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               const std::vector<std::uint16_t>& values);
HRESULT SetUInt8ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                              const std::vector<unsigned char>& values);

// Readers. WBEM_E_FAILED is the answer to a value of another type than the reader accepts, and null is such a
// value. The output of a scalar reader is written on success alone. Throw std::bad_alloc or
// std::length_error.

HRESULT GetBoolProperty(IWbemClassObject* instance, const wchar_t* name, bool& value);
/// Accept every integer of up to 32 bits; narrow signed values are sign-extended, unsigned ones
/// zero-extended.
HRESULT GetUInt32Property(IWbemClassObject* instance, const wchar_t* name, std::uint32_t& value);
HRESULT GetSInt32Property(IWbemClassObject* instance, const wchar_t* name, std::int32_t& value);
/// Read as 32 bits and truncated; every failure is WBEM_E_FAILED.
HRESULT GetUInt8Property(IWbemClassObject* instance, const wchar_t* name, unsigned char& value);
HRESULT GetSInt8Property(IWbemClassObject* instance, const wchar_t* name, signed char& value);
HRESULT GetUInt16Property(IWbemClassObject* instance, const wchar_t* name, std::uint16_t& value);
HRESULT GetSInt16Property(IWbemClassObject* instance, const wchar_t* name, std::int16_t& value);
HRESULT GetStringProperty(IWbemClassObject* instance, const wchar_t* name, CString& value);
/// The value is decimal text; text that is no number reads as 0.
HRESULT GetUInt64Property(IWbemClassObject* instance, const wchar_t* name, std::uint64_t& value);

/// Array readers: every failure is WBEM_E_FAILED. This one empties its output first, whatever happens then;
/// the integer ones append to what is there. What was read before a failing element stays in the output.
HRESULT GetStringArrayProperty(IWbemClassObject* instance, const wchar_t* name, std::vector<CString>& values);
HRESULT GetUInt32ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               std::vector<std::uint32_t>& values);
HRESULT GetSInt32ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               std::vector<std::int32_t>& values);
HRESULT GetUInt16ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               std::vector<std::uint16_t>& values);
HRESULT GetUInt8ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                              std::vector<unsigned char>& values);
/// Stores the low byte of each element. `count` is the capacity in bytes going in and, on success only, the
/// number of bytes stored coming out; elements beyond the capacity are dropped, which is no failure.
HRESULT GetByteBufferProperty(IWbemClassObject* instance, const wchar_t* name, unsigned char* buffer,
                              std::size_t& count);

/// Converts by the rules of the zone for the given date, not by those in force now. `utc` is left as it is
/// when the system lacks the conversion.
void LocalTimeToUtc(const SYSTEMTIME& local, SYSTEMTIME& utc);

}  // namespace velk
