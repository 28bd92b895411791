#include "platform/TCDescServiceList.h"

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.35
struct TCDescServiceList::Impl {};

namespace {
constexpr size_t kEntrySizeServiceList = 3;
}

TCDescServiceList::TCDescServiceList() = default;

TCDescServiceList::TCDescServiceList(const TCDescServiceList& other) : TCBaseDesc(other) {}

TCDescServiceList::~TCDescServiceList() = default;

TCBaseDesc* TCDescServiceList::Fork() const {
    return new TCDescServiceList(*this);
}

int TCDescServiceList::Decode(const unsigned char*, int length) {
    return length - length % static_cast<int>(kEntrySizeServiceList);
}

int TCDescServiceList::NumOfServices() const {
    return static_cast<int>(PayloadOf(*this).size() / kEntrySizeServiceList);
}

unsigned short TCDescServiceList::ServiceId(unsigned int index) const {
    return tvservice::EntryOf(*this, index, kEntrySizeServiceList).U16(0);
}

unsigned char TCDescServiceList::ServiceType(unsigned int index) const {
    return tvservice::EntryOf(*this, index, kEntrySizeServiceList).U8(2);
}
