#include "platform/TCDescCA.h"

#include <cstdint>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ISO/IEC 13818-1 2.6.16
struct TCDescCA::Impl {
    uint16_t caSystemId = 0;
    uint16_t caPid = 0;
};

TCDescCA::TCDescCA() : m_impl(std::make_unique<Impl>()) {}

TCDescCA::TCDescCA(const TCDescCA& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescCA::~TCDescCA() = default;

TCBaseDesc* TCDescCA::Fork() const {
    return new TCDescCA(*this);
}

int TCDescCA::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, 4)) {
        return -1;
    }
    m_impl->caSystemId = bytes.U16(0);
    m_impl->caPid = bytes.U16(2) & 0x1FFF;
    return length;  // private data follows
}

unsigned short TCDescCA::CASystemId() const {
    return m_impl->caSystemId;
}

unsigned short TCDescCA::CAPID() const {
    return m_impl->caPid;
}
