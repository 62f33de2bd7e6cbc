#pragma once

#include <gtest/gtest.h>

#include <string>

#include "common/com_ptr.h"
#include "common/platform.h"
#include "host/com/com_object.h"
#include "host/path/wbem_path.h"

namespace velktest {

inline constexpr HRESULT kInvalidParameter = static_cast<HRESULT>(0x80041008);
inline constexpr HRESULT kBufferTooSmall = static_cast<HRESULT>(0x8004103C);

inline velk::ComPtr<IWbemPath> NewPath(const wchar_t* text = nullptr) {
    const velk::ComPtr<IWbemPath> path(velkhost::MakeComObject<velkhost::WbemPath>().Get());
    if (text == nullptr) return path;
    EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, text), S_OK) << text;
    return path;
}

inline velk::ComPtr<IWbemPathKeyList> KeysOf(const velk::ComPtr<IWbemPath>& path) {
    velk::ComPtr<IWbemPathKeyList> keys;
    EXPECT_EQ(path->GetKeyList(keys.Put()), S_OK);
    return keys;
}

inline std::wstring TextOf(const velk::ComPtr<IWbemPath>& path, long flags) {
    ULONG length = 0;
    EXPECT_EQ(path->GetText(flags, &length, nullptr), S_OK);
    std::wstring text(length, L'#');
    EXPECT_EQ(path->GetText(flags, &length, text.data()), S_OK);
    EXPECT_EQ(text.back(), L'\0');
    text.pop_back();
    return text;
}

}  // namespace velktest
