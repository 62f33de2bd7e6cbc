#pragma once

#include <cstdio>
#include <iostream>
#include <string>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/variant.h"

namespace same_client {

using Object = velk::ComPtr<IWbemClassObject>;
using Enumerator = velk::ComPtr<IEnumWbemClassObject>;
using velk::Bstr;

constexpr LONG kPatience = 60000;  // milliseconds
constexpr LONG kForwardOnly = WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY;

inline std::string Narrow(std::wstring_view text) { return {text.begin(), text.end()}; }

inline std::string Hex(HRESULT status) {
    char text[16];
    std::snprintf(text, sizeof text, "%08lX", static_cast<unsigned long>(status));
    return text;
}

/// How many, as far as it holds for any class, and while instances come and go.
inline std::string Amount(std::size_t count) { return count == 0 ? "none" : count == 1 ? "one" : "several"; }

inline void Tell(const std::string& operation, const std::string& outcome) {
    std::cout << operation << '\t' << outcome << '\n' << std::flush;
}

/// The questions, on one class of one service.
class Client {
  public:
    Client(IWbemServices& services, wchar_t** words)
        : services_(services), name_(words[2]), text_(words[3]), number_(words[4]), boolean_(words[5]) {}

    bool Prepare();
    void AskForObjects();
    void AskQueries();
    void AskEnumerators();
    void AskSystemProperties();
    void AskProperties();
    void AskTypes();

  private:
    HRESULT Get(const std::wstring& path, Object& object) {
        return services_.GetObject(Bstr(path).Get(), 0, nullptr, object.Put(), nullptr);
    }
    HRESULT Query(const std::wstring& text, LONG flags, Enumerator& found) {
        return services_.ExecQuery(Bstr(L"WQL").Get(), Bstr(text).Get(), flags, nullptr, found.Put());
    }
    HRESULT All(LONG flags, Enumerator& found) {
        return services_.CreateInstanceEnum(Bstr(name_).Get(), flags, nullptr, found.Put());
    }
    std::string TextOf(IWbemClassObject& object, const std::wstring& name) {
        velk::Variant value;
        if (FAILED(object.Get(name.c_str(), 0, value.Put(), nullptr, nullptr))) return {};
        if (FAILED(::VariantChangeType(value.Address(), value.Address(), 0, VT_BSTR))) return {};
        return Narrow(value.Text());
    }
    std::wstring WideOf(IWbemClassObject& object, const std::wstring& name) {
        const std::string text = TextOf(object, name);
        return {text.begin(), text.end()};
    }
    std::string QueryOutcome(const std::wstring& text, LONG flags);
    /// How many objects this one enumerator has; it stands at its start again. Another of the same class may
    /// have more or fewer: services come and go.
    ULONG Count(IEnumWbemClassObject& enumerator);
    std::string NextOutcome(IEnumWbemClassObject& enumerator, ULONG count);
    void TellProperty(const std::string& operation, IWbemClassObject& object, const wchar_t* name);

    IWbemServices& services_;
    const std::wstring name_, text_, number_, boolean_;
    Object first_, class_;
};

}  // namespace same_client
