#include "platform/TCDescComponent.h"

#include <vector>

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.8
struct TCDescComponent::Impl {};

namespace {

// Several threads may read a descriptor that owns its bytes: its texts are made now, not when they
// are first asked for.
void MakeTexts(const TCDescComponent& desc) {
    if (tvservice::OwnsItsBytes(desc)) {
        desc.Text();
    }
}

}  // namespace

TCDescComponent::TCDescComponent() = default;

TCDescComponent::TCDescComponent(const TCDescComponent& other) : TCBaseDesc(other) {
    MakeTexts(*this);
}

TCDescComponent::~TCDescComponent() = default;

TCBaseDesc* TCDescComponent::Fork() const {
    return new TCDescComponent(*this);
}

int TCDescComponent::Decode(const unsigned char*, int length) {
    if (length < 6) {
        return -1;
    }
    MakeTexts(*this);
    return length;
}

unsigned char TCDescComponent::StreamContentExt() const {
    return PayloadOf(*this).U8(0) >> 4;
}

unsigned char TCDescComponent::StreamContent() const {
    return PayloadOf(*this).U8(0) & 0x0F;
}

unsigned char TCDescComponent::ComponentType() const {
    return PayloadOf(*this).U8(1);
}

unsigned char TCDescComponent::ComponentTag() const {
    return PayloadOf(*this).U8(2);
}

unsigned int TCDescComponent::LanguageCode() const {
    return PayloadOf(*this).U24(3);
}

const std::vector<unsigned char>& TCDescComponent::Text() const {
    return tvservice::TextOf(*this, 0, PayloadOf(*this).Subview(6));
}
