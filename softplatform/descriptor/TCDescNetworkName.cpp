#include "platform/TCDescNetworkName.h"

#include <vector>

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.27
struct TCDescNetworkName::Impl {};

namespace {

// Several threads may read a descriptor that owns its bytes: its texts are made now, not when they
// are first asked for.
void MakeTexts(const TCDescNetworkName& desc) {
    if (tvservice::OwnsItsBytes(desc)) {
        desc.Name();
    }
}

}  // namespace

TCDescNetworkName::TCDescNetworkName() = default;

TCDescNetworkName::TCDescNetworkName(const TCDescNetworkName& other) : TCBaseDesc(other) {
    MakeTexts(*this);
}

TCDescNetworkName::~TCDescNetworkName() = default;

TCBaseDesc* TCDescNetworkName::Fork() const {
    return new TCDescNetworkName(*this);
}

int TCDescNetworkName::Decode(const unsigned char*, int length) {
    MakeTexts(*this);
    return length;
}

const std::vector<unsigned char>& TCDescNetworkName::Name() const {
    return tvservice::TextOf(*this, 0, PayloadOf(*this));
}
