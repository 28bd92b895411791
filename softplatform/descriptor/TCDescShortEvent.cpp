#include "platform/TCDescShortEvent.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/TextReader.h"

using tvservice::ByteView;
using tvservice::TextReader;

// ETSI EN 300 468 6.2.37
struct TCDescShortEvent::Impl {
    uint32_t language = 0;
    std::vector<uint8_t> eventName;
    std::vector<uint8_t> text;
};

TCDescShortEvent::TCDescShortEvent() : m_impl(std::make_unique<Impl>()) {}

TCDescShortEvent::TCDescShortEvent(const TCDescShortEvent& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescShortEvent::~TCDescShortEvent() = default;

TCBaseDesc* TCDescShortEvent::Fork() const {
    return new TCDescShortEvent(*this);
}

int TCDescShortEvent::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    TextReader reader(bytes, 3);
    m_impl->language = bytes.U24(0);
    if (!reader.Read(m_impl->eventName) || !reader.Read(m_impl->text)) {
        return -1;
    }
    return reader.at();
}

unsigned int TCDescShortEvent::LanguageCode() const {
    return m_impl->language;
}

const std::vector<unsigned char>& TCDescShortEvent::EventName() const {
    return m_impl->eventName;
}

const std::vector<unsigned char>& TCDescShortEvent::Text() const {
    return m_impl->text;
}
