#include "platform/TCDescCA.h"

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ISO/IEC 13818-1 2.6.16
struct TCDescCA::Impl {};

TCDescCA::TCDescCA() = default;

TCDescCA::TCDescCA(const TCDescCA& other) : TCBaseDesc(other) {}

TCDescCA::~TCDescCA() = default;

TCBaseDesc* TCDescCA::Fork() const {
    return new TCDescCA(*this);
}

int TCDescCA::Decode(const unsigned char*, int length) {
    return length < 4 ? -1 : length;  // the rest is private data
}

unsigned short TCDescCA::CASystemId() const {
    return PayloadOf(*this).U16(0);
}

unsigned short TCDescCA::CAPID() const {
    return PayloadOf(*this).U16(2) & 0x1FFF;
}
