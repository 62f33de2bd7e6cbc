#include "host/services/requests.h"

#include <utility>

#include "common/bstr.h"
#include "common/text.h"
#include "host/com/wbem_codes.h"
#include "host/path/object_path.h"
#include "host/services/query_filter.h"

namespace velkhost {
namespace {

/// A copy that shares nothing but the class: everything of the class is selected.
velk::ComPtr<ClassObject> CopyOf(const ClassObject& object) {
    return ProjectInstance(object, object.ClassPointer());
}

/// Keeps the first failure of several steps.
void Collect(HRESULT step, HRESULT& result) {
    if (FAILED(step) && SUCCEEDED(result)) result = step;
}

/// The class that a "__CLASS = ..." term names: such a query needs no look at the others.
const std::wstring* NamedClass(const WqlQuery& query) {
    for (const WqlTerm& term : query.terms) {
        if (term.kind == WqlTerm::Kind::kEquals && term.literal.kind == WqlLiteral::Kind::kText &&
            SameName(term.property, L"__CLASS")) {
            return &term.literal.text;
        }
    }
    return nullptr;
}

/// A key's value in a path against the instance's: texts in any case, as the repository keeps them; a number
/// may be quoted.
bool KeyMatches(const PathKeyValue& wanted, const Value& held) {
    std::wstring text;
    if (const auto* quoted = std::get_if<std::wstring>(&wanted)) {
        text = *quoted;
    } else {
        text = FormatKeyValue(wanted);
    }
    return velk::EqualsIgnoringCase(text.c_str(), ToText(held).c_str());
}

/// Whether the path's keys are the instance's, each once: an implied name stands for the only key.
bool KeysMatch(const ObjectPath& path, const ClassObject& instance) {
    const auto& properties = instance.Class().properties;
    std::size_t keys = 0;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (!properties[i].isKey) continue;
        ++keys;
        bool isFound = false;
        for (const PathKey& key : path.keys) {
            const bool isNamed = key.name.empty() || SameName(key.name, properties[i].name);
            isFound = isFound || (isNamed && KeyMatches(key.value, instance.At(i)));
        }
        if (!isFound) return false;
    }
    return keys == path.keys.size();
}

}  // namespace

bool Requests::NeedsProvider(const std::wstring& className) {
    const ClassPtr definition = core_.Data().FindClass(nameSpace_, className);
    return definition && !core_.DynamicClasses(nameSpace_, *definition)->empty();
}

HRESULT Requests::Instances(const std::wstring& className, bool deep, IWbemContext* context,
                            const Receiver& receive) {
    const ClassPtr definition = core_.Data().FindClass(nameSpace_, className);
    if (!definition) return kWbemInvalidClass;
    for (const auto& instance : core_.Data().StaticInstances(nameSpace_, className)) {
        if (!deep && !SameName(instance->Class().name, definition->name)) continue;
        receive(CopyOf(*instance));
    }
    HRESULT result = velk::kWbemNoError;
    for (const ClassPtr& served : *core_.DynamicClasses(nameSpace_, *definition)) {
        if (deep || served == definition) Collect(InstancesOfProvider(*served, context, receive), result);
    }
    return result;
}

HRESULT Requests::Classes(const std::wstring& superclass, bool deep, const Receiver& receive) {
    if (!superclass.empty() && !core_.Data().FindClass(nameSpace_, superclass)) return kWbemInvalidClass;
    for (const std::wstring& name : core_.Data().ClassNames(nameSpace_, true)) {
        const ClassPtr candidate = core_.Data().FindClass(nameSpace_, name);
        const auto& ancestors = candidate->derivation;
        const bool isDirect =
            ancestors.empty() ? superclass.empty() : SameName(ancestors.front(), superclass);
        const bool isBelow =
            superclass.empty() || (candidate->IsA(superclass) && !SameName(name, superclass));
        if (isDirect || (deep && isBelow)) receive(MakeClass(candidate));
    }
    return velk::kWbemNoError;
}

HRESULT Requests::Query(const WqlQuery& query, IWbemContext* context, const Receiver& receive) {
    if (query.isSchema) return SchemaQuery(query, receive);
    const ClassPtr definition = core_.Data().FindClass(nameSpace_, query.className);
    if (!definition) return kWbemInvalidClass;
    if (!FitsClass(query, *definition)) return kWbemInvalidQuery;
    Projector projector(query.properties);
    return Instances(query.className, true, context, [&](const velk::ComPtr<ClassObject>& object) {
        if (Matches(*object, query.terms)) receive(projector.Project(object));
    });
}

HRESULT Requests::SchemaQuery(const WqlQuery& query, const Receiver& receive) {
    std::vector<std::wstring> names;
    if (const std::wstring* named = NamedClass(query)) {
        names.push_back(*named);
    } else {
        names = core_.Data().ClassNames(nameSpace_, true);
    }
    for (const std::wstring& name : names) {
        const ClassPtr definition = core_.Data().FindClass(nameSpace_, name);
        if (!definition) continue;
        const auto object = MakeClass(definition);
        if (Matches(*object, query.terms)) receive(object);
    }
    return velk::kWbemNoError;
}

