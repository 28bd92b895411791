#include "client/SectionSet.h"

#include <algorithm>

namespace client {

namespace {

// ETSI EN 300 468 5.2.4
constexpr unsigned int kSegmentSize = 8;
constexpr std::size_t kSegmentLastAt = 12;  // segment_last_section_number, in bytes

bool IsSchedule(unsigned char tableId) {
    return tableId >= kFirstEitScheduleTableId && tableId <= kLastEitScheduleTableId;
}

}  // namespace

void SectionSet::Add(const unsigned char* data, std::size_t length) {
    const SectionHeader header(data);
    sections_[header.sectionNumber].assign(data, data + length);
    segmentLast_[header.sectionNumber / kSegmentSize] =
        length > kSegmentLastAt ? data[kSegmentLastAt] : header_.lastSectionNumber;
}

bool SectionSet::Holds(unsigned char number, const unsigned char* data, std::size_t length) const {
    const auto held = sections_.find(number);
    return held != sections_.end() &&
           std::equal(held->second.begin(), held->second.end(), data, data + length);
}

std::vector<unsigned char> SectionSet::Missing() const {
    std::vector<unsigned char> missing;
    const bool bySegments = IsSchedule(header_.tableId);
    const unsigned int last = header_.lastSectionNumber;
    for (unsigned int first = 0; first <= last; first += kSegmentSize) {
        const unsigned int end = std::min(first + kSegmentSize - 1, last);
        unsigned int needed = end;
        if (bySegments) {
            const auto held = sections_.lower_bound(static_cast<unsigned char>(first));
            const bool isBegun = held != sections_.end() && held->first <= end;
            const unsigned int named = segmentLast_[first / kSegmentSize];
            if (!isBegun) {
                needed = first;
            } else if (first <= named && named <= end) {
                needed = named;
            }
        }
        for (unsigned int number = first; number <= needed; ++number) {
            if (sections_.count(static_cast<unsigned char>(number)) == 0) {
                missing.push_back(static_cast<unsigned char>(number));
            }
        }
    }
    return missing;
}

}  // namespace client
