#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <utility>

#include "common/platform.h"
#include "common/text.h"
#include "common/variant.h"
#include "common/wmi_query.h"
#include "support/fake_wbem.h"

namespace velktest {

/// Queries against a WMI that the test programs.
class QueryWmiTest : public ::testing::Test {
  protected:
    /// A success that WMI does not have.
    static constexpr HRESULT kOddSuccess = 0x40010;

    ~QueryWmiTest() override {
        out_.clear();
        wmi_.reset();
        EXPECT_EQ(LiveFakes(), 0) << "a reference leaked";
    }

    /// Objects with an "Id" from `first` on.
    static FakeObjects MakeObjects(int count, int first = 0) {
        FakeObjects objects;
        for (int i = 0; i < count; ++i) {
            objects.push_back(FakeClassObject::Make());
            objects.back()->Set(L"Id", velk::Variant::SInt32(first + i));
        }
        return objects;
    }
    HRESULT Query(const velk::CString& ns, const velk::CString& text) {
        query_ = text;
        return velk::QueryWmi(ns, query_, out_, nullptr);
    }
    FakeServices& Suite() { return wmi_->Namespace(L"root\\VKQ"); }
    FakeServices& Wmi() { return wmi_->Namespace(L"root\\wmi"); }

    std::optional<FakeWmi> wmi_{std::in_place};
    velk::CString query_;
    velk::WmiObjects out_;
};

}  // namespace velktest
