// When memory runs out between the finished subscription and its shared pointer, the subscription
// is destroyed like any other. A program of its own: it replaces operator new.

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

TEST(ControlBlock, ThatCannotBeAllocatedDestroysACountedSubscription) {
    FakePlatform& platform = FakePlatform::Get();
    Recorder observer;
    const std::string counted =
        Line(4, "CSectionSubscription",
             Green(" TVS handle=100 id=7 pid=17 tableid=66 mode=1 refcount=1"));
    // The count line is the constructor's last: what is allocated next is the control block.
    platform.duringLog = [&](const std::string& line) { s_failNext = line == counted; };
    EXPECT_THROW(CSectionSubscription::SubscribeSection(&platform, observer, 0x11, 0x42, 1, 7,
                                                        ISectionManager::EContinuous, kNoTimeout),
                 std::bad_alloc);
    platform.duringLog = nullptr;
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(100), 0);
    EXPECT_THAT(platform.Released(), ElementsAre(100));
    const auto log = platform.TakeLog();
    EXPECT_EQ(log.at(log.size() - 2),
              Line(4, "~CSectionSubscription",
                   Green(" TVS handle=100 id=7 pid=17 tableid=66 mode=1 refcount: 0")));
}

}  // namespace
