#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>

#include "softplatform/base/ByteView.h"
#include "softplatform/base/Counters.h"
#include "softplatform/section/SectionView.h"

namespace tvservice {

// Joins the packet payloads of one PID into whole sections (ISO/IEC 13818-1 2.4.4). It checks
// neither continuity nor CRCs: its caller feeds payloads in order, without duplicates, calls
// Discontinuity() where some are missing, and checks the CRC of the sections.
//
// A section inside one packet is handed on without a copy. The others are joined in one buffer of
// 4096 bytes, which is allocated when the first of them starts and then kept; nothing is allocated
// per packet or per section. Used by one thread.
//
// Damage adds to a counter, and only the damaged section is lost: truncated_sections   a new start,
// a Discontinuity() or a bad pointer_field cut a section off oversize_sections    section_length
// above 4093; the rest of that packet is dropped with it short_sections
// section_syntax_indicator 1 with section_length below 9; left out by its length, so that what
// follows in the packet is kept malformed_pointers   pointer_field leads past the packet; its
// payload is dropped
class SectionAssembler {
  public:
    // `counters` is borrowed and outlives the assembler.
    explicit SectionAssembler(Counters& counters) : counters_(counters) {}

    // Takes the payload of the next packet. For each section that it completes, in order,
    // `sink(SectionView)` is called before Feed returns; its bytes are borrowed for that call only,
    // its CRC has not been checked. The sink must not call Feed of this assembler, but may call
    // Discontinuity.
    template <class Sink>
    void Feed(ByteView payload, bool payload_unit_start_indicator, Sink&& sink) {
        if (!payload_unit_start_indicator && TakeMiddle(payload)) {
            return;
        }
        const Division parts = Divide(payload, payload_unit_start_indicator);
        if (const std::optional<SectionView> section = Continue(parts.end)) {
            sink(*section);
        }
        if (!parts.starts.empty()) {
            CutOff();
        }
        ByteView rest = parts.starts;
        while (const std::optional<SectionView> section = TakeWhole(rest)) {
            sink(*section);
        }
        Begin(rest);
    }

    // Packets are missing before the next one. If a section is open, its rest is lost: it is
    // dropped and counted.
    void Discontinuity() { CutOff(); }

  private:
    // A shortcut for most packets of long sections: appends a payload that fills its packet and
    // does not end the open section. Returns false, and does nothing, for any other payload.
    bool TakeMiddle(ByteView payload) {
        constexpr size_t kFullPayload = 184;
        if (held_ < kSectionHeaderSize || payload.size() != kFullPayload) {
            return false;
        }
        const size_t size = SectionSize(buffer_.get());
        if (size > kMaxSectionSize || held_ + kFullPayload >= size) {
            return false;
        }
        std::memcpy(buffer_.get() + held_, payload.data(), kFullPayload);
        held_ += kFullPayload;
        return true;
    }

    // `bytes` must hold the header.
    static size_t SectionSize(const uint8_t* section) {
        const size_t sectionLength = size_t{section[1] & 0x0Fu} << 8 | section[2];
        return kSectionHeaderSize + sectionLength;
    }

    // A payload, divided by pointer_field: the bytes of the open section, and the bytes from the
    // first section start on (empty when no section starts in the packet).
    struct Division {
        ByteView end;
        ByteView starts;
    };

    Division Divide(ByteView payload, bool payload_unit_start_indicator);

    // Appends to the open section. If it is whole now and its lengths are right, returns it; it
    // lies in the buffer until the next call. Otherwise returns nothing.
    std::optional<SectionView> Continue(ByteView bytes);

    // Removes the first good section from `rest` and returns it; nothing when `rest` has no whole
    // one.
    std::optional<SectionView> TakeWhole(ByteView& rest);

    // Counts a short section if `bytes` start with one.
    std::optional<SectionView> Checked(ByteView whole);

    // Opens a section with its first bytes. Does nothing when `bytes` is empty.
    void Begin(ByteView bytes);

    void CutOff();

    Counters& counters_;
    std::unique_ptr<uint8_t[]> buffer_;  // the open section, kMaxSectionSize bytes
    size_t held_ = 0;                    // bytes of it so far; 0 when none is open
};

}  // namespace tvservice
