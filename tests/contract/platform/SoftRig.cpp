// The software platform, through its public header.

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "softplatform/service/SoftwarePlatform.h"
#include "tests/contract/platform/PlatformRig.h"

namespace contract {

namespace {

using tvservice::SoftwarePlatform;

constexpr unsigned kFilters = 16;

class SoftRig final : public PlatformRig {
  public:
    SoftRig() {
        tvservice::SetLogPriority(3);
        tvservice::SetLogSink([this](int, int, const char*, const char* line) {
            std::lock_guard<std::mutex> lock(mutex_);
            log_.emplace_back(line);
        });
        tvservice::Config config;
        config.filters = kFilters;
        EXPECT_TRUE(platform_.Start(config));
    }

    Abilities abilities() const override {
        return {.filters = kFilters, .refusesTheUnheardOf = true, .caches = true, .showsLog = true};
    }

    void Send(const std::vector<Broadcast>& broadcasts) override {
        ASSERT_TRUE(
            platform_.Play(tvservice::MemorySource("the contract suite", ToPackets(broadcasts))));
        EXPECT_EQ(platform_.WaitEnd().reason, tvservice::InputEnd::kEndOfInput);
    }

    std::vector<std::string> TakeLog() override {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(log_, {});
    }

  private:
    SoftwarePlatform& platform_ = SoftwarePlatform::Instance();
    std::mutex mutex_;
    std::vector<std::string> log_;
};

}  // namespace

std::unique_ptr<PlatformRig> MakePlatformRig() {
    return std::make_unique<SoftRig>();
}

}  // namespace contract
