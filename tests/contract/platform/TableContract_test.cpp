// What every platform must do in its table parsers: platform/TCSectionParser.h and the headers of
// the tables, and the README beside them.

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "platform/TCDVBBATParser.h"
#include "platform/TCDVBCATParser.h"
#include "platform/TCDVBEITParser.h"
#include "platform/TCDVBNITParser.h"
#include "platform/TCDVBSDTParser.h"
#include "platform/TCDescLinkage.h"
#include "platform/TCDescStreamIdentifier.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCPATParser.h"
#include "platform/TCPMTParser.h"
#include "platform/TVSHandle.h"
#include "tests/contract/platform/Descriptors.h"
#include "tests/contract/platform/Dump.h"
#include "tests/contract/platform/Guarded.h"
#include "tests/contract/platform/Tables.h"

namespace contract {
namespace {

using testsupport::Bytes;
using testsupport::Join;
using testsupport::SectionBytes;
using testsupport::Slice;

constexpr unsigned short kIdentity = 0x1234;
constexpr unsigned short kOtherIdentity = 0x1235;

// --- All tables

class TableContract : public testing::TestWithParam<TableKind> {
  protected:
    std::unique_ptr<Table> Fresh() const { return GetParam().make(); }

    // All sections of a sub-table, in order.
    std::vector<Bytes> SubTable(unsigned char version = 3,
                                unsigned short identity = kIdentity) const {
        std::vector<Bytes> sections;
        for (unsigned char number = 0; number < GetParam().maxSections; ++number) {
            sections.push_back(GetParam().Section(
                {.number = number, .last = Last(), .version = version, .identity = identity}));
        }
        return sections;
    }

    unsigned char Last() const { return static_cast<unsigned char>(GetParam().maxSections - 1); }

    static void Feed(Table& table, const std::vector<Bytes>& sections) {
        for (const Bytes& section : sections) {
            EXPECT_TRUE(table.Take(section));
        }
    }

