#include "softplatform/section/SectionAssembler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::Join;
using testsupport::PlainSection;
using testsupport::SectionOfSize;
using testsupport::Slice;
using testsupport::Stuffed;

// Feeds payloads like those of the packets of one PID, and keeps the sections that come out. Every
// test also states the counters that it expects. All other counters must be 0.
class SectionAssemblerTest : public testing::Test {
  protected:
    // A packet in which a section starts: pointer_field, then `bytes`.
    void FeedStart(uint8_t pointer_field, const Bytes& bytes) {
        Feed(Join({{pointer_field}, bytes}), true);
    }

    // A packet in which no section starts.
    void FeedMore(const Bytes& bytes) { Feed(bytes, false); }

    void Feed(const Bytes& payload, bool payload_unit_start_indicator) {
        assembler_.Feed({payload.data(), payload.size()}, payload_unit_start_indicator,
                        [&](SectionView section) {
                            const ByteView bytes = section.bytes();
                            sections_.emplace_back(bytes.begin(), bytes.end());
                            inPlace_ = bytes.begin() >= payload.data() &&
                                       bytes.end() <= payload.data() + payload.size();
                        });
    }

    struct Losses {
        uint64_t truncated = 0;
        uint64_t oversize = 0;
        uint64_t tooShort = 0;
        uint64_t malformedPointers = 0;
    };

    void ExpectLosses(const Losses& losses) const {
        EXPECT_EQ(counters_.Get(Counter::kTruncatedSections), losses.truncated);
        EXPECT_EQ(counters_.Get(Counter::kOversizeSections), losses.oversize);
        EXPECT_EQ(counters_.Get(Counter::kShortSections), losses.tooShort);
        EXPECT_EQ(counters_.Get(Counter::kMalformedPointers), losses.malformedPointers);
    }

    void ExpectNoLosses() const { ExpectLosses({}); }

    Counters counters_;
    SectionAssembler assembler_{counters_};
    std::vector<Bytes> sections_;
    bool inPlace_ = false;  // whether the last section lay in the payload itself
};

