#include "platform/TCDescContent.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.9
struct TCDescContent::Impl {
    struct Content {
        uint8_t nibbles;
        uint8_t user;
    };
    std::vector<Content> contents;
};

TCDescContent::TCDescContent() : m_impl(std::make_unique<Impl>()) {}

TCDescContent::TCDescContent(const TCDescContent& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescContent::~TCDescContent() = default;

TCBaseDesc* TCDescContent::Fork() const {
    return new TCDescContent(*this);
}

int TCDescContent::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    size_t at = 0;
    for (; bytes.Has(at, 2); at += 2) {
        m_impl->contents.push_back({bytes.U8(at), bytes.U8(at + 1)});
    }
    return static_cast<int>(at);
}

int TCDescContent::NumOfContents() const {
    return static_cast<int>(m_impl->contents.size());
}

unsigned char TCDescContent::ContentNibbles(unsigned int index) const {
    return index < m_impl->contents.size() ? m_impl->contents[index].nibbles : uint8_t{0};
}

unsigned char TCDescContent::UserByte(unsigned int index) const {
    return index < m_impl->contents.size() ? m_impl->contents[index].user : uint8_t{0};
}
