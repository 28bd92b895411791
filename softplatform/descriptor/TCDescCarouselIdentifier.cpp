#include "platform/TCDescCarouselIdentifier.h"

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI TR 101 202 4.7.7.1
struct TCDescCarouselIdentifier::Impl {};

TCDescCarouselIdentifier::TCDescCarouselIdentifier() = default;

TCDescCarouselIdentifier::TCDescCarouselIdentifier(const TCDescCarouselIdentifier& other)
    : TCBaseDesc(other) {}

TCDescCarouselIdentifier::~TCDescCarouselIdentifier() = default;

TCBaseDesc* TCDescCarouselIdentifier::Fork() const {
    return new TCDescCarouselIdentifier(*this);
}

int TCDescCarouselIdentifier::Decode(const unsigned char*, int length) {
    return length < 4 ? -1 : length;  // carousel_id; FormatId and the fields after it are not read
}

unsigned int TCDescCarouselIdentifier::CarouselId() const {
    return PayloadOf(*this).U32(0);
}
