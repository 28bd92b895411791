#include "softplatform/ts/SeenPids.h"

#include <gtest/gtest.h>

namespace tvservice {
namespace {

TEST(SeenPids, KnowsThePidsThatWereAddedAndNoOthers) {
    SeenPids seen;
    for (const int pid : {0x0000, 0x0012, 0x0040, 0x1FFF}) {
        seen.Add(static_cast<uint16_t>(pid));
        seen.Add(static_cast<uint16_t>(pid));
    }
    for (uint32_t pid = 0; pid <= 0xFFFF; ++pid) {
        const bool wasAdded = pid == 0x0000 || pid == 0x0012 || pid == 0x0040 || pid == 0x1FFF;
        ASSERT_EQ(seen.Has(static_cast<uint16_t>(pid)), wasAdded) << pid;
    }
}

TEST(SeenPids, ForgetsThemAll) {
    SeenPids seen;
    seen.Add(0x0012);
    seen.Add(0x1FFF);
    seen.Clear();
    EXPECT_FALSE(seen.Has(0x0012));
    EXPECT_FALSE(seen.Has(0x1FFF));
}

}  // namespace
}  // namespace tvservice
