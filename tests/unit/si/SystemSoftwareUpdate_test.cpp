// The records of system software updates: linkages to services that carry updates, linkages to
// tables that list such services, and the offers of an elementary stream.

#include <cstring>
#include <list>
#include <map>
#include <type_traits>

#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "platform/TCDescDataBroadcastId.h"
#include "platform/TCDescLinkage.h"
#include "tests/support/FakeDescriptors.h"
#include "tests/unit/si/SiFixture.h"
#include "tests/unit/si/Slot.h"

namespace {

using fake::OuiEntry;
using fake::OuiLoop;
using TORVEL_MW::CSSUInfo;
using TORVEL_MW::CSSULinkageDesc;
using TORVEL_MW::CSSUScanLinkageDesc;
using TORVEL_MW::ISSUInfo;
using TORVEL_MW::ISSULinkageDesc;
using TORVEL_MW::ISSUScanLinkageDesc;
using TORVEL_MW::SelectorBytes;

constexpr int kUpdateService = 9;
constexpr int kTableWithUpdates = 10;

const char kGetSelectorBytesText[] =
    "virtual void TORVEL_MW::CSSULinkageDesc::GetSelectorBytes(uint32_t, "
    "std::vector<std::shared_ptr<std::vector<unsigned char> > >&)";
const char kEqualityText[] =
    "virtual bool TORVEL_MW::CSSUScanLinkageDesc::operator==(const "
    "TORVEL_MW::ISSUScanLinkageDesc&) const";

std::string DescriptorLine(int priority, const std::string& function, int line,
                           const std::string& text) {
    return std::to_string(priority) + " DescriptorsKorvo.cpp " + function + "(" +
           std::to_string(line) + ") > " + text;
}

std::shared_ptr<OuiLoop> LoopOf(std::vector<OuiEntry> entries) {
    auto loop = std::make_shared<OuiLoop>();
    loop->entries = std::move(entries);
    return loop;
}

/// Makes a record of either kind from an OUI loop.
template <class Record>
std::unique_ptr<Record> RecordOf(std::shared_ptr<OuiLoop> loop);

template <>
std::unique_ptr<CSSUInfo> RecordOf(std::shared_ptr<OuiLoop> loop) {
    const auto desc = fake::DataBroadcastIdDesc(0x000A, std::move(loop));
    return std::make_unique<CSSUInfo>(uint16_t{0x1FFE},
                                      dynamic_cast<TCDescDataBroadcastId&>(*desc));
}

template <>
std::unique_ptr<CSSULinkageDesc> RecordOf(std::shared_ptr<OuiLoop> loop) {
    fake::LinkageScript script;
    script.linkageType = kUpdateService;
    script.onid = 0xFF10;
    script.tsid = 0x0421;
    script.sid = 0x0454;
    script.loop = std::move(loop);
    const auto desc = fake::LinkageDesc(script);
    return std::make_unique<CSSULinkageDesc>(dynamic_cast<TCDescLinkage&>(*desc));
}

template <class Record>
class OuiRecordTest : public testing::Test {
  protected:
    void SetUp() override { FakePlatform::Get().Reset(); }

