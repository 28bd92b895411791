#include "platform/TCDescCarouselIdentifier.h"

#include <cstdint>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI TR 101 202 4.7.7.1
struct TCDescCarouselIdentifier::Impl {
    uint32_t carouselId = 0;
};

TCDescCarouselIdentifier::TCDescCarouselIdentifier() : m_impl(std::make_unique<Impl>()) {}

TCDescCarouselIdentifier::TCDescCarouselIdentifier(const TCDescCarouselIdentifier& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescCarouselIdentifier::~TCDescCarouselIdentifier() = default;

TCBaseDesc* TCDescCarouselIdentifier::Fork() const {
    return new TCDescCarouselIdentifier(*this);
}

int TCDescCarouselIdentifier::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, 4)) {
        return -1;
    }
    m_impl->carouselId = bytes.U32(0);
    return length;  // FormatId and what depends on it follow
}

unsigned int TCDescCarouselIdentifier::CarouselId() const {
    return m_impl->carouselId;
}
