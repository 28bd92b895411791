#include "platform/TCDescService.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/TextReader.h"

using tvservice::ByteView;
using tvservice::TextReader;

// ETSI EN 300 468 6.2.33
struct TCDescService::Impl {
    uint8_t serviceType = 0;
    std::vector<uint8_t> provider;
    std::vector<uint8_t> name;
};

TCDescService::TCDescService() : m_impl(std::make_unique<Impl>()) {}

TCDescService::TCDescService(const TCDescService& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescService::~TCDescService() = default;

TCBaseDesc* TCDescService::Fork() const {
    return new TCDescService(*this);
}

int TCDescService::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    TextReader reader(bytes, 1);
    m_impl->serviceType = bytes.U8(0);
    if (!reader.Read(m_impl->provider) || !reader.Read(m_impl->name)) {
        return -1;
    }
    return reader.at();
}

unsigned char TCDescService::ServiceType() const {
    return m_impl->serviceType;
}

const std::vector<unsigned char>& TCDescService::ServiceProviderName() const {
    return m_impl->provider;
}

const std::vector<unsigned char>& TCDescService::ServiceName() const {
    return m_impl->name;
}