TEST_F(SectionAssemblerTest, ASectionInsideOnePacketIsHandedOnWhereItLies) {
    const Bytes section = SectionOfSize(60);
    FeedStart(0, Stuffed(section));
    EXPECT_THAT(sections_, ElementsAre(section));
    EXPECT_TRUE(inPlace_);
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, ASectionIsJoinedFromAsManyPacketsAsItTakes) {
    const Bytes section = SectionOfSize(500);
    FeedStart(0, Slice(section, 0, 183));
    FeedMore(Slice(section, 183, 184));
    EXPECT_THAT(sections_, IsEmpty());
    FeedMore(Stuffed(Slice(section, 367)));
    EXPECT_THAT(sections_, ElementsAre(section));
    EXPECT_FALSE(inPlace_);
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, SeveralSectionsInOnePacketComeInTheirOrder) {
    const Bytes first = SectionOfSize(50, 0x4E);
    const Bytes second = SectionOfSize(12, 0x4F);
    const Bytes third = SectionOfSize(40, 0x50);
    FeedStart(0, Stuffed(Join({first, second, third})));
    EXPECT_THAT(sections_, ElementsAre(first, second, third));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, ASectionMayEndAtThePacketsLastByte) {
    const Bytes section = SectionOfSize(183);
    FeedStart(0, section);
    EXPECT_THAT(sections_, ElementsAre(section));

    const Bytes longer = SectionOfSize(183 + 184);
    FeedStart(0, Slice(longer, 0, 183));
    FeedMore(Slice(longer, 183));
    EXPECT_THAT(sections_, ElementsAre(section, longer));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, ThePointerLeadsOverTheEndOfTheOpenSection) {
    const Bytes first = SectionOfSize(200, 0x4E);
    const Bytes second = SectionOfSize(80, 0x4F);
    FeedStart(0, Slice(first, 0, 183));
    FeedStart(17, Join({Slice(first, 183), second}));
    EXPECT_THAT(sections_, ElementsAre(first, second));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, TheHeaderMayBeSplitAnywhere) {
    for (const size_t headerBytes : {1u, 2u, 3u}) {
        SCOPED_TRACE(headerBytes);
        sections_.clear();
        const Bytes first = SectionOfSize(183 - headerBytes, 0x4E);
        const Bytes second = SectionOfSize(100, 0x4F);
        FeedStart(0, Join({first, Slice(second, 0, headerBytes)}));
        FeedMore(Stuffed(Slice(second, headerBytes)));
        EXPECT_THAT(sections_, ElementsAre(first, second));
    }
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, TheHeaderMayComeByteByByte) {
    const Bytes section = SectionOfSize(20);
    FeedStart(0, {section[0]});
    FeedMore({section[1]});
    FeedMore({section[2]});
    FeedMore(Slice(section, 3));
    EXPECT_THAT(sections_, ElementsAre(section));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, StuffingLastsUntilTheNextStart) {
    const Bytes behindStuffing = SectionOfSize(30);
    const Bytes next = SectionOfSize(40);
    FeedStart(0, Join({{0xFF}, behindStuffing}));
    FeedMore(Stuffed(behindStuffing));
    EXPECT_THAT(sections_, IsEmpty());
    FeedStart(0, Stuffed(next));
    EXPECT_THAT(sections_, ElementsAre(next));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, StuffingIsNoSectionWhateverFollowsIt) {
    const Bytes first = SectionOfSize(50);
    const Bytes stuffing =
        SectionOfSize(40, 0xFF);  // whole and with a correct CRC_32, except for table_id
    FeedStart(0, Stuffed(Join({first, stuffing, first})));
    EXPECT_THAT(sections_, ElementsAre(first));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, NoSectionStartsWithoutTheIndicator) {
    const Bytes first = SectionOfSize(200);
    const Bytes stray = SectionOfSize(40);
    FeedMore(Stuffed(stray));
    FeedStart(0, Slice(first, 0, 183));
    FeedMore(Stuffed(Join({Slice(first, 183), stray})));
    FeedMore(Stuffed(stray));
    EXPECT_THAT(sections_, ElementsAre(first));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, BytesBeforeThePointerTargetBelongToTheOpenSectionAlone) {
    const Bytes first = SectionOfSize(190, 0x4E);
    const Bytes hidden = SectionOfSize(30, 0x4F);
    const Bytes second = SectionOfSize(40, 0x50);
    FeedStart(0, Slice(first, 0, 183));
    FeedStart(37, Join({Slice(first, 183), hidden, second}));
    EXPECT_THAT(sections_, ElementsAre(first, second));

    // While no section is open, they belong to no section.
    FeedStart(30, Join({hidden, second}));
    EXPECT_THAT(sections_, ElementsAre(first, second, second));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, AStartCutsOffASectionThatItsPointerBytesDoNotComplete) {
    const Bytes unfinished = SectionOfSize(400, 0x4E);
    const Bytes next = SectionOfSize(60, 0x4F);
    FeedStart(0, Slice(unfinished, 0, 183));
    FeedStart(0, Stuffed(next));
    EXPECT_THAT(sections_, ElementsAre(next));
    ExpectLosses({.truncated = 1});

    FeedStart(0, Slice(unfinished, 0, 183));
    FeedStart(100, Join({Slice(unfinished, 183, 100), next}));
    EXPECT_THAT(sections_, ElementsAre(next, next));
    ExpectLosses({.truncated = 2});
}

TEST_F(SectionAssemblerTest, ASectionThatWasCutOffDoesNotComeBack) {
    const Bytes unfinished = SectionOfSize(300, 0x4E);
    const Bytes next = SectionOfSize(60, 0x4F);
    FeedStart(0, Slice(unfinished, 0, 183));
    FeedStart(0, Stuffed(next));
    FeedMore(Stuffed(Slice(unfinished, 183)));
    EXPECT_THAT(sections_, ElementsAre(next));
    ExpectLosses({.truncated = 1});
}