    static std::vector<unsigned int> Ouis(Record& record) {
        std::list<unsigned int> ouis;
        record.GetOUIs(ouis);
        return {ouis.begin(), ouis.end()};
    }
    static std::vector<SelectorBytes> Selectors(Record& record, unsigned int oui) {
        std::vector<SelectorBytes> selectors;
        record.GetSelectorBytes(oui, selectors);
        return selectors;
    }
};

using OuiRecords = testing::Types<CSSUInfo, CSSULinkageDesc>;
TYPED_TEST_SUITE(OuiRecordTest, OuiRecords);

TYPED_TEST(OuiRecordTest, WithAnEmptyLoopHasNoOuis) {
    const auto record = RecordOf<TypeParam>(LoopOf({}));
    EXPECT_THAT(this->Ouis(*record), IsEmpty());
    EXPECT_FALSE(record->ContainsOUI(0));
    EXPECT_FALSE(record->ContainsOUI(0xFFFFFFFF));
    EXPECT_THAT(this->Selectors(*record, 0x15A), IsEmpty());
}

TYPED_TEST(OuiRecordTest, ListsOuisAscendingAndEqualOnesInTheOrderOfTheLoop) {
    const auto record =
        RecordOf<TypeParam>(LoopOf({{0x30, {3}}, {0x20, {1}}, {0x10, {9, 9}}, {0x20, {2}}}));
    EXPECT_THAT(this->Ouis(*record), ElementsAre(0x10u, 0x20u, 0x20u, 0x30u));
    const auto selectors = this->Selectors(*record, 0x20);
    ASSERT_EQ(selectors.size(), 2u);
    EXPECT_THAT(*selectors[0], ElementsAre(1));
    EXPECT_THAT(*selectors[1], ElementsAre(2));
}

TYPED_TEST(OuiRecordTest, KnowsNoWildcard) {
    const auto record = RecordOf<TypeParam>(LoopOf({{0x15A, {1}}}));
    EXPECT_TRUE(record->ContainsOUI(0x15A));
    EXPECT_FALSE(record->ContainsOUI(0x15B));
    EXPECT_FALSE(record->ContainsOUI(0xFFFFFFFF));
}

TYPED_TEST(OuiRecordTest, AnEntryWithoutSelectorIsKeptAsNull) {
    const auto loop = LoopOf({{0x15A, {}}});
    const auto record = RecordOf<TypeParam>(loop);
    EXPECT_THAT(this->Ouis(*record), ElementsAre(0x15Au));
    EXPECT_THAT(this->Selectors(*record, 0x15A), ElementsAre(nullptr));
    EXPECT_THAT(loop->capacities, IsEmpty()) << "nothing to copy";
}

TYPED_TEST(OuiRecordTest, AnEntryWhoseSelectorIsRefusedIsAbsentAndUntold) {
    const auto record =
        RecordOf<TypeParam>(LoopOf({{0x10, {1}, true, false}, {0x20, {2}, false, false}}));
    EXPECT_THAT(FakePlatform::Get().TakeLog(), IsEmpty());
    EXPECT_THAT(this->Ouis(*record), ElementsAre(0x20u));
    EXPECT_FALSE(record->ContainsOUI(0x10));
    EXPECT_THAT(this->Selectors(*record, 0x10), IsEmpty());
}

TYPED_TEST(OuiRecordTest, MissingEntriesAreSkipped) {
    const auto record =
        RecordOf<TypeParam>(LoopOf({{0, {}, false, true}, {0x20, {2}}, {0, {}, false, true}}));
    EXPECT_THAT(this->Ouis(*record), ElementsAre(0x20u));
}

TYPED_TEST(OuiRecordTest, OffersTheSelectorLengthAsCapacity) {
    const auto loop = LoopOf({{0x10, {1, 2, 3}}});
    RecordOf<TypeParam>(loop);
    EXPECT_THAT(loop->capacities, ElementsAre(3));
}

TYPED_TEST(OuiRecordTest, ASelectorKeepsItsFullLengthWhateverWasCopied) {
    const auto record = RecordOf<TypeParam>(
        LoopOf({{0x10, {1, 2, 3}, false, false, 1}, {0x20, {4, 5}, false, false, 0}}));
    EXPECT_THAT(*this->Selectors(*record, 0x10).at(0), ElementsAre(1, 0, 0));
    EXPECT_THAT(*this->Selectors(*record, 0x20).at(0), ElementsAre(0, 0));
}

TYPED_TEST(OuiRecordTest, CountsTheLoopAfreshAtEveryStep) {
    const auto loop = LoopOf({{0x10, {1}}});
    loop->duringCount = [](OuiLoop& changing) {
        if (changing.countsAsked == 2) {
            changing.entries.push_back({0x20, {2}});
        }
    };
    const auto record = RecordOf<TypeParam>(loop);
    EXPECT_THAT(this->Ouis(*record), ElementsAre(0x10u, 0x20u));
    EXPECT_EQ(loop->countsAsked, 3);
}

TYPED_TEST(OuiRecordTest, AppendsToTheCallersContainers) {
    const auto record = RecordOf<TypeParam>(LoopOf({{0x10, {1}}}));
    std::list<unsigned int> ouis{7};
    record->GetOUIs(ouis);
    EXPECT_THAT(ouis, ElementsAre(7u, 0x10u));
    std::vector<SelectorBytes> selectors{nullptr};
    record->GetSelectorBytes(0x99, selectors);
    EXPECT_EQ(selectors.size(), 1u);
    record->GetSelectorBytes(0x10, selectors);
    ASSERT_EQ(selectors.size(), 2u);
    EXPECT_EQ(selectors[0], nullptr);
}

TYPED_TEST(OuiRecordTest, ReservesTheCountOfTheRangeNotMore) {
    const auto record = RecordOf<TypeParam>(LoopOf({{0x10, {1}}, {0x10, {2}}, {0x10, {3}}}));
    std::vector<SelectorBytes> selectors;
    selectors.reserve(1);
    selectors.push_back(nullptr);
    record->GetSelectorBytes(0x10, selectors);
    // The vector had one entry when room for 3 was reserved; the fourth entry made it grow.
    EXPECT_EQ(selectors.size(), 4u);
    EXPECT_EQ(selectors.capacity(), 6u);
    std::vector<SelectorBytes> none;
    record->GetSelectorBytes(0x99, none);
    EXPECT_EQ(none.capacity(), 0u);
}

TYPED_TEST(OuiRecordTest, CopiesShareTheirSelectorBytes) {
    const auto record = RecordOf<TypeParam>(LoopOf({{0x10, {1}}}));
    TypeParam copy(*record);
    const auto mine = this->Selectors(*record, 0x10);
    const auto theirs = this->Selectors(copy, 0x10);
    ASSERT_EQ(mine, theirs) << "the same vectors";
    (*mine[0])[0] = 42;
    EXPECT_EQ((*theirs[0])[0], 42);
}

TYPED_TEST(OuiRecordTest, OutlivesItsDescriptor) {
    const int before = fake::LivingDescriptors();
    const auto record = RecordOf<TypeParam>(LoopOf({{0x10, {1}}}));
    EXPECT_EQ(fake::LivingDescriptors(), before);
    EXPECT_THAT(*this->Selectors(*record, 0x10).front(), ElementsAre(1));
}

// --- SSU info

class SSUInfoTest : public testing::Test {
  protected:
    void SetUp() override { FakePlatform::Get().Reset(); }
};

TEST_F(SSUInfoTest, HasThePidOfItsStreamAndNeverLogs) {
    const auto info = RecordOf<CSSUInfo>(LoopOf({{0x10, {1}}}));
    unsigned short pid = 0;
    info->GetPID(pid);
    EXPECT_EQ(pid, 0x1FFE);
    std::vector<SelectorBytes> selectors;
    info->GetSelectorBytes(0x10, selectors);
    info->GetSelectorBytes(0x99, selectors);
    EXPECT_THAT(FakePlatform::Get().TakeLog(), IsEmpty());
}

TEST_F(SSUInfoTest, DataBroadcastIdCanBeBoundToAReference) {
    const unsigned short& reference = ISSUInfo::SSU_INFO;
    EXPECT_EQ(reference, 0x000A);
    static_assert(ISSUInfo::SSU_INFO == 0x000A, "a constant expression too");
}

TEST_F(SSUInfoTest, SlotOrder) {
    EXPECT_EQ(Slot(&ISSUInfo::GetOUIs), kDestructorSlots);
    EXPECT_EQ(Slot(&ISSUInfo::ContainsOUI), kDestructorSlots + 1);
    EXPECT_EQ(Slot(&ISSUInfo::GetSelectorBytes), kDestructorSlots + 2);
    EXPECT_EQ(Slot(&ISSUInfo::GetPID), kDestructorSlots + 3);
    EXPECT_TRUE(std::has_virtual_destructor_v<ISSUInfo>);
}

TEST_F(SSUInfoTest, AnotherDataBroadcastIdStopsTheProgram) {
    const auto desc = fake::DataBroadcastIdDesc(0x0005);
    EXPECT_DEATH(CSSUInfo(1, dynamic_cast<TCDescDataBroadcastId&>(*desc)),
                 "SI/PARSER/Korvo/DescriptorsKorvo\\.cpp:172: "
                 "TORVEL_MW::CSSUInfo::CSSUInfo\\(uint16_t, TCDescDataBroadcastId&\\): Assertion "
                 "`dbid\\.DataBroadcastId\\(\\) == ISSUInfo::SSU_INFO' failed");
}

// --- Linkages to services with updates

class SSULinkageTest : public testing::Test {
  protected:
    void SetUp() override { platform.Reset(); }
    FakePlatform& platform = FakePlatform::Get();
};

TEST_F(SSULinkageTest, HasItsLocation) {
    const auto linkage = RecordOf<CSSULinkageDesc>(LoopOf({}));
    unsigned short onid = 0, tsid = 0, sid = 0;
    linkage->GetLocation(onid, tsid, sid);
    EXPECT_EQ(onid, 0xFF10);
    EXPECT_EQ(tsid, 0x0421);
    EXPECT_EQ(sid, 0x0454);
    CSSULinkageDesc copy(*linkage);
    onid = tsid = sid = 0;
    copy.GetLocation(onid, tsid, sid);
    EXPECT_EQ(onid, 0xFF10);
    EXPECT_EQ(tsid, 0x0421);
    EXPECT_EQ(sid, 0x0454);
}

TEST_F(SSULinkageTest, GetSelectorBytesTellsTheCountAlsoWhenItIs0) {
    const auto linkage = RecordOf<CSSULinkageDesc>(LoopOf({{0xABCDEF, {1}}, {0xABCDEF, {2}}}));
    std::vector<SelectorBytes> selectors;
    linkage->GetSelectorBytes(0xABCDEF, selectors);
    linkage->GetSelectorBytes(0x15A, selectors);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(DescriptorLine(4, "GetSelectorBytes", 100,
                                           Green(std::string(kGetSelectorBytesText) +
                                                 " : OUI 0xABCDEF has 2 selector byte entries")),
                            DescriptorLine(4, "GetSelectorBytes", 100,
                                           Green(std::string(kGetSelectorBytesText) +
                                                 " : OUI 0x15A has 0 selector byte entries"))));
}

