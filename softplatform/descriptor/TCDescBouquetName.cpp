#include "platform/TCDescBouquetName.h"

#include <vector>

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.4
struct TCDescBouquetName::Impl {};

namespace {

// Several threads may read a descriptor that owns its bytes: its texts are made now, not when they
// are first asked for.
void MakeTexts(const TCDescBouquetName& desc) {
    if (tvservice::OwnsItsBytes(desc)) {
        desc.Name();
    }
}

}  // namespace

TCDescBouquetName::TCDescBouquetName() = default;

TCDescBouquetName::TCDescBouquetName(const TCDescBouquetName& other) : TCBaseDesc(other) {
    MakeTexts(*this);
}

TCDescBouquetName::~TCDescBouquetName() = default;

TCBaseDesc* TCDescBouquetName::Fork() const {
    return new TCDescBouquetName(*this);
}

int TCDescBouquetName::Decode(const unsigned char*, int length) {
    MakeTexts(*this);
    return length;
}

const std::vector<unsigned char>& TCDescBouquetName::Name() const {
    return tvservice::TextOf(*this, 0, PayloadOf(*this));
}
