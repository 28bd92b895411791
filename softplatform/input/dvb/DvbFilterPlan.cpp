#include "softplatform/input/dvb/DvbFilterPlan.h"

#include <algorithm>
#include <cstring>

namespace tvservice {

namespace {

constexpr size_t kAskable = DMX_FILTER_SIZE;

// The section byte that position `i` of a device filter matches.
constexpr size_t SectionByte(size_t i) {
    return i == 0 ? 0 : i + 2;
}

constexpr bool IsAskable(size_t sectionByte) {
    return sectionByte != 1 && sectionByte != 2 && sectionByte <= SectionByte(kAskable - 1);
}

// Whether the standards require section_syntax_indicator 1 for this table. TDT, TOT, RST and ST
// have 0; in private tables it can be either.
constexpr bool HasSectionSyntax(unsigned table_id) {
    return table_id <= 0x03 ||                        // ISO/IEC 13818-1 table 2-31
           (table_id >= 0x40 && table_id <= 0x42) ||  // EN 300 468 table 2: NIT, SDT actual
           table_id == 0x46 || table_id == 0x4A ||    // SDT other, BAT
           table_id == 0x4B ||                        // TS 102 006: UNT
           (table_id >= 0x4E && table_id <= 0x6F);    // EIT
}

bool OnlySectionSyntaxPasses(const dmx_filter& filter) {
    const unsigned equal = filter.mask[0] & ~unsigned{filter.mode[0]};
    for (unsigned table_id = 0; table_id <= 0xFF; ++table_id) {
        if (((table_id ^ filter.filter[0]) & equal) == 0 && !HasSectionSyntax(table_id)) {
            return false;
        }
    }
    return true;
}

uint8_t Differing(const DvbFilter& filter, size_t i) {
    return filter.mode.empty() ? uint8_t{0} : static_cast<uint8_t>(filter.mask[i] & filter.mode[i]);
}

// Whether the device can test the bits whose mode bit is 1. One of them that differs is enough. If
// one lies in a byte that the device does not compare, the device could drop a section that differs
// only there; then it must test none of them.
bool CanAskDifference(const DvbFilter& filter) {
    for (size_t i = 0; i < filter.mask.size(); ++i) {
        if (!IsAskable(i) && Differing(filter, i) != 0) {
            return false;
        }
    }
    return true;
}

// Whether `a` certainly passes every section that `b` passes. May be false although it does,
// because differences (mode bits) in `a` are not examined.
bool Covers(const dmx_sct_filter_params& a, const dmx_sct_filter_params& b) {
    if (AreEqual(a, b)) {
        return true;
    }
    for (size_t i = 0; i < kAskable; ++i) {
        const unsigned equalInB = b.filter.mask[i] & ~unsigned{b.filter.mode[i]};
        if (a.filter.mode[i] != 0 || (a.filter.mask[i] & ~equalInB) != 0 ||
            ((a.filter.filter[i] ^ b.filter.filter[i]) & a.filter.mask[i]) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool DvbFilter::IsWellFormed() const {
    return !pattern.empty() && mask.size() == pattern.size() &&
           (mode.empty() || mode.size() == pattern.size());
}

dmx_sct_filter_params DeviceFilterFor(uint16_t pid, const DvbFilter& wanted) {
    dmx_sct_filter_params params = WideDeviceFilter(pid);
    const bool canAskDifference = CanAskDifference(wanted);
    for (size_t i = 0; i < kAskable && SectionByte(i) < wanted.mask.size(); ++i) {
        const size_t byte = SectionByte(i);
        const uint8_t differ = Differing(wanted, byte);
        const auto equal = static_cast<uint8_t>(wanted.mask[byte] & ~differ);
        params.filter.mode[i] = canAskDifference ? differ : uint8_t{0};
        params.filter.mask[i] = static_cast<uint8_t>(equal | params.filter.mode[i]);
        params.filter.filter[i] =
            static_cast<uint8_t>(wanted.pattern[byte] & params.filter.mask[i]);
    }
    if (OnlySectionSyntaxPasses(params.filter)) {
        params.flags |= DMX_CHECK_CRC;
    }
    return params;
}

dmx_sct_filter_params WideDeviceFilter(uint16_t pid) {
    dmx_sct_filter_params params{};
    params.pid = pid;
    params.flags = DMX_IMMEDIATE_START;
    return params;
}

bool IsWide(const dmx_sct_filter_params& filter) {
    return std::all_of(std::begin(filter.filter.mask), std::end(filter.filter.mask),
                       [](uint8_t mask) { return mask == 0; });
}

std::vector<dmx_sct_filter_params> PlanDeviceFilters(uint16_t pid,
                                                     const std::vector<DvbFilter>& wanted,
                                                     size_t budget) {
    std::vector<dmx_sct_filter_params> plan;
    for (const DvbFilter& filter : wanted) {
        const dmx_sct_filter_params params = DeviceFilterFor(pid, filter);
        if (std::any_of(plan.begin(), plan.end(),
                        [&](const auto& planned) { return Covers(planned, params); })) {
            continue;
        }
        plan.erase(std::remove_if(plan.begin(), plan.end(),
                                  [&](const auto& planned) { return Covers(params, planned); }),
                   plan.end());
        plan.push_back(params);
    }
    if (plan.size() > budget) {
        return {WideDeviceFilter(pid)};
    }
    return plan;
}

bool AreEqual(const dmx_sct_filter_params& a, const dmx_sct_filter_params& b) {
    static_assert(sizeof(dmx_filter) == 3 * kAskable, "no padding to compare");
    return a.pid == b.pid && std::memcmp(&a.filter, &b.filter, sizeof(dmx_filter)) == 0;
}

bool Passes(const dmx_sct_filter_params& filter, const uint8_t* section, size_t size) {
    bool asksDifference = false;
    bool differs = false;
    for (size_t i = 0; i < kAskable; ++i) {
        const uint8_t mask = filter.filter.mask[i];
        if (mask == 0) {
            continue;
        }
        if (SectionByte(i) >= size) {
            return false;
        }
        const unsigned changed = (section[SectionByte(i)] ^ filter.filter.filter[i]) & mask;
        const unsigned mode = filter.filter.mode[i];
        if ((changed & ~mode) != 0) {
            return false;
        }
        asksDifference |= (mask & mode) != 0;
        differs |= (changed & mode) != 0;
    }
    return differs || !asksDifference;
}

}  // namespace tvservice