    // Sections that are malformed, or that this parser must not take.
    std::vector<Bytes> Refused() const {
        SectionBytes next{.table_id = GetParam().tableId,
                          .table_id_extension = GetParam().ExtensionOf({}),
                          .version_number = 7,
                          .current_next_indicator = false,
                          .body = GetParam().body(0)};
        SectionBytes beyond = next;
        beyond.current_next_indicator = true;
        beyond.section_number = 2;
        beyond.last_section_number = 1;
        std::vector<Bytes> refused{next.Build(), beyond.Build()};
        for (const TableKind& other : TableKinds()) {
            if (other.tableId != GetParam().tableId) {
                refused.push_back(other.Section({}));
            }
        }
        Bytes plain = GetParam().Section({.version = 8});
        plain[1] &= 0x7F;  // section_syntax_indicator
        refused.push_back(plain);
        for (unsigned char length = 0; length < 9; ++length) {
            Bytes tooShort = Slice(GetParam().Section({.version = 9}), 0, 3u + length);
            tooShort[1] &= 0xF0;
            tooShort[2] = length;
            refused.push_back(tooShort);
        }
        for (size_t size = 0; size < GetParam().fixedSize; ++size) {
            SectionBytes cut = next;
            cut.current_next_indicator = true;
            cut.body = Slice(GetParam().body(0), 0, size);
            refused.push_back(cut.Build());
        }
        // ISO/IEC 13818-1 2.4.4.11: section_length is at most 4093
        Bytes tooLong = Join({GetParam().Section({.version = 10}), Bytes(4096, 0)});
        tooLong.resize(3 + 4094);
        tooLong[1] = 0xBF;
        tooLong[2] = 0xFE;
        refused.push_back(tooLong);
        return refused;
    }
};

TEST_P(TableContract, HoldsNothingAtFirst) {
    const auto table = Fresh();
    EXPECT_EQ(table->parser().TableIdExt(), 0);
    TCBaseSection* const held = table->SubTable(kIdentity);
    EXPECT_EQ(held == nullptr, GetParam().hasSubTables);
    if (held != nullptr) {
        EXPECT_FALSE(held->IsValid());
        EXPECT_EQ(held->VersionNumber(), 0);
    }
}

TEST_P(TableContract, TakesASectionThatIsItsOwn) {
    const auto table = Fresh();
    EXPECT_TRUE(table->Take(GetParam().Section({.version = 31})));
    EXPECT_EQ(table->parser().TableIdExt(), GetParam().ExtensionOf({}));
    ASSERT_NE(table->SubTable(kIdentity), nullptr);
    EXPECT_TRUE(table->SubTable(kIdentity)->IsValid());
    EXPECT_EQ(table->SubTable(kIdentity)->VersionNumber(), 31);
    EXPECT_EQ(table->SubTable(kOtherIdentity) == nullptr, GetParam().hasSubTables);
}

TEST_P(TableContract, IsValidWhenAllSectionsOfOneVersionAreHeld) {
    std::vector<Bytes> sections = SubTable();
    std::rotate(sections.begin(), sections.end() - 1, sections.end());
    const auto table = Fresh();
    for (size_t i = 0; i < sections.size(); ++i) {
        if (i > 0) {
            EXPECT_FALSE(table->SubTable(kIdentity)->IsValid()) << i;
        }
        EXPECT_TRUE(table->Take(sections[i]));
        ASSERT_NE(table->SubTable(kIdentity), nullptr);
    }
    EXPECT_TRUE(table->SubTable(kIdentity)->IsValid());
    EXPECT_EQ(table->SubTable(kIdentity)->VersionNumber(), 3);
}

TEST_P(TableContract, TakesRepeatsWithoutAChange) {
    const auto table = Fresh();
    const std::vector<Bytes> sections = SubTable();
    Feed(*table, sections);
    const std::string dump = table->Dump();
    Feed(*table, sections);
    EXPECT_EQ(table->Dump(), dump);
}

TEST_P(TableContract, HoldsTheSameInWhateverOrderSectionsCome) {
    std::vector<Bytes> sections = SubTable();
    const auto inOrder = Fresh();
    Feed(*inOrder, sections);
    inOrder->Take(sections.front());
    const auto backwards = Fresh();
    const Bytes first = sections.front();
    std::reverse(sections.begin(), sections.end());
    Feed(*backwards, sections);
    backwards->Take(first);
    EXPECT_EQ(backwards->Dump(), inOrder->Dump());
}

TEST_P(TableContract, AnswersTheSameToTheSameSections) {
    const auto one = Fresh();
    const auto other = Fresh();
    for (const Bytes& section : SubTable()) {
        EXPECT_TRUE(one->Take(section));
        EXPECT_TRUE(other->Take(section));
        EXPECT_EQ(one->Dump(), other->Dump());
    }
}

TEST_P(TableContract, RefusesWhatIsNoSectionOfItsOwnAndChangesNothing) {
    const auto table = Fresh();
    const std::string empty = table->Dump();
    for (const Bytes& section : Refused()) {
        EXPECT_FALSE(table->Take(section)) << testing::PrintToString(Slice(section, 0, 16));
        EXPECT_EQ(table->Dump(), empty) << testing::PrintToString(Slice(section, 0, 16));
    }
    Feed(*table, SubTable());
    const std::string full = table->Dump();
    for (const Bytes& section : Refused()) {
        EXPECT_FALSE(table->Take(section)) << testing::PrintToString(Slice(section, 0, 16));
        EXPECT_EQ(table->Dump(), full) << testing::PrintToString(Slice(section, 0, 16));
    }
}

TEST_P(TableContract, StartsAfreshWithAnyOtherVersion) {
    for (const auto& [from, to] :
         std::vector<std::pair<unsigned char, unsigned char>>{{5, 6}, {6, 5}, {31, 0}, {0, 31}}) {
        const auto table = Fresh();
        const auto fresh = Fresh();
        Feed(*table, SubTable(from));
        for (const Bytes& section : SubTable(to)) {
            EXPECT_TRUE(table->Take(section));
            EXPECT_TRUE(fresh->Take(section));
            EXPECT_EQ(table->Dump(), fresh->Dump()) << +from << " to " << +to;
        }
        EXPECT_EQ(table->SubTable(kIdentity)->VersionNumber(), to);
    }
}

TEST_P(TableContract, KeepsSubTablesApart) {
    const std::vector<Bytes> one = SubTable(3, kIdentity);
    const std::vector<Bytes> other = SubTable(4, kOtherIdentity);
    const auto table = Fresh();
    if (!GetParam().hasSubTables) {
        // The parser holds one table: the last one it was given. All CATs have the same identity.
        Feed(*table, one);
        Feed(*table, other);
        const auto fresh = Fresh();
        Feed(*fresh, other);
        EXPECT_EQ(table->Dump(), fresh->Dump());
        return;
    }
    for (size_t i = 0; i < one.size(); ++i) {
        EXPECT_TRUE(table->Take(one[i]));
        EXPECT_TRUE(table->Take(other[i]));
        EXPECT_EQ(table->parser().TableIdExt(), kOtherIdentity);
    }
    ASSERT_NE(table->SubTable(kIdentity), nullptr);
    ASSERT_NE(table->SubTable(kOtherIdentity), nullptr);
    EXPECT_NE(table->SubTable(kIdentity), table->SubTable(kOtherIdentity));
    EXPECT_TRUE(table->SubTable(kIdentity)->IsValid());
    EXPECT_TRUE(table->SubTable(kOtherIdentity)->IsValid());
    EXPECT_EQ(table->SubTable(kIdentity)->VersionNumber(), 3);
    EXPECT_EQ(table->SubTable(kOtherIdentity)->VersionNumber(), 4);

    // A new version of one sub-table does not change the other.
    EXPECT_TRUE(table->Take(
        GetParam().Section({.last = Last(), .version = 9, .identity = kOtherIdentity})));
    EXPECT_TRUE(table->SubTable(kIdentity)->IsValid());
    EXPECT_EQ(table->SubTable(kIdentity)->VersionNumber(), 3);
    EXPECT_EQ(table->SubTable(kOtherIdentity)->VersionNumber(), 9);
    EXPECT_EQ(table->SubTable(kOtherIdentity)->IsValid(), Last() == 0);
}

TEST_P(TableContract, ForgetsEverythingWhenItIsReset) {
    const auto table = Fresh();
    Feed(*table, SubTable());
    const std::string full = table->Dump();
    table->parser().Reset();
    EXPECT_EQ(table->Dump(), Fresh()->Dump());
    EXPECT_EQ(table->SubTable(kIdentity) == nullptr, GetParam().hasSubTables);
    table->parser().Reset();
    Feed(*table, SubTable());
    EXPECT_EQ(table->Dump(), full);
}

TEST_P(TableContract, KeepsWhatItHandsOutThroughRefusals) {
    const auto table = Fresh();
    Feed(*table, SubTable());
    TCBaseSection* const held = table->SubTable(kIdentity);
    for (const Bytes& section : Refused()) {
        table->Take(section);
    }
    EXPECT_EQ(table->SubTable(kIdentity), held);
    EXPECT_TRUE(held->IsValid());
    EXPECT_EQ(held->VersionNumber(), 3);
}

TEST_P(TableContract, SurvivesAnyBody) {
    std::mt19937 random(42);
    const auto table = Fresh();
    std::string before = table->Dump();
    for (int round = 0; round < 300; ++round) {
        SectionBytes section{.table_id = GetParam().tableId,
                             .table_id_extension = GetParam().ExtensionOf({}),
                             .version_number = static_cast<unsigned char>(random() % 2),
                             .section_number = static_cast<unsigned char>(random() % 3),
                             .last_section_number = 2,
                             .body = GetParam().body(static_cast<unsigned char>(round))};
        if (round % 3 == 0) {
            section.body = testsupport::RandomBytes(random, random() % 200);
        } else {
            section.body.resize(random() % (2 * section.body.size()), 0x09);
        }
        for (int flips = 0; flips < 3 && !section.body.empty(); ++flips) {
            section.body[random() % section.body.size()] = static_cast<unsigned char>(random());
        }
        const bool taken = table->Take(section.Build());
        const std::string after = table->Dump();
        EXPECT_TRUE(taken || after == before);
        before = after;
    }
}

INSTANTIATE_TEST_SUITE_P(All, TableContract, testing::ValuesIn(TableKinds()),
                         [](const auto& tested) { return tested.param.name; });

// --- Single tables

// Parses a section from a buffer of exactly its size. The buffer is overwritten afterwards.
bool Take(TCSectionParser& parser, const SectionBytes& section) {
    Guarded guarded(section.Build());
    const bool taken = parser.Parse(0x0011, guarded.data());
    guarded.Scribble();
    return taken;
}

template <class Loop>
std::vector<Bytes> BytesOfLoop(Loop& loop) {
    std::vector<Bytes> all;
    for (int i = 0; i < loop.NumOfDescriptors(); ++i) {
        TCBaseDesc* const descriptor = loop.DescriptorByIndex(static_cast<unsigned>(i));
        all.push_back(descriptor == nullptr ? Bytes() : BytesOf(*descriptor));
    }
    EXPECT_EQ(loop.DescriptorByIndex(static_cast<unsigned>(all.size())), nullptr);
    EXPECT_EQ(loop.DescriptorByIndex(0xFFFFFFFF), nullptr);
    return all;
}

// The descriptors of a container with one tag.
std::vector<Bytes> BytesOfTag(IDescriptorContainer& container, int tag) {
    std::vector<Bytes> all;
    for (int i = 0; i < container.NumOfDescriptors(tag); ++i) {
        TCBaseDesc* const descriptor = container.Descriptor(tag, static_cast<unsigned>(i));
        all.push_back(descriptor == nullptr ? Bytes() : BytesOf(*descriptor));
    }
    EXPECT_EQ(container.Descriptor(tag, static_cast<unsigned>(all.size())), nullptr);
    EXPECT_EQ(container.Descriptor(tag, 0xFFFFFFFF), nullptr);
    return all;
}

using Loop = std::vector<Bytes>;

const Bytes kFirst = Tagged(0x83, {1});
const Bytes kSecond = Tagged(0x52, {2, 2, 2});
const Bytes kThird = Tagged(0x83, {3, 3});

TEST(PatContract, ListsProgramsAndTheNetworkEntry) {
    TCPATParser pat{TVSHandle(1, 0)};
    EXPECT_EQ(pat.NumOfProgramList(), 0);
    EXPECT_EQ(pat.ProgramNumber(0), 0);
    EXPECT_EQ(pat.ProgramPID(1), 0);
    EXPECT_EQ(pat.TransportStreamId(), 0);
    ASSERT_TRUE(Take(pat, {.table_id = 0x00,
                           .table_id_extension = 0xABCD,
                           .body = Join({U16(0), U16(0xE010), U16(0x8001), U16(0xFFFE), U16(7),
                                         U16(0x0100), U16(7), U16(0x0200)})}));
    EXPECT_EQ(pat.TransportStreamId(), 0xABCD);
    ASSERT_EQ(pat.NumOfProgramList(), 4);
    EXPECT_EQ(pat.ProgramNumber(0), 0);
    EXPECT_EQ(pat.ProgramNumber(1), 0x8001);
    EXPECT_EQ(pat.ProgramNumber(2), 7);
    EXPECT_EQ(pat.ProgramNumber(3), 7);
    EXPECT_EQ(pat.ProgramNumber(4), 0);
    EXPECT_EQ(pat.ProgramNumber(0xFFFFFFFF), 0);
    EXPECT_EQ(pat.ProgramPID(0), 0x0010);
    EXPECT_EQ(pat.ProgramPID(0x8001), 0x1FFE);
    EXPECT_EQ(pat.ProgramPID(7), 0x0100) << "of the first entry with that number";
    EXPECT_EQ(pat.ProgramPID(8), 0);
}

TEST(PatContract, HoldsAProgramLoopOverItsSectionsInOrder) {
    TCPATParser pat{TVSHandle(1, 0)};
    for (const unsigned char number : std::vector<unsigned char>{2, 0, 1}) {
        ASSERT_TRUE(Take(pat, {.table_id = 0x00,
                               .section_number = number,
                               .last_section_number = 2,
                               .body = Join({U16(10u + number), U16(0xE100u + number)})}));
    }
    ASSERT_EQ(pat.NumOfProgramList(), 3);
    for (const unsigned i : {0u, 1u, 2u}) {
        EXPECT_EQ(pat.ProgramNumber(i), 10 + i);
        EXPECT_EQ(pat.ProgramPID(static_cast<unsigned short>(10 + i)), 0x0100 + i);
    }
}

TEST(PatContract, StartsAfreshWithAnotherTransportStream) {
    TCPATParser pat{TVSHandle(1, 0)};
    const Bytes one = Join({U16(1), U16(0xE101)});
    const Bytes two = Join({U16(2), U16(0xE102)});
    ASSERT_TRUE(Take(
        pat, {.table_id = 0x00, .table_id_extension = 1, .last_section_number = 1, .body = one}));
    ASSERT_TRUE(Take(pat, {.table_id = 0x00,
                           .table_id_extension = 2,
                           .section_number = 1,
                           .last_section_number = 1,
                           .body = two}));
    EXPECT_FALSE(pat.IsValid());
    ASSERT_EQ(pat.NumOfProgramList(), 1);
    EXPECT_EQ(pat.ProgramNumber(0), 2);
    EXPECT_EQ(pat.TransportStreamId(), 2);
}

TEST(PmtContract, HoldsProgramsTheirStreamsAndTheirLoops) {
    TCPMTParser pmt{TVSHandle(1, 0)};
    EXPECT_EQ(pmt.NumOfPMTInstance(), 0);
    EXPECT_EQ(pmt.PMTInstanceOfIndex(0), nullptr);
    EXPECT_EQ(pmt.PMTInstance(0), nullptr);
    EXPECT_EQ(pmt.ProgramNumber(), 0);
    const Bytes extension = Tagged(0x7F, {0x04, 1, 0, 2});
    ASSERT_TRUE(Take(pmt, {.table_id = 0x02,
                           .table_id_extension = 0x8001,
                           .body = Join({U16(0xFFFF),
                                         WithLength(Join({kFirst, kSecond, kThird})),
                                         {0x0B},
                                         U16(0xE101),
                                         WithLength(Join({kThird, kFirst, extension})),
                                         {0xFE},
                                         U16(0x1FFE),
                                         WithLength({})})}));
    EXPECT_EQ(pmt.ProgramNumber(), 0x8001);
    TCPMTInstance* const program = pmt.PMTInstance(0x8001);
    ASSERT_NE(program, nullptr);
    EXPECT_EQ(program->ProgramNumber(), 0x8001);
    EXPECT_EQ(program->PCRPID(), 0x1FFF);
    EXPECT_EQ(BytesOfLoop(*program), (Loop{kFirst, kSecond, kThird}));
    EXPECT_EQ(BytesOfTag(*program, 0x83), (Loop{kFirst, kThird}));
    EXPECT_EQ(BytesOfTag(*program, 0x52), Loop{kSecond});
    EXPECT_EQ(BytesOfTag(*program, 0x09), Loop{});
    EXPECT_NE(dynamic_cast<TCDescStreamIdentifier*>(program->Descriptor(0x52, 0)), nullptr);

    ASSERT_EQ(program->NumOfElementary(), 2);
    TCPMTElementary* const stream = program->PMTElementary(0);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->StreamType(), 0x0B);
    EXPECT_EQ(stream->ElementaryPID(), 0x0101);
    EXPECT_EQ(BytesOfLoop(*stream), (Loop{kThird, kFirst, extension}));
    EXPECT_EQ(BytesOfTag(*stream, 0x83), (Loop{kThird, kFirst}));
    EXPECT_EQ(BytesOfTag(*stream, 0x007F), Loop{extension});
    EXPECT_EQ(BytesOfTag(*stream, 0x7F04), Loop{});
    ASSERT_NE(program->PMTElementary(1), nullptr);
    EXPECT_EQ(program->PMTElementary(1)->StreamType(), 0xFE);
    EXPECT_EQ(program->PMTElementary(1)->ElementaryPID(), 0x1FFE);
    EXPECT_EQ(program->PMTElementary(1)->NumOfDescriptors(), 0);
    EXPECT_EQ(program->PMTElementary(2), nullptr);
    EXPECT_EQ(program->PMTElementary(0xFFFFFFFF), nullptr);
}

TEST(PmtContract, HoldsProgramsInAscendingOrder) {
    TCPMTParser pmt{TVSHandle(1, 0)};
    for (const unsigned short number : std::vector<unsigned short>{700, 3, 40000}) {
        ASSERT_TRUE(Take(pmt, {.table_id = 0x02,
                               .table_id_extension = number,
                               .body = Join({U16(0xE100), WithLength({})})}));
        EXPECT_EQ(pmt.ProgramNumber(), number);
    }
    ASSERT_EQ(pmt.NumOfPMTInstance(), 3);
    unsigned index = 0;
    for (const unsigned short number : std::vector<unsigned short>{3, 700, 40000}) {
        ASSERT_NE(pmt.PMTInstanceOfIndex(index), nullptr);
        EXPECT_EQ(pmt.PMTInstanceOfIndex(index)->ProgramNumber(), number);
        EXPECT_EQ(pmt.PMTInstance(number), pmt.PMTInstanceOfIndex(index));
        ++index;
    }
    EXPECT_EQ(pmt.PMTInstanceOfIndex(3), nullptr);
    EXPECT_EQ(pmt.PMTInstanceOfIndex(0xFFFFFFFF), nullptr);
    EXPECT_EQ(pmt.PMTInstance(4), nullptr);
}

TEST(CatContract, HoldsOneLoopOverItsSectionsInOrder) {
    TCDVBCATParser cat{TVSHandle(1, 0)};
    EXPECT_EQ(cat.NumOfDescriptors(), 0);
    EXPECT_EQ(cat.DescriptorByIndex(0), nullptr);
    ASSERT_TRUE(Take(cat, {.table_id = 0x01,
                           .table_id_extension = 0xFFFF,
                           .section_number = 1,
                           .last_section_number = 1,
                           .body = kThird}));
    EXPECT_EQ(BytesOfLoop(cat), Loop{kThird});
    ASSERT_TRUE(Take(cat, {.table_id = 0x01,
                           .table_id_extension = 0xFFFF,
                           .last_section_number = 1,
                           .body = Join({kFirst, kSecond})}));
    EXPECT_EQ(BytesOfLoop(cat), (Loop{kFirst, kSecond, kThird}));
    EXPECT_EQ(BytesOfTag(cat, 0x83), (Loop{kFirst, kThird}));
    EXPECT_EQ(BytesOfTag(cat, 0x52), Loop{kSecond});
    EXPECT_EQ(BytesOfTag(cat, 0x09), Loop{});
}

Bytes Service(unsigned serviceId, unsigned char flags, unsigned statusAndLength,
              const Bytes& loop) {
    return Join(
        {U16(serviceId), {flags}, U16(statusAndLength | static_cast<unsigned>(loop.size())), loop});
}

TEST(SdtContract, HoldsServicesAndTheirLoops) {
    TCDVBSDTParser sdt{0x42, TVSHandle(1, 0)};
    EXPECT_EQ(sdt.DVBSDTFirstInstance(), nullptr);
    const Bytes extension = Tagged(0x7F, {0x04, 1, 0, 2});
    ASSERT_TRUE(Take(sdt, {.table_id = 0x42,
                           .table_id_extension = 0x0403,
                           .section_number = 1,
                           .last_section_number = 1,
                           .body = Join({U16(0x2114),
                                         {0xFF},
                                         Service(0x8001, 0xFC, 0x9000, {}),
                                         Service(5, 0xFF, 0x0000, {})})}));
    ASSERT_TRUE(
        Take(sdt, {.table_id = 0x42,
                   .table_id_extension = 0x0403,
                   .last_section_number = 1,
                   .body = Join({U16(0x2114),
                                 {0xFF},
                                 Service(5, 0xFE, 0x8000, Join({kFirst, kSecond, extension})),
                                 Service(6, 0xFD, 0x7000, {})})}));
    TCDVBSDTInstance* const instance = sdt.DVBSDTInstance(0x2114, 0x0403);
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance->OriginalNetworkId(), 0x2114);
    EXPECT_EQ(instance->TransportStreamId(), 0x0403);
    ASSERT_EQ(instance->NumOfDVBSDTItemService(), 4);
    TCDVBSDTItemService* const first = instance->DVBSDTItemServiceOfIndex(0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->ServiceId(), 5);
    EXPECT_TRUE(first->EITScheduleFlag());
    EXPECT_FALSE(first->EITPresentFollowingFlag());
    EXPECT_EQ(first->RunningStatus(), 4);
    EXPECT_FALSE(first->FreeCAMode());
    EXPECT_EQ(BytesOfLoop(*first), (Loop{kFirst, kSecond, extension}));
    EXPECT_EQ(first->DescriptorByIndex(2)->Tag(), 0x007F);
    TCDVBSDTItemService* const second = instance->DVBSDTItemServiceOfIndex(1);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->ServiceId(), 6);
    EXPECT_FALSE(second->EITScheduleFlag());
    EXPECT_TRUE(second->EITPresentFollowingFlag());
    EXPECT_EQ(second->RunningStatus(), 3);
    EXPECT_TRUE(second->FreeCAMode());
    EXPECT_EQ(second->NumOfDescriptors(), 0);
    EXPECT_EQ(instance->DVBSDTItemServiceOfIndex(2)->ServiceId(), 0x8001);
    EXPECT_EQ(instance->DVBSDTItemServiceOfIndex(3)->ServiceId(), 5);
    EXPECT_EQ(instance->DVBSDTItemServiceOfIndex(4), nullptr);
    EXPECT_EQ(instance->DVBSDTItemServiceOfIndex(0xFFFFFFFF), nullptr);
    EXPECT_EQ(instance->DVBSDTItemServiceBySID(5), first);
    EXPECT_EQ(instance->DVBSDTItemServiceBySID(0x8001), instance->DVBSDTItemServiceOfIndex(2));
    EXPECT_EQ(instance->DVBSDTItemServiceBySID(7), nullptr);
}

