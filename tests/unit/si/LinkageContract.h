#pragma once

// The tests of what the snapshots of networks and of bouquets have in common: the linkages to
// system software updates. Each of the two instantiates the tests with a `Table` that has
//
//     using Instance          the snapshot's interface
//     using Parser            the parser's interface
//     CreateParser()          a parser
//     AddTable(id)            a sub-table for the platform's parser to hold
//     SSULinkages(Instance&), SSUScanLinkages(Instance&)   the linkages that the snapshot stored

#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "SI/Include/ISSULinkageDesc.h"
#include "SI/Include/ISSUScanLinkageDesc.h"
#include "tests/support/FakeTables.h"
#include "tests/unit/si/SiFixture.h"

namespace {

using TORVEL_MW::ISSULinkageDesc;
using TORVEL_MW::ISSUScanLinkageDesc;

using Linkages = std::vector<std::unique_ptr<ISSULinkageDesc>>;
using ScanLinkages = std::vector<std::unique_ptr<ISSUScanLinkageDesc>>;

constexpr unsigned int kEveryOui = 0xFFFFFFFF;

inline std::shared_ptr<TCBaseDesc> Linkage(int linkageType, unsigned short sid, int tableType = 0,
                                           std::vector<fake::OuiEntry> entries = {}) {
    fake::LinkageScript script;
    script.onid = 0x233A;
    script.tsid = 0x1041;
    script.sid = sid;
    script.linkageType = linkageType;
    script.tableType = tableType;
    script.loop->entries = std::move(entries);
    return fake::LinkageDesc(std::move(script));
}

inline std::vector<int> ServicesOf(const Linkages& linkages) {
    std::vector<int> services;
    for (const auto& linkage : linkages) {
        unsigned short onid = 0, tsid = 0, sid = 0;
        linkage->GetLocation(onid, tsid, sid);
        EXPECT_EQ(onid, 0x233A);
        EXPECT_EQ(tsid, 0x1041);
        services.push_back(sid);
    }
    return services;
}

// The service_id of each linkage, and whether it names a NIT.
inline std::vector<std::pair<int, bool>> ServicesOf(const ScanLinkages& linkages) {
    std::vector<std::pair<int, bool>> services;
    for (const auto& linkage : linkages) {
        unsigned short onid = 0, tsid = 0, sid = 0;
        bool tableIsNit = false;
        linkage->GetLocation(tableIsNit, onid, tsid, sid);
        EXPECT_EQ(onid, 0x233A);
        EXPECT_EQ(tsid, 0x1041);
        services.emplace_back(sid, tableIsNit);
    }
    return services;
}

/// A linkage of another class. Its zeros make it look like an empty linkage of our class, so that a
/// wrong static_cast gives a wrong result and no crash.
class ForeignLinkage : public ISSULinkageDesc {
  public:
    void GetOUIs(std::list<unsigned int>&) override {}
    bool ContainsOUI(unsigned int) override { return true; }
    void GetSelectorBytes(unsigned int,
                          std::vector<std::shared_ptr<std::vector<unsigned char>>>&) override {}
    void GetLocation(unsigned short&, unsigned short&, unsigned short&) override {}

  private:
    [[maybe_unused]] const unsigned char zeros_[128] = {};
};
class ForeignScanLinkage : public ISSUScanLinkageDesc {
  public:
    bool operator==(const ISSUScanLinkageDesc&) const override { return false; }
    void GetLocation(bool&, unsigned short&, unsigned short&, unsigned short&) override {}

  private:
    [[maybe_unused]] const unsigned char zeros_[128] = {};
};

template <class Table>
class LinkageContract : public testing::Test {
  protected:
    void SetUp() override {
        platform.Reset();
        parser = Table::CreateParser();
        table = &Table::AddTable(kId);
    }

    void TearDown() override {
        parser.reset();
        platform.Reset();
        EXPECT_EQ(fake::LivingDescriptors(), 0);
    }

    std::unique_ptr<typename Table::Instance> Snapshot() {
        auto instance = parser->GetInstance(kId);
        EXPECT_TRUE(instance);
        return instance;
    }

    static constexpr unsigned short kId = 0x3001;