TEST_F(SSULinkageTest, GetSelectorBytesTellsTheCountAlsoWithoutAnyOui) {
    const auto linkage = RecordOf<CSSULinkageDesc>(LoopOf({}));
    std::vector<SelectorBytes> selectors;
    linkage->GetSelectorBytes(0x15A, selectors);
    EXPECT_THAT(selectors, IsEmpty());
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(DescriptorLine(4, "GetSelectorBytes", 100,
                                           Green(std::string(kGetSelectorBytesText) +
                                                 " : OUI 0x15A has 0 selector byte entries"))));
}

TEST_F(SSULinkageTest, TellsBeforeItAppends) {
    const auto linkage = RecordOf<CSSULinkageDesc>(LoopOf({{0x10, {1}}}));
    std::vector<SelectorBytes> selectors;
    std::size_t sizeWhenTold = 99;
    std::size_t capacityWhenTold = 99;
    platform.duringLog = [&](const std::string&) {
        sizeWhenTold = selectors.size();
        capacityWhenTold = selectors.capacity();
    };
    linkage->GetSelectorBytes(0x10, selectors);
    EXPECT_EQ(sizeWhenTold, 0u);
    EXPECT_EQ(capacityWhenTold, 1u);
    EXPECT_EQ(selectors.size(), 1u);
}