TEST(SdtContract, KeysSubTablesByBothNetworkAndTransportStream) {
    TCDVBSDTParser sdt{0x46, TVSHandle(1, 0)};
    struct Key {
        unsigned short onid, tsid;
    };
    const std::vector<Key> keys{{9, 1}, {1, 9}, {9, 9}, {1, 1}};
    unsigned char version = 1;
    for (const Key& key : keys) {
        ASSERT_TRUE(Take(sdt, {.table_id = 0x46,
                               .table_id_extension = key.tsid,
                               .version_number = version++,
                               .body = Join({U16(key.onid), {0xFF}})}));
    }
    version = 1;
    for (const Key& key : keys) {
        TCDVBSDTInstance* const instance = sdt.DVBSDTInstance(key.onid, key.tsid);
        ASSERT_NE(instance, nullptr);
        EXPECT_EQ(instance->OriginalNetworkId(), key.onid);
        EXPECT_EQ(instance->TransportStreamId(), key.tsid);
        EXPECT_EQ(instance->VersionNumber(), version++);
    }
    EXPECT_EQ(sdt.DVBSDTFirstInstance(), sdt.DVBSDTInstance(9, 1)) << "that was begun first";
    EXPECT_EQ(sdt.DVBSDTInstance(2, 1), nullptr);
}

