#include "support/smbios_builder.h"

namespace velktest {

namespace {

constexpr std::uint8_t kHeaderLength = 4;

void Append(Bytes& to, const Bytes& bytes) { to.insert(to.end(), bytes.begin(), bytes.end()); }

std::uint8_t Low(std::uint16_t value) { return static_cast<std::uint8_t>(value); }
std::uint8_t High(std::uint16_t value) { return static_cast<std::uint8_t>(value >> 8); }

velk::Variant ByteArray(const Bytes& bytes) {
    velk::UniqueSafeArray array(::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size())));
    for (LONG at = 0; at < static_cast<LONG>(bytes.size()); ++at) {
        std::uint8_t byte = bytes[static_cast<std::size_t>(at)];
        ::SafeArrayPutElement(array.Get(), &at, &byte);
    }
    return velk::Variant::Array(VT_UI1, std::move(array));
}

}  // namespace

SmbiosBuilder& SmbiosBuilder::Add(std::uint8_t type, const Bytes& body,
                                  const std::vector<std::string>& strings) {
    Append(table_,
           {type, static_cast<std::uint8_t>(body.size() + kHeaderLength), Low(handle_), High(handle_)});
    ++handle_;
    Append(table_, body);
    for (const std::string& text : strings) {
        table_.insert(table_.end(), text.begin(), text.end());
        table_.push_back(0);
    }
    if (strings.empty()) table_.push_back(0);
    table_.push_back(0);
    return *this;
}

SmbiosBuilder& SmbiosBuilder::AddSlot(const Slot& slot, std::uint8_t length) {
    Bytes body = {0,  // designation
                  slot.type,
                  slot.width,
                  0,  // usage
                  0,  // slot length
                  Low(slot.id),
                  High(slot.id),
                  0,  // characteristics 1
                  static_cast<std::uint8_t>(slot.hotPlug ? 0x02 : 0x00),
                  0,
                  0,
                  0,
                  0};  // segment, bus, device and function
    body.resize(static_cast<std::size_t>(length) - kHeaderLength);
    return Add(9, body);
}

SmbiosBuilder& SmbiosBuilder::AddRaw(const Bytes& bytes) {
    Append(table_, bytes);
    return *this;
}

Bytes TableOfSlots(const std::vector<SmbiosBuilder::Slot>& slots) {
    SmbiosBuilder builder;
    builder.Add(1, Bytes(23), {"Velkor", "Server"});
    for (const auto& slot : slots) builder.AddSlot(slot);
    return builder.Add(127, {}).Table();
}

velk::ComPtr<FakeClassObject> RawTableObject(LONG size, const Bytes& table) {
    auto object = FakeClassObject::Make();
    object->Set(L"Size", velk::Variant::SInt32(size));
    object->Set(L"SMBiosData", ByteArray(table));
    return object;
}

void ServeSmbios(FakeWmi& wmi, const Bytes& table) {
    wmi.Namespace(L"root\\wmi")
        .Answer(kRawTableQuery, {.objects = {RawTableObject(static_cast<LONG>(table.size()), table)}});
}

}  // namespace velktest
