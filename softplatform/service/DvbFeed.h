#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "softplatform/base/Counters.h"
#include "softplatform/input/dvb/DvbDemux.h"
#include "softplatform/input/dvb/DvbSource.h"
#include "softplatform/section/FilterEngine.h"

namespace tvservice {

// Ties the filter engine to a demux device: what the engine has filters for the device is asked
// for, and what the device gives is offered to the engine. The delivery thread's.
class DvbFeed final : private DvbDemuxSink {
  public:
    // All are borrowed and outlive the feed. `onSection` is called behind each section with its
    // size and the number of callbacks that were made for it.
    DvbFeed(const DvbSource& source, FilterEngine& engine, Counters& counters,
            std::function<void(size_t size, size_t calls)> onSection);

    // Waits until there are sections or `wake` is readable, and offers what there is; see
    // DvbDemux::WaitAndDeliver. False when the device failed; `error` then receives the line.
    bool WaitAndDeliver(int wake, std::string& error);

  private:
    using Criteria = std::tuple<uint16_t, std::vector<uint8_t>, std::vector<uint8_t>,
                                std::vector<uint8_t>>;  // PID, pattern, mask, mode

    void AskForWhatIsWanted();
    void OnSection(uint16_t pid, const uint8_t* section, size_t size) override;
    void OnWarning(uint16_t pid, const std::string& line) override;

    FilterEngine& engine_;
    Counters& counters_;
    const std::function<void(size_t, size_t)> onSection_;
    const std::unique_ptr<DvbDemux> demux_;
    std::map<Criteria, uint64_t> asked_;  // the demux's names
    uint64_t changes_ = 0;                // of the engine, when asked_ was up to date
    uint64_t overflows_ = 0;              // of the demux, those that were counted
    uint64_t malformedReads_ = 0;
};

}  // namespace tvservice
