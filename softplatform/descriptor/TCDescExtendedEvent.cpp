#include "platform/TCDescExtendedEvent.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/TextReader.h"

using tvservice::ByteView;
using tvservice::TextReader;

// ETSI EN 300 468 6.2.15
struct TCDescExtendedEvent::Impl {
    struct Entry {
        std::vector<uint8_t> description;
        std::vector<uint8_t> item;
    };
    uint8_t number = 0;
    uint8_t lastNumber = 0;
    uint32_t language = 0;
    std::vector<Entry> items;
    std::vector<uint8_t> text;
};

TCDescExtendedEvent::TCDescExtendedEvent() : m_impl(std::make_unique<Impl>()) {}

TCDescExtendedEvent::TCDescExtendedEvent(const TCDescExtendedEvent& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescExtendedEvent::~TCDescExtendedEvent() = default;

TCBaseDesc* TCDescExtendedEvent::Fork() const {
    return new TCDescExtendedEvent(*this);
}

int TCDescExtendedEvent::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    const size_t itemsSize = bytes.U8(4);
    TextReader text(bytes, 5 + itemsSize);
    if (!bytes.Has(5, itemsSize) || !text.Read(m_impl->text)) {
        return -1;
    }
    m_impl->number = bytes.U8(0) >> 4;
    m_impl->lastNumber = bytes.U8(0) & 0x0F;
    m_impl->language = bytes.U24(1);
    TextReader reader(bytes.Subview(5, itemsSize), 0);
    while (reader.at() < static_cast<int>(itemsSize)) {
        Impl::Entry entry;
        if (!reader.Read(entry.description) || !reader.Read(entry.item)) {
            return 5 + reader.at();  // an item that reaches past length_of_items
        }
        m_impl->items.push_back(std::move(entry));
    }
    return text.at();
}

unsigned char TCDescExtendedEvent::DescriptorNumber() const {
    return m_impl->number;
}

unsigned char TCDescExtendedEvent::LastDescriptorNumber() const {
    return m_impl->lastNumber;
}

unsigned int TCDescExtendedEvent::LanguageCode() const {
    return m_impl->language;
}

int TCDescExtendedEvent::NumOfItems() const {
    return static_cast<int>(m_impl->items.size());
}

std::vector<unsigned char> TCDescExtendedEvent::ItemDescription(unsigned int index) const {
    return index < m_impl->items.size() ? m_impl->items[index].description
                                        : std::vector<unsigned char>();
}

std::vector<unsigned char> TCDescExtendedEvent::Item(unsigned int index) const {
    return index < m_impl->items.size() ? m_impl->items[index].item : std::vector<unsigned char>();
}

const std::vector<unsigned char>& TCDescExtendedEvent::Text() const {
    return m_impl->text;
}
