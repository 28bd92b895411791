#include "platform/TCDescNetworkName.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.27
struct TCDescNetworkName::Impl {
    std::vector<uint8_t> name;
};

TCDescNetworkName::TCDescNetworkName() : m_impl(std::make_unique<Impl>()) {}

TCDescNetworkName::TCDescNetworkName(const TCDescNetworkName& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescNetworkName::~TCDescNetworkName() = default;

TCBaseDesc* TCDescNetworkName::Fork() const {
    return new TCDescNetworkName(*this);
}

int TCDescNetworkName::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    m_impl->name.assign(bytes.begin(), bytes.end());
    return length;
}

const std::vector<unsigned char>& TCDescNetworkName::Name() const {
    return m_impl->name;
}
