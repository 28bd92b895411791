#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "softplatform/base/Counters.h"
#include "softplatform/section/FilterEngine.h"
#include "tests/support/PacketWriter.h"

namespace testsupport {

// Records every section with its id, and calls the function that a test sets.
class Recorder final : public tvservice::SectionSink {
  public:
    void OnSection(int id, tvservice::SectionView section) override {
        sections_.push_back({id, Bytes(section.data(), section.data() + section.size())});
        if (const auto then = onSection_) {  // a copy, because the call may replace onSection_
            then(id);
        }
    }

    void Then(std::function<void(int id)> onSection) { onSection_ = std::move(onSection); }

    // The ids that were recorded since the last TakeIds, one for each callback.
    std::vector<int> TakeIds() {
        std::vector<int> ids;
        for (const auto& [id, bytes] : std::exchange(sections_, {})) {
            ids.push_back(id);
        }
        return ids;
    }

    const std::vector<std::pair<int, Bytes>>& sections() const { return sections_; }

  private:
    std::vector<std::pair<int, Bytes>> sections_;
    std::function<void(int)> onSection_;
};

// An engine whose delivery thread is the thread of the test.
class EngineTest : public testing::Test {
  protected:
    static constexpr unsigned kSlots = 4;

    int Subscribe(uint16_t pid, uint8_t table_id, int id) {
        const auto filter = tvservice::SectionFilter::Compile({table_id}, {0xFF}, {});
        return engine_.Subscribe(pid, *filter, recorder_, id);
    }

    // Feeds the packets of the writer. Returns the number of callbacks that the engine reports.
    size_t Feed() {
        const Bytes bytes = writer_.Take();
        size_t calls = 0;
        for (size_t at = 0; at < bytes.size(); at += 188) {
            calls += engine_.OnPacket(tvservice::PacketView(bytes.data() + at));
        }
        return calls;
    }

    uint64_t Count(tvservice::Counter counter) const { return counters_.Get(counter); }

    tvservice::Counters counters_;
    int changes_ = 0;
    tvservice::FilterEngine engine_{counters_, [this] { ++changes_; }, kSlots};
    Recorder recorder_;
    PacketWriter writer_;
};

}  // namespace testsupport
