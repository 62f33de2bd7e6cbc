// Asks one class the same things whoever serves it, and prints what each operation answers:
//
//   same_client NAMESPACE CLASS TEXT NUMBER BOOLEAN
//
// TEXT, NUMBER and BOOLEAN are properties of the class; of TEXT each instance has another value that is not
// NULL. Each line is the operation, a tab, and what came of it, in terms that hold for any class: statuses,
// types, how many objects of all. So the lines of two services can be compared.

#include "same_client.h"

#include <cwctype>
#include <utility>

namespace same_client {
namespace {

/// Small letters but for what is quoted: values are compared by whoever serves the class.
std::wstring InLowerCase(std::wstring path) {
    bool quoted = false;
    for (wchar_t& c : path) {
        if (c == L'"') quoted = !quoted;
        if (!quoted) c = static_cast<wchar_t>(::towlower(c));
    }
    return path;
}

}  // namespace

bool Client::Prepare() {
    Enumerator found;
    if (FAILED(All(0, found)) || FAILED(Get(name_, class_)) || Count(*found) < 3) return false;
    ULONG returned = 0;
    return found->Next(kPatience, 1, first_.Put(), &returned) == S_OK;
}

void Client::AskForObjects() {
    const std::wstring relative = WideOf(*first_, L"__RELPATH");
    const std::wstring whole = WideOf(*first_, L"__PATH");
    const std::wstring nameSpace = WideOf(*first_, L"__NAMESPACE");
    const std::wstring keys = relative.substr(relative.find(L'.'));
    const std::pair<const char*, std::wstring> paths[] = {
        {"class", name_},
        {"class in lower case", InLowerCase(name_)},
        {"instance by __RELPATH", relative},
        {"instance by __PATH", whole},
        {"instance, server .", L"\\\\.\\" + nameSpace + L":" + relative},
        {"instance, namespace alone", nameSpace + L":" + relative},
        {"instance in lower case", InLowerCase(relative)},
        {"instance, unknown class", L"Velk_Nothing" + keys},
        {"instance, unknown value of the key", relative.substr(0, relative.size() - 1) + L"zz\""},
        {"instance, unknown key", name_ + L".Nothing=\"x\""},
        {"instance, property that is no key", name_ + L"." + number_ + L"=1"},
        {"unknown class", L"Velk_Nothing"},
        {"unknown namespace in the path", L"root\\nowhere:" + name_},
        {"another server in the path", L"\\\\elsewhere\\" + nameSpace + L":" + name_},
        {"path without a key's name", name_ + L"."},
        {"path without a key's value", name_ + L"." + text_ + L"="},
        {"path without a closing quote", name_ + L"." + text_ + L"=\"x"},
        {"path of a dot", L"."},
        {"path of blanks", L"  "},
        {"path with a blank before the class", L" " + name_},
        {"singleton of a class with keys", name_ + L"=@"},
    };
    for (const auto& [operation, path] : paths) {
        Object object;
        const HRESULT status = Get(path, object);
        Tell(std::string("GetObject: ") + operation, Hex(status) + (object ? "" : " no object"));
    }
    Tell("GetObject: no place for the object",
         Hex(services_.GetObject(Bstr(name_).Get(), 0, nullptr, nullptr, nullptr)));
}

std::string Client::QueryOutcome(const std::wstring& text, LONG flags) {
    Enumerator found;
    const HRESULT status = Query(text, flags, found);
    if (!found) return Hex(status) + " no enumerator";
    std::size_t count = 0;
    for (;;) {
        Object object;
        ULONG returned = 0;
        const HRESULT next = found->Next(kPatience, 1, object.Put(), &returned);
        if (next != S_OK) return Hex(status) + ", Next " + Hex(next) + ", " + Amount(count);
        ++count;
    }
}

void Client::AskQueries() {
    const std::wstring all = L"SELECT * FROM " + name_;
    const std::wstring value = WideOf(*first_, text_), number = WideOf(*first_, number_);
    std::wstring otherCase = value;
    for (wchar_t& c : otherCase) c = static_cast<wchar_t>(c == ::towupper(c) ? ::towlower(c) : ::towupper(c));
    const std::wstring here = all + L" WHERE " + text_ + L" = '" + value + L"'";
    const std::pair<const char*, std::wstring> queries[] = {
        {"all", all},
        {"words in lower case", L"select * from " + name_},
        {"one property", L"SELECT " + text_ + L" FROM " + name_},
        {"a text", here},
        {"a text in double quotes", all + L" WHERE " + text_ + L" = \"" + value + L"\""},
        {"a text in another case", all + L" WHERE " + text_ + L" = '" + otherCase + L"'"},
        {"a text that none has", all + L" WHERE " + text_ + L" = 'zz'"},
        {"a number that none has", all + L" WHERE " + number_ + L" = 4242"},
        {"a text and a number", here + L" AND " + number_ + L" = " + number},
        {"a text and a number that none has", here + L" AND " + number_ + L" = 4242"},
        {"a text that is no number for a number", all + L" WHERE " + number_ + L" = 'zz'"},
        {"a number for a text", all + L" WHERE " + text_ + L" = 4242"},
        {"a boolean: TRUE or FALSE", all + L" WHERE " + boolean_ + L" = " +
                                         (TextOf(*first_, boolean_) == "0" ? L"FALSE" : L"TRUE") + L" AND " +
                                         text_ + L" = '" + value + L"'"},
        {"unequal", all + L" WHERE " + text_ + L" <> 'zz'"},
        {"less", all + L" WHERE " + number_ + L" < 0"},
        {"greater", all + L" WHERE " + number_ + L" > 4000000"},
        {"LIKE", all + L" WHERE " + text_ + L" LIKE 'zz%'"},
        {"IS NULL", all + L" WHERE " + text_ + L" IS NULL"},
        {"IS NOT NULL", all + L" WHERE " + text_ + L" IS NOT NULL"},
        {"OR", here + L" OR " + text_ + L" = 'zz'"},
        {"NOT", all + L" WHERE NOT " + text_ + L" = 'zz'"},
        {"unknown property in WHERE", all + L" WHERE Nothing = 1"},
        {"unknown property selected", L"SELECT Nothing FROM " + name_},
        {"unknown class", L"SELECT * FROM Velk_Nothing"},
        {"garbage", L"garbage"},
        {"no class", L"SELECT * FROM"},
        {"no condition", all + L" WHERE"},
        {"no value", all + L" WHERE " + text_ + L" ="},
        {"a quote that is not closed", all + L" WHERE " + text_ + L" = 'x"},
        {"more behind it", all + L" " + name_},
    };
    for (const auto& [operation, text] : queries) {
        Tell(std::string("ExecQuery: ") + operation, QueryOutcome(text, 0));
        Tell(std::string("ExecQuery at once: ") + operation, QueryOutcome(text, kForwardOnly));
    }
    Enumerator found;
    Bstr good(all), language(L"WQL");
    const auto ask = [&](const BSTR inWhat, const BSTR what) {
        return Hex(services_.ExecQuery(inWhat, what, 0, nullptr, found.Put()));
    };
    Tell("ExecQuery: language in lower case", ask(Bstr(L"wql").Get(), good.Get()));
    Tell("ExecQuery: unknown language", ask(Bstr(L"SQL").Get(), good.Get()));
    Tell("ExecQuery: no language", ask(nullptr, good.Get()));
    Tell("ExecQuery: no text", ask(language.Get(), nullptr));
    Tell("ExecQuery: empty text", ask(language.Get(), Bstr(L"").Get()));
}

}  // namespace same_client

namespace {

int Run(wchar_t** words) {
    velk::ComPtr<IWbemLocator> locator;
    HRESULT status = ::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                        locator.PutVoid());
    velk::ComPtr<IWbemServices> services;
    if (SUCCEEDED(status)) {
        status = locator->ConnectServer(velk::Bstr(words[1]).Get(), nullptr, nullptr, nullptr, 0, nullptr,
                                        nullptr, services.Put());
    }
    if (FAILED(status)) {
        std::cerr << "ConnectServer: " << same_client::Hex(status) << '\n';
        return 1;
    }
    same_client::Client client(*services, words);
    if (!client.Prepare()) {
        std::cerr << "fewer than three instances\n";
        return 1;
    }
    client.AskForObjects();
    client.AskQueries();
    client.AskEnumerators();
    client.AskSystemProperties();
    client.AskTypes();
    client.AskProperties();
    return 0;
}

}  // namespace

int wmain(int count, wchar_t** words) {
    if (count != 6) return 2;
    if (FAILED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 1;
    const int code = Run(words);
    ::CoUninitialize();
    return code;
}