TEST_F(SSULinkageTest, SlotOrder) {
    EXPECT_EQ(Slot(&ISSULinkageDesc::GetOUIs), kDestructorSlots);
    EXPECT_EQ(Slot(&ISSULinkageDesc::ContainsOUI), kDestructorSlots + 1);
    EXPECT_EQ(Slot(&ISSULinkageDesc::GetSelectorBytes), kDestructorSlots + 2);
    EXPECT_EQ(Slot(&ISSULinkageDesc::GetLocation), kDestructorSlots + 3);
    EXPECT_TRUE(std::has_virtual_destructor_v<ISSULinkageDesc>);
}

TEST_F(SSULinkageTest, AnotherLinkageTypeStopsTheProgram) {
    for (const int linkageType : {0, 8, kTableWithUpdates, 0x81}) {
        fake::LinkageScript script;
        script.linkageType = linkageType;
        const auto desc = fake::LinkageDesc(script);
        EXPECT_DEATH(
            CSSULinkageDesc{dynamic_cast<TCDescLinkage&>(*desc)},
            "SI/PARSER/Korvo/DescriptorsKorvo\\.cpp:50: "
            "TORVEL_MW::CSSULinkageDesc::CSSULinkageDesc\\(TCDescLinkage&\\): Assertion "
            "`desc\\.LinkageType\\(\\) == TCDescLinkage::LINKAGE_TYPE_SOFTWARE_UPDATE' failed");
    }
}

