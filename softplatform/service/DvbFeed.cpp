#include "softplatform/service/DvbFeed.h"

#include <utility>

#include "platform/Log.h"

namespace tvservice {

DvbFeed::DvbFeed(const DvbSource& source, FilterEngine& engine, Counters& counters,
                 std::function<void(size_t size, size_t calls)> onSection)
    : engine_(engine),
      counters_(counters),
      onSection_(std::move(onSection)),
      demux_(source.OpenDemux(*this)) {
    AskForWhatIsWanted();
}

bool DvbFeed::WaitAndDeliver(int wake, std::string& error) {
    if (changes_ != engine_.changes()) {
        AskForWhatIsWanted();
    }
    const bool isWell = demux_->WaitAndDeliver(wake, error);
    const uint64_t overflows = demux_->overflows();
    counters_.Add(Counter::kDeviceOverflows, overflows - std::exchange(overflows_, overflows));
    const uint64_t malformed = demux_->malformed_sections();
    counters_.Add(Counter::kMalformedReads, malformed - std::exchange(malformedReads_, malformed));
    return isWell;
}

void DvbFeed::AskForWhatIsWanted() {
    changes_ = engine_.changes();
    std::map<Criteria, uint64_t> asked;
    engine_.VisitFilters([&](uint16_t pid, const SectionFilter& filter) {
        Criteria criteria(pid, filter.pattern(), filter.mask(), filter.mode());
        if (pid >= kPidCount || asked.count(criteria) != 0) {
            return;
        }
        // A filter that the device has already keeps its name, so that the device need not set it
        // again.
        const auto before = asked_.find(criteria);
        const uint64_t name =
            before != asked_.end()
                ? before->second
                : demux_->Add(pid, {filter.pattern(), filter.mask(), filter.mode()});
        asked.emplace(std::move(criteria), name);
    });
    for (const auto& [criteria, name] : asked_) {
        if (asked.count(criteria) == 0) {
            demux_->Remove(name);
        }
    }
    asked_ = std::move(asked);
}

void DvbFeed::OnSection(uint16_t pid, const uint8_t* section, size_t size) {
    counters_.Add(Counter::kBytes, size);
    onSection_(size, engine_.OnDeviceSection(pid, {section, size}));
}

void DvbFeed::OnWarning(uint16_t pid, const std::string& line) {
    engine_.Forget(pid);
    LOG(0, LOG_PRIORITY_WARNING, "TVSERVICE", "%s", line.c_str());
}

}  // namespace tvservice
