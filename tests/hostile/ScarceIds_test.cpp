// A process that has made the most subscriptions to which sections can be delivered.

#include <gtest/gtest.h>

#include "SI/Include/ISectionManager.h"
#include "client/MultiplexScanner.h"
#include "client/SubscriptionIds.h"
#include "generator/Scenarios.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/Forever.h"

namespace {

class Nobody : public TORVEL_MW::ISectionObserver {
  public:
    void OnSectionReceived(unsigned short, unsigned short, unsigned short,
                           unsigned char*) override {}
    void OnSectionTimeout(unsigned int) override {}
};

TEST(ScarceIds, AScanFailsRatherThanWaitForSectionsThatNeverCome) {
    tvservice::SetLogPriority(7);
    ASSERT_TRUE(tvservice::SoftwarePlatform::Instance().Start());
    TORVEL_MW::ISectionManager& manager = *TORVEL_MW::ISectionManager::Instance();
    Nobody& nobody = Forever<Nobody>();
    const auto source = tvservice::MemorySource("demo", generator::MakeScenario("demo"));
    const auto use = [&](unsigned int id) {
        unsigned int used = 0;
        do {
            used = manager.Subscribe(0x0100, 0x42, nobody, TORVEL_MW::ISectionManager::EContinuous,
                                     0xFFFFFFFF, false);
            manager.Unsubscribe(used);
        } while (used < id);
    };
    const std::string error =
        "demo: cannot be scanned: the receiver has no filter left, or this process has already "
        "made 65535 subscriptions";

    // The ids run out during the scan.
    use(client::kLastServedId - 5);
    client::MultiplexScanner scanner;
    tvservice::InputEnd end = scanner.Scan(source);
    EXPECT_EQ(end.reason, tvservice::InputEnd::kFailed);
    EXPECT_EQ(end.error, error);

    // No id is left before the scan.
    use(client::kLastServedId + 1);
    end = scanner.Scan(source);
    EXPECT_EQ(end.reason, tvservice::InputEnd::kFailed);
    EXPECT_EQ(end.error, error);
}

}  // namespace
