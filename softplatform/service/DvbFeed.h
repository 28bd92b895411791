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

// Connects the filter engine to a demux device: asks the device for the sections that the engine
// has filters for, and gives the sections that come to the engine. Used only by the delivery
// thread.
class DvbFeed final : private DvbDemuxSink {
  public:
    // `source`, `engine` and `counters` are borrowed and outlive the feed. `onSection` is called
    // after each section, with its size and the number of callbacks that were made for it.
    DvbFeed(const DvbSource& source, FilterEngine& engine, Counters& counters,
            std::function<void(size_t size, size_t calls)> onSection);

    // Waits until sections come or `wake` is readable, and gives the sections to the engine; see
    // DvbDemux::WaitAndDeliver. Returns false when the device failed; `error` then receives the
    // line.
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
    std::map<Criteria, uint64_t> asked_;  // the names that DvbDemux::Add returned
    uint64_t changes_ = 0;                // engine_.changes() when asked_ was updated
    uint64_t overflows_ = 0;              // how many of demux_'s overflows counters_ has
    uint64_t malformedReads_ = 0;         // how many of demux_'s malformed reads counters_ has
};

}  // namespace tvservice
