#pragma once

#include <linux/dvb/dmx.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tvservice {

// Which sections of a PID are wanted. Byte i of pattern, mask and mode is about byte i of the
// section, its length bytes 1 and 2 included. Only bits that are set in the mask matter. Where the
// mode bit is 0, the section's bit must equal the pattern's. Of the bits whose mode bit is 1, at
// least one must differ from the pattern's. An empty mode means all zeros.
struct DvbFilter {
    std::vector<uint8_t> pattern;
    std::vector<uint8_t> mask;
    std::vector<uint8_t> mode;

    // Whether the pattern is not empty, the mask is as long as the pattern, and the mode is empty
    // or as long.
    bool IsWellFormed() const;
};

// Device filters of the kernel compare these bytes: filter[0] is table_id, filter[1] to filter[15]
// are bytes 3 to 17 of the section. All functions below may be called on any thread.

// The narrowest device filter that passes every section that `wanted` (well-formed) passes. It may
// pass more, because the kernel cannot compare bytes 1, 2 and those after 17: the sections must be
// matched again. It starts at once and has no time-out. The kernel checks the CRC when only tables
// with section_syntax_indicator 1 can pass.
dmx_sct_filter_params DeviceFilterFor(uint16_t pid, const DvbFilter& wanted);

// The device filter that passes every section of `pid`, also with a wrong CRC.
dmx_sct_filter_params WideDeviceFilter(uint16_t pid);

// Whether the filter compares no byte.
bool IsWide(const dmx_sct_filter_params& filter);

// Device filters, at most `budget`, that together pass every section that any of `wanted` passes.
// A filter that another one covers is left out. When more than `budget` are needed, the wide filter
// alone; when `wanted` is empty, none.
std::vector<dmx_sct_filter_params> PlanDeviceFilters(uint16_t pid,
                                                     const std::vector<DvbFilter>& wanted,
                                                     size_t budget);

// Whether both have the same PID, filter, mask and mode.
bool AreEqual(const dmx_sct_filter_params& a, const dmx_sct_filter_params& b);

// Whether a section of `size` bytes passes the filter. A section that ends before the last compared
// byte does not. (The kernel may pass it: it then compares old bytes of its buffer.)
bool Passes(const dmx_sct_filter_params& filter, const uint8_t* section, size_t size);

}  // namespace tvservice
