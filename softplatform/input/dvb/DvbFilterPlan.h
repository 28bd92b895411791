#pragma once

#include <linux/dvb/dmx.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tvservice {

// What somebody wants of the sections of a PID. Position i is byte i of the section; bytes 1 and 2
// (section_length) count as positions. Under the mask each bit asks one of two things: where its
// mode bit is 0 the section's bit must equal the pattern's; of the bits whose mode bit is 1 at
// least one must differ. An empty mode is all zeros.
struct DvbFilter {
    std::vector<uint8_t> pattern;
    std::vector<uint8_t> mask;
    std::vector<uint8_t> mode;

    // Not empty, a mask as long as the pattern, a mode that is empty or as long.
    bool IsWellFormed() const;
};

// Device filters ask of sections what the kernel can ask: filter[0] is the table id, filter[1] to
// filter[15] are section bytes 3 to 17. All functions are pure; any thread.

// The narrowest device filter that lets everything pass that `wanted` (well-formed) does. What
// stands on bytes 1 and 2 and beyond byte 17 is left out, so that more may pass: whoever gets the
// sections must match them again. Starts at once, without a time-out, and has the CRC checked when
// only tables with section_syntax_indicator 1 can pass.
dmx_sct_filter_params DeviceFilterFor(uint16_t pid, const DvbFilter& wanted);

// The device filter that lets every section of `pid` pass, bad CRCs included.
dmx_sct_filter_params WideDeviceFilter(uint16_t pid);

// Whether it lets every section of its PID pass.
bool IsWide(const dmx_sct_filter_params& filter);

// The few device filters, at most `budget`, that together let pass what any of `wanted` does; the
// wide one when the budget is too small. None is part of another. Empty when nothing is wanted.
std::vector<dmx_sct_filter_params> PlanDeviceFilters(uint16_t pid,
                                                     const std::vector<DvbFilter>& wanted,
                                                     size_t budget);

// Whether both ask the same of the same PID.
bool AreEqual(const dmx_sct_filter_params& a, const dmx_sct_filter_params& b);

// Whether the section of `size` bytes passes. One that ends before the last byte that is asked for
// never does; the kernel may compare such bytes with old ones and let it pass.
bool Passes(const dmx_sct_filter_params& filter, const uint8_t* section, size_t size);

}  // namespace tvservice
