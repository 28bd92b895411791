#include "platform/TCDescServiceList.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.35
struct TCDescServiceList::Impl {
    struct Service {
        uint16_t id;
        uint8_t type;
    };
    std::vector<Service> services;
};

TCDescServiceList::TCDescServiceList() : m_impl(std::make_unique<Impl>()) {}

TCDescServiceList::TCDescServiceList(const TCDescServiceList& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescServiceList::~TCDescServiceList() = default;

TCBaseDesc* TCDescServiceList::Fork() const {
    return new TCDescServiceList(*this);
}

int TCDescServiceList::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    size_t at = 0;
    for (; bytes.Has(at, 3); at += 3) {
        m_impl->services.push_back({bytes.U16(at), bytes.U8(at + 2)});
    }
    return static_cast<int>(at);
}

int TCDescServiceList::NumOfServices() const {
    return static_cast<int>(m_impl->services.size());
}

unsigned short TCDescServiceList::ServiceId(unsigned int index) const {
    return index < m_impl->services.size() ? m_impl->services[index].id : uint16_t{0};
}

unsigned char TCDescServiceList::ServiceType(unsigned int index) const {
    return index < m_impl->services.size() ? m_impl->services[index].type : uint8_t{0};
}
