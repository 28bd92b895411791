// From bytes to the tool's output, through the section manager and every parser. Input: a transport
// stream. Sections count as good whatever their CRC_32 is.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "fuzz/LastingScan.h"
#include "fuzz/TableReaders.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace {

using TORVEL_MW::ISectionManager;

constexpr unsigned int kNoTimeout = 0xFFFFFFFF;

// Subscribes in ways in which a scan does not subscribe.
class Watcher : public TORVEL_MW::ISectionObserver {
  public:
    Watcher() {
        ISectionManager& manager = *ISectionManager::Instance();
        manager.Subscribe(0x0000, {0}, {0}, {0}, *this, ISectionManager::EContinuous, kNoTimeout);
        manager.Subscribe(0x0011, {0x42}, {0xFE}, {}, *this, ISectionManager::EToggle, kNoTimeout);
    }

    void OnSectionReceived(unsigned short, unsigned short, unsigned short length,
                           unsigned char* data) override {
        if (length < 3 || length != 3 + ((data[1] & 0x0F) << 8 | data[2])) {
            std::abort();
        }
    }
    void OnSectionTimeout(unsigned int) override { std::abort(); }
};

bool Start() {
    fuzzing::LastingScan::Instance();
    static Watcher& watcher = *new Watcher;
    static_cast<void>(watcher);
    // libFuzzer calls exit(), which ends a process that used the section manager with SIGABRT.
    std::atexit([] { std::_Exit(EXIT_SUCCESS); });
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool started = Start();
    static_cast<void>(started);
    fuzzing::LastingScan& scan = fuzzing::LastingScan::Instance();
    const tvservice::InputEnd end =
        scan.Scan(tvservice::MemorySource("fuzz", std::vector<std::uint8_t>(data, data + size)));
    if (end.reason != tvservice::InputEnd::kEndOfInput) {
        std::abort();
    }
    fuzzing::Print(scan.Result());
    return 0;
}
