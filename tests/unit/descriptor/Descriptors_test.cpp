#include <functional>

#include "platform/TCDescApplicationSignalling.h"
#include "platform/TCDescBouquetName.h"
#include "platform/TCDescCA.h"
#include "platform/TCDescCarouselIdentifier.h"
#include "platform/TCDescComponent.h"
#include "platform/TCDescContent.h"
#include "platform/TCDescExtendedEvent.h"
#include "platform/TCDescExtension.h"
#include "platform/TCDescNetworkName.h"
#include "platform/TCDescParentalRating.h"
#include "platform/TCDescPrivateDataSpecifier.h"
#include "platform/TCDescService.h"
#include "platform/TCDescServiceList.h"
#include "platform/TCDescShortEvent.h"
#include "platform/TCDescStreamIdentifier.h"
#include "tests/unit/descriptor/DescriptorFixture.h"

namespace {

/// Parses a payload. Returns how many bytes of it were consumed, or -1 when the fixed part did not
/// fit.
template <class Desc>
int Consumed(Desc& desc, const Bytes& payload) {
    const int consumed = ParseExactly(desc, Whole(0x00, payload));
    EXPECT_EQ(desc.Length(), static_cast<int>(payload.size()) + 2);
    return consumed == 0 ? -1 : consumed - 2;
}

TEST(CADescriptor, HasSystemAndPidBeforeItsPrivateData) {
    TCDescCA desc;
    EXPECT_EQ(Consumed(desc, {0x09, 0x19, 0xFF, 0xFE, 1, 2, 3}), 7);
    EXPECT_EQ(desc.CASystemId(), 0x0919);
    EXPECT_EQ(desc.CAPID(), 0x1FFE);
    EXPECT_EQ(Consumed(desc, {0x09, 0x19, 0xFF}), -1);
    EXPECT_EQ(desc.CASystemId(), 0) << "a fixed part that does not fit gives no values";
}

TEST(CarouselIdentifierDescriptor, HasTheCarouselId) {
    TCDescCarouselIdentifier desc;
    EXPECT_EQ(Consumed(desc, {0xFE, 0xDC, 0xBA, 0x98, 0x00}), 5);
    EXPECT_EQ(desc.CarouselId(), 0xFEDCBA98u);
    EXPECT_EQ(Consumed(desc, {1, 2, 3}), -1);
}

TEST(StreamIdentifierDescriptor, IsOneByte) {
    TCDescStreamIdentifier desc;
    EXPECT_EQ(Consumed(desc, {0xFE}), 1);
    EXPECT_EQ(desc.ComponentTag(), 0xFE);
    EXPECT_EQ(Consumed(desc, {0x01, 0x02}), 1) << "a byte too many";
    EXPECT_EQ(Consumed(desc, {}), -1);
}

TEST(PrivateDataSpecifierDescriptor, IsFourBytes) {
    TCDescPrivateDataSpecifier desc;
    EXPECT_EQ(Consumed(desc, {0xFE, 0, 0, 0x28}), 4);
    EXPECT_EQ(desc.PrivateDataSpecifier(), 0xFE000028u);
    EXPECT_EQ(Consumed(desc, {0, 0, 0x28}), -1);
}

TEST(NameDescriptors, AreTheirText) {
    TCDescNetworkName network;
    EXPECT_EQ(Consumed(network, BytesOf("Net")), 3);
    EXPECT_EQ(network.Name(), BytesOf("Net"));
    TCDescBouquetName bouquet;
    EXPECT_EQ(Consumed(bouquet, {}), 0);
    EXPECT_THAT(bouquet.Name(), IsEmpty());
}

TEST(ServiceListDescriptor, ListsServicesAndTheirTypes) {
    TCDescServiceList desc;
    EXPECT_EQ(Consumed(desc, {0x04, 0x07, 0x01, 0xFF, 0xFF, 0x19}), 6);
    ASSERT_EQ(desc.NumOfServices(), 2);
    EXPECT_EQ(desc.ServiceId(0), 0x0407);
    EXPECT_EQ(desc.ServiceType(0), 1);
    EXPECT_EQ(desc.ServiceId(1), 0xFFFF);
    EXPECT_EQ(desc.ServiceType(1), 0x19);
    EXPECT_EQ(desc.ServiceId(2), 0);
    EXPECT_EQ(desc.ServiceType(2), 0);
    EXPECT_EQ(Consumed(desc, {1, 2, 3, 4}), 3) << "half an entry";
    EXPECT_EQ(desc.NumOfServices(), 1);
}

TEST(ServiceDescriptor, HasTypeProviderAndName) {
    TCDescService desc;
    EXPECT_EQ(Consumed(desc, Bytes{0x19, 2} + BytesOf("Pr") + Bytes{4} + BytesOf("Name")), 9);
    EXPECT_EQ(desc.ServiceType(), 0x19);
    EXPECT_EQ(desc.ServiceProviderName(), BytesOf("Pr"));
    EXPECT_EQ(desc.ServiceName(), BytesOf("Name"));
    EXPECT_EQ(Consumed(desc, {1, 0, 0}), 3);
    EXPECT_THAT(desc.ServiceName(), IsEmpty());
    EXPECT_EQ(Consumed(desc, {1, 0, 0, 9}), 3) << "a byte too many";
    EXPECT_EQ(Consumed(desc, Bytes{1, 2} + BytesOf("Pr") + Bytes{4} + BytesOf("Nam")), -1);
    EXPECT_EQ(Consumed(desc, {1, 3, 'P'}), -1);
    EXPECT_EQ(Consumed(desc, {1}), -1);
    EXPECT_EQ(Consumed(desc, {}), -1);
}

TEST(ShortEventDescriptor, HasLanguageNameAndText) {
    TCDescShortEvent desc;
    EXPECT_EQ(Consumed(desc, BytesOf("eng") + Bytes{1, 'N', 2, 'T', 'x'}), 8);
    EXPECT_EQ(desc.LanguageCode(), 0x656E67u);
    EXPECT_EQ(desc.EventName(), BytesOf("N"));
    EXPECT_EQ(desc.Text(), BytesOf("Tx"));
    EXPECT_EQ(Consumed(desc, BytesOf("eng") + Bytes{1, 'N', 3, 'T', 'x'}), -1);
    EXPECT_EQ(Consumed(desc, BytesOf("en")), -1);
}

TEST(ExtendedEventDescriptor, HasItemsAndText) {
    TCDescExtendedEvent desc;
    const Bytes items{1, 'D', 2, 'I', 't', 0, 0};
    EXPECT_EQ(Consumed(desc, Bytes{0x12} + BytesOf("deu") + Bytes{7} + items + Bytes{1, 'T'}), 14);
    EXPECT_EQ(desc.DescriptorNumber(), 1);
    EXPECT_EQ(desc.LastDescriptorNumber(), 2);
    EXPECT_EQ(desc.LanguageCode(), 0x646575u);
    ASSERT_EQ(desc.NumOfItems(), 2);
    EXPECT_EQ(desc.ItemDescription(0), BytesOf("D"));
    EXPECT_EQ(desc.Item(0), BytesOf("It"));
    EXPECT_THAT(desc.Item(1), IsEmpty());
    EXPECT_THAT(desc.Item(2), IsEmpty());
    EXPECT_THAT(desc.ItemDescription(2), IsEmpty());
    EXPECT_EQ(desc.Text(), BytesOf("T"));
}

TEST(ExtendedEventDescriptor, KeepsTheItemsBeforeOneThatOverruns) {
    TCDescExtendedEvent desc;
    const Bytes items{1, 'D', 1, 'I', 9};
    EXPECT_EQ(Consumed(desc, Bytes{0x00} + BytesOf("deu") + Bytes{5} + items + Bytes{0}), 9);
    EXPECT_EQ(desc.NumOfItems(), 1);
    EXPECT_EQ(Consumed(desc, Bytes{0x00} + BytesOf("deu") + Bytes{9, 0}), -1);
    EXPECT_EQ(Consumed(desc, Bytes{0x00} + BytesOf("deu") + Bytes{0}), -1) << "no text_length";
}

TEST(ComponentDescriptor, HasItsFields) {
    TCDescComponent desc;
    EXPECT_EQ(Consumed(desc, Bytes{0xF5, 0x0B, 0x02} + BytesOf("fra") + BytesOf("x")), 7);
    EXPECT_EQ(desc.StreamContentExt(), 0xF);
    EXPECT_EQ(desc.StreamContent(), 5);
    EXPECT_EQ(desc.ComponentType(), 0x0B);
    EXPECT_EQ(desc.ComponentTag(), 2);
    EXPECT_EQ(desc.LanguageCode(), 0x667261u);
    EXPECT_EQ(desc.Text(), BytesOf("x"));
    EXPECT_EQ(Consumed(desc, {1, 2, 3, 4, 5}), -1);
}

TEST(ContentDescriptor, ListsNibblesAndUserBytes) {
    TCDescContent desc;
    EXPECT_EQ(Consumed(desc, {0xA5, 0x01, 0x18, 0x02, 0x77}), 4);
    ASSERT_EQ(desc.NumOfContents(), 2);
    EXPECT_EQ(desc.ContentNibbles(0), 0xA5);
    EXPECT_EQ(desc.UserByte(1), 2);
    EXPECT_EQ(desc.ContentNibbles(2), 0);
    EXPECT_EQ(desc.UserByte(2), 0);
}

TEST(ParentalRatingDescriptor, ListsCountriesAndRatings) {
    TCDescParentalRating desc;
    EXPECT_EQ(Consumed(desc, BytesOf("DEU") + Bytes{9} + BytesOf("FRA") + Bytes{0x10, 1}), 8);
    ASSERT_EQ(desc.NumOfRatings(), 2);
    EXPECT_EQ(desc.CountryCode(1), 0x465241u);
    EXPECT_EQ(desc.Rating(0), 9);
    EXPECT_EQ(desc.CountryCode(2), 0u);
    EXPECT_EQ(desc.Rating(2), 0);
}

TEST(ApplicationSignallingDescriptor, ListsTypesAndVersions) {
    TCDescApplicationSignalling desc;
    EXPECT_EQ(Consumed(desc, {0x80, 0x10, 0xE2, 0xFF, 0xFF, 0xFF}), 6);
    ASSERT_EQ(desc.NumOfApplications(), 2);
    EXPECT_EQ(desc.ApplicationType(0), 0x0010);
    EXPECT_EQ(desc.AITVersionNumber(0), 2);
    EXPECT_EQ(desc.ApplicationType(1), 0x7FFF);
    EXPECT_EQ(desc.AITVersionNumber(1), 31);
    EXPECT_EQ(desc.ApplicationType(2), 0);
    EXPECT_EQ(desc.AITVersionNumber(2), 0);
}

TEST(ExtensionDescriptor, TagHoldsBothTags) {
    TCDescExtension desc;
    EXPECT_EQ(desc.Tag(), 0x7F00);
    EXPECT_EQ(ParseExactly(desc, {0x7F, 3, 0x06, 1, 2}), 5);
    EXPECT_EQ(desc.Tag(), 0x7F06);
    EXPECT_EQ(desc.TagExtension(), 6);
    EXPECT_EQ(ParseExactly(desc, {0x7F, 0}), 0);
    const std::unique_ptr<TCBaseDesc> fork(desc.Fork());
    EXPECT_NE(dynamic_cast<TCDescExtension*>(fork.get()), nullptr);
}

template <class Desc>
void ExpectForkAnswersTheSame(const Bytes& payload,
                              const std::function<bool(const Desc&, const Desc&)>& equal) {
    Desc desc;
    ParseExactly(desc, Whole(0x00, payload));
    const std::unique_ptr<TCBaseDesc> fork(desc.Fork());
    const auto* const same = dynamic_cast<Desc*>(fork.get());
    ASSERT_NE(same, nullptr);
    EXPECT_TRUE(equal(desc, *same));
    EXPECT_EQ(fork->Length(), desc.Length());
}

TEST(Forks, AnswerAsTheirOriginals) {
    ExpectForkAnswersTheSame<TCDescService>(
        Bytes{0x19, 1, 'P', 1, 'N'},
        [](const auto& a, const auto& b) { return a.ServiceName() == b.ServiceName(); });
    ExpectForkAnswersTheSame<TCDescServiceList>(
        {1, 2, 3}, [](const auto& a, const auto& b) { return a.ServiceId(0) == b.ServiceId(0); });
    ExpectForkAnswersTheSame<TCDescShortEvent>(
        {'e', 'n', 'g', 1, 'N', 0},
        [](const auto& a, const auto& b) { return a.EventName() == b.EventName(); });
    ExpectForkAnswersTheSame<TCDescExtendedEvent>(
        {0, 'e', 'n', 'g', 2, 0, 0, 0},
        [](const auto& a, const auto& b) { return a.NumOfItems() == b.NumOfItems(); });
    ExpectForkAnswersTheSame<TCDescComponent>({1, 2, 3, 4, 5, 6}, [](const auto& a, const auto& b) {
        return a.ComponentTag() == b.ComponentTag();
    });
    ExpectForkAnswersTheSame<TCDescContent>(
        {1, 2}, [](const auto& a, const auto& b) { return a.UserByte(0) == b.UserByte(0); });
    ExpectForkAnswersTheSame<TCDescParentalRating>(
        {1, 2, 3, 4}, [](const auto& a, const auto& b) { return a.Rating(0) == b.Rating(0); });
    ExpectForkAnswersTheSame<TCDescApplicationSignalling>(
        {1, 2, 3},
        [](const auto& a, const auto& b) { return a.ApplicationType(0) == b.ApplicationType(0); });
    ExpectForkAnswersTheSame<TCDescNetworkName>(
        {'N'}, [](const auto& a, const auto& b) { return a.Name() == b.Name(); });
    ExpectForkAnswersTheSame<TCDescBouquetName>(
        {'N'}, [](const auto& a, const auto& b) { return a.Name() == b.Name(); });
    ExpectForkAnswersTheSame<TCDescPrivateDataSpecifier>(
        {1, 2, 3, 4}, [](const auto& a, const auto& b) {
            return a.PrivateDataSpecifier() == b.PrivateDataSpecifier();
        });
    ExpectForkAnswersTheSame<TCDescStreamIdentifier>(
        {7}, [](const auto& a, const auto& b) { return a.ComponentTag() == b.ComponentTag(); });
    ExpectForkAnswersTheSame<TCDescCarouselIdentifier>(
        {1, 2, 3, 4},
        [](const auto& a, const auto& b) { return a.CarouselId() == b.CarouselId(); });
}

}  // namespace