SectionBytes EitSection(unsigned short sid, unsigned short tsid, unsigned short onid,
                        const Bytes& events, unsigned char version = 1) {
    return {.table_id = 0x4E,
            .table_id_extension = sid,
            .version_number = version,
            .body = Join({U16(tsid), U16(onid), {0, 0x4E}, events})};
}

Bytes Event(unsigned id, unsigned statusAndLength, const Bytes& loop) {
    return Join({U16(id),
                 {0xE1, 0x02, 0x12, 0x34, 0x56},
                 {0x01, 0x23, 0x45},
                 U16(statusAndLength | static_cast<unsigned>(loop.size())),
                 loop});
}

TEST(EitContract, KeysSubTablesByTheWholeService) {
    TCDVBEITParser eit{0x4E, TVSHandle(1, 0)};
    struct Key {
        unsigned short onid, tsid, sid;
    };
    const std::vector<Key> keys{{1, 2, 3}, {1, 3, 2}, {2, 1, 3}, {2, 3, 1}, {3, 1, 2}, {3, 2, 1}};
    EXPECT_EQ(eit.EITInstance({1, 2, 3}), nullptr);
    unsigned char version = 1;
    for (const Key& key : keys) {
        ASSERT_TRUE(Take(eit, EitSection(key.sid, key.tsid, key.onid, {}, version++)));
    }
    version = 1;
    for (const Key& key : keys) {
        TCDVBEITInstance* const instance = eit.EITInstance({key.onid, key.tsid, key.sid});
        ASSERT_NE(instance, nullptr);
        EXPECT_EQ(instance->OriginalNetworkId(), key.onid);
        EXPECT_EQ(instance->TransportStreamId(), key.tsid);
        EXPECT_EQ(instance->ServiceId(), key.sid);
        EXPECT_EQ(instance->VersionNumber(), version++);
    }
    EXPECT_EQ(eit.EITInstance({1, 2, 4}), nullptr);
}