TEST_F(SectionAssemblerTest, AHeaderThatWasCutOffCountsToo) {
    const Bytes next = SectionOfSize(60);
    FeedStart(0, {0x42});
    FeedStart(0, Stuffed(next));
    EXPECT_THAT(sections_, ElementsAre(next));
    ExpectLosses({.truncated = 1});
}

TEST_F(SectionAssemblerTest, APointerPastThePayloadIsMalformed) {
    const Bytes next = SectionOfSize(60);
    FeedStart(183, Bytes(183, 0x00));  // the first byte behind the packet
    FeedStart(255, Bytes(183, 0x00));
    FeedStart(0, {});
    EXPECT_THAT(sections_, IsEmpty());
    ExpectLosses({.malformedPointers = 3});

    FeedStart(0, Stuffed(next));
    EXPECT_THAT(sections_, ElementsAre(next));
}

TEST_F(SectionAssemblerTest, AMalformedPointerDropsTheOpenSection) {
    const Bytes section = SectionOfSize(200);
    FeedStart(0, Slice(section, 0, 183));
    FeedStart(200, Slice(section, 183));
    FeedMore(Slice(section, 183));
    EXPECT_THAT(sections_, IsEmpty());
    ExpectLosses({.truncated = 1, .malformedPointers = 1});
}

TEST_F(SectionAssemblerTest, AStartMayBeThePacketsLastByte) {
    const Bytes first = SectionOfSize(183 + 182, 0x4E);
    const Bytes second = SectionOfSize(60, 0x4F);
    FeedStart(0, Slice(first, 0, 183));
    FeedStart(182, Join({Slice(first, 183), Slice(second, 0, 1)}));
    FeedMore(Stuffed(Slice(second, 1)));
    EXPECT_THAT(sections_, ElementsAre(first, second));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, EveryTableMayHaveTheGreatestSection) {
    for (const uint8_t table_id : Bytes{0x00, 0x42, 0x4E, 0x80, 0xFE}) {
        SCOPED_TRACE(table_id);
        sections_.clear();
        const Bytes section = SectionOfSize(4096, table_id);
        FeedStart(0, Slice(section, 0, 183));
        for (size_t at = 183; at < section.size(); at += 184) {
            FeedMore(Slice(section, at, 184));
        }
        EXPECT_THAT(sections_, ElementsAre(section));
    }
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, AnOversizeSectionIsDroppedUntilTheNextStart) {
    const Bytes inside = SectionOfSize(30);
    for (const uint8_t low : Bytes{0xFE, 0xFF}) {  // section_length 4094 and 4095
        FeedStart(0, Join({{0x80, 0xBF, low}, inside, inside}));
        FeedMore(Stuffed(inside));
    }
    EXPECT_THAT(sections_, IsEmpty());
    ExpectLosses({.oversize = 2});

    const Bytes next = SectionOfSize(60);
    FeedStart(0, Stuffed(next));
    EXPECT_THAT(sections_, ElementsAre(next));
    ExpectLosses({.oversize = 2});
}

TEST_F(SectionAssemblerTest, AnOversizeSectionWithASplitHeaderIsDroppedToo) {
    const Bytes next = SectionOfSize(60);
    FeedStart(0, {0x80, 0xBF});
    FeedMore(Join({{0xFE}, next}));
    ExpectLosses({.oversize = 1});

    FeedStart(0, {0x80, 0xBF});
    FeedStart(5, Join({Bytes(5, 0xFE), next}));
    EXPECT_THAT(sections_, ElementsAre(next));
    ExpectLosses({.oversize = 2});
}

