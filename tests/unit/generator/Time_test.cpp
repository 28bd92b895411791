#include "softplatform/text/Time.h"

#include <gtest/gtest.h>

namespace tvservice {
namespace {

TEST(TimeTest, TheExampleOfTheStandardIsReadAndWritten) {
    // EN 300 468 5.2.4: 93/10/13 12:45:00 is coded as 0xC079124500.
    EXPECT_EQ(DecodeTime(0xC079124500), 750516300);
    EXPECT_EQ(EncodeTime(750516300), 0xC079124500u);
}

TEST(TimeTest, TheYears1970And1858AreTheDaysTheyShouldBe) {
    EXPECT_EQ(DecodeTime(uint64_t{40587} << 24), 0);
    EXPECT_EQ(DecodeTime(0), int64_t{-40587} * 86400);
    EXPECT_EQ(EncodeTime(0), uint64_t{40587} << 24);
}

TEST(TimeTest, TheSecondBefore1970BelongsToTheDayBefore) {
    EXPECT_EQ(EncodeTime(-1), uint64_t{40586} << 24 | 0x235959);
    EXPECT_EQ(DecodeTime(uint64_t{40586} << 24 | 0x235959), -1);
}

TEST(TimeTest, EveryDayAndManyTimesOfDaySurviveTheWayThereAndBack) {
    for (int64_t day = -40587; day <= 65535 - 40587; ++day) {
        const int64_t time = day * 86400 + (day + 40587) * 7919 % 86400;
        const auto coded = EncodeTime(time);
        ASSERT_TRUE(coded);
        ASSERT_EQ(DecodeTime(*coded), time);
    }
}

TEST(TimeTest, DaysOutsideSixteenBitsCannotBeCoded) {
    EXPECT_TRUE(EncodeTime(int64_t{65535 - 40587} * 86400 + 86399));
    EXPECT_FALSE(EncodeTime(int64_t{65536 - 40587} * 86400));
    EXPECT_TRUE(EncodeTime(int64_t{-40587} * 86400));
    EXPECT_FALSE(EncodeTime(int64_t{-40587} * 86400 - 1));
}

TEST(TimeTest, AnUndefinedTimeIsNoTime) {
    EXPECT_EQ(kUndefinedTime, 0xFFFFFFFFFFu);
    EXPECT_FALSE(DecodeTime(kUndefinedTime));
}

TEST(TimeTest, DigitsAboveNineAreNoTime) {
    for (const uint64_t coded : {0xC0791A4500u, 0xC0790A0000u, 0xC07912A500u, 0xC079124A00u,
                                 0xC0791245A0u, 0xC07912450Au}) {
        EXPECT_FALSE(DecodeTime(coded)) << std::hex << coded;
    }
}

TEST(TimeTest, ATimeOfDayThatNoClockShowsIsNoTime) {
    EXPECT_TRUE(DecodeTime(0xC079235959));
    EXPECT_FALSE(DecodeTime(0xC079240000));
    EXPECT_FALSE(DecodeTime(0xC079126000));
    EXPECT_FALSE(DecodeTime(0xC079120060));
}

TEST(TimeTest, MoreThanFortyBitsAreNoTime) {
    EXPECT_FALSE(DecodeTime(0x1C079124500));
}

TEST(DurationTest, TheExampleOfTheStandardIsReadAndWritten) {
    // EN 300 468 5.2.4: 01:45:30 is coded as 0x014530.
    EXPECT_EQ(DecodeDuration(0x014530), 6330u);
    EXPECT_EQ(EncodeDuration(6330), 0x014530u);
}

TEST(DurationTest, EveryDurationSurvivesTheWayThereAndBack) {
    for (uint32_t seconds = 0; seconds <= kLongestDuration; ++seconds) {
        const auto coded = EncodeDuration(seconds);
        ASSERT_TRUE(coded);
        ASSERT_EQ(DecodeDuration(*coded), seconds);
    }
}

TEST(DurationTest, WhatSixDigitsCannotTellIsRefused) {
    EXPECT_EQ(DecodeDuration(0x995959), kLongestDuration);
    EXPECT_FALSE(EncodeDuration(kLongestDuration + 1));
    EXPECT_FALSE(DecodeDuration(0x006000));
    EXPECT_FALSE(DecodeDuration(0x000060));
    EXPECT_FALSE(DecodeDuration(0xFFFFFF));
    EXPECT_FALSE(DecodeDuration(0x1000000));
}

}  // namespace
}  // namespace tvservice
