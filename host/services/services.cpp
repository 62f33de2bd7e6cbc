#include "host/services/services.h"

#include <utility>

#include "common/text.h"
#include "host/com/wbem_codes.h"
#include "host/services/enumerator.h"

namespace velkhost {
namespace {

std::wstring TextOf(const BSTR text) { return text == nullptr ? std::wstring() : std::wstring(text); }

bool IsDeep(LONG flags) { return (flags & WBEM_FLAG_SHALLOW) == 0; }

}  // namespace

Services::Services(std::shared_ptr<HostCore> core, std::wstring nameSpace)
    : core_(std::move(core)), nameSpace_(std::move(nameSpace)) {}

HRESULT Services::CancelAsyncCall(IWbemObjectSink* sink) noexcept {
    if (sink == nullptr) return velk::kWbemInvalidParameter;
    return GuardedCall(
        [&] { return core_->Calls().Cancel(sink) ? velk::kWbemNoError : velk::kWbemNotFound; });
}

HRESULT Services::OpenNamespace(const BSTR nameSpace, LONG, IWbemContext*, IWbemServices** services,
                                IWbemCallResult** callResult) noexcept {
    if (nameSpace == nullptr || services == nullptr) return velk::kWbemInvalidParameter;
    *services = nullptr;
    if (callResult != nullptr) return velk::kWbemNotSupported;
    return GuardedCall([&] {
        auto opened = core_->Connect(nameSpace_ + L"\\" + NormalizeNamespace(nameSpace));
        if (!opened) return kWbemInvalidNamespace;
        *services = opened.Detach();
        return velk::kWbemNoError;
    });
}

HRESULT Services::GetObject(const BSTR path, LONG, IWbemContext* context, IWbemClassObject** object,
                            IWbemCallResult** callResult) noexcept {
    if (object == nullptr)
        return callResult == nullptr ? velk::kWbemInvalidParameter : velk::kWbemNotSupported;
    *object = nullptr;
    return GuardedCall([&] {
        velk::ComPtr<ClassObject> found;
        HRESULT result = kWbemShuttingDown;
        core_->Threads().Run([&] {
            result = GuardedCall(
                [&] { return Requests(*core_, nameSpace_, this).Object(TextOf(path), context, found); });
        });
        if (SUCCEEDED(result)) *object = found.Detach();
        return result;
    });
}

HRESULT Services::GetObjectAsync(const BSTR path, LONG, IWbemContext* context,
                                 IWbemObjectSink* sink) noexcept {
    return GuardedCall([&] {
        velk::ComPtr<IWbemContext> kept(context);
        return Deliver(
            [text = TextOf(path), kept](Requests& requests, const Requests::Receiver& receive) {
                velk::ComPtr<ClassObject> found;
                const HRESULT result = requests.Object(text, kept.Get(), found);
                if (SUCCEEDED(result)) receive(found);
                return result;
            },
            sink);
    });
}

HRESULT Services::CreateClassEnum(const BSTR superclass, LONG flags, IWbemContext*,
                                  IEnumWbemClassObject** enumerator) noexcept {
    return GuardedCall([&] {
        return Enumerate(
            [name = TextOf(superclass), flags](Requests& requests, const Requests::Receiver& receive) {
                return requests.Classes(name, IsDeep(flags), receive);
            },
            flags, false, enumerator);
    });
}

HRESULT Services::CreateClassEnumAsync(const BSTR superclass, LONG flags, IWbemContext*,
                                       IWbemObjectSink* sink) noexcept {
    return GuardedCall([&] {
        return Deliver(
            [name = TextOf(superclass), flags](Requests& requests, const Requests::Receiver& receive) {
                return requests.Classes(name, IsDeep(flags), receive);
            },
            sink);
    });
}

HRESULT Services::CreateInstanceEnum(const BSTR className, LONG flags, IWbemContext* context,
                                     IEnumWbemClassObject** enumerator) noexcept {
    if (className == nullptr) return velk::kWbemInvalidParameter;
    return GuardedCall([&] {
        velk::ComPtr<IWbemContext> kept(context);
        std::wstring name = TextOf(className);
        const bool mayTakeLong = Requests(*core_, nameSpace_, this).NeedsProvider(name);
        return Enumerate(
            [name = std::move(name), flags, kept](Requests& requests, const Requests::Receiver& receive) {
                return requests.Instances(name, IsDeep(flags), kept.Get(), receive);
            },
            flags, mayTakeLong, enumerator);
    });
}

HRESULT Services::CreateInstanceEnumAsync(const BSTR className, LONG flags, IWbemContext* context,
                                          IWbemObjectSink* sink) noexcept {
    if (className == nullptr) return velk::kWbemInvalidParameter;
    return GuardedCall([&] {
        velk::ComPtr<IWbemContext> kept(context);
        return Deliver(
            [name = TextOf(className), flags, kept](Requests& requests, const Requests::Receiver& receive) {
                return requests.Instances(name, IsDeep(flags), kept.Get(), receive);
            },
            sink);
    });
}

HRESULT Services::ExecQuery(const BSTR language, const BSTR text, LONG flags, IWbemContext* context,
                            IEnumWbemClassObject** enumerator) noexcept {
    return GuardedCall([&] {
        if (enumerator != nullptr) *enumerator = nullptr;
        WqlQuery query;
        const HRESULT read = ReadQuery(language, text, query);
        if (FAILED(read)) return read;
        velk::ComPtr<IWbemContext> kept(context);
        const bool mayTakeLong =
            !query.isSchema && Requests(*core_, nameSpace_, this).NeedsProvider(query.className);
        return Enumerate(
            [query = std::move(query), kept](Requests& requests, const Requests::Receiver& receive) {
                return requests.Query(query, kept.Get(), receive);
            },
            flags, mayTakeLong, enumerator);
    });
}

HRESULT Services::ExecQueryAsync(const BSTR language, const BSTR text, LONG, IWbemContext* context,
                                 IWbemObjectSink* sink) noexcept {
    return GuardedCall([&] {
        WqlQuery query;
        const HRESULT read = ReadQuery(language, text, query);
        if (FAILED(read)) return read;
        velk::ComPtr<IWbemContext> kept(context);
        return Deliver(
            [query = std::move(query), kept](Requests& requests, const Requests::Receiver& receive) {
                return requests.Query(query, kept.Get(), receive);
            },
            sink);
    });
}

HRESULT Services::ReadQuery(const BSTR language, const BSTR text, WqlQuery& query) {
    if (language == nullptr || text == nullptr || *text == L'\0') return velk::kWbemInvalidParameter;
    if (!velk::EqualsIgnoringCase(language, L"WQL")) return kWbemInvalidQueryType;
    WqlResult parsed = ParseWql(text);
    if (!parsed.query) {
        core_->Report(L"Query \"" + TextOf(text) + L"\": " + parsed.error);
        return kWbemInvalidQuery;
    }
    query = std::move(*parsed.query);
    return velk::kWbemNoError;
}

HRESULT Services::Run(const Job& job, const Requests::Receiver& receive) {
    return GuardedCall([&] {
        if (core_->IsShutDown()) return kWbemShuttingDown;
        Requests requests(*core_, nameSpace_, this);
        return job(requests, receive);
    });
}

HRESULT Services::Enumerate(Job job, LONG flags, bool mayTakeLong, IEnumWbemClassObject** enumerator) {
    if (enumerator == nullptr) return velk::kWbemInvalidParameter;
    *enumerator = nullptr;
    const auto stream = std::make_shared<ResultStream>();
    const auto run = [stream, job = std::move(job)](Services& self) {
        const HRESULT result = self.Run(job, [&](const velk::ComPtr<ClassObject>& object) {
            stream->Add(velk::ComPtr<IWbemClassObject>(object.Get()));
        });
        stream->Finish(result);
        return result;
    };
    const bool returnsAtOnce = (flags & WBEM_FLAG_RETURN_IMMEDIATELY) != 0;
    if (returnsAtOnce && mayTakeLong) {
        const velk::ComPtr<Services> self(this);
        if (!core_->Threads().Start([run, self] { run(*self); })) return kWbemShuttingDown;
    } else {
        HRESULT result = kWbemShuttingDown;
        core_->Threads().Run([&] { result = run(*this); });
        if (FAILED(result) && !returnsAtOnce) return result;
    }
    const bool forwardOnly = (flags & WBEM_FLAG_FORWARD_ONLY) != 0;
    *enumerator = MakeComObject<Enumerator>(stream, forwardOnly).Detach();
    return velk::kWbemNoError;
}

HRESULT Services::Deliver(Job job, IWbemObjectSink* sink) {
    if (sink == nullptr) return velk::kWbemInvalidParameter;
    const velk::ComPtr<Services> self(this);
    const auto call = core_->Calls().Begin(velk::ComPtr<IWbemObjectSink>(sink));
    const bool started = core_->Threads().Start([self, call, job = std::move(job)] {
        // Handed on when the provider is through, as WMI queues what providers deliver: they call Indicate
        // under locks of their own, which a client that asks again from within its sink would wait for.
        std::vector<velk::ComPtr<ClassObject>> objects;
        const HRESULT result =
            self->Run(job, [&](const velk::ComPtr<ClassObject>& object) { objects.push_back(object); });
        for (const auto& object : objects) call->Deliver(object.Get());
        call->Finish(result);
    });
    return started ? velk::kWbemNoError : kWbemShuttingDown;
}

}  // namespace velkhost