TEST(EitContract, HasAnInstanceFromTheFirstSectionOn) {
    TCDVBEITParser eit{0x4E, TVSHandle(1, 0)};
    SectionBytes section = EitSection(3, 2, 1, {});
    section.section_number = 1;
    section.last_section_number = 1;
    ASSERT_TRUE(Take(eit, section));
    ASSERT_NE(eit.EITInstance({1, 2, 3}), nullptr);
    EXPECT_FALSE(eit.EITInstance({1, 2, 3})->IsValid());
}

TEST(EitContract, KeepsACopyOfItsLastSection) {
    TCDVBEITParser eit{0x4E, TVSHandle(1, 0)};
    EXPECT_EQ(eit.Section(), nullptr);
    EXPECT_EQ(eit.SectionLength(), 0);
    for (const unsigned short sid : std::vector<unsigned short>{1, 2, 1}) {
        const SectionBytes section = EitSection(sid, 2, 1, Event(sid, 0x8000, kFirst));
        ASSERT_TRUE(Take(eit, section));
        const Bytes bytes = section.Build();
        ASSERT_NE(eit.Section(), nullptr);
        ASSERT_EQ(eit.SectionLength(), static_cast<int>(bytes.size()) - 3);
        EXPECT_EQ(Bytes(eit.Section(), eit.Section() + bytes.size()), bytes);
    }
    eit.Reset();
    EXPECT_EQ(eit.Section(), nullptr);
    EXPECT_EQ(eit.SectionLength(), 0);
}

