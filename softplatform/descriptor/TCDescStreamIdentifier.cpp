#include "platform/TCDescStreamIdentifier.h"

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.39
struct TCDescStreamIdentifier::Impl {};

TCDescStreamIdentifier::TCDescStreamIdentifier() = default;

TCDescStreamIdentifier::TCDescStreamIdentifier(const TCDescStreamIdentifier& other)
    : TCBaseDesc(other) {}

TCDescStreamIdentifier::~TCDescStreamIdentifier() = default;

TCBaseDesc* TCDescStreamIdentifier::Fork() const {
    return new TCDescStreamIdentifier(*this);
}

int TCDescStreamIdentifier::Decode(const unsigned char*, int length) {
    return length < 1 ? -1 : 1;
}

unsigned char TCDescStreamIdentifier::ComponentTag() const {
    return PayloadOf(*this).U8(0);
}
