// What every platform must do with descriptors and descriptor loops: platform/TCBaseDesc.h,
// platform/TCDesc*.h and the README beside them.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <typeinfo>
#include <vector>

#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "platform/TVSHandle.h"
#include "tests/contract/platform/Descriptors.h"
#include "tests/contract/platform/Dump.h"
#include "tests/contract/platform/Guarded.h"

namespace contract {
namespace {

using testsupport::Bytes;
using testsupport::Join;
using testsupport::RandomBytes;
using testsupport::Slice;

// Parses a copy of `bytes`. A read past its end crashes, and the copy is overwritten afterwards.
int Parse(TCBaseDesc& descriptor, const Bytes& bytes) {
    Guarded guarded(bytes);
    const int consumed = descriptor.Parse(guarded.data());
    guarded.Scribble();
    return consumed;
}

class DescriptorContract : public testing::TestWithParam<DescriptorCase> {
  protected:
    std::unique_ptr<TCBaseDesc> Parsed() const {
        auto descriptor = GetParam().make();
        EXPECT_EQ(Parse(*descriptor, GetParam().bytes), Size());
        return descriptor;
    }

    int Size() const { return static_cast<int>(GetParam().bytes.size()); }
    Bytes Payload() const { return Slice(GetParam().bytes, 2); }
    Bytes WithPayload(const Bytes& payload) const { return Tagged(GetParam().bytes[0], payload); }
};

TEST_P(DescriptorContract, DecodesEveryFieldAndConsumesItsLength) {
    const auto descriptor = Parsed();
    EXPECT_EQ(descriptor->Length(), Size());
    GetParam().expect(*descriptor);
}

TEST_P(DescriptorContract, ReadsNothingBehindItsLength) {
    const auto descriptor = GetParam().make();
    EXPECT_EQ(Parse(*descriptor, Join({GetParam().bytes, Bytes(300, 0x41)})), Size());
    EXPECT_EQ(BytesOf(*descriptor), GetParam().bytes);
    EXPECT_EQ(Dump(descriptor.get()), Dump(Parsed().get()));
}

TEST_P(DescriptorContract, ConsumesNothingWhenItsFixedPartDoesNotFit) {
    for (size_t size = 0; size < GetParam().fixedSize; ++size) {
        const auto descriptor = GetParam().make();
        EXPECT_EQ(Parse(*descriptor, WithPayload(Slice(Payload(), 0, size))), 0) << size;
        EXPECT_EQ(descriptor->Length(), static_cast<int>(2 + size));
    }
}

TEST_P(DescriptorContract, LeavesOverWhatItsSyntaxDoesNotHave) {
    const auto descriptor = GetParam().make();
    const int consumed = Parse(*descriptor, WithPayload(Join({Payload(), {0x00}})));
    EXPECT_EQ(descriptor->Length(), Size() + 1);
    EXPECT_EQ(consumed, GetParam().rest == Rest::kAny ? Size() + 1 : Size());
}

TEST_P(DescriptorContract, NeverConsumesMoreThanItsLength) {
    // The payload is cut short, and the length matches it. Dump reads every field of the result.
    for (size_t size = 0; size < Payload().size(); ++size) {
        const auto descriptor = GetParam().make();
        const int consumed = Parse(*descriptor, WithPayload(Slice(Payload(), 0, size)));
        EXPECT_GE(consumed, 0);
        EXPECT_LE(consumed, descriptor->Length());
        EXPECT_EQ(BytesOf(*descriptor), WithPayload(Slice(Payload(), 0, size)));
        EXPECT_FALSE(Dump(descriptor.get()).empty());
    }
}

TEST_P(DescriptorContract, SurvivesAnyBytes) {
    std::mt19937 random(4711);
    for (int round = 0; round < 500; ++round) {
        Bytes payload = Payload();
        payload.resize(random() % 256, static_cast<uint8_t>(random()));
        for (int flips = 0; flips < 4 && !payload.empty(); ++flips) {
            payload[random() % payload.size()] = static_cast<uint8_t>(random());
        }
        const auto descriptor = GetParam().make();
        const int consumed = Parse(*descriptor, WithPayload(payload));
        EXPECT_TRUE(consumed >= 0 && consumed <= descriptor->Length()) << consumed;
        EXPECT_EQ(BytesOf(*descriptor), WithPayload(payload));
        EXPECT_FALSE(Dump(descriptor.get()).empty());
    }
}

TEST_P(DescriptorContract, DoesNotCheckTheTag) {
    Bytes other = GetParam().bytes;
    other[0] = 0xC5;
    const auto descriptor = GetParam().make();
    EXPECT_EQ(Parse(*descriptor, other), Size());
    EXPECT_EQ(BytesOf(*descriptor), other);
    if (dynamic_cast<TCDescExtension*>(descriptor.get()) == nullptr) {
        EXPECT_EQ(descriptor->Tag(), 0xC5);
    }
}

TEST_P(DescriptorContract, KeepsNothingOfWhatItHeldBefore) {
    const auto descriptor = Parsed();
    for (const DescriptorCase& other : DescriptorCases()) {
        const auto fresh = GetParam().make();
        EXPECT_EQ(Parse(*descriptor, other.bytes), Parse(*fresh, other.bytes)) << other.name;
        EXPECT_EQ(Dump(descriptor.get()), Dump(fresh.get())) << other.name;
    }
}

TEST_P(DescriptorContract, CopiesItselfAsBroadcastWholeOrNotAtAll) {
    const auto descriptor = Parsed();
    for (const int capacity : {300, Size(), Size() - 1, 1, 0}) {
        Bytes buffer(300, 0xEE);
        int length = capacity;
        const int copied = capacity < Size() ? 0 : Size();
        EXPECT_EQ(descriptor->GetDescriptor(buffer.data(), &length), copied) << capacity;
        if (copied != 0) {
            EXPECT_EQ(length, copied);
            EXPECT_EQ(Slice(buffer, 0, static_cast<size_t>(Size())), GetParam().bytes);
        }
        const size_t untouched = static_cast<size_t>(copied != 0 ? copied : capacity);
        EXPECT_EQ(Slice(buffer, untouched), Bytes(300 - untouched, 0xEE));
    }
    int length = 300;
    EXPECT_EQ(descriptor->GetDescriptor(nullptr, &length), 0);
}

TEST_P(DescriptorContract, IsEmptyBeforeItsFirstBytes) {
    const auto descriptor = GetParam().make();
    EXPECT_EQ(descriptor->Length(), 0);
    Bytes buffer(300, 0xEE);
    int length = 300;
    EXPECT_EQ(descriptor->GetDescriptor(buffer.data(), &length), 0);
    EXPECT_EQ(buffer, Bytes(300, 0xEE));
}

TEST_P(DescriptorContract, ForksAsItsOwnKindAndTheForkOutlivesIt) {
    auto descriptor = Parsed();
    const std::string dump = Dump(descriptor.get());
    const std::unique_ptr<TCBaseDesc> fork(descriptor->Fork());
    ASSERT_NE(fork, nullptr);
    EXPECT_NE(fork, descriptor);
    const TCBaseDesc& original = *descriptor;
    const TCBaseDesc& copy = *fork;
    EXPECT_EQ(typeid(copy), typeid(original));
    descriptor.reset();
    const std::unique_ptr<TCBaseDesc> forkOfFork(fork->Fork());
    EXPECT_EQ(Dump(fork.get()), dump);
    EXPECT_EQ(Dump(forkOfFork.get()), dump);
    GetParam().expect(*forkOfFork);
}

TEST_P(DescriptorContract, ForksDoNotFollowTheirOriginal) {
    const auto descriptor = Parsed();
    const std::string dump = Dump(descriptor.get());
    const std::unique_ptr<TCBaseDesc> fork(descriptor->Fork());
    Parse(*descriptor, WithPayload(Bytes(20, 0x07)));
    EXPECT_EQ(Dump(fork.get()), dump);
    const std::string changed = Dump(descriptor.get());
    Parse(*fork, WithPayload(Bytes(21, 0x08)));
    EXPECT_EQ(Dump(descriptor.get()), changed);
}

TEST_P(DescriptorContract, ForksBeforeItsFirstBytesToo) {
    const auto descriptor = GetParam().make();
    const std::unique_ptr<TCBaseDesc> fork(descriptor->Fork());
    ASSERT_NE(fork, nullptr);
    EXPECT_EQ(fork->Length(), 0);
    EXPECT_EQ(Parse(*fork, GetParam().bytes), Size());
    GetParam().expect(*fork);
    EXPECT_EQ(descriptor->Length(), 0);
}

INSTANTIATE_TEST_SUITE_P(All, DescriptorContract, testing::ValuesIn(DescriptorCases()),
                         [](const auto& tested) { return tested.param.name; });

// --- Malformations of single classes

struct MalformedCase {
    std::string name;
    Bytes bytes;
    std::unique_ptr<TCBaseDesc> (*make)();
};

std::ostream& operator<<(std::ostream& out, const MalformedCase& tested) {
    return out << tested.name;
}

class MalformedDescriptor : public testing::TestWithParam<MalformedCase> {};

TEST_P(MalformedDescriptor, ConsumesLessThanItsLength) {
    const auto descriptor = GetParam().make();
    const int consumed = Parse(*descriptor, GetParam().bytes);
    EXPECT_GE(consumed, 0);
    EXPECT_LT(consumed, descriptor->Length());
    EXPECT_EQ(descriptor->Length(), static_cast<int>(GetParam().bytes.size()));
    EXPECT_FALSE(Dump(descriptor.get()).empty());
}

template <class T>
std::unique_ptr<TCBaseDesc> New() {
    return std::make_unique<T>();
}

INSTANTIATE_TEST_SUITE_P(
    All, MalformedDescriptor,
    testing::Values(MalformedCase{"ServiceWithALongName", Tagged(0x48, {1, 1, 'p', 9, 'a', 'b'}),
                                  &New<TCDescService>},
                    MalformedCase{"ServiceWithALongProvider", Tagged(0x48, {1, 200, 'p', 0}),
                                  &New<TCDescService>},
                    MalformedCase{"ShortEventWithALongText", Tagged(0x4D, {'e', 'n', 'g', 0, 1}),
                                  &New<TCDescShortEvent>},
                    MalformedCase{"ExtendedEventWithLongItems",
                                  Tagged(0x4E, {0, 'e', 'n', 'g', 10, 1, 'a', 1, 'b', 0}),
                                  &New<TCDescExtendedEvent>},
                    MalformedCase{"ExtendedEventWithAnItemThatOverrunsTheItems",
                                  Tagged(0x4E, {0, 'e', 'n', 'g', 4, 1, 'a', 9, 'b', 0}),
                                  &New<TCDescExtendedEvent>},
                    MalformedCase{"LinkageWithALongLoop",
                                  Tagged(0x4A, {0, 1, 0, 2, 0, 3, 9, 5, 0, 0x15, 0x0A, 0}),
                                  &New<TCDescLinkage>},
                    MalformedCase{"LinkageWithASelectorThatOverrunsTheLoop",
                                  Tagged(0x4A, {0, 1, 0, 2, 0, 3, 9, 5, 0, 0x15, 0x0A, 2, 1, 2}),
                                  &New<TCDescLinkage>},
                    MalformedCase{"DataBroadcastIdWithALongLoop",
                                  Tagged(0x66, {0, 0x0A, 7, 0, 0x15, 0x0A, 0xF1, 0xC0, 0}),
                                  &New<TCDescDataBroadcastId>},
                    MalformedCase{"DataBroadcastIdWithASelectorThatOverrunsTheLoop",
                                  Tagged(0x66, {0, 0x0A, 7, 0, 0x15, 0x0A, 0xF1, 0xC0, 2, 1, 2}),
                                  &New<TCDescDataBroadcastId>},
                    MalformedCase{"T2WithACutCell",
                                  Tagged(0x7F, {4, 0, 0, 1, 0, 0, 0, 7, 2, 0xFA, 0xF0}),
                                  &New<TCDescT2SystemDelivery>},
                    MalformedCase{"ServiceListWithACutEntry", Tagged(0x41, {0, 1, 2, 0, 1}),
                                  &New<TCDescServiceList>}),
    [](const auto& tested) { return tested.param.name; });

// --- Selector bytes

template <class Entry>
void ExpectSelectorRules(Entry& entry, const Bytes& wanted) {
    const int size = static_cast<int>(wanted.size());
    ASSERT_EQ(entry.SelectorLength(), size);
    Bytes ample(20, 0xEE);
    char* const buffer = reinterpret_cast<char*>(ample.data());
    int length = 20;
    EXPECT_NE(entry.SelectorByte(buffer, &length), 0);
    EXPECT_EQ(length, size);
    EXPECT_EQ(ample, Join({wanted, Bytes(20 - wanted.size(), 0xEE)}));
    std::fill(ample.begin(), ample.end(), uint8_t{0xEE});
    length = size - 1;
    EXPECT_EQ(entry.SelectorByte(buffer, &length), 0);
    EXPECT_EQ(ample.back(), 0xEE);
    length = 20;
    EXPECT_EQ(entry.SelectorByte(nullptr, &length), 0);
}

TEST(SelectorContract, IsCopiedWholeOrNotAtAll) {
    TCDescLinkage linkage;
    Parse(linkage, Tagged(0x4A, {0, 1, 0, 2, 0, 3, 9, 7, 0, 0x15, 0x0A, 3, 7, 8, 9}));
    ASSERT_NE(linkage.SSULinkLoop(0), nullptr);
    ExpectSelectorRules(*linkage.SSULinkLoop(0), {7, 8, 9});
    TCDescDataBroadcastId id;
    Parse(id, Tagged(0x66, {0, 0x0A, 8, 0, 0x15, 0x0A, 0xF1, 0xC0, 2, 5, 6}));
    ASSERT_NE(id.SSUInfoLoop(0), nullptr);
    ExpectSelectorRules(*id.SSUInfoLoop(0), {5, 6});
}

// --- Extension classes

TEST(ExtensionContract, TakesItsTagFromTheDescriptor) {
    TCDescT2SystemDelivery t2;
    const Bytes other = Tagged(0x7F, {0x05, 0, 0, 0});
    EXPECT_EQ(Parse(t2, other), 6);
    EXPECT_EQ(t2.Tag(), 0x7F05);
    EXPECT_EQ(t2.TagExtension(), 0x05);
}

// --- Loops

class LoopContract : public testing::Test {
  protected:
    void Parse(const Bytes& loop, unsigned char tableId) {
        Guarded guarded(loop);
        parser_.Parse(guarded.data(), static_cast<int>(loop.size()), hash_, tableId);
        guarded.Scribble();
    }

