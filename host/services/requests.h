#pragma once

#include <functional>
#include <string>

#include "host/model/class_object.h"
#include "host/services/host_core.h"
#include "host/services/wql.h"

namespace velkhost {

/// The requests that one namespace answers, each run to its end on the calling thread.
class Requests {
  public:
    /// Called with each object of an answer, one call at a time, from the calling thread or a provider's.
    using Receiver = std::function<void(const velk::ComPtr<ClassObject>& object)>;

    Requests(HostCore& core, std::wstring nameSpace, IWbemServices* services)
        : core_(core), nameSpace_(std::move(nameSpace)), services_(services) {}

    /// All instances of a class, of derived classes too when `deep`. Every provider is asked even when one
    /// fails; the first failure is the result. WBEM_E_INVALID_CLASS for an unknown class.
    HRESULT Instances(const std::wstring& className, bool deep, IWbemContext* context,
                      const Receiver& receive);
    /// The classes derived from `superclass` (empty: all of them), directly or, when `deep`, at any distance.
    HRESULT Classes(const std::wstring& superclass, bool deep, const Receiver& receive);
    HRESULT Query(const WqlQuery& query, IWbemContext* context, const Receiver& receive);
    /// A class or instance by path; the empty path is a new, empty class.
    HRESULT Object(const std::wstring& path, IWbemContext* context, velk::ComPtr<ClassObject>& object);

    /// Whether answering needs a provider, whose time nobody knows.
    bool NeedsProvider(const std::wstring& className);

  private:
    HRESULT SchemaQuery(const WqlQuery& query, const Receiver& receive);
    HRESULT InstancesOfProvider(const ClassDef& definition, IWbemContext* context, const Receiver& receive);
    HRESULT Instance(const struct ObjectPath& path, const ClassPtr& definition, IWbemContext* context,
                     velk::ComPtr<ClassObject>& object);
    HRESULT InstanceOfProvider(const std::wstring& relativePath, const ClassDef& definition,
                               IWbemContext* context, velk::ComPtr<ClassObject>& object);
    /// Finds the class's provider and has `call` ask it; `call` gets the provider and the sink.
    HRESULT Ask(const std::wstring& request, const ClassDef& definition, bool forGet, IWbemContext* context,
                const Receiver& receive,
                const std::function<HRESULT(IWbemServices* provider, IWbemObjectSink* sink)>& call);

    HostCore& core_;
    const std::wstring nameSpace_;
    IWbemServices* const services_;  ///< handed to providers as their namespace; the owner keeps it alive
};

}  // namespace velkhost
