#include "platform/TCDescTerrestrialDeliverySystem.h"

#include <cstdint>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/Frequency.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.13.4
struct TCDescTerrestrialDeliverySystem::Impl {
    uint32_t centreFrequency = 0;
    uint8_t bandwidth = 0;
    bool priority = false;
    bool timeSlicingIndicator = false;
    bool mpeFecIndicator = false;
    uint8_t constellation = 0;
    uint8_t hierarchyInformation = 0;
    uint8_t codeRateHP = 0;
    uint8_t codeRateLP = 0;
    uint8_t guardInterval = 0;
    uint8_t transmissionMode = 0;
    bool otherFrequencyFlag = false;
};

TCDescTerrestrialDeliverySystem::TCDescTerrestrialDeliverySystem()
    : m_impl(std::make_unique<Impl>()) {}

TCDescTerrestrialDeliverySystem::TCDescTerrestrialDeliverySystem(
    const TCDescTerrestrialDeliverySystem& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescTerrestrialDeliverySystem::~TCDescTerrestrialDeliverySystem() = default;

TCBaseDesc* TCDescTerrestrialDeliverySystem::Fork() const {
    return new TCDescTerrestrialDeliverySystem(*this);
}

int TCDescTerrestrialDeliverySystem::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, 11)) {
        return -1;
    }
    m_impl->centreFrequency = bytes.U32(0);
    m_impl->bandwidth = bytes.U8(4) >> 5;
    m_impl->priority = (bytes.U8(4) & 0x10) != 0;
    m_impl->timeSlicingIndicator = (bytes.U8(4) & 0x08) != 0;
    m_impl->mpeFecIndicator = (bytes.U8(4) & 0x04) != 0;
    m_impl->constellation = bytes.U8(5) >> 6;
    m_impl->hierarchyInformation = bytes.U8(5) >> 3 & 0x07;
    m_impl->codeRateHP = bytes.U8(5) & 0x07;
    m_impl->codeRateLP = bytes.U8(6) >> 5;
    m_impl->guardInterval = bytes.U8(6) >> 3 & 0x03;
    m_impl->transmissionMode = bytes.U8(6) >> 1 & 0x03;
    m_impl->otherFrequencyFlag = (bytes.U8(6) & 0x01) != 0;
    return 11;
}

unsigned int TCDescTerrestrialDeliverySystem::CentreFrequency() const {
    return m_impl->centreFrequency;
}

unsigned long long TCDescTerrestrialDeliverySystem::CentreFrequencyHz() const {
    return tvservice::HertzFromTens(m_impl->centreFrequency);
}

unsigned char TCDescTerrestrialDeliverySystem::Bandwidth() const {
    return m_impl->bandwidth;
}

bool TCDescTerrestrialDeliverySystem::Priority() const {
    return m_impl->priority;
}

bool TCDescTerrestrialDeliverySystem::TimeSlicingIndicator() const {
    return m_impl->timeSlicingIndicator;
}

bool TCDescTerrestrialDeliverySystem::MPEFECIndicator() const {
    return m_impl->mpeFecIndicator;
}

unsigned char TCDescTerrestrialDeliverySystem::Constellation() const {
    return m_impl->constellation;
}

unsigned char TCDescTerrestrialDeliverySystem::HierarchyInformation() const {
    return m_impl->hierarchyInformation;
}

unsigned char TCDescTerrestrialDeliverySystem::CodeRateHPStream() const {
    return m_impl->codeRateHP;
}

unsigned char TCDescTerrestrialDeliverySystem::CodeRateLPStream() const {
    return m_impl->codeRateLP;
}

unsigned char TCDescTerrestrialDeliverySystem::GuardInterval() const {
    return m_impl->guardInterval;
}

unsigned char TCDescTerrestrialDeliverySystem::TransmissionMode() const {
    return m_impl->transmissionMode;
}

bool TCDescTerrestrialDeliverySystem::OtherFrequencyFlag() const {
    return m_impl->otherFrequencyFlag;
}