TEST(EitContract, DecodesTheEventsOfASection) {
    const Bytes loop = Join({kFirst, kSecond});
    Bytes undefined = Event(0x8002, 0x7000, {});
    std::fill_n(undefined.begin() + 2, 5, uint8_t{0xFF});
    Guarded section(EitSection(3, 2, 1, Join({Event(0x0101, 0x8000, loop), undefined})).Build());
    TCDVBEITItem item(3, 2, 1, TVSHandle(1, 0));
    ASSERT_TRUE(item.m_Parse(section.data(), static_cast<int>(section.size()), 0x4E));
    ASSERT_EQ(item.NumOfDVBEITItemEvent(), 2);
    TCDVBEITItemEvent* const first = item.DVBEITItemEvent(0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->EventId(), 0x0101);
    EXPECT_EQ(first->StartTime(), 0xE102123456u);
    EXPECT_EQ(first->Duration(), 0x012345u);
    EXPECT_EQ(first->RunningStatus(), 4);
    EXPECT_FALSE(first->FreeCAMode());
    ASSERT_EQ(first->DescriptorLoopLength(), static_cast<int>(loop.size()));
    EXPECT_EQ(Bytes(first->DescriptorLoop(), first->DescriptorLoop() + loop.size()), loop);
    TCDVBEITItemEvent* const second = item.DVBEITItemEvent(1);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->EventId(), 0x8002);
    EXPECT_EQ(second->StartTime(), 0xFFFFFFFFFFu);
    EXPECT_EQ(second->RunningStatus(), 3);
    EXPECT_TRUE(second->FreeCAMode());
    EXPECT_EQ(second->DescriptorLoopLength(), 0);
    EXPECT_EQ(item.DVBEITItemEvent(2), nullptr);
    EXPECT_EQ(item.DVBEITItemEvent(0xFFFFFFFF), nullptr);
}

