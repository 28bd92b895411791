// Memory that runs out while a subscription is made. A program of its own: it replaces operator
// new.

#include <cstdlib>
#include <new>

#include "tests/unit/si/SiFixture.h"

namespace {
thread_local bool s_failNext = false;
}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    if (s_failNext) {
        s_failNext = false;
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using Subscribe = std::function<std::shared_ptr<CSectionSubscription>(Recorder&, unsigned int)>;

/// One way to subscribe, and what its constructor writes.
struct Way {
    std::string name;
    Subscribe subscribe;
    std::string lastLine;   // of the constructor
    std::string timerLine;  // before it arms the timer
};

std::vector<Way> Ways() {
    FakePlatform* const platform = &FakePlatform::Get();
    constexpr ISectionManager::EFilterMode kMode = ISectionManager::EContinuous;
    const std::string info = " TVS handle=100 id=7 pid=17 tableid=66 mode=1 refcount=1";
    const std::string function = "CSectionSubscription";
    const std::string timer = "Set timer for 60000ms for id: 7";
    return {{"table",
             [=](Recorder& observer, unsigned int timeout) {
                 return CSectionSubscription::SubscribeSection(platform, observer, 0x11, 0x42, 7,
                                                               kMode, timeout, false);
             },
             Line(3, function, "Subscribed successfully. pid: 17, TVS handle: 100"),
             Line(4, function, Green(timer))},
            {"extension",
             [=](Recorder& observer, unsigned int timeout) {
                 return CSectionSubscription::SubscribeSection(platform, observer, 0x11, 0x42, 1, 7,
                                                               kMode, timeout);
             },
             Line(4, function, Green(info)), Line(4, function, Green(timer))},
            {"pattern",
             [=](Recorder& observer, unsigned int timeout) {
                 return CSectionSubscription::SubscribeSection(platform, observer, 0x11, {0x42},
                                                               {0xFF}, {}, 7, kMode, timeout);
             },
             Line(3, function, info), Line(5, function, Yellow(timer))}};
}

class AllocationTest : public testing::TestWithParam<std::size_t> {
  protected:
    void SetUp() override { platform.Reset(); }

    /// The next allocation after that line fails.
    void FailAfter(const std::string& trigger) {
        platform.duringLog = [trigger](const std::string& line) { s_failNext = line == trigger; };
    }

    const Way way = Ways()[GetParam()];
    FakePlatform& platform = FakePlatform::Get();
    Recorder observer;
};

TEST_P(AllocationTest, ControlBlockThatFailsDestroysACountedSubscription) {
    // What is allocated after the constructor's last line is the control block.
    FailAfter(way.lastLine);
    EXPECT_THROW(way.subscribe(observer, kNoTimeout), std::bad_alloc);
    platform.duringLog = nullptr;
    EXPECT_TRUE(SectionSubscriptionPeer::HasHandleCount(100));
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(100), 0);
    EXPECT_THAT(platform.Released(), ElementsAre(100));
    const auto log = platform.TakeLog();
    EXPECT_EQ(log.at(log.size() - 2),
              Line(4, "~CSectionSubscription",
                   Green(" TVS handle=100 id=7 pid=17 tableid=66 mode=1 refcount: 0")));
}

TEST_P(AllocationTest, FailureWhileTheTimerIsArmedCountsNothing) {
    FailAfter(way.timerLine);
    EXPECT_THROW(way.subscribe(observer, 60000), std::bad_alloc);
    platform.duringLog = nullptr;
    EXPECT_FALSE(SectionSubscriptionPeer::HasHandleCount(100));
    EXPECT_THAT(platform.Released(), IsEmpty());
    EXPECT_EQ(platform.TakeLog().back(), way.timerLine);
}

INSTANTIATE_TEST_SUITE_P(Ways, AllocationTest, testing::Values(0u, 1u, 2u),
                         [](const auto& index) { return Ways()[index.param].name; });

}  // namespace
