#include "platform/TCDescCableDeliverySystem.h"

#include <cstdint>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/Bcd.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.13.1
struct TCDescCableDeliverySystem::Impl {
    uint32_t frequency = 0;
    uint8_t fecOuter = 0;
    uint8_t modulation = 0;
    uint32_t symbolRate = 0;
    uint8_t fecInner = 0;
};

TCDescCableDeliverySystem::TCDescCableDeliverySystem() : m_impl(std::make_unique<Impl>()) {}

TCDescCableDeliverySystem::TCDescCableDeliverySystem(const TCDescCableDeliverySystem& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescCableDeliverySystem::~TCDescCableDeliverySystem() = default;

TCBaseDesc* TCDescCableDeliverySystem::Fork() const {
    return new TCDescCableDeliverySystem(*this);
}

int TCDescCableDeliverySystem::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, 11)) {
        return -1;
    }
    m_impl->frequency = bytes.U32(0);
    m_impl->fecOuter = bytes.U8(5) & 0x0F;
    m_impl->modulation = bytes.U8(6);
    m_impl->symbolRate = bytes.U32(7) >> 4;
    m_impl->fecInner = bytes.U8(10) & 0x0F;
    return 11;
}

unsigned int TCDescCableDeliverySystem::Frequency() const {
    return m_impl->frequency;
}

unsigned long long TCDescCableDeliverySystem::FrequencyHz() const {
    return tvservice::FromBcd(m_impl->frequency, 8).value_or(0) * 100ULL;
}

unsigned char TCDescCableDeliverySystem::FECOuter() const {
    return m_impl->fecOuter;
}

unsigned char TCDescCableDeliverySystem::Modulation() const {
    return m_impl->modulation;
}

unsigned int TCDescCableDeliverySystem::SymbolRate() const {
    return m_impl->symbolRate;
}

unsigned int TCDescCableDeliverySystem::SymbolsPerSecond() const {
    return tvservice::FromBcd(m_impl->symbolRate, 7).value_or(0) * 100;
}

unsigned char TCDescCableDeliverySystem::FECInner() const {
    return m_impl->fecInner;
}
