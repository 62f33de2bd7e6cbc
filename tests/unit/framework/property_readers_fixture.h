#pragma once

#include <gtest/gtest.h>

#include <utility>

#include "common/com_ptr.h"
#include "common/platform.h"
#include "common/variant.h"
#include "support/fake_wbem.h"

namespace velktest {

/// A variant of the given type whose value `fill` writes.
template <class Fill>
velk::Variant MakeVariant(VARTYPE type, Fill fill) {
    velk::Variant made;
    made.Put()->vt = type;
    fill(*made.Address());
    return made;
}

inline velk::Variant Null() {
    return MakeVariant(VT_NULL, [](VARIANT&) {});
}

/// An object with the property kName, as soon as the test gives it a value.
class PropertyReadersTest : public testing::Test {
  protected:
    static constexpr wchar_t kName[] = L"Property";
    static constexpr wchar_t kMissing[] = L"Missing";

    ~PropertyReadersTest() override {
        EXPECT_TRUE(object_->plainCalls) << "flags, type or flavour was passed to Get";
        object_.Reset();
        EXPECT_EQ(LiveFakes(), 0);
    }

    IWbemClassObject* Given(velk::Variant value) {
        object_->Set(kName, std::move(value));
        return object_.Get();
    }

    velk::ComPtr<FakeClassObject> object_ = FakeClassObject::Make();
};

}  // namespace velktest
