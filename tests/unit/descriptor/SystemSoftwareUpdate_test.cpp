#include "platform/TCDescDataBroadcastId.h"
#include "platform/TCDescLinkage.h"
#include "tests/unit/descriptor/DescriptorFixture.h"

namespace {

const Bytes kPlace{0x00, 0x01, 0xFF, 0x10, 0x04, 0x07};  // tsid, onid, service_id

Bytes Linkage(unsigned char type, const Bytes& rest) {
    return Whole(0x4A, kPlace + Bytes{type} + rest);
}

template <class Entry>
Bytes SelectorOf(Entry& entry) {
    char selector[256];
    int length = entry.SelectorLength();
    EXPECT_NE(entry.SelectorByte(selector, &length), 0);
    EXPECT_EQ(length, entry.SelectorLength());
    return Bytes(selector, selector + length);
}

TEST(LinkageDescriptor, HasItsPlaceWhateverItsType) {
    for (const int type : {0x00, 0x04, 0x08, 0x0D, 0x81, 0x90, 0xA2, 0xFF}) {
        TCDescLinkage desc;
        // With these types a payload that looks like an OUI loop is not read as one.
        const Bytes bytes = Linkage(static_cast<unsigned char>(type), {4, 0, 1, 0x5A, 0, 9});
        EXPECT_TRUE(ParsesWhole(desc, bytes));
        EXPECT_EQ(desc.TransportStreamId(), 1);
        EXPECT_EQ(desc.OriginalNetworkId(), 0xFF10);
        EXPECT_EQ(desc.ServiceId(), 0x0407);
        EXPECT_EQ(desc.LinkageType(), type);
        EXPECT_EQ(desc.TableType(), 0);
        EXPECT_EQ(desc.NumOfSSULinkLoop(), 0);
        EXPECT_EQ(desc.SSULinkLoop(0), nullptr);
    }
}

TEST(LinkageDescriptor, OfAnUpdateServiceListsOuisAndSelectors) {
    TCDescLinkage desc;
    const Bytes loop{0x02, 0xA1, 0xB2, 2, 0x11, 0x22, 0x00, 0x01, 0x5A, 0};
    EXPECT_TRUE(ParsesWhole(desc, Linkage(0x09, Bytes{10} + loop + Bytes{0xAA, 0xBB})));
    ASSERT_EQ(desc.NumOfSSULinkLoop(), 2);
    EXPECT_EQ(desc.SSULinkLoop(0)->OUI(), 0x02A1B2u);
    EXPECT_THAT(SelectorOf(*desc.SSULinkLoop(0)), ElementsAre(0x11, 0x22));
    EXPECT_EQ(desc.SSULinkLoop(1)->OUI(), 0x00015Au);
    EXPECT_THAT(SelectorOf(*desc.SSULinkLoop(1)), IsEmpty());
    EXPECT_EQ(desc.SSULinkLoop(2), nullptr);
}

TEST(LinkageDescriptor, OfAnUpdateServiceMayListNothing) {
    TCDescLinkage desc;
    EXPECT_TRUE(ParsesWhole(desc, Linkage(0x09, {0})));
    EXPECT_EQ(desc.NumOfSSULinkLoop(), 0);
    EXPECT_TRUE(ParsesWhole(desc, Linkage(0x09, {})));
    EXPECT_EQ(desc.NumOfSSULinkLoop(), 0);
}

TEST(LinkageDescriptor, WhoseLoopOverrunsConsumesLessThanItsLength) {
    TCDescLinkage desc;
    // The second entry's selector is longer than OUI_data_length allows.
    const Bytes bytes = Linkage(0x09, {9, 0, 1, 0x5A, 0, 0, 1, 0x5B, 3, 0x11});
    EXPECT_EQ(ParseExactly(desc, bytes), 2 + 7 + 1 + 4);
    EXPECT_EQ(desc.NumOfSSULinkLoop(), 1);
    // OUI_data_length is longer than the descriptor.
    EXPECT_FALSE(ParsesWhole(desc, Linkage(0x09, {8, 0, 1, 0x5A, 0})));
    EXPECT_EQ(desc.NumOfSSULinkLoop(), 1);
}

TEST(LinkageDescriptor, OfATableHasItsType) {
    TCDescLinkage desc;
    for (const unsigned char table : Bytes{1, 2, 3}) {
        EXPECT_TRUE(ParsesWhole(desc, Linkage(0x0A, {table, 0x77})));
        EXPECT_EQ(desc.TableType(), table);
    }
    EXPECT_TRUE(ParsesWhole(desc, Linkage(0x0A, {})));
    EXPECT_EQ(desc.TableType(), 0);
}

TEST(LinkageDescriptor, WithoutAWholePlaceDoesNotParse) {
    TCDescLinkage desc;
    EXPECT_EQ(ParseExactly(desc, Linkage(0x09, {0})), 10);
    EXPECT_EQ(ParseExactly(desc, Whole(0x4A, kPlace)), 0);
    EXPECT_EQ(desc.Length(), 8);
    EXPECT_EQ(desc.LinkageType(), 0);
}

TEST(LinkageDescriptor, SelectorBytesNeedRoom) {
    TCDescLinkage desc;
    ParseExactly(desc, Linkage(0x09, {6, 0, 1, 0x5A, 2, 0x11, 0x22}));
    CSSULinkLoop& entry = *desc.SSULinkLoop(0);
    char buffer[3] = {};
    int length = 1;
    EXPECT_EQ(entry.SelectorByte(buffer, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(entry.SelectorByte(nullptr, &length), 0);
    length = 3;
    EXPECT_NE(entry.SelectorByte(buffer, &length), 0);
    EXPECT_EQ(length, 2);
}

TEST(LinkageDescriptor, ForkKeepsItsEntries) {
    std::unique_ptr<TCBaseDesc> fork;
    {
        TCDescLinkage desc;
        ParseExactly(desc, Linkage(0x09, {5, 0, 1, 0x5A, 1, 0x11}));
        fork.reset(desc.Fork());
    }
    const auto* const linkage = dynamic_cast<TCDescLinkage*>(fork.get());
    ASSERT_NE(linkage, nullptr);
    ASSERT_EQ(linkage->NumOfSSULinkLoop(), 1);
    EXPECT_THAT(SelectorOf(*linkage->SSULinkLoop(0)), ElementsAre(0x11));
}

TEST(DataBroadcastIdDescriptor, OfOtherDataHasNoEntries) {
    TCDescDataBroadcastId desc;
    EXPECT_EQ(ParseExactly(desc, Whole(0x66, {0x01, 0x23, 6, 0, 1, 0x5A, 0xF0, 0, 0})), 11);
    EXPECT_EQ(desc.DataBroadcastId(), 0x0123);
    EXPECT_EQ(desc.NumOfSSUInfoLoop(), 0);
    EXPECT_EQ(desc.SSUInfoLoop(0), nullptr);
    EXPECT_EQ(ParseExactly(desc, Whole(0x66, {0x00})), 0);
}

TEST(DataBroadcastIdDescriptor, OfUpdatesListsOffers) {
    TCDescDataBroadcastId desc;
    const Bytes entries{0x02, 0xA1, 0xB2, 0xF2, 0xE5, 1, 0x99, 0x00, 0x01, 0x5A, 0xF0, 0xC0, 0};
    EXPECT_EQ(ParseExactly(desc, Whole(0x66, Bytes{0x00, 0x0A, 13} + entries + Bytes{0xDD})), 19);
    EXPECT_EQ(desc.DataBroadcastId(), 0x000A);
    ASSERT_EQ(desc.NumOfSSUInfoLoop(), 2);
    CSSUInfoLoop& first = *desc.SSUInfoLoop(0);
    EXPECT_EQ(first.OUI(), 0x02A1B2u);
    EXPECT_EQ(first.UpdateType(), 2);
    EXPECT_TRUE(first.UpdateVersioningFlag());
    EXPECT_EQ(first.UpdateVersion(), 5);
    EXPECT_THAT(SelectorOf(first), ElementsAre(0x99));
    CSSUInfoLoop& second = *desc.SSUInfoLoop(1);
    EXPECT_FALSE(second.UpdateVersioningFlag());
    EXPECT_THAT(SelectorOf(second), IsEmpty());
    char none = 0;
    int length = 0;
    EXPECT_EQ(first.SelectorByte(&none, &length), 0);
    const std::unique_ptr<TCBaseDesc> fork(desc.Fork());
    EXPECT_EQ(dynamic_cast<TCDescDataBroadcastId&>(*fork).NumOfSSUInfoLoop(), 2);
}

TEST(DataBroadcastIdDescriptor, WhoseLoopOverrunsKeepsTheWholeEntries) {
    TCDescDataBroadcastId desc;
    EXPECT_EQ(ParseExactly(desc, Whole(0x66, {0x00, 0x0A, 8, 0, 1, 0x5A, 0, 0, 0, 7, 7})), 2 + 9);
    EXPECT_EQ(desc.NumOfSSUInfoLoop(), 1);
    EXPECT_EQ(ParseExactly(desc, Whole(0x66, {0x00, 0x0A, 7, 0, 1, 0x5A, 0, 0, 0})), 2 + 2);
    EXPECT_EQ(desc.NumOfSSUInfoLoop(), 1);
    EXPECT_EQ(ParseExactly(desc, Whole(0x66, {0x00, 0x0A})), 4);
    EXPECT_EQ(desc.NumOfSSUInfoLoop(), 0);
}

}  // namespace