TEST(EitContract, HasNoEventsWithoutASection) {
    const Bytes bytes = EitSection(3, 2, 1, Event(1, 0x8000, kFirst)).Build();
    Guarded section(bytes);
    const int length = static_cast<int>(bytes.size());
    TCDVBEITItem item(3, 2, 1, TVSHandle(1, 0));
    EXPECT_EQ(item.NumOfDVBEITItemEvent(), 0);
    EXPECT_EQ(item.DVBEITItemEvent(0), nullptr);

    const auto expectNone = [&](unsigned char* data, int size, int tableId) {
        ASSERT_TRUE(item.m_Parse(section.data(), length, 0x4E));
        ASSERT_EQ(item.NumOfDVBEITItemEvent(), 1);
        EXPECT_FALSE(item.m_Parse(data, size, tableId));
        EXPECT_EQ(item.NumOfDVBEITItemEvent(), 0);
        EXPECT_EQ(item.DVBEITItemEvent(0), nullptr);
    };
    expectNone(nullptr, 0, 0x4E);
    expectNone(nullptr, length, 0x4E);
    expectNone(section.data(), length, 0x4F);
    for (int size = 0; size < length; ++size) {
        Guarded cut(Slice(bytes, 0, static_cast<size_t>(size)));
        expectNone(cut.data(), size, 0x4E);
    }
}

Bytes Mux(unsigned tsid, unsigned onid, const Bytes& loop) {
    return Join({U16(tsid), U16(onid), WithLength(loop)});
}

// NIT and BAT: two sections, the second one first.
template <class Parser>
void TakeNetwork(Parser& parser, unsigned char tableId) {
    ASSERT_TRUE(
        Take(parser, {.table_id = tableId,
                      .table_id_extension = 0x8123,
                      .version_number = 17,
                      .section_number = 1,
                      .last_section_number = 1,
                      .body = Join({WithLength(Join({kFirst, kThird})),
                                    WithLength(Join({Mux(1, 0x8001, {}), Mux(2, 9, kSecond)}))})}));
    ASSERT_TRUE(Take(
        parser,
        {.table_id = tableId,
         .table_id_extension = 0x8123,
         .version_number = 17,
         .section_number = 0,
         .last_section_number = 1,
         .body =
             Join({WithLength(Join({kFirst, kSecond, Tagged(0x7F, {0x04, 1, 0, 2})})),
                   WithLength(Mux(0xFFFE, 2, Join({Tagged(0x7F, {0x04, 1, 0, 2}), kFirst})))})}));
}

template <class Instance>
void ExpectNetwork(Instance& instance) {
    EXPECT_TRUE(instance.IsValid());
    EXPECT_EQ(instance.VersionNumber(), 17);
    EXPECT_EQ(instance.TableAttribute(), 17);
    // All descriptors in order, repetitions included.
    const Bytes extension = Tagged(0x7F, {0x04, 1, 0, 2});
    EXPECT_EQ(BytesOfLoop(instance), (Loop{kFirst, kSecond, extension, kFirst, kThird}));
    EXPECT_EQ(BytesOfTag(instance, 0x83), (Loop{kFirst, kFirst, kThird}));
    EXPECT_EQ(BytesOfTag(instance, 0x52), Loop{kSecond});
    EXPECT_EQ(BytesOfTag(instance, 0x4A), Loop{});
    ASSERT_EQ(instance.NumOfDVBItemMux(), 3);
    TCDVBItemMux* const first = instance.DVBItemMuxOfIndex(0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->TransportStreamId(), 0xFFFE);
    EXPECT_EQ(first->OriginalNetworkId(), 2);
    EXPECT_EQ(BytesOfLoop(*first), (Loop{extension, kFirst}));
    ASSERT_NE(instance.DVBItemMuxOfIndex(1), nullptr);
    EXPECT_EQ(instance.DVBItemMuxOfIndex(1)->TransportStreamId(), 1);
    EXPECT_EQ(instance.DVBItemMuxOfIndex(1)->OriginalNetworkId(), 0x8001);
    EXPECT_EQ(instance.DVBItemMuxOfIndex(1)->NumOfDescriptors(), 0);
    ASSERT_NE(instance.DVBItemMuxOfIndex(2), nullptr);
    EXPECT_EQ(instance.DVBItemMuxOfIndex(2)->TransportStreamId(), 2);
    EXPECT_EQ(BytesOfLoop(*instance.DVBItemMuxOfIndex(2)), Loop{kSecond});
    EXPECT_EQ(instance.DVBItemMuxOfIndex(3), nullptr);
    EXPECT_EQ(instance.DVBItemMuxOfIndex(0xFFFFFFFF), nullptr);
}

