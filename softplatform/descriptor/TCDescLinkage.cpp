#include "platform/TCDescLinkage.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/BaseDesc.h"
#include "softplatform/descriptor/Internals.h"

using tvservice::ByteView;
using tvservice::PayloadOf;

namespace {
constexpr size_t kLinkageHeadSize = 7;
constexpr size_t kLinkageTypeAt = 6;
}  // namespace

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
    std::vector<std::shared_ptr<CSSULinkLoop>> entries;  // copies share them: they never change
};

TCDescLinkage::TCDescLinkage() = default;

TCDescLinkage::TCDescLinkage(const TCDescLinkage& other)
    : TCBaseDesc(other), m_impl(other.m_impl ? std::make_unique<Impl>(*other.m_impl) : nullptr) {}

TCDescLinkage::~TCDescLinkage() = default;

TCBaseDesc* TCDescLinkage::Fork() const {
    return new TCDescLinkage(*this);
}

int TCDescLinkage::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    m_impl.reset();
    if (!bytes.Has(0, kLinkageHeadSize)) {
        return -1;
    }
    if (bytes.U8(kLinkageTypeAt) != LINKAGE_TYPE_SOFTWARE_UPDATE ||
        !bytes.Has(kLinkageHeadSize, 1)) {
        return length;  // the rest is private data
    }
    // ETSI TS 102 006 6.2: OUI_data_length, the entries, then private data. An entry is OUI,
    // selector_length and the selector bytes.
    const size_t loopSize = bytes.U8(kLinkageHeadSize);
    const ByteView loop = bytes.Subview(kLinkageHeadSize + 1, loopSize);
    m_impl = std::make_unique<Impl>();
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
    return PayloadOf(*this).U16(0);
}

unsigned short TCDescLinkage::OriginalNetworkId() const {
    return PayloadOf(*this).U16(2);
}

unsigned short TCDescLinkage::ServiceId() const {
    return PayloadOf(*this).U16(4);
}

int TCDescLinkage::LinkageType() const {
    return PayloadOf(*this).U8(kLinkageTypeAt);
}

// ETSI TS 102 006 6.3
int TCDescLinkage::TableType() const {
    return LinkageType() == LINKAGE_TYPE_TS_CONTAINING_SSU ? PayloadOf(*this).U8(kLinkageHeadSize)
                                                           : 0;
}

int TCDescLinkage::NumOfSSULinkLoop() const {
    return m_impl ? static_cast<int>(m_impl->entries.size()) : 0;
}

CSSULinkLoop* TCDescLinkage::SSULinkLoop(unsigned int index) const {
    return m_impl && index < m_impl->entries.size() ? m_impl->entries[index].get() : nullptr;
}
