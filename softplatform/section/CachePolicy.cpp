#include "softplatform/section/CachePolicy.h"

#include <algorithm>
#include <iterator>

#include "softplatform/ts/PacketView.h"

namespace tvservice {

namespace {

// Whether a filter that matches one section of a sub-table matches all of them, in every version.
// It does if it leaves out section_length, version_number, current_next_indicator and the section
// numbers (ISO/IEC 13818-1 2.4.4.11).
bool AsksForEveryVersion(const SectionFilter& criteria) {
    constexpr size_t kChanging[] = {1, 2, 5, 6, 7};
    const std::vector<uint8_t>& mask = criteria.mask();
    return std::all_of(criteria.mode().begin(), criteria.mode().end(),
                       [](uint8_t mode) { return mode == 0; }) &&
           std::all_of(std::begin(kChanging), std::end(kChanging),
                       [&mask](size_t at) { return at >= mask.size() || mask[at] == 0; });
}

bool AnyAsksForEveryVersion(const FilterSet& filters, SectionView section) {
    return std::any_of(filters.all().begin(), filters.all().end(), [&](const auto& filter) {
        return AsksForEveryVersion(filter->criteria) &&
               filter->criteria.Matches(section.data(), section.size());
    });
}

}  // namespace

void CachePolicy::SetLimit(size_t bytes) {
    cache_.SetLimit(bytes);
    if (bytes == 0) {
        kept_.clear();
    }
}

bool CachePolicy::OnFilterReleased(uint16_t pid, bool isLast) {
    if (feed_ == Feed::kDeviceSections) {
        cache_.Forget(pid);
    }
    bool goesOn = !isLast;
    if (isLast && isOn() && pid < kPidCount) {
        goesOn = pid < kCachedPids;
        if (!goesOn && kept_.size() < kKeptPids) {
            kept_.insert(pid);
            goesOn = true;
        }
    }
    if (!goesOn) {
        cache_.Forget(pid);  // its changes would not be seen any more
    }
    return goesOn;
}

void CachePolicy::Reset(Feed feed) {
    feed_ = feed;
    cache_.Clear();
}

void CachePolicy::Take(uint16_t pid, const FilterSet& filters, SectionView section) {
    if (feed_ == Feed::kPackets || AnyAsksForEveryVersion(filters, section)) {
        cache_.Put(pid, section);
    }
}

}  // namespace tvservice
