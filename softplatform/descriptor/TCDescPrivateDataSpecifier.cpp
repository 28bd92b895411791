#include "platform/TCDescPrivateDataSpecifier.h"

#include <cstdint>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.31
struct TCDescPrivateDataSpecifier::Impl {
    uint32_t specifier = 0;
};

TCDescPrivateDataSpecifier::TCDescPrivateDataSpecifier() : m_impl(std::make_unique<Impl>()) {}

TCDescPrivateDataSpecifier::TCDescPrivateDataSpecifier(const TCDescPrivateDataSpecifier& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescPrivateDataSpecifier::~TCDescPrivateDataSpecifier() = default;

TCBaseDesc* TCDescPrivateDataSpecifier::Fork() const {
    return new TCDescPrivateDataSpecifier(*this);
}

int TCDescPrivateDataSpecifier::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, 4)) {
        return -1;
    }
    m_impl->specifier = bytes.U32(0);
    return 4;
}

unsigned int TCDescPrivateDataSpecifier::PrivateDataSpecifier() const {
    return m_impl->specifier;
}
