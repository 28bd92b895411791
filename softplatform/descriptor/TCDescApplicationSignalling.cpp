#include "platform/TCDescApplicationSignalling.h"

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI TS 102 809 5.3.5.1
struct TCDescApplicationSignalling::Impl {};

namespace {
constexpr size_t kEntrySizeApplicationSignalling = 3;
}

TCDescApplicationSignalling::TCDescApplicationSignalling() = default;

TCDescApplicationSignalling::TCDescApplicationSignalling(const TCDescApplicationSignalling& other)
    : TCBaseDesc(other) {}

TCDescApplicationSignalling::~TCDescApplicationSignalling() = default;

TCBaseDesc* TCDescApplicationSignalling::Fork() const {
    return new TCDescApplicationSignalling(*this);
}

int TCDescApplicationSignalling::Decode(const unsigned char*, int length) {
    return length - length % static_cast<int>(kEntrySizeApplicationSignalling);
}

int TCDescApplicationSignalling::NumOfApplications() const {
    return static_cast<int>(PayloadOf(*this).size() / kEntrySizeApplicationSignalling);
}

unsigned short TCDescApplicationSignalling::ApplicationType(unsigned int index) const {
    return tvservice::EntryOf(*this, index, kEntrySizeApplicationSignalling).U16(0) & 0x7FFF;
}

unsigned char TCDescApplicationSignalling::AITVersionNumber(unsigned int index) const {
    return tvservice::EntryOf(*this, index, kEntrySizeApplicationSignalling).U8(2) & 0x1F;
}
