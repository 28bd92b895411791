#include "softplatform/section/SectionAssembler.h"

#include <algorithm>

namespace tvservice {

SectionAssembler::Division SectionAssembler::Divide(ByteView payload,
                                                    bool payload_unit_start_indicator) {
    // ISO/IEC 13818-1 2.4.4.2: without the indicator there is no pointer_field, and no section
    // starts in the packet, even where the open one ends in it.
    if (!payload_unit_start_indicator) {
        return {payload, {}};
    }
    // 2.4.4.1: pointer_field, the number of bytes up to the first section start, which is in this
    // packet.
    if (payload.empty()) {
        return {};
    }
    const size_t pointerField = payload.U8(0);
    const ByteView bytes = payload.Subview(1);
    if (pointerField >= bytes.size()) {
        counters_.Add(Counter::kMalformedPointers);
        CutOff();
        return {};
    }
    return {bytes.Subview(0, pointerField), bytes.Subview(pointerField)};
}

std::optional<SectionView> SectionAssembler::Continue(ByteView bytes) {
    if (held_ == 0) {
        return std::nullopt;
    }
    uint8_t* const section = buffer_.get();
    const auto append = [&](size_t upTo) {
        const ByteView next = bytes.Subview(0, upTo - held_);
        std::copy(next.begin(), next.end(), section + held_);
        held_ += next.size();
        bytes = bytes.Subview(next.size());
        return held_ == upTo;
    };
    // The header itself may be split between packets. The size is known only when the header is
    // whole.
    if (held_ < kSectionHeaderSize && !append(kSectionHeaderSize)) {
        return std::nullopt;
    }
    const size_t size = SectionSize(section);
    if (size > kMaxSectionSize) {
        counters_.Add(Counter::kOversizeSections);
        held_ = 0;
        return std::nullopt;
    }
    if (!append(size)) {
        return std::nullopt;
    }
    held_ = 0;
    return Checked({section, size});
}

std::optional<SectionView> SectionAssembler::TakeWhole(ByteView& rest) {
    while (rest.size() >= kSectionHeaderSize && rest.U8(0) != kStuffingTableId) {
        const size_t size = SectionSize(rest.data());
        if (rest.size() < size) {
            break;
        }
        const ByteView whole = rest.Subview(0, size);
        rest = rest.Subview(size);
        if (const std::optional<SectionView> section = Checked(whole)) {
            return section;
        }
    }
    return std::nullopt;
}

std::optional<SectionView> SectionAssembler::Checked(ByteView whole) {
    const std::optional<SectionView> section = SectionView::From(whole);
    if (!section) {
        counters_.Add(Counter::kShortSections);
    }
    return section;
}

void SectionAssembler::Begin(ByteView bytes) {
    // ISO/IEC 13818-1 2.4.4: after the last section of a packet, stuffing bytes to its end.
    if (bytes.empty() || bytes.U8(0) == kStuffingTableId) {
        return;
    }
    if (buffer_ == nullptr) {
        buffer_ = std::make_unique<uint8_t[]>(kMaxSectionSize);
    }
    held_ = 0;
    buffer_[held_++] = bytes.U8(0);
    Continue(bytes.Subview(1));
}

void SectionAssembler::CutOff() {
    if (held_ > 0) {
        counters_.Add(Counter::kTruncatedSections);
        held_ = 0;
    }
}

}  // namespace tvservice