    FakePlatform& platform = FakePlatform::Get();
    std::unique_ptr<typename Table::Parser> parser;
    fake::NetworkScript* table = nullptr;
};

TYPED_TEST_SUITE_P(LinkageContract);

TYPED_TEST_P(LinkageContract, LinkagesAreSortedByTypeAndKeepTheOrderOfTheLoop) {
    this->table->loop.Add(Linkage(0x0A, 1, 2))
        .Add(Linkage(0x09, 2))
        .Add(Linkage(0x0A, 3, 1))
        .Add(Linkage(0x09, 4, 3))  // table_type is not looked at in linkage_type 0x09
        .Add(Linkage(0x0A, 1, 2));
    const auto snapshot = this->Snapshot();
    Linkages linkages;
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    EXPECT_THAT(ServicesOf(linkages), ElementsAre(2, 4));
    ScanLinkages scanLinkages;
    snapshot->GetSSUScanLinkageDesc(scanLinkages);
    EXPECT_THAT(
        ServicesOf(scanLinkages),
        ElementsAre(std::make_pair(1, false), std::make_pair(3, true), std::make_pair(1, false)));
    EXPECT_THAT(this->platform.TakeLog(), IsEmpty());
}

TYPED_TEST_P(LinkageContract, ScanLinkageOfAnotherTableTypeIsNotKeptAndWhatFollowsIs) {
    fake::Loop& loop = this->table->loop;
    for (const int tableType : {0, 3, 4, 0xFF}) {
        loop.Add(Linkage(0x0A, 1, tableType));
    }
    loop.Add(Linkage(0x0A, 2, 1)).Add(Linkage(0x09, 3));
    const auto snapshot = this->Snapshot();
    EXPECT_THAT(ServicesOf(TypeParam::SSUScanLinkages(*snapshot)),
                ElementsAre(std::make_pair(2, true)));
    EXPECT_THAT(ServicesOf(TypeParam::SSULinkages(*snapshot)), ElementsAre(3));
    EXPECT_THAT(this->platform.TakeLog(), IsEmpty());
}

TYPED_TEST_P(LinkageContract, LinkageOfAnotherTypeIsSkippedSilentlyAndWhatFollowsIsKept) {
    fake::Loop& loop = this->table->loop;
    for (int linkageType = 0; linkageType <= 0xFF; ++linkageType) {
        if (linkageType != 0x09 && linkageType != 0x0A) {
            loop.Add(Linkage(linkageType, 1, 1, {{0x00015A, {}}}));
        }
    }
    loop.Add(Linkage(0x0A, 2, 2)).Add(Linkage(0x09, 3));
    const auto snapshot = this->Snapshot();
    EXPECT_THAT(ServicesOf(TypeParam::SSUScanLinkages(*snapshot)),
                ElementsAre(std::make_pair(2, false)));
    EXPECT_THAT(ServicesOf(TypeParam::SSULinkages(*snapshot)), ElementsAre(3));
    EXPECT_THAT(this->platform.TakeLog(), IsEmpty());
}

TYPED_TEST_P(LinkageContract, MissingLinkageIsSkippedSilentlyAndOtherDescriptorsAreNotLinkages) {
    this->table->loop.Add(fake::PlainDesc(0x47, {0x47, 0}))
        .AddMissing(0x4A)
        .Add(Linkage(0x09, 1))
        .AddMissing(0x4A)
        .Add(Linkage(0x0A, 2, 1));
    const auto snapshot = this->Snapshot();
    EXPECT_EQ(TypeParam::SSULinkages(*snapshot).size(), 1u);
    EXPECT_EQ(TypeParam::SSUScanLinkages(*snapshot).size(), 1u);
    EXPECT_THAT(this->platform.TakeLog(), IsEmpty());
}

TYPED_TEST_P(LinkageContract, LinkageThatThePlatformCouldNotDecodeIsSkippedSilently) {
    this->table->loop.Add(fake::PlainDesc(0x4A, {0x4A, 2, 0, 0}))
        .Add(Linkage(0x09, 1))
        .Add(Linkage(0x0A, 2, 1));
    const auto snapshot = this->Snapshot();
    EXPECT_THAT(ServicesOf(TypeParam::SSULinkages(*snapshot)), ElementsAre(1));
    EXPECT_THAT(ServicesOf(TypeParam::SSUScanLinkages(*snapshot)),
                ElementsAre(std::make_pair(2, true)));
    EXPECT_THAT(this->platform.TakeLog(), IsEmpty());
}

TYPED_TEST_P(LinkageContract, OuiTakesOnlyLinkagesThatListIt) {
    this->table->loop.Add(Linkage(0x09, 1, 0, {{0x00015A, {}}, {0x000002, {}}}))
        .Add(Linkage(0x09, 2, 0, {{0x000003, {}}}))
        .Add(Linkage(0x09, 3, 0, {{0x000002, {}}}));
    const auto snapshot = this->Snapshot();
    Linkages linkages;
    snapshot->GetSSULinkageDesc(0x000002, linkages);
    EXPECT_THAT(ServicesOf(linkages), ElementsAre(1, 3));
}

TYPED_TEST_P(LinkageContract, OuiAllOnesTakesEveryLinkageAlsoThoseWithoutAny) {
    this->table->loop.Add(Linkage(0x09, 1))
        .Add(Linkage(0x09, 2, 0, {{0x00015A, {}}}))
        .Add(Linkage(0x09, 3));
    const auto snapshot = this->Snapshot();
    Linkages linkages;
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    EXPECT_THAT(ServicesOf(linkages), ElementsAre(1, 2, 3));
    EXPECT_EQ(linkages.capacity(), 3u);  // a vector that grows one by one would have 4
}

TYPED_TEST_P(LinkageContract, NoOtherOuiIsAWildcard) {
    this->table->loop.Add(Linkage(0x09, 1)).Add(Linkage(0x09, 2, 0, {{0x00015A, {}}}));
    const auto snapshot = this->Snapshot();
    Linkages linkages;
    for (const unsigned int oui : {0u, 0xFFFFFFu, 0xFF00015Au, 0xFFFFFFFEu}) {
        snapshot->GetSSULinkageDesc(oui, linkages);
    }
    EXPECT_THAT(linkages, IsEmpty());
}

TYPED_TEST_P(LinkageContract, OuiThatNoLinkageListsGivesNothingButRoomForAll) {
    fake::Loop& loop = this->table->loop;
    loop.Add(Linkage(0x09, 1)).Add(Linkage(0x09, 2)).Add(Linkage(0x09, 3));
    Linkages linkages;
    this->Snapshot()->GetSSULinkageDesc(0x00015A, linkages);
    EXPECT_THAT(linkages, IsEmpty());
    EXPECT_EQ(linkages.capacity(), 3u);
}

TYPED_TEST_P(LinkageContract, RoomIsForTheLinkagesStoredWhateverTheVectorHeld) {
    fake::Loop& loop = this->table->loop;
    loop.Add(Linkage(0x09, 1)).Add(Linkage(0x09, 2)).Add(Linkage(0x09, 3));
    const auto snapshot = this->Snapshot();
    Linkages linkages(2);
    ASSERT_EQ(linkages.capacity(), 2u);
    snapshot->GetSSULinkageDesc(0x00015A, linkages);
    EXPECT_EQ(linkages.size(), 2u);
    EXPECT_EQ(linkages.capacity(), 3u);
}

TYPED_TEST_P(LinkageContract, ScanLinkagesAreGivenWithRoomForThemWhateverTheVectorHeld) {
    fake::Loop& loop = this->table->loop;
    loop.Add(Linkage(0x0A, 1, 1)).Add(Linkage(0x0A, 2, 2));
    const auto snapshot = this->Snapshot();
    ScanLinkages fresh;
    snapshot->GetSSUScanLinkageDesc(fresh);
    EXPECT_EQ(fresh.size(), 2u);
    EXPECT_EQ(fresh.capacity(), 2u);

    TypeParam::SSUScanLinkages(*snapshot)[0] = std::make_unique<ForeignScanLinkage>();
    TypeParam::SSUScanLinkages(*snapshot)[1] = std::make_unique<ForeignScanLinkage>();
    ScanLinkages held(1);
    ASSERT_EQ(held.capacity(), 1u);
    snapshot->GetSSUScanLinkageDesc(held);
    EXPECT_EQ(held.size(), 1u);
    EXPECT_EQ(held.capacity(), 2u);
}

TYPED_TEST_P(LinkageContract, LinkagesAreAppended) {
    this->table->loop.Add(Linkage(0x09, 1)).Add(Linkage(0x0A, 2, 1));
    const auto snapshot = this->Snapshot();
    Linkages linkages(1);
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    ASSERT_EQ(linkages.size(), 3u);
    EXPECT_FALSE(linkages[0]);
    EXPECT_TRUE(linkages[1]);
    EXPECT_TRUE(linkages[2]);
    ScanLinkages scanLinkages(1);
    snapshot->GetSSUScanLinkageDesc(scanLinkages);
    snapshot->GetSSUScanLinkageDesc(scanLinkages);
    ASSERT_EQ(scanLinkages.size(), 3u);
    EXPECT_FALSE(scanLinkages[0]);
    EXPECT_TRUE(scanLinkages[1]);
    EXPECT_TRUE(scanLinkages[2]);
}

TYPED_TEST_P(LinkageContract, LinkagesGivenAreCopiesThatShareTheirSelectorBytes) {
    this->table->loop.Add(Linkage(0x09, 1, 0, {{0x00015A, {1, 2}}}));
    const auto snapshot = this->Snapshot();
    Linkages linkages;
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    ASSERT_EQ(linkages.size(), 2u);
    EXPECT_NE(linkages[0], linkages[1]);
    std::vector<std::shared_ptr<std::vector<unsigned char>>> selectors;
    linkages[0]->GetSelectorBytes(0x00015A, selectors);
    linkages[1]->GetSelectorBytes(0x00015A, selectors);
    ASSERT_EQ(selectors.size(), 2u);
    EXPECT_EQ(selectors[0], selectors[1]);
    EXPECT_THAT(*selectors[0], ElementsAre(1, 2));
}

TYPED_TEST_P(LinkageContract, LinkagesOfAnotherImplementationAreNotGiven) {
    this->table->loop.Add(Linkage(0x09, 1)).Add(Linkage(0x0A, 2, 1));
    const auto snapshot = this->Snapshot();
    Linkages& stored = TypeParam::SSULinkages(*snapshot);
    stored.insert(stored.begin(), std::make_unique<ForeignLinkage>());
    ScanLinkages& scanStored = TypeParam::SSUScanLinkages(*snapshot);
    scanStored.insert(scanStored.begin(), std::make_unique<ForeignScanLinkage>());
    Linkages linkages;
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    EXPECT_THAT(ServicesOf(linkages), ElementsAre(1));
    linkages.clear();
    snapshot->GetSSULinkageDesc(0x00015A, linkages);
    EXPECT_THAT(linkages, IsEmpty());
    ScanLinkages scanLinkages;
    snapshot->GetSSUScanLinkageDesc(scanLinkages);
    EXPECT_THAT(ServicesOf(scanLinkages), ElementsAre(std::make_pair(2, true)));
}

TYPED_TEST_P(LinkageContract, TableWithoutLinkageGivesNothing) {
    this->table->loop.Add(fake::PlainDesc(0x47, {0x47, 0}));
    const auto snapshot = this->Snapshot();
    Linkages linkages(1);
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    EXPECT_EQ(linkages.size(), 1u);
    ScanLinkages scanLinkages(1);
    snapshot->GetSSUScanLinkageDesc(scanLinkages);
    EXPECT_EQ(scanLinkages.size(), 1u);
    EXPECT_THAT(this->platform.TakeLog(), IsEmpty());
}

REGISTER_TYPED_TEST_SUITE_P(LinkageContract, LinkagesAreSortedByTypeAndKeepTheOrderOfTheLoop,
                            ScanLinkageOfAnotherTableTypeIsNotKeptAndWhatFollowsIs,
                            LinkageOfAnotherTypeIsSkippedSilentlyAndWhatFollowsIsKept,
                            MissingLinkageIsSkippedSilentlyAndOtherDescriptorsAreNotLinkages,
                            LinkageThatThePlatformCouldNotDecodeIsSkippedSilently,
                            OuiTakesOnlyLinkagesThatListIt,
                            OuiAllOnesTakesEveryLinkageAlsoThoseWithoutAny, NoOtherOuiIsAWildcard,
                            OuiThatNoLinkageListsGivesNothingButRoomForAll,
                            RoomIsForTheLinkagesStoredWhateverTheVectorHeld,
                            ScanLinkagesAreGivenWithRoomForThemWhateverTheVectorHeld,
                            LinkagesAreAppended, LinkagesGivenAreCopiesThatShareTheirSelectorBytes,
                            LinkagesOfAnotherImplementationAreNotGiven,
                            TableWithoutLinkageGivesNothing);

}  // namespace