TEST_F(SectionAssemblerTest, AShortSectionIsLeftOutByItsLength) {
    const Bytes before = SectionOfSize(20, 0x4E);
    const Bytes tooShort{0x42, 0xB0, 0x08, 1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes empty{0x42, 0xB0, 0x00};
    const Bytes after = SectionOfSize(30, 0x4F);
    FeedStart(0, Stuffed(Join({before, tooShort, empty, after})));
    EXPECT_THAT(sections_, ElementsAre(before, after));
    ExpectLosses({.tooShort = 2});
}

TEST_F(SectionAssemblerTest, AShortSectionIsLeftOutAcrossPacketsToo) {
    const Bytes first = SectionOfSize(178, 0x4E);
    const Bytes tooShort{0x42, 0xB0, 0x08, 1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes after = SectionOfSize(30, 0x4F);
    FeedStart(0, Join({first, Slice(tooShort, 0, 5)}));
    FeedStart(6, Join({Slice(tooShort, 5), after}));
    EXPECT_THAT(sections_, ElementsAre(first, after));
    ExpectLosses({.tooShort = 1});
}

TEST_F(SectionAssemblerTest, TheShortestSectionWithSyntaxIsGood) {
    const Bytes section = SectionOfSize(12);
    FeedStart(0, Stuffed(section));
    EXPECT_THAT(sections_, ElementsAre(section));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, WithoutSyntaxASectionMayBeShort) {
    const Bytes utcTime = PlainSection(0x70, {0xC0, 0x79, 0x12, 0x45, 0x00});
    const Bytes nothing = PlainSection(0x72, {});
    FeedStart(0, Stuffed(Join({utcTime, nothing})));
    EXPECT_THAT(sections_, ElementsAre(utcTime, nothing));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, CrcsAreNoneOfItsBusiness) {
    Bytes section = SectionOfSize(60);
    section.back() ^= 0x01;
    FeedStart(0, Stuffed(section));
    EXPECT_THAT(sections_, ElementsAre(section));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, ADiscontinuityDropsTheOpenSection) {
    const Bytes section = SectionOfSize(200);
    FeedStart(0, Slice(section, 0, 183));
    assembler_.Discontinuity();
    FeedMore(Stuffed(Slice(section, 183)));
    EXPECT_THAT(sections_, IsEmpty());
    ExpectLosses({.truncated = 1});

    FeedStart(0, Slice(section, 0, 183));
    FeedMore(Stuffed(Slice(section, 183)));
    EXPECT_THAT(sections_, ElementsAre(section));
}

TEST_F(SectionAssemblerTest, ADiscontinuityBetweenSectionsCostsNothing) {
    const Bytes section = SectionOfSize(60);
    assembler_.Discontinuity();
    FeedStart(0, Stuffed(section));
    assembler_.Discontinuity();
    FeedStart(0, Stuffed(section));
    EXPECT_THAT(sections_, ElementsAre(section, section));
    ExpectNoLosses();
}

TEST_F(SectionAssemblerTest, ASinkMayDropWhatComesLater) {
    const Bytes first = SectionOfSize(60, 0x4E);
    const Bytes second = SectionOfSize(400, 0x4F);
    const Bytes payload = Join({{0}, first, Slice(second, 0, 123)});
    assembler_.Feed({payload.data(), payload.size()}, true, [&](SectionView section) {
        sections_.emplace_back(section.data(), section.data() + section.size());
        assembler_.Discontinuity();  // no section is open at this moment
    });
    ExpectNoLosses();
    FeedMore(Slice(second, 123, 184));
    FeedMore(Stuffed(Slice(second, 307)));
    EXPECT_THAT(sections_, ElementsAre(first, second));
}

TEST_F(SectionAssemblerTest, AnEmptyPayloadChangesNothing) {
    const Bytes section = SectionOfSize(200);
    FeedStart(0, Slice(section, 0, 183));
    Feed({}, true);
    Feed({}, false);
    FeedMore(Slice(section, 183));
    EXPECT_THAT(sections_, ElementsAre(section));
    ExpectNoLosses();
}

// The same sections come out, whatever the sizes of the payloads that carry them.
TEST_F(SectionAssemblerTest, HoweverSectionsAreCutTheyComeOutWhole) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        std::vector<Bytes> sent;
        std::vector<size_t> starts;
        Bytes stream;
        for (int i = 0; i < 20; ++i) {
            const size_t size = random() % 4 == 0 ? 12 + random() % 4085 : 12 + random() % 200;
            sent.push_back(SectionOfSize(size, static_cast<uint8_t>(random() % 0xFF)));
            starts.push_back(stream.size());
            stream.insert(stream.end(), sent.back().begin(), sent.back().end());
        }
        sections_.clear();
        size_t at = 0;
        size_t nextStart = 0;
        while (at < stream.size()) {
            size_t count = 1 + random() % 184;
            const bool starting = nextStart < starts.size() && starts[nextStart] < at + count;
            if (starting) {
                count = std::min<size_t>(count, 183);  // room for pointer_field
            }
            const bool stillStarting = starting && starts[nextStart] < at + count;
            if (stillStarting) {
                FeedStart(static_cast<uint8_t>(starts[nextStart] - at), Slice(stream, at, count));
            } else {
                FeedMore(Slice(stream, at, count));
            }
            at += count;
            while (nextStart < starts.size() && starts[nextStart] < at) {
                ++nextStart;
            }
        }
        ASSERT_EQ(sections_, sent);
    }
    ExpectNoLosses();
}

