#include "platform/TCDescComponent.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.8
struct TCDescComponent::Impl {
    uint8_t streamContentExt = 0;
    uint8_t streamContent = 0;
    uint8_t componentType = 0;
    uint8_t componentTag = 0;
    uint32_t language = 0;
    std::vector<uint8_t> text;
};

TCDescComponent::TCDescComponent() : m_impl(std::make_unique<Impl>()) {}

TCDescComponent::TCDescComponent(const TCDescComponent& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescComponent::~TCDescComponent() = default;

TCBaseDesc* TCDescComponent::Fork() const {
    return new TCDescComponent(*this);
}

int TCDescComponent::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, 6)) {
        return -1;
    }
    m_impl->streamContentExt = bytes.U8(0) >> 4;
    m_impl->streamContent = bytes.U8(0) & 0x0F;
    m_impl->componentType = bytes.U8(1);
    m_impl->componentTag = bytes.U8(2);
    m_impl->language = bytes.U24(3);
    const ByteView text = bytes.Subview(6);
    m_impl->text.assign(text.begin(), text.end());
    return length;
}

unsigned char TCDescComponent::StreamContentExt() const {
    return m_impl->streamContentExt;
}

unsigned char TCDescComponent::StreamContent() const {
    return m_impl->streamContent;
}

unsigned char TCDescComponent::ComponentType() const {
    return m_impl->componentType;
}

unsigned char TCDescComponent::ComponentTag() const {
    return m_impl->componentTag;
}

unsigned int TCDescComponent::LanguageCode() const {
    return m_impl->language;
}

const std::vector<unsigned char>& TCDescComponent::Text() const {
    return m_impl->text;
}
