#include "platform/TCDescLinkage.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/Internals.h"

using tvservice::ByteView;

namespace {
constexpr size_t kLinkageHeadSize = 7;
}

struct CSSULinkLoop::Impl {
    uint32_t oui = 0;
    std::vector<uint8_t> selector;
};

CSSULinkLoop::CSSULinkLoop(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

CSSULinkLoop::~CSSULinkLoop() = default;

unsigned int CSSULinkLoop::OUI() const {
    return m_impl->oui;
}

unsigned char CSSULinkLoop::SelectorLength() const {
    return static_cast<unsigned char>(m_impl->selector.size());
}

int CSSULinkLoop::SelectorByte(char* buffer, int* length) {
    const int size = SelectorLength();
    if (buffer == nullptr || length == nullptr || *length < size) {
        return 0;
    }
    std::copy(m_impl->selector.begin(), m_impl->selector.end(), buffer);
    *length = size;
    return 1;
}

// ETSI EN 300 468 6.2.19
struct TCDescLinkage::Impl {
    uint16_t tsid = 0;
    uint16_t onid = 0;
    uint16_t sid = 0;
    uint8_t linkageType = 0;
    uint8_t tableType = 0;
    std::vector<std::shared_ptr<CSSULinkLoop>> entries;  // shared by forks; they never change
};

TCDescLinkage::TCDescLinkage() : m_impl(std::make_unique<Impl>()) {}

TCDescLinkage::TCDescLinkage(const TCDescLinkage& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescLinkage::~TCDescLinkage() = default;

TCBaseDesc* TCDescLinkage::Fork() const {
    return new TCDescLinkage(*this);
}

int TCDescLinkage::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, kLinkageHeadSize)) {
        return -1;
    }
    m_impl->tsid = bytes.U16(0);
    m_impl->onid = bytes.U16(2);
    m_impl->sid = bytes.U16(4);
    m_impl->linkageType = bytes.U8(6);
    if (m_impl->linkageType == LINKAGE_TYPE_TS_CONTAINING_SSU) {
        m_impl->tableType = bytes.U8(kLinkageHeadSize);  // ETSI TS 102 006 6.3
    }
    if (m_impl->linkageType != LINKAGE_TYPE_SOFTWARE_UPDATE || !bytes.Has(kLinkageHeadSize, 1)) {
        return length;  // private data follows
    }
    // ETSI TS 102 006 6.2: OUI_data_length, then OUI, selector_length and selector bytes of each
    const size_t loopSize = bytes.U8(kLinkageHeadSize);
    const ByteView loop = bytes.Subview(kLinkageHeadSize + 1, loopSize);
    size_t at = 0;
    while (loop.Has(at, 4) && loop.Has(at + 4, loop.U8(at + 3))) {
        const ByteView selector = loop.Subview(at + 4, loop.U8(at + 3));
        m_impl->entries.push_back(TVServiceInternals::Make<CSSULinkLoop>(
            loop.U24(at), std::vector<uint8_t>(selector.begin(), selector.end())));
        at += 4 + selector.size();
    }
    if (loop.size() < loopSize) {
        return kLinkageHeadSize;  // OUI_data_length reaches past the descriptor
    }
    return at == loopSize ? length : static_cast<int>(kLinkageHeadSize + 1 + at);
}

unsigned short TCDescLinkage::TransportStreamId() const {
    return m_impl->tsid;
}

unsigned short TCDescLinkage::OriginalNetworkId() const {
    return m_impl->onid;
}

unsigned short TCDescLinkage::ServiceId() const {
    return m_impl->sid;
}

int TCDescLinkage::LinkageType() const {
    return m_impl->linkageType;
}

int TCDescLinkage::TableType() const {
    return m_impl->tableType;
}

int TCDescLinkage::NumOfSSULinkLoop() const {
    return static_cast<int>(m_impl->entries.size());
}

CSSULinkLoop* TCDescLinkage::SSULinkLoop(unsigned int index) const {
    return index < m_impl->entries.size() ? m_impl->entries[index].get() : nullptr;
}
