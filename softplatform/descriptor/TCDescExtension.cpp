#include "platform/TCDescExtension.h"

#include <cstdint>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.16
struct TCDescExtension::Impl {
    uint8_t tagExtension = 0;
};

TCDescExtension::TCDescExtension() : m_impl(std::make_unique<Impl>()) {}

TCDescExtension::TCDescExtension(const TCDescExtension& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescExtension::~TCDescExtension() = default;

TCBaseDesc* TCDescExtension::Fork() const {
    return new TCDescExtension(*this);
}

int TCDescExtension::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, 1)) {
        return -1;
    }
    m_impl->tagExtension = bytes.U8(0);
    return length;
}

unsigned short TCDescExtension::Tag() const {
    return static_cast<unsigned short>(0x7F00 | m_impl->tagExtension);
}

unsigned char TCDescExtension::TagExtension() const {
    return m_impl->tagExtension;
}
