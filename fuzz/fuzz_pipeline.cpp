// From bytes to observers and parsers: the whole road, through the section manager. Input: a
// transport stream.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <vector>

#include "SI/Include/IPATParser.h"
#include "SI/Include/ISectionManager.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace {

using TORVEL_MW::ISectionManager;
using tvservice::SoftwarePlatform;

constexpr unsigned int kNoTimeout = 0xFFFFFFFF;

class Reader : public TORVEL_MW::ISectionObserver {
  public:
    void OnSectionReceived(unsigned short, unsigned short pid, unsigned short length,
                           unsigned char* data) override {
        if (pid == tvservice::kBarrierPid) {
            SoftwarePlatform::Instance().BarrierPassed(std::uint32_t{data[3]} << 24 |
                                                       std::uint32_t{data[4]} << 16 |
                                                       std::uint32_t{data[5]} << 8 | data[6]);
            return;
        }
        if (length < 3) {
            std::abort();
        }
        pat_->Parse(pid, data);
        if (pat_->IsComplete()) {
            std::map<int, int> programs;
            pat_->GetProgramList(programs);
        }
    }
    void OnSectionTimeout(unsigned int) override { std::abort(); }

  private:
    std::unique_ptr<TORVEL_MW::IPATParser> pat_ = TORVEL_MW::IPATParser::CreatePATParser();
};

bool Start() {
    tvservice::SetLogPriority(7);
    SoftwarePlatform::Instance().Start();
    static Reader& reader = *new Reader;
    ISectionManager& manager = *ISectionManager::Instance();
    manager.Subscribe(tvservice::kBarrierPid, tvservice::kBarrierTableId, reader,
                      ISectionManager::EContinuous, kNoTimeout, false);
    manager.Subscribe(0x0000, {0}, {0}, {0}, reader, ISectionManager::EContinuous, kNoTimeout);
    manager.Subscribe(0x0011, {0x42}, {0xFE}, {}, reader, ISectionManager::EToggle, kNoTimeout);
    // libFuzzer ends by exit(), which the section manager turns into SIGABRT.
    std::atexit([] { std::_Exit(EXIT_SUCCESS); });
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool started = Start();
    static_cast<void>(started);
    tvservice::PlayOptions options;
    options.reading = tvservice::PlayOptions::kLockStep;
    SoftwarePlatform::Instance().Play(
        tvservice::MemorySource("fuzz", std::vector<std::uint8_t>(data, data + size)), options);
    SoftwarePlatform::Instance().WaitEnd();
    return 0;
}