HRESULT Requests::Object(const std::wstring& path, IWbemContext* context, velk::ComPtr<ClassObject>& object) {
    if (path.empty()) {
        object = MakeClass(std::make_shared<ClassDef>());
        return velk::kWbemNoError;
    }
    const auto parsed = ParseObjectPath(path);
    if (!parsed || parsed->className.empty()) return velk::kWbemInvalidObjectPath;
    if (!core_.IsLocal(parsed->server)) return kWbemTransportFailure;
    const std::wstring written = FormatNamespace(*parsed);
    if (!written.empty() && !SameName(written, nameSpace_)) {
        const auto other = core_.Connect(written);
        if (!other) return kWbemInvalidNamespace;
        return Requests(core_, written, other.Get()).Object(FormatRelativePath(*parsed), context, object);
    }
    const ClassPtr definition = core_.Data().FindClass(nameSpace_, parsed->className);
    if (!definition) return velk::kWbemNotFound;
    if (parsed->IsInstance()) return Instance(*parsed, definition, context, object);
    object = MakeClass(definition);
    return velk::kWbemNoError;
}

HRESULT Requests::Instance(const ObjectPath& path, const ClassPtr& definition, IWbemContext* context,
                           velk::ComPtr<ClassObject>& object) {
    for (const auto& instance : core_.Data().StaticInstances(nameSpace_, definition->name)) {
        if (!KeysMatch(path, *instance)) continue;
        object = CopyOf(*instance);
        return velk::kWbemNoError;
    }
    // A path may name a superclass: then each provider of a derived class is asked by its own class's name.
    // The class itself is asked in the path's own spelling, and only its answer says why nothing was found.
    HRESULT result = velk::kWbemNotFound;
    for (const ClassPtr& served : *core_.DynamicClasses(nameSpace_, *definition)) {
        ObjectPath own = path;
        const bool isItself = served == definition;
        if (!isItself) own.className = served->name;
        const HRESULT answer = InstanceOfProvider(FormatRelativePath(own), *served, context, object);
        if (SUCCEEDED(answer)) return answer;
        if (isItself) result = answer;
    }
    return result;
}

HRESULT Requests::InstancesOfProvider(const ClassDef& definition, IWbemContext* context,
                                      const Receiver& receive) {
    const velk::Bstr className(definition.name);
    return Ask(L"CreateInstanceEnumAsync " + definition.name, definition, false, context, receive,
               [&](IWbemServices* provider, IWbemObjectSink* sink) {
                   return provider->CreateInstanceEnumAsync(className.Get(), 0, context, sink);
               });
}

HRESULT Requests::InstanceOfProvider(const std::wstring& relativePath, const ClassDef& definition,
                                     IWbemContext* context, velk::ComPtr<ClassObject>& object) {
    const velk::Bstr path(relativePath);
    velk::ComPtr<ClassObject> found;
    const HRESULT result = Ask(
        L"GetObjectAsync " + relativePath, definition, true, context,
        [&](const velk::ComPtr<ClassObject>& delivered) { found = delivered; },
        [&](IWbemServices* provider, IWbemObjectSink* sink) {
            return provider->GetObjectAsync(path.Get(), 0, context, sink);
        });
    if (FAILED(result)) return result;
    if (!found) return velk::kWbemNotFound;
    object = std::move(found);
    return result;
}

HRESULT Requests::Ask(const std::wstring& request, const ClassDef& definition, bool forGet,
                      IWbemContext* context, const Receiver& receive,
                      const std::function<HRESULT(IWbemServices*, IWbemObjectSink*)>& call) {
    if (core_.IsShutDown()) return kWbemShuttingDown;
    HRESULT failure = S_OK;
    const auto info = core_.Data().FindProvider(nameSpace_, definition.name, failure);
    if (!info) {
        core_.Report(request + L": no provider registration in " + nameSpace_ + L" serves the class");
        return FAILED(failure) ? failure : kWbemProviderNotFound;
    }
    if (!(forGet ? info->supportsGet : info->supportsEnumeration)) return velk::kWbemProviderNotCapable;
    velk::ComPtr<IWbemServices> provider;
    const HRESULT loaded = core_.Providers().Get(*info, nameSpace_, services_, context, provider);
    if (FAILED(loaded)) return loaded;
    const auto sink = MakeComObject<ProviderSink>(
        request,
        [&](IWbemClassObject* delivered) {
            const ClassObject* object = ClassObject::From(delivered);
            if (object == nullptr || !object->IsInstance() || !object->Class().IsA(definition.name)) {
                core_.Report(request + L": an object was delivered that is no instance of the class");
                return;
            }
            // A copy: providers keep the objects that they deliver, and clients may change what they receive.
            receive(CopyOf(*object));
        },
        core_.Options().report);
    const HRESULT returned = call(provider.Get(), sink.Get());
    return sink->Finish(returned, core_.Options().statusLimit, core_.Threads().StopEvent());
}

}  // namespace velkhost
