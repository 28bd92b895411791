#include "platform/TCDescStreamIdentifier.h"

#include <cstdint>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.39
struct TCDescStreamIdentifier::Impl {
    uint8_t componentTag = 0;
};

TCDescStreamIdentifier::TCDescStreamIdentifier() : m_impl(std::make_unique<Impl>()) {}

TCDescStreamIdentifier::TCDescStreamIdentifier(const TCDescStreamIdentifier& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescStreamIdentifier::~TCDescStreamIdentifier() = default;

TCBaseDesc* TCDescStreamIdentifier::Fork() const {
    return new TCDescStreamIdentifier(*this);
}

int TCDescStreamIdentifier::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, 1)) {
        return -1;
    }
    m_impl->componentTag = bytes.U8(0);
    return 1;
}

unsigned char TCDescStreamIdentifier::ComponentTag() const {
    return m_impl->componentTag;
}
