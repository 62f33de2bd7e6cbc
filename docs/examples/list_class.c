/* Prints the instances that a query returns, property by property, with the type that the class gives it and the type
 * of the VARIANT that it came in:
 *
 *   list_class "SELECT * FROM Velk_PCISlot"
 *
 * cl list_class.c wbemuuid.lib ole32.lib oleaut32.lib
 * x86_64-w64-mingw32-gcc -municode list_class.c -o list_class.exe -lwbemuuid -lole32 -loleaut32 -luuid
 */
#define COBJMACROS
#ifndef UNICODE
#define UNICODE
#endif
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <wbemcli.h>

static int fail(const char* what, HRESULT result) {
    fprintf(stderr, "%s: 0x%08lX\n", what, (unsigned long)result);
    return 1;
}

/* Prints text as UTF-8, whatever the console's code page. */
static void print_text(const wchar_t* text) {
    int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, NULL, 0, NULL, NULL);
    char* bytes = malloc(size > 0 ? (size_t)size : 1);
    if (bytes == NULL) return;
    bytes[0] = '\0';
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, size, NULL, NULL);
    fputs(bytes, stdout);
    free(bytes);
}

/* Any scalar as text: what VARIANTs hold is converted by the system. */
static void print_value(VARIANT* value) {
    VARIANT text;
    VariantInit(&text);
    if (V_VT(value) == VT_NULL) {
        printf("null");
    } else if (V_VT(value) == VT_BOOL) {
        printf(V_BOOL(value) ? "TRUE" : "FALSE");
    } else if (SUCCEEDED(VariantChangeType(&text, value, 0, VT_BSTR))) {
        print_text(V_BSTR(&text));
    } else {
        printf("?");
    }
    VariantClear(&text);
}

/* An array's elements, separated by bars. SafeArrayGetElement hands out copies. */
static void print_array(VARIANT* value) {
    SAFEARRAY* array = V_ARRAY(value);
    VARTYPE type = (VARTYPE)(V_VT(value) & ~VT_ARRAY);
    LONG first = 0, last = -1, i;
    SafeArrayGetLBound(array, 1, &first);
    SafeArrayGetUBound(array, 1, &last);
    for (i = first; i <= last; ++i) {
        VARIANT element;
        VariantInit(&element);
        if (i != first) printf("|");
        if (FAILED(SafeArrayGetElement(array, &i, &V_NONE(&element)))) continue;
        V_VT(&element) = type;
        print_value(&element);
        VariantClear(&element);
    }
}

static HRESULT print_object(IWbemClassObject* object) {
    BSTR name = NULL;
    VARIANT value;
    CIMTYPE type = 0;
    HRESULT result = IWbemClassObject_BeginEnumeration(object, WBEM_FLAG_NONSYSTEM_ONLY);
    if (FAILED(result)) return result;
    VariantInit(&value);
    for (;;) {
        result = IWbemClassObject_Next(object, 0, &name, &value, &type, NULL);
        if (result != WBEM_S_NO_ERROR) break;
        print_text(name);
        printf("\t%ld\t%d\t", (long)type, V_VT(&value));
        if (V_VT(&value) & VT_ARRAY) {
            print_array(&value);
        } else {
            print_value(&value);
        }
        printf("\n");
        SysFreeString(name);
        VariantClear(&value);
    }
    IWbemClassObject_EndEnumeration(object);
    printf("\n");
    return SUCCEEDED(result) ? S_OK : result;
}

static HRESULT print_query(IWbemServices* services, const wchar_t* text) {
    IEnumWbemClassObject* enumerator = NULL;
    BSTR language = SysAllocString(L"WQL");
    BSTR query = SysAllocString(text);
    HRESULT result = IWbemServices_ExecQuery(services, language, query,
                                             WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, NULL, &enumerator);
    SysFreeString(query);
    SysFreeString(language);
    if (FAILED(result)) return result;
    for (;;) {
        IWbemClassObject* object = NULL;
        ULONG returned = 0;
        result = IEnumWbemClassObject_Next(enumerator, (LONG)WBEM_INFINITE, 1, &object, &returned);
        if (FAILED(result) || returned == 0) break;
        result = print_object(object);
        IWbemClassObject_Release(object);
        if (FAILED(result)) break;
    }
    IEnumWbemClassObject_Release(enumerator);
    return result;
}

static int run(const wchar_t* query) {
    IWbemLocator* locator = NULL;
    IWbemServices* services = NULL;
    BSTR resource;
    HRESULT result = CoCreateInstance(&CLSID_WbemLocator, NULL, CLSCTX_INPROC_SERVER, &IID_IWbemLocator,
                                      (void**)&locator);
    if (FAILED(result)) return fail("IWbemLocator", result);
    resource = SysAllocString(L"ROOT\\VKQ");
    result = IWbemLocator_ConnectServer(locator, resource, NULL, NULL, NULL, 0, NULL, NULL, &services);
    SysFreeString(resource);
    IWbemLocator_Release(locator);
    if (FAILED(result)) return fail("ConnectServer", result);
    result = CoSetProxyBlanket((IUnknown*)services, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, NULL, RPC_C_AUTHN_LEVEL_CALL,
                               RPC_C_IMP_LEVEL_IMPERSONATE, NULL, EOAC_NONE);
    if (SUCCEEDED(result)) result = print_query(services, query);
    IWbemServices_Release(services);
    return FAILED(result) ? fail("the query", result) : 0;
}

int wmain(int count, wchar_t** words) {
    int code;
    HRESULT result;
    if (count != 2) {
        fprintf(stderr, "usage: list_class QUERY\n");
        return 2;
    }
    result = CoInitializeEx(NULL, COINIT_MULTITHREADED);
    if (FAILED(result)) return fail("COM", result);
    result = CoInitializeSecurity(NULL, -1, NULL, NULL, RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE, NULL,
                                  EOAC_NONE, NULL);
    code = FAILED(result) ? fail("security", result) : run(words[1]);
    CoUninitialize();
    return code;
}