TEST(NitContract, HoldsNetworksTheirTransportStreamsAndTheirLoops) {
    for (const unsigned char tableId : std::vector<unsigned char>{0x40, 0x41}) {
        TCDVBNITParser nit{tableId, TVSHandle(1, 0)};
        EXPECT_EQ(nit.GetInstance(0x8123), nullptr);
        TakeNetwork(nit, tableId);
        TCDVBNITInstance* const network = nit.GetInstance(0x8123);
        ASSERT_NE(network, nullptr);
        EXPECT_EQ(network->NetworkId(), 0x8123);
        EXPECT_EQ(network->NitAttribute(), tableId);
        ExpectNetwork(*network);
        EXPECT_EQ(nit.GetInstance(0x0123), nullptr);

        // In a NIT, extension descriptors have their own class and tag.
        EXPECT_EQ(network->NumOfDescriptors(0x7F04), 1);
        EXPECT_EQ(network->NumOfDescriptors(0x007F), 0);
        EXPECT_NE(dynamic_cast<TCDescT2SystemDelivery*>(network->Descriptor(0x7F04, 0)), nullptr);
        TCBaseDesc* const inMux = network->DVBItemMuxOfIndex(0)->DescriptorByIndex(0);
        EXPECT_EQ(inMux->Tag(), 0x7F04);
        EXPECT_NE(dynamic_cast<TCDescT2SystemDelivery*>(inMux), nullptr);
    }
}

TEST(BatContract, HoldsBouquetsTheirTransportStreamsAndTheirLoops) {
    TCDVBBATParser bat{TVSHandle(1, 0)};
    EXPECT_EQ(bat.GetInstance(0x8123), nullptr);
    TakeNetwork(bat, 0x4A);
    TCDVBBATInstance* const bouquet = bat.GetInstance(0x8123);
    ASSERT_NE(bouquet, nullptr);
    EXPECT_EQ(bouquet->BouquetId(), 0x8123);
    ExpectNetwork(*bouquet);
    EXPECT_EQ(bat.GetInstance(0x0123), nullptr);

    // In a BAT, extension descriptors are plain.
    EXPECT_EQ(bouquet->NumOfDescriptors(0x007F), 1);
    EXPECT_EQ(bouquet->NumOfDescriptors(0x7F04), 0);
    EXPECT_EQ(bouquet->DVBItemMuxOfIndex(0)->DescriptorByIndex(0)->Tag(), 0x007F);
}

SectionBytes EmptyNetwork(unsigned char tableId, unsigned short id, unsigned char last = 0) {
    return {.table_id = tableId,
            .table_id_extension = id,
            .last_section_number = last,
            .body = Join({WithLength({}), WithLength({})})};
}

TEST(NitContract, AppendsTheIdsOfItsNetworksInAscendingOrder) {
    TCDVBNITParser nit{0x41, TVSHandle(1, 0)};
    std::list<unsigned short> ids{77};
    nit.NetworkIds(ids);
    EXPECT_EQ(ids, (std::list<unsigned short>{77}));
    for (const unsigned short id : std::vector<unsigned short>{40000, 3, 700, 3}) {
        ASSERT_TRUE(Take(nit, EmptyNetwork(0x41, id, 1)));
    }
    nit.NetworkIds(ids);
    EXPECT_EQ(ids, (std::list<unsigned short>{77, 3, 700, 40000}));
}

TEST(BatContract, AppendsTheIdsOfItsBouquetsInAscendingOrder) {
    TCDVBBATParser bat{TVSHandle(1, 0)};
    std::list<unsigned short> ids{77};
    bat.BouquetIds(ids);
    EXPECT_EQ(ids, (std::list<unsigned short>{77}));
    for (const unsigned short id : std::vector<unsigned short>{40000, 3, 700, 3}) {
        ASSERT_TRUE(Take(bat, EmptyNetwork(0x4A, id, 1)));
    }
    bat.BouquetIds(ids);
    EXPECT_EQ(ids, (std::list<unsigned short>{77, 3, 700, 40000}));
}

TEST(BatContract, HasReceivedAllWhenEveryKnownBouquetIsComplete) {
    TCDVBBATParser bat{TVSHandle(1, 0)};
    EXPECT_FALSE(bat.AllSubtablesReceived()) << "of none";
    ASSERT_TRUE(Take(bat, EmptyNetwork(0x4A, 1)));
    EXPECT_TRUE(bat.AllSubtablesReceived());
    ASSERT_TRUE(Take(bat, EmptyNetwork(0x4A, 2, 1)));
    EXPECT_FALSE(bat.AllSubtablesReceived());
    SectionBytes last = EmptyNetwork(0x4A, 2, 1);
    last.section_number = 1;
    ASSERT_TRUE(Take(bat, last));
    EXPECT_TRUE(bat.AllSubtablesReceived());
    bat.Reset();
    EXPECT_FALSE(bat.AllSubtablesReceived());
}

TEST(DescriptorOwnershipContract, ForksOutliveTheParserThatHeldTheirOriginals) {
    auto nit = std::make_unique<TCDVBNITParser>(0x40, TVSHandle(1, 0));
    TakeNetwork(*nit, 0x40);
    TCBaseDesc* const held = nit->GetInstance(0x8123)->DVBItemMuxOfIndex(0)->DescriptorByIndex(0);
    const std::string dump = Dump(held);
    const std::unique_ptr<TCBaseDesc> fork(held->Fork());
    nit.reset();
    EXPECT_EQ(Dump(fork.get()), dump);
    EXPECT_NE(dynamic_cast<TCDescT2SystemDelivery*>(fork.get()), nullptr);
}

}  // namespace
}  // namespace contract
