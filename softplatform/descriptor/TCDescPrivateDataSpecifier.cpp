#include "platform/TCDescPrivateDataSpecifier.h"

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.31
struct TCDescPrivateDataSpecifier::Impl {};

TCDescPrivateDataSpecifier::TCDescPrivateDataSpecifier() = default;

TCDescPrivateDataSpecifier::TCDescPrivateDataSpecifier(const TCDescPrivateDataSpecifier& other)
    : TCBaseDesc(other) {}

TCDescPrivateDataSpecifier::~TCDescPrivateDataSpecifier() = default;

TCBaseDesc* TCDescPrivateDataSpecifier::Fork() const {
    return new TCDescPrivateDataSpecifier(*this);
}

int TCDescPrivateDataSpecifier::Decode(const unsigned char*, int length) {
    return length < 4 ? -1 : 4;
}

unsigned int TCDescPrivateDataSpecifier::PrivateDataSpecifier() const {
    return PayloadOf(*this).U32(0);
}
