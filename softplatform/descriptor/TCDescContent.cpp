#include "platform/TCDescContent.h"

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.9
struct TCDescContent::Impl {};

namespace {
constexpr size_t kEntrySizeContent = 2;
}

TCDescContent::TCDescContent() = default;

TCDescContent::TCDescContent(const TCDescContent& other) : TCBaseDesc(other) {}

TCDescContent::~TCDescContent() = default;

TCBaseDesc* TCDescContent::Fork() const {
    return new TCDescContent(*this);
}

int TCDescContent::Decode(const unsigned char*, int length) {
    return length - length % static_cast<int>(kEntrySizeContent);
}

int TCDescContent::NumOfContents() const {
    return static_cast<int>(PayloadOf(*this).size() / kEntrySizeContent);
}

unsigned char TCDescContent::ContentNibbles(unsigned int index) const {
    return tvservice::EntryOf(*this, index, kEntrySizeContent).U8(0);
}

unsigned char TCDescContent::UserByte(unsigned int index) const {
    return tvservice::EntryOf(*this, index, kEntrySizeContent).U8(1);
}
