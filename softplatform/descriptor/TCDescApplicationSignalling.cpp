#include "platform/TCDescApplicationSignalling.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI TS 102 809 5.3.5.1
struct TCDescApplicationSignalling::Impl {
    struct Application {
        uint16_t type;
        uint8_t version;
    };
    std::vector<Application> applications;
};

TCDescApplicationSignalling::TCDescApplicationSignalling() : m_impl(std::make_unique<Impl>()) {}

TCDescApplicationSignalling::TCDescApplicationSignalling(const TCDescApplicationSignalling& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescApplicationSignalling::~TCDescApplicationSignalling() = default;

TCBaseDesc* TCDescApplicationSignalling::Fork() const {
    return new TCDescApplicationSignalling(*this);
}

int TCDescApplicationSignalling::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    size_t at = 0;
    for (; bytes.Has(at, 3); at += 3) {
        m_impl->applications.push_back({static_cast<uint16_t>(bytes.U16(at) & 0x7FFF),
                                        static_cast<uint8_t>(bytes.U8(at + 2) & 0x1F)});
    }
    return static_cast<int>(at);
}

int TCDescApplicationSignalling::NumOfApplications() const {
    return static_cast<int>(m_impl->applications.size());
}

unsigned short TCDescApplicationSignalling::ApplicationType(unsigned int index) const {
    return index < m_impl->applications.size() ? m_impl->applications[index].type : uint16_t{0};
}

unsigned char TCDescApplicationSignalling::AITVersionNumber(unsigned int index) const {
    return index < m_impl->applications.size() ? m_impl->applications[index].version : uint8_t{0};
}
