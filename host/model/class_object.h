#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/com_ptr.h"
#include "common/platform.h"
#include "host/com/com_object.h"
#include "host/model/class_def.h"

namespace velkhost {

/// WMI's object, as class or as instance. References are counted free-threaded; an object may be used from
/// several threads as long as none changes it (Put, Delete, an enumeration of its properties).
class ClassObject final : public ComObject<IWbemClassObject> {
  public:
    enum class Genus { kClass = 1, kInstance = 2 };

    /// What an instance holds of its own, in the order of the class's properties; where nothing is held, the
    /// class's initial value shows.
    using Values = std::vector<std::optional<Value>>;

    /// A class object, or an instance with these values. Use the makers below.
    ClassObject(ClassPtr definition, Genus genus, Values values);

    /// The object behind an interface, or null when it is not one of the host's. No reference is added.
    static ClassObject* From(IWbemClassObject* object);

    const ClassDef& Class() const { return *definition_; }
    const ClassPtr& ClassPointer() const { return definition_; }
    bool IsInstance() const { return genus_ == Genus::kInstance; }
    /// The value of a property by its index in Class().properties; for a class object the initial value.
    const Value& At(std::size_t index) const;
    /// Sets an instance's value, already of the property's type.
    void Set(std::size_t index, Value value);

    /// "Class.Key=..." of an instance whose keys all have values, "Class" of a class; else nothing.
    std::optional<std::wstring> RelativePath() const;
    /// The same with server and namespace in front.
    std::optional<std::wstring> FullPath() const;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) noexcept override;

    HRESULT STDMETHODCALLTYPE GetQualifierSet(IWbemQualifierSet** qualifiers) noexcept override;
    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type,
                                  LONG* flavor) noexcept override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) noexcept override;
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetNames(LPCWSTR qualifier, LONG flags, VARIANT* qualifierValue,
                                       SAFEARRAY** names) noexcept override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) noexcept override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type,
                                   LONG* flavor) noexcept override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() noexcept override;
    HRESULT STDMETHODCALLTYPE GetPropertyQualifierSet(LPCWSTR property,
                                                      IWbemQualifierSet** qualifiers) noexcept override;
    HRESULT STDMETHODCALLTYPE Clone(IWbemClassObject** copy) noexcept override;
    HRESULT STDMETHODCALLTYPE GetObjectText(LONG flags, BSTR* text) noexcept override;
    HRESULT STDMETHODCALLTYPE SpawnDerivedClass(LONG flags, IWbemClassObject** derived) noexcept override;
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG flags, IWbemClassObject** instance) noexcept override;
    HRESULT STDMETHODCALLTYPE CompareTo(LONG flags, IWbemClassObject* other) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPropertyOrigin(LPCWSTR name, BSTR* className) noexcept override;
    HRESULT STDMETHODCALLTYPE InheritsFrom(LPCWSTR ancestor) noexcept override;
    // Classes with methods do not occur here: none is ever found.
    HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** in,
                                        IWbemClassObject** out) noexcept override;
    HRESULT STDMETHODCALLTYPE PutMethod(LPCWSTR name, LONG flags, IWbemClassObject* in,
                                        IWbemClassObject* out) noexcept override;
    HRESULT STDMETHODCALLTYPE DeleteMethod(LPCWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE BeginMethodEnumeration(LONG flags) noexcept override;
    HRESULT STDMETHODCALLTYPE NextMethod(LONG flags, BSTR* name, IWbemClassObject** in,
                                         IWbemClassObject** out) noexcept override;
    HRESULT STDMETHODCALLTYPE EndMethodEnumeration() noexcept override;
    HRESULT STDMETHODCALLTYPE GetMethodQualifierSet(LPCWSTR name,
                                                    IWbemQualifierSet** qualifiers) noexcept override;
    HRESULT STDMETHODCALLTYPE GetMethodOrigin(LPCWSTR name, BSTR* className) noexcept override;

  private:
    /// What Get and Next hand out about one property.
    struct Answer {
        velk::Variant value;
        CIMTYPE type;
        LONG flavor;
    };
    Answer AnswerFor(std::size_t index) const;
    /// The system property of that name, or nothing.
    std::optional<Answer> SystemAnswer(std::wstring_view name) const;
    HRESULT PutOnInstance(LPCWSTR name, const VARIANT* value, CIMTYPE type);
    HRESULT PutOnClass(LPCWSTR name, const VARIANT* value, CIMTYPE type);
    bool FitsFlags(std::size_t index, LONG flags) const;
    /// Names of the properties, system ones included, that enumeration flags ask for.
    std::vector<std::wstring> NamesFor(LONG flags) const;
    std::optional<Answer> Find(std::wstring_view name) const;

    ClassPtr definition_;
    const Genus genus_;
    Values values_;  ///< empty for a class
    bool enumerating_ = false;
    std::vector<std::wstring> pending_;  ///< names that Next has still to hand out, the next one last
};

/// A class object. Throws std::bad_alloc.
velk::ComPtr<ClassObject> MakeClass(ClassPtr definition);
/// A new instance with the class's initial values. Throws std::bad_alloc.
velk::ComPtr<ClassObject> MakeInstance(ClassPtr definition);
/// The instance with the properties of `projection` (see ProjectClass) only. Throws std::bad_alloc.
velk::ComPtr<ClassObject> ProjectInstance(const ClassObject& whole, ClassPtr projection);

}  // namespace velkhost
