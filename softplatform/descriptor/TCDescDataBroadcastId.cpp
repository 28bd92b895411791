#include "platform/TCDescDataBroadcastId.h"

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
constexpr size_t kIdSize = 2;
constexpr uint16_t kSystemSoftwareUpdate = 0x000A;
}  // namespace

struct CSSUInfoLoop::Impl {
    uint32_t oui = 0;
    uint8_t type = 0;     // reserved, update_type
    uint8_t version = 0;  // reserved, update_versioning_flag, update_version
    std::vector<uint8_t> selector;
};

CSSUInfoLoop::CSSUInfoLoop(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

CSSUInfoLoop::~CSSUInfoLoop() = default;

unsigned int CSSUInfoLoop::OUI() const {
    return m_impl->oui;
}

unsigned char CSSUInfoLoop::UpdateType() const {
    return m_impl->type & 0x0F;
}

bool CSSUInfoLoop::UpdateVersioningFlag() const {
    return (m_impl->version & 0x20) != 0;
}

unsigned char CSSUInfoLoop::UpdateVersion() const {
    return m_impl->version & 0x1F;
}

unsigned char CSSUInfoLoop::SelectorLength() const {
    return static_cast<unsigned char>(m_impl->selector.size());
}

int CSSUInfoLoop::SelectorByte(char* buffer, int* length) {
    const int size = SelectorLength();
    if (buffer == nullptr || length == nullptr || *length < size) {
        return 0;
    }
    std::copy(m_impl->selector.begin(), m_impl->selector.end(), buffer);
    *length = size;
    return 1;
}

// ETSI EN 300 468 6.2.12
struct TCDescDataBroadcastId::Impl {
    std::vector<std::shared_ptr<CSSUInfoLoop>> entries;  // copies share them: they never change
};

TCDescDataBroadcastId::TCDescDataBroadcastId() = default;

TCDescDataBroadcastId::TCDescDataBroadcastId(const TCDescDataBroadcastId& other)
    : TCBaseDesc(other), m_impl(other.m_impl ? std::make_unique<Impl>(*other.m_impl) : nullptr) {}

TCDescDataBroadcastId::~TCDescDataBroadcastId() = default;

TCBaseDesc* TCDescDataBroadcastId::Fork() const {
    return new TCDescDataBroadcastId(*this);
}

int TCDescDataBroadcastId::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    m_impl.reset();
    if (!bytes.Has(0, kIdSize)) {
        return -1;
    }
    if (bytes.U16(0) != kSystemSoftwareUpdate || !bytes.Has(kIdSize, 1)) {
        return length;  // the rest are id_selector bytes
    }
    // ETSI TS 102 006 7.1: OUI_data_length, the entries, then private data.
    const size_t loopSize = bytes.U8(kIdSize);
    const ByteView loop = bytes.Subview(kIdSize + 1, loopSize);
    m_impl = std::make_unique<Impl>();
    size_t at = 0;
    while (loop.Has(at, 6) && loop.Has(at + 6, loop.U8(at + 5))) {
        const ByteView selector = loop.Subview(at + 6, loop.U8(at + 5));
        m_impl->entries.push_back(TVServiceInternals::Make<CSSUInfoLoop>(
            loop.U24(at), loop.U8(at + 3), loop.U8(at + 4),
            std::vector<uint8_t>(selector.begin(), selector.end())));
        at += 6 + selector.size();
    }
    if (loop.size() < loopSize) {
        return kIdSize;  // OUI_data_length reaches past the descriptor
    }
    return at == loopSize ? length : static_cast<int>(kIdSize + 1 + at);
}

unsigned short TCDescDataBroadcastId::DataBroadcastId() const {
    return PayloadOf(*this).U16(0);
}

int TCDescDataBroadcastId::NumOfSSUInfoLoop() const {
    return m_impl ? static_cast<int>(m_impl->entries.size()) : 0;
}

CSSUInfoLoop* TCDescDataBroadcastId::SSUInfoLoop(unsigned int index) const {
    return m_impl && index < m_impl->entries.size() ? m_impl->entries[index].get() : nullptr;
}