TEST_F(SSULinkageTest, ParseMakesALinkageOfTheBytes) {
    const int before = fake::LivingDescriptors();
    fake::Parsing().linkage.linkageType = kUpdateService;
    fake::Parsing().linkage.onid = 0xFF10;
    fake::Parsing().linkage.tsid = 0x0421;
    fake::Parsing().linkage.sid = 0x0454;
    fake::Parsing().linkage.loop = LoopOf({{0x15A, {7}}});
    const unsigned char bytes[] = {0x4A, 2, 0, 0};
    const std::shared_ptr<ISSULinkageDesc> linkage = ISSULinkageDesc::Parse(bytes);
    ASSERT_TRUE(linkage);
    EXPECT_THAT(fake::Parsing().parsed, ElementsAre(bytes));
    EXPECT_TRUE(linkage->ContainsOUI(0x15A));
    unsigned short onid = 0, tsid = 0, sid = 0;
    linkage->GetLocation(onid, tsid, sid);
    EXPECT_THAT(std::vector<int>({onid, tsid, sid}), ElementsAre(0xFF10, 0x0421, 0x0454));
    EXPECT_EQ(fake::LivingDescriptors(), before);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SSULinkageTest, ParseDoesNotLookAtTheTag) {
    fake::Parsing().linkage.linkageType = kUpdateService;
    const unsigned char bytes[] = {0x99, 0};
    EXPECT_TRUE(ISSULinkageDesc::Parse(bytes));
}

TEST_F(SSULinkageTest, ParseRefusesBytesThatAreNotAllConsumed) {
    const int before = fake::LivingDescriptors();
    fake::Parsing().linkage.linkageType = kUpdateService;
    const unsigned char bytes[] = {0x4A, 3, 0, 0, 0};
    for (const int consumed : {0, 4, 6}) {
        fake::Parsing().consumed = consumed;
        EXPECT_FALSE(ISSULinkageDesc::Parse(bytes));
        EXPECT_THAT(platform.TakeLog(),
                    ElementsAre(DescriptorLine(
                        6, "Parse", 41,
                        Red("Not an SSU linkage descriptor " + std::to_string(consumed) +
                            " bytes parsed, linkage type 9"))));
        EXPECT_EQ(fake::LivingDescriptors(), before);
    }
}

TEST_F(SSULinkageTest, ParseComparesWhatWasConsumedWithThePlatformsLength) {
    fake::Parsing().linkage.linkageType = kUpdateService;
    fake::Parsing().length = 40;
    const unsigned char bytes[] = {0x4A, 3, 0, 0, 0};
    fake::Parsing().consumed = 40;
    EXPECT_TRUE(ISSULinkageDesc::Parse(bytes));
    fake::Parsing().consumed = 5;
    EXPECT_FALSE(ISSULinkageDesc::Parse(bytes));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(DescriptorLine(
            6, "Parse", 41, Red("Not an SSU linkage descriptor 5 bytes parsed, linkage type 9"))));
}

