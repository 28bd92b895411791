#include "platform/TCDescExtension.h"

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.16
struct TCDescExtension::Impl {};

TCDescExtension::TCDescExtension() = default;

TCDescExtension::TCDescExtension(const TCDescExtension& other) : TCBaseDesc(other) {}

TCDescExtension::~TCDescExtension() = default;

TCBaseDesc* TCDescExtension::Fork() const {
    return new TCDescExtension(*this);
}

int TCDescExtension::Decode(const unsigned char*, int length) {
    return length < 1 ? -1 : length;
}

unsigned short TCDescExtension::Tag() const {
    return static_cast<unsigned short>(0x7F00 | TagExtension());
}

unsigned char TCDescExtension::TagExtension() const {
    return PayloadOf(*this).U8(0);
}
