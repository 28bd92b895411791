#include "softplatform/ts/PidTable.h"

#include <gtest/gtest.h>

namespace tvservice {
namespace {

TEST(PidTable, IsEmptyAtFirst) {
    const PidTable<int> table;
    for (uint16_t pid = 0; pid < kPidCount; ++pid) {
        ASSERT_EQ(table.Find(pid), nullptr) << pid;
    }
}

TEST(PidTable, FindsWhatWasEnteredAtThatPidAlone) {
    PidTable<int> table;
    int first = 1;
    int last = 2;
    table.Set(0x0000, &first);
    table.Set(0x1FFF, &last);

    EXPECT_EQ(table.Find(0x0000), &first);
    EXPECT_EQ(table.Find(0x1FFF), &last);
    EXPECT_EQ(table.Find(0x0001), nullptr);
    EXPECT_EQ(table.Find(0x1FFE), nullptr);
}

TEST(PidTable, ForgetsWhatWasTakenOut) {
    PidTable<int> table;
    int object = 1;
    table.Set(0x0012, &object);
    table.Set(0x0012, nullptr);
    EXPECT_EQ(table.Find(0x0012), nullptr);
}

}  // namespace
}  // namespace tvservice