TEST_F(SSULinkageTest, ParseRefusesAnotherLinkageType) {
    const int before = fake::LivingDescriptors();
    fake::Parsing().linkage.linkageType = kTableWithUpdates;
    const unsigned char bytes[] = {0x4A, 1, 0};
    EXPECT_FALSE(ISSULinkageDesc::Parse(bytes));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(DescriptorLine(
            6, "Parse", 41, Red("Not an SSU linkage descriptor 3 bytes parsed, linkage type 10"))));
    EXPECT_EQ(fake::LivingDescriptors(), before);
}

// --- Linkages to tables

class SSUScanLinkageTest : public testing::Test {
  protected:
    void SetUp() override { platform.Reset(); }

    static CSSUScanLinkageDesc Make(int tableType, unsigned short onid = 1, unsigned short tsid = 2,
                                    unsigned short sid = 3) {
        fake::LinkageScript script;
        script.linkageType = kTableWithUpdates;
        script.tableType = tableType;
        script.onid = onid;
        script.tsid = tsid;
        script.sid = sid;
        const auto desc = fake::LinkageDesc(script);
        return CSSUScanLinkageDesc(dynamic_cast<TCDescLinkage&>(*desc));
    }
    static bool Equal(const ISSUScanLinkageDesc& a, const ISSUScanLinkageDesc& b) { return a == b; }

    FakePlatform& platform = FakePlatform::Get();
};

TEST_F(SSUScanLinkageTest, HasItsLocationAndTable) {
    for (const int tableType : {0, 1, 2, 3}) {
        CSSUScanLinkageDesc linkage = Make(tableType, 0xFF10, 0x0421, 0x0454);
        bool isNit = tableType != 1;
        unsigned short onid = 0, tsid = 0, sid = 0;
        linkage.GetLocation(isNit, onid, tsid, sid);
        EXPECT_EQ(isNit, tableType == 1) << "whatever is no NIT counts as a BAT";
        EXPECT_EQ(onid, 0xFF10);
        EXPECT_EQ(tsid, 0x0421);
        EXPECT_EQ(sid, 0x0454);
    }
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SSUScanLinkageTest, AreEqualWhenAllFourFieldsAre) {
    const CSSUScanLinkageDesc linkage = Make(1);
    EXPECT_TRUE(Equal(linkage, Make(1)));
    EXPECT_FALSE(Equal(linkage, Make(2)));
    EXPECT_FALSE(Equal(linkage, Make(1, 9)));
    EXPECT_FALSE(Equal(linkage, Make(1, 1, 9)));
    EXPECT_FALSE(Equal(linkage, Make(1, 1, 2, 9)));
    EXPECT_TRUE(Equal(linkage, CSSUScanLinkageDesc(linkage)));
    EXPECT_TRUE(Equal(Make(2), Make(3))) << "both are taken for BATs";
}

TEST_F(SSUScanLinkageTest, ComparisonAlwaysTellsFirst) {
    struct Other : ISSUScanLinkageDesc {
        bool operator==(const ISSUScanLinkageDesc&) const override { return true; }
        void GetLocation(bool&, unsigned short&, unsigned short&, unsigned short&) override {}
    } const otherObject;
    const ISSUScanLinkageDesc& other = otherObject;
    const CSSUScanLinkageDesc linkage = Make(1);
    EXPECT_FALSE(Equal(linkage, other)) << "another implementation";
    EXPECT_TRUE(Equal(linkage, linkage));
    const std::string line = DescriptorLine(3, "operator==", 155, kEqualityText);
    EXPECT_THAT(platform.TakeLog(), ElementsAre(line, line));
}