// Whatever arrives, every section that comes out has at least 3 bytes and the length that its
// section_length states, and a good section after a start is never lost. The sanitizers check the
// reads.
TEST_F(SectionAssemblerTest, RandomPayloadsDoNoHarm) {
    std::mt19937 random(2);
    const Bytes good = SectionOfSize(100);
    for (int round = 0; round < 20000; ++round) {
        sections_.clear();
        Feed(testsupport::RandomBytes(random, random() % 185), random() % 2 == 0);
        for (const Bytes& section : sections_) {
            ASSERT_GE(section.size(), 3u);
            ASSERT_EQ(section.size(), 3u + ((section[1] & 0x0Fu) << 8 | section[2]));
        }
        if (round % 10 == 0) {
            sections_.clear();
            FeedStart(0, Stuffed(good));
            ASSERT_THAT(sections_, ElementsAre(good));
        }
    }
}

// Full payloads take the fast path. The same bytes in two pieces take the general path.
TEST_F(SectionAssemblerTest, FullPayloadsGiveWhatTheirPiecesGive) {
    std::mt19937 random(4);
    Counters counters;
    SectionAssembler inPieces(counters);
    std::vector<Bytes> expected;
    const auto feedPieces = [&](const Bytes& payload, bool starts) {
        const size_t first = starts ? payload.size() : 1 + random() % 183;
        for (const Bytes& piece : {Slice(payload, 0, first), Slice(payload, first)}) {
            inPieces.Feed({piece.data(), piece.size()}, starts, [&](SectionView section) {
                expected.emplace_back(section.bytes().begin(), section.bytes().end());
            });
            if (starts) {
                break;
            }
        }
    };
    for (int round = 0; round < 500; ++round) {
        Bytes section = SectionOfSize(12 + random() % 4085);
        if (const auto choice = random() % 20; choice < 2) {
            section[1] |= 0x0F;  // section_length is longer than the section
            section[2] = choice == 0 ? uint8_t{0x00} : uint8_t{0xFF};
        }
        const Bytes bytes = Join({{0x00}, section});
        for (size_t at = 0; at < bytes.size(); at += 184) {
            if (random() % 100 == 0) {
                continue;  // a packet is lost, and the assembler is not told
            }
            const Bytes payload = Stuffed(Slice(bytes, at, 184));
            Feed(payload, at == 0);
            feedPieces(payload, at == 0);
        }
    }
    EXPECT_EQ(sections_, expected);
    EXPECT_GT(expected.size(), 100u);
    for (const CounterInfo& info : kCounterTable) {
        EXPECT_EQ(counters_.Get(info.counter), counters.Get(info.counter)) << info.name;
    }
    EXPECT_GT(counters.Get(Counter::kTruncatedSections), 0u);
    EXPECT_GT(counters.Get(Counter::kOversizeSections), 0u);
}

}  // namespace
}  // namespace tvservice
