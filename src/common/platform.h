#pragma once

// The one door to the platform's headers, and the one place for compiler extensions: every other file
// includes this instead of <windows.h>, so that all translation units see the same macros and the same vtable
// layouts.

#include <windows.h>

#include <oaidl.h>
#include <objbase.h>
#include <oleauto.h>
#include <setupapi.h>

// windows.h makes macros of these names. IWbemServices::GetObject and IWbemPath::GetClassName must be
// declared under their own.
#undef GetObject
#undef GetClassName

#include <wbemidl.h>
// wmiutils.h follows wbemidl.h: it uses its types.
#include <wmiutils.h>

#include <new>  // tells by __GLIBCXX__ whose library it is

#ifdef __GLIBCXX__
// Exported by GCC's run-time library, and declared in no header.
namespace __gnu_cxx {
void __freeres();
}
#endif

namespace velk {

/// Frees what the C++ run-time linked into this module allocated when the module was loaded and never frees
/// itself: with GCC some 70 KB, a pool for exceptions that malloc has no memory for. The last call of a
/// module that is being unloaded; an exception that followed would have malloc alone.
inline void FreeRuntimeMemory() noexcept {
#ifdef __GLIBCXX__
    __gnu_cxx::__freeres();
#endif
}

}  // namespace velk

/// Identifiers of WMI's object-path parser. MinGW's import libraries lack them, so they stand here for all
/// compilers.
inline constexpr CLSID kClsidWbemDefPath = {
    0xcf4cc405, 0xe2c5, 0x4ddd, {0xb3, 0xce, 0x5e, 0x75, 0x82, 0xd8, 0xc9, 0xfa}};
inline constexpr IID kIidIWbemPath = {
    0x3bc15af2, 0x736c, 0x477e, {0x9e, 0x51, 0x23, 0x8a, 0xf8, 0x66, 0x7d, 0xcc}};
inline constexpr IID kIidIWbemPathKeyList = {
    0x9ae62877, 0x7544, 0x4bb0, {0xaa, 0x26, 0xa1, 0x38, 0x24, 0x65, 0x9e, 0xd6}};