TEST_F(SSUScanLinkageTest, SlotOrder) {
    EXPECT_EQ(Slot(&ISSUScanLinkageDesc::operator==), kDestructorSlots);
    EXPECT_EQ(Slot(&ISSUScanLinkageDesc::GetLocation), kDestructorSlots + 1);
    EXPECT_TRUE(std::has_virtual_destructor_v<ISSUScanLinkageDesc>);
}

TEST_F(SSUScanLinkageTest, AnotherLinkageTypeStopsTheProgram) {
    fake::LinkageScript script;
    script.linkageType = kUpdateService;
    script.tableType = 1;
    const auto desc = fake::LinkageDesc(script);
    EXPECT_DEATH(
        CSSUScanLinkageDesc{dynamic_cast<TCDescLinkage&>(*desc)},
        "SI/PARSER/Korvo/DescriptorsKorvo\\.cpp:132: "
        "TORVEL_MW::CSSUScanLinkageDesc::CSSUScanLinkageDesc\\(TCDescLinkage&\\): Assertion "
        "`desc\\.LinkageType\\(\\) == TCDescLinkage::LINKAGE_TYPE_TS_CONTAINING_SSU' failed");
}

TEST(SSURecords, HaveNoFurtherOperations) {
    EXPECT_EQ(Slot(&WithOneMore<ISSUInfo>::Last), kDestructorSlots + 4);
    EXPECT_EQ(Slot(&WithOneMore<CSSUInfo>::Last), kDestructorSlots + 4);
    EXPECT_EQ(Slot(&WithOneMore<ISSULinkageDesc>::Last), kDestructorSlots + 4);
    EXPECT_EQ(Slot(&WithOneMore<CSSULinkageDesc>::Last), kDestructorSlots + 4);
    EXPECT_EQ(Slot(&WithOneMore<ISSUScanLinkageDesc>::Last), kDestructorSlots + 2);
    EXPECT_EQ(Slot(&WithOneMore<CSSUScanLinkageDesc>::Last), kDestructorSlots + 2);
    EXPECT_EQ(sizeof(ISSUInfo), sizeof(void*));
    EXPECT_EQ(sizeof(ISSULinkageDesc), sizeof(void*));
    EXPECT_EQ(sizeof(ISSUScanLinkageDesc), sizeof(void*));
    static_assert(std::is_abstract_v<ISSUInfo> && std::is_abstract_v<ISSULinkageDesc> &&
                  std::is_abstract_v<ISSUScanLinkageDesc>);
}

constexpr std::size_t kBehindTheMap =
    sizeof(void*) + sizeof(std::multimap<std::uint32_t, SelectorBytes>);

template <class Record>
unsigned int U16At(const Record& record, std::size_t offset) {
    std::uint16_t value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + offset, sizeof(value));
    return value;
}

TEST_F(SSUInfoTest, MembersStandInTheirOrder) {
    const auto info = RecordOf<CSSUInfo>(LoopOf({}));
    EXPECT_EQ(U16At(*info, kBehindTheMap), 0x1FFEu);
    EXPECT_EQ(sizeof(*info), kBehindTheMap + sizeof(void*));
}

TEST_F(SSULinkageTest, MembersStandInTheirOrder) {
    const auto linkage = RecordOf<CSSULinkageDesc>(LoopOf({}));
    EXPECT_EQ(U16At(*linkage, kBehindTheMap), 0xFF10u);
    EXPECT_EQ(U16At(*linkage, kBehindTheMap + 2), 0x0421u);
    EXPECT_EQ(U16At(*linkage, kBehindTheMap + 4), 0x0454u);
    EXPECT_EQ(sizeof(*linkage), kBehindTheMap + 8);
}

TEST_F(SSUScanLinkageTest, MembersStandInTheirOrder) {
    const CSSUScanLinkageDesc linkage = Make(1, 0xFF10, 0x0421, 0x0454);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(&linkage)[sizeof(void*)], 1);
    EXPECT_EQ(U16At(linkage, sizeof(void*) + 2), 0xFF10u);
    EXPECT_EQ(U16At(linkage, sizeof(void*) + 4), 0x0421u);
    EXPECT_EQ(U16At(linkage, sizeof(void*) + 6), 0x0454u);
    EXPECT_EQ(sizeof(linkage), sizeof(void*) + 8);
}

