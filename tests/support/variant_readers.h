#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "common/bstr.h"
#include "common/text.h"

namespace velktest {

// What a provider wrote into a property, read by the type that the property is to have: any other type fails
// the test.

/// Calls visit(index) for each element of an array of that type.
template <class Visitor>
void ForEachElement(const VARIANT* value, VARTYPE type, Visitor visit) {
    ASSERT_NE(value, nullptr) << "not written";
    ASSERT_EQ(value->vt, type | VT_ARRAY);
    LONG lower = -1, upper = -2;
    ASSERT_EQ(::SafeArrayGetDim(value->parray), 1u);
    ASSERT_EQ(::SafeArrayGetLBound(value->parray, 1, &lower), S_OK);
    ASSERT_EQ(::SafeArrayGetUBound(value->parray, 1, &upper), S_OK);
    ASSERT_EQ(lower, 0);
    for (LONG at = lower; at <= upper; ++at) visit(at);
}

/// The elements of an array whose VARIANT type holds them as `Element`.
template <class Element>
std::vector<Element> Elements(const VARIANT* value, VARTYPE type) {
    std::vector<Element> elements;
    ForEachElement(value, type, [&](LONG at) {
        Element element{};
        EXPECT_EQ(::SafeArrayGetElement(value->parray, &at, &element), S_OK);
        elements.push_back(element);
    });
    return elements;
}

/// CIM's uint16 and uint32.
inline std::vector<LONG> Numbers(const VARIANT* value) { return Elements<LONG>(value, VT_I4); }

inline std::vector<velk::CString> Texts(const VARIANT* value) {
    std::vector<velk::CString> texts;
    ForEachElement(value, VT_BSTR, [&](LONG at) {
        velk::Bstr text;
        EXPECT_EQ(::SafeArrayGetElement(value->parray, &at, text.Put()), S_OK);
        texts.emplace_back(text.View());
    });
    return texts;
}

/// A VT_I4, a VT_UI1 or a VT_BOOL (1 or 0); -1 for any other type.
inline LONG Number(const VARIANT* value, VARTYPE type = VT_I4) {
    if (value == nullptr || value->vt != type) {
        ADD_FAILURE() << "not of VARIANT type " << type;
        return -1;
    }
    if (type == VT_BOOL) return value->boolVal == VARIANT_TRUE ? 1 : 0;
    return type == VT_UI1 ? value->bVal : value->lVal;
}

}  // namespace velktest
