#pragma once

#include <atomic>
#include <new>
#include <utility>

#include "common/com_ptr.h"
#include "common/platform.h"
#include "common/wbem_status.h"
#include "host/com/interface_id.h"

namespace velkhost {

namespace detail {

inline std::atomic<long> liveComObjects{0};

}  // namespace detail

/// How many objects made of ComObject exist in this process: a test that returns to the number it began with
/// has leaked none.
inline long LiveComObjects() noexcept { return detail::liveComObjects.load(); }

/// The implementation of IUnknown for a class that offers the given interfaces; IUnknown itself is answered
/// by the first. Reference counting is free-threaded, the object deletes itself with its last reference. To
/// be made by MakeComObject only.
template <class First, class... Rest>
class ComObject : public First, public Rest... {
  public:
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) noexcept override {
        if (object == nullptr) return E_POINTER;
        *object = nullptr;
        if (::IsEqualIID(iid, IID_IUnknown)) {
            *object = static_cast<First*>(this);
        } else {
            Offer<First>(iid, object);
            (Offer<Rest>(iid, object), ...);
        }
        if (*object == nullptr) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return ++references_; }

    ULONG STDMETHODCALLTYPE Release() noexcept override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

  protected:
    ComObject() noexcept { ++detail::liveComObjects; }
    virtual ~ComObject() { --detail::liveComObjects; }

  private:
    template <class Interface>
    void Offer(REFIID iid, void** object) noexcept {
        if (::IsEqualIID(iid, InterfaceId<Interface>::Get())) *object = static_cast<Interface*>(this);
    }

    std::atomic<ULONG> references_{1};
};

/// Makes an object of a class derived from ComObject and returns its first reference. Throws what the
/// constructor throws, and std::bad_alloc.
template <class Object, class... Arguments>
velk::ComPtr<Object> MakeComObject(Arguments&&... arguments) {
    return velk::ComPtr<Object>::Adopt(new Object(std::forward<Arguments>(arguments)...));
}

/// Runs the body of an interface method so that no exception leaves it: bad_alloc becomes
/// WBEM_E_OUT_OF_MEMORY, anything else WBEM_E_FAILED. The body returns an HRESULT.
template <class Body>
HRESULT GuardedCall(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        return velk::kWbemOutOfMemory;
    } catch (...) {
        return velk::kWbemFailed;
    }
}

}  // namespace velkhost