    std::vector<Bytes> Held() {
        std::vector<Bytes> all;
        for (int i = 0; i < hash_.NumOfDescriptors(); ++i) {
            TCBaseDesc* const descriptor = hash_.DescriptorByIndex(static_cast<unsigned>(i));
            all.push_back(descriptor == nullptr ? Bytes() : BytesOf(*descriptor));
        }
        EXPECT_EQ(hash_.DescriptorByIndex(static_cast<unsigned>(all.size())), nullptr);
        EXPECT_EQ(hash_.DescriptorByIndex(0xFFFFFFFF), nullptr);
        return all;
    }

    static Bytes LoopOfAll() {
        Bytes loop;
        for (const DescriptorCase& each : DescriptorCases()) {
            loop = Join({loop, each.bytes});
        }
        return loop;
    }

    TCDescriptorHash hash_;

  private:
    // The handle is a temporary, so the parser must copy what it needs of it.
    TCDescriptor parser_{TVSHandle(1, 0)};
};

TEST_F(LoopContract, IsEmptyBeforeItsFirstBytes) {
    EXPECT_TRUE(Held().empty());
}

TEST_F(LoopContract, HoldsEveryDescriptorInOrderAsItsOwnClass) {
    for (const unsigned char tableId : std::vector<unsigned char>{0x40, 0x41}) {
        Parse(LoopOfAll(), tableId);
        ASSERT_EQ(Held().size(), DescriptorCases().size());
        unsigned index = 0;
        for (const DescriptorCase& each : DescriptorCases()) {
            const auto alone = each.make();
            contract::Parse(*alone, each.bytes);
            TCBaseDesc* const held = hash_.DescriptorByIndex(index++);
            ASSERT_NE(held, nullptr);
            EXPECT_EQ(Dump(held), Dump(alone.get())) << each.name;
            const TCBaseDesc& inLoop = *held;
            const TCBaseDesc& expected = *alone;
            EXPECT_EQ(typeid(inLoop), typeid(expected)) << each.name;
            EXPECT_EQ(hash_.DescriptorByIndex(index - 1), held);
        }
    }
}

TEST_F(LoopContract, HoldsExtensionsAsPlainDescriptorsOutsideNetworkTables) {
    for (int tableId = 0; tableId <= 0xFF; ++tableId) {
        if (tableId == 0x40 || tableId == 0x41) {
            continue;
        }
        Parse(Join({Tagged(0x7F, {0x04, 1, 0, 2}), Tagged(0x7F, {0x06, 1})}),
              static_cast<unsigned char>(tableId));
        ASSERT_EQ(hash_.NumOfDescriptors(), 2);
        for (const unsigned index : {0u, 1u}) {
            TCBaseDesc* const descriptor = hash_.DescriptorByIndex(index);
            ASSERT_NE(descriptor, nullptr);
            EXPECT_EQ(descriptor->Tag(), 0x007F) << tableId;
            EXPECT_EQ(dynamic_cast<TCDescExtension*>(descriptor), nullptr) << tableId;
        }
    }
}

TEST_F(LoopContract, HoldsUnknownTagsAsTheyAre) {
    for (int tag = 0x80; tag <= 0xFF; ++tag) {
        const Bytes bytes = Tagged(static_cast<unsigned char>(tag), {1, 2});
        Parse(bytes, 0x42);
        ASSERT_EQ(Held(), std::vector<Bytes>{bytes});
        EXPECT_EQ(hash_.DescriptorByIndex(0)->Tag(), tag);
    }
}

TEST_F(LoopContract, EndsWithADescriptorThatOverrunsIt) {
    const Bytes first = Tagged(0x52, {1});
    const Bytes second = Tagged(0x83, {1, 2, 3, 4});
    for (size_t size = 0; size < second.size(); ++size) {
        Parse(Join({first, Slice(second, 0, size)}), 0x42);
        EXPECT_EQ(Held(), std::vector<Bytes>{first}) << size;
    }
    Parse(Join({first, second}), 0x42);
    EXPECT_EQ(Held(), (std::vector<Bytes>{first, second}));
}

TEST_F(LoopContract, TakesThePlaceOfWhatWasHeld) {
    Parse(LoopOfAll(), 0x42);
    const Bytes other = Tagged(0x52, {9});
    Parse(other, 0x42);
    EXPECT_EQ(Held(), std::vector<Bytes>{other});
    Parse({}, 0x42);
    EXPECT_TRUE(Held().empty());
}

TEST_F(LoopContract, MayHaveNoBytesAtAll) {
    Parse(LoopOfAll(), 0x42);
    TCDescriptor(TVSHandle(1, 0)).Parse(nullptr, 0, hash_, 0x42);
    EXPECT_TRUE(Held().empty());
}

TEST_F(LoopContract, OutlivesItsParserAndIsOutlivedByForks) {
    auto hash = std::make_unique<TCDescriptorHash>();
    Guarded loop(LoopOfAll());
    TCDescriptor(TVSHandle(1, 0)).Parse(loop.data(), static_cast<int>(loop.size()), *hash, 0x40);
    loop.Scribble();
    std::vector<std::unique_ptr<TCBaseDesc>> forks;
    for (unsigned i = 0; i < DescriptorCases().size(); ++i) {
        ASSERT_NE(hash->DescriptorByIndex(i), nullptr);
        forks.emplace_back(hash->DescriptorByIndex(i)->Fork());
    }
    hash.reset();
    for (size_t i = 0; i < forks.size(); ++i) {
        DescriptorCases()[i].expect(*forks[i]);
    }
}

TEST_F(LoopContract, SurvivesAnyBytes) {
    std::mt19937 random(815);
    const Bytes all = LoopOfAll();
    for (int round = 0; round < 1000; ++round) {
        Bytes loop = round % 2 == 0 ? RandomBytes(random, random() % 300) : all;
        for (int flips = 0; flips < 5 && !loop.empty(); ++flips) {
            loop[random() % loop.size()] = static_cast<uint8_t>(random());
        }
        Parse(loop, round % 4 < 2 ? 0x40 : 0x42);
        EXPECT_FALSE(DumpLoop(hash_).empty());
        // The descriptors that are held are the start of the loop, without gaps.
        const Bytes held = Join(Held());
        EXPECT_EQ(held, Slice(loop, 0, held.size()));
    }
}

}  // namespace
}  // namespace contract
