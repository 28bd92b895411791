#include "softplatform/descriptor/DescriptorLoop.h"

#include <typeinfo>

#include "platform/TCDescCA.h"
#include "platform/TCDescExtension.h"
#include "platform/TCDescPrivateDataSpecifier.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "platform/TVSHandle.h"
#include "softplatform/base/Counters.h"
#include "softplatform/descriptor/Decoders.h"
#include "tests/unit/descriptor/DescriptorFixture.h"

namespace {

using tvservice::ByteView;
using tvservice::Counter;
using tvservice::DescriptorArena;
using tvservice::DescriptorLoop;
using tvservice::ReceiverCounters;

constexpr uint8_t kNit = 0x40;
constexpr uint8_t kPmt = 0x02;

uint64_t Overruns() {
    return ReceiverCounters().Get(Counter::kDescriptorOverruns);
}

/// A loop over its own bytes, in an arena with room for exactly its descriptors.
struct Loop {
    Loop(Bytes content, uint8_t tableId) : bytes(std::move(content)) {
        const ByteView view(bytes.data(), bytes.size());
        arena.Begin(DescriptorLoop::CountIn(view) * DescriptorLoop::kRoomEach);
        loop = DescriptorLoop(view, tableId, arena);
    }
    Bytes bytes;
    DescriptorArena arena;
    DescriptorLoop loop;
};

template <class Desc>
bool IsExactly(const TCBaseDesc& desc) {
    return typeid(desc) == typeid(Desc);
}

const Bytes kSpecifier{0x5F, 4, 0, 0, 0, 0x28};
const Bytes kCa{0x09, 4, 0x09, 0x19, 0xE0, 0x55};
const Bytes kT2{0x7F, 4, 0x04, 1, 0, 2};

TEST(DescriptorLoopTest, GivesDescriptorsInOrderAndByTag) {
    Loop l(kCa + kSpecifier + kCa + Bytes{0x83, 0}, kPmt);
    EXPECT_EQ(l.loop.size(), 4u);
    EXPECT_EQ(l.loop.Count(0x09), 2u);
    EXPECT_EQ(l.loop.Count(0x52), 0u);
    EXPECT_NE(dynamic_cast<TCDescCA*>(l.loop.At(0)), nullptr);
    EXPECT_NE(dynamic_cast<TCDescPrivateDataSpecifier*>(l.loop.At(1)), nullptr);
    EXPECT_EQ(l.loop.Find(0x09, 1), l.loop.At(2)) << "decoded once";
    EXPECT_TRUE(IsExactly<TCBaseDesc>(*l.loop.At(3)));
    EXPECT_EQ(l.loop.At(4), nullptr);
    EXPECT_EQ(l.loop.Find(0x09, 2), nullptr);
    EXPECT_EQ(l.loop.Find(0x52, 0), nullptr);
}

TEST(DescriptorLoopTest, EndsAtADescriptorThatOverrunsItAndCountsIt) {
    for (const Bytes& tail : {Bytes{0x09}, Bytes{0x09, 1}, Bytes{0x09, 5, 1, 2, 3, 4}}) {
        const uint64_t before = Overruns();
        Loop l(kCa + tail, kPmt);
        EXPECT_EQ(l.loop.size(), 1u);
        EXPECT_EQ(Overruns(), before + 1);
    }
}

TEST(DescriptorLoopTest, MayBeEmpty) {
    DescriptorLoop none;
    EXPECT_EQ(none.size(), 0u);
    EXPECT_EQ(none.At(0), nullptr);
    Loop empty({}, kPmt);
    EXPECT_EQ(empty.loop.size(), 0u);
}

TEST(DescriptorLoopTest, ExtensionsHaveClassesInNitsOnly) {
    const Bytes other{0x7F, 2, 0x06, 9};
    for (const uint8_t table : {uint8_t{0x40}, uint8_t{0x41}}) {
        Loop l(kT2 + other, table);
        EXPECT_EQ(l.loop.Count(0x7F04), 1u);
        EXPECT_EQ(l.loop.Count(0x7F), 0u);
        EXPECT_NE(dynamic_cast<TCDescT2SystemDelivery*>(l.loop.At(0)), nullptr);
        EXPECT_EQ(l.loop.At(0)->Tag(), 0x7F04);
        EXPECT_TRUE(IsExactly<TCDescExtension>(*l.loop.At(1)));
        EXPECT_EQ(l.loop.At(1)->Tag(), 0x7F06);
    }
    for (const uint8_t table : {uint8_t{0x02}, uint8_t{0x42}, uint8_t{0x4A}, uint8_t{0x4E}}) {
        Loop l(kT2 + other, table);
        EXPECT_EQ(l.loop.Count(0x7F), 2u);
        EXPECT_EQ(l.loop.Count(0x7F04), 0u);
        EXPECT_TRUE(IsExactly<TCBaseDesc>(*l.loop.At(0)));
        EXPECT_EQ(l.loop.At(0)->Tag(), 0x007F);
    }
}

TEST(DescriptorLoopTest, WhatDoesNotFitItsClassIsPlainAndKeepsItsBytes) {
    Loop l(Bytes{0x09, 3, 1, 2, 3} + Bytes{0x7F, 3, 0x04, 1, 2} + Bytes{0x7F, 0}, kNit);
    EXPECT_TRUE(IsExactly<TCBaseDesc>(*l.loop.At(0)));
    EXPECT_EQ(l.loop.At(0)->Tag(), 0x09);
    EXPECT_EQ(l.loop.At(0)->Length(), 5);
    EXPECT_TRUE(IsExactly<TCDescExtension>(*l.loop.At(1)));
    EXPECT_EQ(l.loop.At(1)->Tag(), 0x7F04);
    EXPECT_TRUE(IsExactly<TCBaseDesc>(*l.loop.At(2)));
    EXPECT_EQ(l.loop.At(2)->Tag(), 0x7F);
}

TEST(Decoders, CountsWhatTheFieldsDoNotFill) {
    const auto malformed = [](const Bytes& bytes) {
        const uint64_t before = ReceiverCounters().Get(Counter::kMalformedDescriptors);
        Loop(bytes, kNit).loop.At(0);
        return ReceiverCounters().Get(Counter::kMalformedDescriptors) - before;
    };
    for (const Bytes& whole : {kSpecifier, kCa, kT2, Bytes{0x83, 2, 1, 2}, Bytes{0x48, 3, 1, 0, 0},
                               Bytes{0x7F, 3, 0x77, 1, 2}}) {
        EXPECT_EQ(malformed(whole), 0u) << int{whole[0]};
    }
    EXPECT_EQ(malformed({0x5F, 3, 0, 0, 0}), 1u);                    // too short
    EXPECT_EQ(malformed({0x5F, 5, 0, 0, 0, 1, 2}), 1u);              // bytes left over
    EXPECT_EQ(malformed({0x48, 3, 1, 9, 'c'}), 1u);                  // too long a name
    EXPECT_EQ(malformed({0x4A, 9, 0, 1, 0, 2, 0, 3, 9, 5, 0}), 1u);  // too long an OUI loop
    EXPECT_EQ(malformed({0x7F, 8, 0x04, 1, 0, 2, 0, 0, 0, 1}), 1u);  // a cell that is cut
}

TEST(Decoders, EveryTagIsDecodedUnderTheTagThatItHas) {
    for (int tag = 0; tag < 0x100; ++tag) {
        for (size_t size = 0; size < 40; ++size) {
            const Bytes bytes = Whole(static_cast<unsigned char>(tag), Bytes(size, 0x04));
            for (const uint8_t table : {kNit, kPmt}) {
                const ByteView view(bytes.data(), bytes.size());
                Loop l(bytes, table);
                TCBaseDesc* const desc = l.loop.At(0);
                ASSERT_NE(desc, nullptr);
                EXPECT_EQ(desc->Tag(), tvservice::TagOf(view, table)) << tag << " " << size;
                EXPECT_EQ(desc->Length(), static_cast<int>(bytes.size()));
                const std::unique_ptr<TCBaseDesc> fork(desc->Fork());
                const TCBaseDesc& original = *desc;
                const TCBaseDesc& copy = *fork;
                EXPECT_EQ(typeid(copy), typeid(original));
                EXPECT_EQ(fork->Tag(), desc->Tag());
            }
        }
    }
}

TEST(Decoders, EveryDeclaredDescriptorHasItsClass) {
    // The payload is long enough for every fixed part; every length inside it is 0.
    for (const int tag : {0x09, 0x13, 0x40, 0x41, 0x43, 0x44, 0x47, 0x48, 0x4A, 0x4D, 0x4E, 0x50,
                          0x52, 0x54, 0x55, 0x5A, 0x5F, 0x66, 0x6F}) {
        const Bytes bytes = Whole(static_cast<unsigned char>(tag), Bytes(12));
        Loop l(bytes, kPmt);
        EXPECT_FALSE(IsExactly<TCBaseDesc>(*l.loop.At(0))) << std::hex << tag;
    }
}

TEST(DescriptorParser, FillsAHashWithCopies) {
    TCDescriptorHash hash;
    EXPECT_EQ(hash.NumOfDescriptors(), 0);
    EXPECT_EQ(hash.DescriptorByIndex(0), nullptr);
    {
        Bytes bytes = kSpecifier + kCa;
        TCDescriptor(TVSHandle(1, 0))
            .Parse(bytes.data(), static_cast<int>(bytes.size()), hash, 0x4E);
    }
    ASSERT_EQ(hash.NumOfDescriptors(), 2);
    const auto* const ca = dynamic_cast<TCDescCA*>(hash.DescriptorByIndex(1));
    ASSERT_NE(ca, nullptr);
    EXPECT_EQ(ca->CASystemId(), 0x0919);
    EXPECT_EQ(hash.DescriptorByIndex(2), nullptr);
}

TEST(DescriptorParser, ReplacesWhatTheHashHeld) {
    TCDescriptorHash hash;
    Bytes bytes = kSpecifier + kCa;
    TCDescriptor parser(TVSHandle(1, 0));
    parser.Parse(bytes.data(), static_cast<int>(bytes.size()), hash, 0x4E);
    parser.Parse(bytes.data(), static_cast<int>(kSpecifier.size()), hash, 0x4E);
    EXPECT_EQ(hash.NumOfDescriptors(), 1);
    parser.Parse(nullptr, 0, hash, 0x4E);
    EXPECT_EQ(hash.NumOfDescriptors(), 0);
}

}  // namespace
