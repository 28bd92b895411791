#include "softplatform/fault/FaultSpec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

FaultSpec Parse(const std::string& text) {
    std::string error = "untouched";
    const std::optional<FaultSpec> spec = FaultSpec::Parse(text, error);
    EXPECT_TRUE(spec) << error;
    EXPECT_EQ(error, "untouched");
    return spec.value_or(FaultSpec{});
}

std::string ErrorOf(const std::string& text) {
    std::string error;
    EXPECT_FALSE(FaultSpec::Parse(text, error)) << text;
    return error;
}

TEST(FaultSpec, ReadsARate) {
    const FaultSpec spec = Parse("drop=1/1000");
    EXPECT_EQ(spec.kind, FaultKind::kDrop);
    EXPECT_EQ(spec.rate, 1000u);
    EXPECT_THAT(spec.indexes, IsEmpty());
    EXPECT_EQ(spec.only, std::nullopt);
    EXPECT_EQ(spec.amount, std::nullopt);
}

TEST(FaultSpec, ReadsIndexesInAnyOrderEachOnce) {
    const FaultSpec spec = Parse("duplicate@40,0x10,3,16");
    EXPECT_EQ(spec.kind, FaultKind::kDuplicate);
    EXPECT_EQ(spec.rate, 0u);
    EXPECT_THAT(spec.indexes, ElementsAre(3, 16, 40));
}

TEST(FaultSpec, ReadsThePidAndTheOptionOfPacketFaults) {
    const FaultSpec spec = Parse("corrupt@7:byte=0:pid=0x1FFF");
    EXPECT_EQ(spec.kind, FaultKind::kCorrupt);
    EXPECT_EQ(spec.only, 0x1FFFu);
    EXPECT_EQ(spec.amount, 0u);
}

TEST(FaultSpec, ReadsTheTableAndTheOptionOfDeliveryFaults) {
    const FaultSpec spec = Parse("silent@100:table=0x42:for=50");
    EXPECT_EQ(spec.kind, FaultKind::kSilent);
    EXPECT_EQ(spec.only, 0x42u);
    EXPECT_EQ(spec.amount, 50u);
}

TEST(FaultSpec, KnowsEveryKindByItsName) {
    for (const FaultInfo& info : kFaultTable) {
        EXPECT_EQ(Parse(std::string(info.name) + "@0").kind, info.kind) << info.name;
        EXPECT_EQ(&Describe(info.kind), &info) << info.name;
    }
}

TEST(FaultSpec, HasDefaults) {
    EXPECT_EQ(Parse("reorder@0").amount, 1u);
    EXPECT_EQ(Parse("delay@0").amount, 1u);
    EXPECT_EQ(Parse("silent@0").amount, 1u);
    EXPECT_EQ(Parse("late@0").amount, 1u);
    EXPECT_EQ(Parse("old-handle@0").amount, 1u);
    EXPECT_EQ(Parse("cut@0").amount, std::nullopt);
    EXPECT_EQ(Parse("unknown-id@0").amount, std::nullopt);
}

TEST(FaultSpec, ReadsTheLargestIndex) {
    EXPECT_THAT(Parse("drop@18446744073709551614").indexes, ElementsAre(UINT64_MAX - 1));
    EXPECT_EQ(ErrorOf("drop@18446744073709551616"),
              "fault \"drop@18446744073709551616\", offset 5: an index is a number from 0 to "
              "18446744073709551614");
    EXPECT_THAT(ErrorOf("drop@0xFFFFFFFFFFFFFFFFF"), HasSubstr("offset 5: an index"));
}

TEST(FaultSpec, SaysWhatItDoesNotKnow) {
    EXPECT_EQ(ErrorOf("dorp@1"),
              "fault \"dorp@1\", offset 0: here stands one of drop, duplicate, reorder, corrupt, "
              "cut, delay, silent, zero-length, unknown-id, late, refuse-subscribe, "
              "refuse-unsubscribe, old-handle");
    EXPECT_THAT(ErrorOf(""), HasSubstr("\"\", offset 0: here stands one of"));
}

TEST(FaultSpec, SaysThatTheTimeIsMissing) {
    EXPECT_EQ(ErrorOf("drop"),
              "fault \"drop\", offset 4: here stands =1/ and a number, or @ and numbers between "
              "commas");
    EXPECT_THAT(ErrorOf("drop:pid=1"), HasSubstr("offset 4: here stands =1/"));
}

TEST(FaultSpec, SaysWhereARateIsWrong) {
    EXPECT_EQ(ErrorOf("drop=2/3"), "fault \"drop=2/3\", offset 5: a rate is =1/ and a number");
    EXPECT_EQ(ErrorOf("drop=1/0"),
              "fault \"drop=1/0\", offset 7: a rate is a number from 1 to 4294967295");
    EXPECT_THAT(ErrorOf("drop=1/4294967296"),
                HasSubstr("offset 7: a rate is a number from 1 to 4294967295"));
    EXPECT_THAT(ErrorOf("drop=1/"), HasSubstr("offset 7: a rate is a number from 1 to 4294967295"));
}

TEST(FaultSpec, SaysWhereAnIndexIsWrong) {
    EXPECT_EQ(ErrorOf("drop@1,,2"),
              "fault \"drop@1,,2\", offset 7: an index is a number from 0 to "
              "18446744073709551614");
    EXPECT_THAT(ErrorOf("drop@-1"), HasSubstr("offset 5: an index is a number"));
    EXPECT_THAT(ErrorOf("drop@0x"), HasSubstr("offset 5: an index is a number"));
}

TEST(FaultSpec, SaysWhereAnOptionIsWrong) {
    EXPECT_EQ(ErrorOf("drop@1:by=2"), "fault \"drop@1:by=2\", offset 7: drop takes pid");
    EXPECT_EQ(ErrorOf("cut@1:pid=2"), "fault \"cut@1:pid=2\", offset 6: cut takes table and to");
    EXPECT_EQ(ErrorOf("late@1:pid=2"), "fault \"late@1:pid=2\", offset 7: late takes by");
    EXPECT_EQ(ErrorOf("refuse-subscribe@1:pid=2"),
              "fault \"refuse-subscribe@1:pid=2\", offset 19: refuse-subscribe takes no option");
    EXPECT_EQ(ErrorOf("drop@1:pid"),
              "fault \"drop@1:pid\", offset 10: here stands = and the value of pid");
    EXPECT_EQ(ErrorOf("drop@1:pid=0x2000"),
              "fault \"drop@1:pid=0x2000\", offset 11: pid is a number from 0 to 8191");
    EXPECT_EQ(ErrorOf("delay@1:by=0"),
              "fault \"delay@1:by=0\", offset 11: by is a number from 1 to 1000");
    EXPECT_EQ(ErrorOf("drop@1:pid=1:pid=1"),
              "fault \"drop@1:pid=1:pid=1\", offset 13: pid is given twice");
    EXPECT_EQ(ErrorOf("delay@1:by=1:by=1"),
              "fault \"delay@1:by=1:by=1\", offset 13: by is given twice");
}

TEST(FaultSpec, SaysWhereSomethingIsLeftOver) {
    EXPECT_EQ(ErrorOf("drop@1 "),
              "fault \"drop@1 \", offset 6: here stands the end, or : and an option");
    EXPECT_EQ(ErrorOf("drop@1:"), "fault \"drop@1:\", offset 7: drop takes pid");
}

}  // namespace
}  // namespace tvservice