TEST_F(SSUScanLinkageTest, OneOfADerivedClassIsComparedByItsFields) {
    struct Derived : CSSUScanLinkageDesc {
        explicit Derived(const CSSUScanLinkageDesc& other) : CSSUScanLinkageDesc(other) {}
    };
    EXPECT_TRUE(Equal(Make(1), Derived(Make(1))));
    EXPECT_FALSE(Equal(Make(1), Derived(Make(2))));
}

TYPED_TEST(OuiRecordTest, ASelectorMayHave255Bytes) {
    const Bytes longest(255, 0xA5);
    const auto loop = LoopOf({{0xFFFFFF, longest}});
    const auto record = RecordOf<TypeParam>(loop);
    EXPECT_THAT(loop->capacities, ElementsAre(255));
    EXPECT_EQ(*this->Selectors(*record, 0xFFFFFF).at(0), longest);
}

TYPED_TEST(OuiRecordTest, EveryAnswerButZeroIsASuccess) {
    const auto record = RecordOf<TypeParam>(
        LoopOf({{0x10, {1}, false, false, {}, 255}, {0x20, {2}, false, false, {}, -1}}));
    EXPECT_THAT(this->Ouis(*record), ElementsAre(0x10u, 0x20u));
}

TEST_F(SSULinkageTest, ParseRefusesEveryOtherLinkageType) {
    const unsigned char bytes[] = {0x4A, 1, 0};
    for (int linkageType = 0; linkageType <= 0xFF; ++linkageType) {
        if (linkageType == kUpdateService) {
            continue;
        }
        fake::Parsing().linkage.linkageType = static_cast<unsigned char>(linkageType);
        EXPECT_FALSE(ISSULinkageDesc::Parse(bytes));
        EXPECT_THAT(platform.TakeLog(),
                    ElementsAre(DescriptorLine(
                        6, "Parse", 41,
                        Red("Not an SSU linkage descriptor 3 bytes parsed, linkage type " +
                            std::to_string(linkageType)))));
    }
}

TYPED_TEST(OuiRecordTest, OuisHaveAllThe32BitsThatThePlatformGives) {
    const auto record = RecordOf<TypeParam>(LoopOf({{0xAB00015A, {1}}, {0x15A, {2}}}));
    EXPECT_THAT(this->Ouis(*record), ElementsAre(0x15Au, 0xAB00015Au));
    EXPECT_TRUE(record->ContainsOUI(0xAB00015A));
    EXPECT_FALSE(record->ContainsOUI(0xCD00015A));
    const auto selectors = this->Selectors(*record, 0xAB00015A);
    ASSERT_EQ(selectors.size(), 1u);
    EXPECT_THAT(*selectors[0], ElementsAre(1));
    EXPECT_THAT(this->Selectors(*record, 0xCD00015A), IsEmpty());
}

TYPED_TEST(OuiRecordTest, EntriesBehindOnesThatAreMissingRefusedOrWithoutSelectorAreKept) {
    const auto record = RecordOf<TypeParam>(LoopOf({{0x10, {}},
                                                    {0x20, {2}},
                                                    {0x30, {3}, true, false},
                                                    {0x40, {4}},
                                                    {0, {}, false, true},
                                                    {0x50, {5}}}));
    EXPECT_THAT(this->Ouis(*record), ElementsAre(0x10u, 0x20u, 0x40u, 0x50u));
}

TEST_F(SSUInfoTest, PidHasAllThe16BitsThatThePlatformGives) {
    const auto desc = fake::DataBroadcastIdDesc(0x000A);
    CSSUInfo info(0xFFFE, dynamic_cast<TCDescDataBroadcastId&>(*desc));
    unsigned short pid = 0;
    info.GetPID(pid);
    EXPECT_EQ(pid, 0xFFFE);
}

}  // namespace
