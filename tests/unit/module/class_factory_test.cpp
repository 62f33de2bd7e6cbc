#include "module/class_factory.h"

#include <gmock/gmock.h>

#include <new>

#include "framework/module_lock.h"

namespace {

using namespace velk;

constexpr CLSID kClsid = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};

/// An object of which only its life matters.
class Plain final : public CComObjectRootEx<CComMultiThreadModel>, public IUnknown {
  public:
    STDMETHOD(QueryInterface)(REFIID iid, void** object) override {
        const bool known = ::IsEqualIID(iid, IID_IUnknown) != FALSE;
        *object = known ? this : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHOD_(ULONG, AddRef)() override { return InternalAddRef(); }
    STDMETHOD_(ULONG, Release)() override {
        const ULONG references = InternalRelease();
        if (references == 0) delete this;
        return references;
    }

  private:
    ~Plain() = default;
    friend class ComPtr<Plain>;
};

struct Unaffordable : IUnknown {
    Unaffordable() { throw std::bad_alloc(); }
    STDMETHOD(QueryInterface)(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHOD_(ULONG, AddRef)() override { return 1; }
    STDMETHOD_(ULONG, Release)() override { return 1; }
};

constexpr CLSID kUnaffordable = {0x12345679, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr ClassTableEntry kClasses[] = {
    {kClsid, L"A.1", L"A", L"A Object", &CreateComObject<Plain>},
    {kUnaffordable, L"B.1", L"B", L"B Object", &CreateComObject<Unaffordable>},
};

class ClassFactoryTest : public testing::Test {
  protected:
    ~ClassFactoryTest() override { EXPECT_EQ(ModuleLock::Count(), 0) << "something leaked"; }

    static ComPtr<IClassFactory> Factory(REFCLSID clsid = kClsid) {
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(GetClassFactory(kClasses, clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
        return factory;
    }
    /// A pointer that is not null, to see that it is set to null.
    void* out_ = this;
};

TEST_F(ClassFactoryTest, UnknownClassIsNotAvailable) {
    EXPECT_EQ(GetClassFactory(kClasses, CLSID_NULL, IID_IClassFactory, &out_), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(out_, nullptr);
}

TEST_F(ClassFactoryTest, FactoryOffersItsTwoInterfacesAlone) {
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(Factory()->QueryInterface(IID_IUnknown, unknown.PutVoid()), S_OK);
    EXPECT_EQ(unknown->QueryInterface(IID_IDispatch, &out_), E_NOINTERFACE);
    EXPECT_EQ(out_, nullptr);
    EXPECT_EQ(unknown->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    out_ = this;
    EXPECT_EQ(GetClassFactory(kClasses, kClsid, IID_IDispatch, &out_), E_NOINTERFACE);
    EXPECT_EQ(out_, nullptr);
    EXPECT_EQ(GetClassFactory(kClasses, kClsid, IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ClassFactoryTest, ObjectsAndFactoriesKeepTheModuleLoaded) {
    ComPtr<IUnknown> object;
    {
        const ComPtr<IClassFactory> factory = Factory();
        EXPECT_EQ(ModuleLock::Count(), 1);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, object.PutVoid()), S_OK);
        EXPECT_EQ(ModuleLock::Count(), 2);
    }
    EXPECT_EQ(ModuleLock::Count(), 1);
}

TEST_F(ClassFactoryTest, LockServerKeepsTheModuleLoadedWithoutTheFactory) {
    EXPECT_EQ(Factory()->LockServer(TRUE), S_OK);
    EXPECT_EQ(ModuleLock::Count(), 1);
    EXPECT_EQ(Factory()->LockServer(FALSE), S_OK);
}

TEST_F(ClassFactoryTest, AggregationIsRefused) {
    const ComPtr<IClassFactory> factory = Factory();
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &out_), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(out_, nullptr);
}

TEST_F(ClassFactoryTest, FailedCreationLeavesNothing) {
    const ComPtr<IClassFactory> factory = Factory();
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, &out_), E_NOINTERFACE);
    EXPECT_EQ(out_, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(ModuleLock::Count(), 1);
    out_ = this;
    EXPECT_EQ(Factory(kUnaffordable)->CreateInstance(nullptr, IID_IUnknown, &out_), E_OUTOFMEMORY);
    EXPECT_EQ(out_, nullptr);
}

}  // namespace
