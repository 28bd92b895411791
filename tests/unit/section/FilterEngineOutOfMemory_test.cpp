// A request that the filter engine has no memory for leaves nothing behind.

#include <gtest/gtest.h>

#include <new>
#include <optional>

#include "softplatform/base/Counters.h"
#include "softplatform/section/FilterEngine.h"
#include "tests/support/FailingNew.h"

namespace tvservice {
namespace {

struct DeafSink final : SectionSink {
    void OnSection(int, SectionView) override {}
};

class FilterEngineOutOfMemory : public testing::TestWithParam<bool> {
  protected:
    int Subscribe(uint16_t pid, bool fromCache = false) {
        return engine_.Subscribe(pid, filter_, sink_, 1, fromCache);
    }

    Counters counters_;
    DeafSink sink_;
    const SectionFilter filter_ = *SectionFilter::Compile({0x42}, {0xFF}, {});
    FilterEngine engine_{counters_, {}, 2};
};

TEST_P(FilterEngineOutOfMemory, SetsNoFilterAndTakesNoSlot) {
    bool hasFailed = true;
    int failures = 0;
    for (int allocation = 0; hasFailed; ++allocation) {
        hasFailed = false;
        testsupport::t_heap.failAfter = allocation;
        std::optional<int> handle;
        try {
            handle = Subscribe(0x0100, GetParam());
        } catch (const std::bad_alloc&) {
            hasFailed = true;
            ++failures;
        }
        testsupport::t_heap.failAfter = -1;
        if (handle) {
            EXPECT_TRUE(engine_.Unsubscribe(*handle));
        }

        const int first = Subscribe(0x0101), second = Subscribe(0x0102);
        EXPECT_NE(first, FilterEngine::kNoHandle) << allocation;
        EXPECT_NE(second, FilterEngine::kNoHandle) << allocation;
        EXPECT_EQ(Subscribe(0x0100), FilterEngine::kNoHandle)
            << allocation << ": there is no such filter to share";
        EXPECT_TRUE(engine_.Unsubscribe(first));
        EXPECT_TRUE(engine_.Unsubscribe(second));
        engine_.ApplyChanges();
        EXPECT_FALSE(engine_.IsWanted(0x0100)) << allocation;
    }
    EXPECT_GT(failures, 5);
}

INSTANTIATE_TEST_SUITE_P(CacheOrNot, FilterEngineOutOfMemory, testing::Bool());

}  // namespace
}  // namespace tvservice
