#include "SI/Include/IDeliveryDesc.h"

#include <type_traits>

#include "platform/TCDescCableDeliverySystem.h"
#include "platform/TCDescSatelliteDeliverySystem.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCDescTerrestrialDeliverySystem.h"
#include "tests/support/FakeDescriptors.h"
#include "tests/unit/si/SiFixture.h"
#include "tests/unit/si/Slot.h"

namespace {

using namespace TORVEL_MW;

std::string ParseLine(int priority, int line, const std::string& text) {
    return std::to_string(priority) + " DescriptorsKorvo.cpp Parse(" + std::to_string(line) +
           ") > " + text;
}

class DeliveryDescTest : public testing::Test {
  protected:
    void SetUp() override { platform.Reset(); }

    std::shared_ptr<IDeliveryDesc> Parse(Bytes bytes) {
        bytes_ = std::move(bytes);
        return IDeliveryDesc::Parse(bytes_.data());
    }

    FakePlatform& platform = FakePlatform::Get();
    Bytes bytes_;
};

TEST_F(DeliveryDescTest, KindsHaveTheirCodes) {
    EXPECT_EQ(IDeliveryDesc::DELIVERY_T2, 0);
    EXPECT_EQ(IDeliveryDesc::DELIVERY_TERRESTRIAL, 1);
    EXPECT_EQ(IDeliveryDesc::DELIVERY_CABLE, 2);
    EXPECT_EQ(IDeliveryDesc::DELIVERY_SATELLITE, 3);
    static_assert(
        std::is_same_v<std::underlying_type_t<IDeliveryDesc::EDeliverySystemType>, std::int32_t>);
    static_assert(std::has_virtual_destructor_v<IDeliveryDesc>);
}

template <class Delivery>
constexpr bool AddsTheCopyAlone() {
    return sizeof(Delivery) == sizeof(IDeliveryDesc) + sizeof(std::shared_ptr<TCBaseDesc>) &&
           std::is_base_of_v<IDeliveryDesc, Delivery>;
}

TEST_F(DeliveryDescTest, ClassesAddThePlatformsCopyAndNothingElse) {
    EXPECT_EQ(sizeof(IDeliveryDesc), 2 * sizeof(void*));  // virtual table and kind
    EXPECT_TRUE(AddsTheCopyAlone<CT2DeliverySystemDesc>());
    EXPECT_TRUE(AddsTheCopyAlone<CTerrestrialDeliverySystemDesc>());
    EXPECT_TRUE(AddsTheCopyAlone<CCableDeliverySystemDesc>());
    EXPECT_TRUE(AddsTheCopyAlone<CSatelliteDeliverySystemDesc>());
}

TEST_F(DeliveryDescTest, Satellite) {
    const auto delivery = Parse({0x43, 1, 0});
    ASSERT_TRUE(delivery);
    EXPECT_EQ(delivery->Type(), IDeliveryDesc::DELIVERY_SATELLITE);
    EXPECT_NE(dynamic_cast<CSatelliteDeliverySystemDesc*>(delivery.get()), nullptr);
    EXPECT_NE(dynamic_cast<TCDescSatelliteDeliverySystem*>(delivery->PlatformDesc().get()),
              nullptr);
    EXPECT_THAT(fake::Parsing().satelliteTags, ElementsAre(0x43));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(ParseLine(3, 292, "Satellite delivery system descriptor")));
}

TEST_F(DeliveryDescTest, TerrestrialTellsItsFrequencyOnceItIsParsed) {
    const auto delivery = Parse({0x5A, 4, 0xFF, 0xFF, 0xFF, 0xFF});
    ASSERT_TRUE(delivery);
    EXPECT_EQ(delivery->Type(), IDeliveryDesc::DELIVERY_TERRESTRIAL);
    EXPECT_NE(dynamic_cast<CTerrestrialDeliverySystemDesc*>(delivery.get()), nullptr);
    EXPECT_NE(dynamic_cast<TCDescTerrestrialDeliverySystem*>(delivery->PlatformDesc().get()),
              nullptr);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(ParseLine(3, 303, "Terrestrial delivery system descriptor"),
                            ParseLine(3, 308, "Freq 4294967295")));
}

TEST_F(DeliveryDescTest, Cable) {
    const auto delivery = Parse({0x44, 1, 0});
    ASSERT_TRUE(delivery);
    EXPECT_EQ(delivery->Type(), IDeliveryDesc::DELIVERY_CABLE);
    EXPECT_NE(dynamic_cast<CCableDeliverySystemDesc*>(delivery.get()), nullptr);
    EXPECT_NE(dynamic_cast<TCDescCableDeliverySystem*>(delivery->PlatformDesc().get()), nullptr);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(ParseLine(3, 315, "Cable delivery system descriptor")));
}

TEST_F(DeliveryDescTest, T2OfLength4) {
    const auto delivery = Parse({0x7F, 4, 0x04, 0, 0, 0});
    ASSERT_TRUE(delivery);
    EXPECT_EQ(delivery->Type(), IDeliveryDesc::DELIVERY_T2);
    EXPECT_NE(dynamic_cast<CT2DeliverySystemDesc*>(delivery.get()), nullptr);
    EXPECT_NE(dynamic_cast<TCDescT2SystemDelivery*>(delivery->PlatformDesc().get()), nullptr);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(ParseLine(3, 328, "T2 delivery system descriptor")));
}

TEST_F(DeliveryDescTest, T2OfAnyOtherLengthIsRefusedByItsLengthByte) {
    // The length byte decides, so an extension tag of 4 changes nothing.
    for (const unsigned char length : Bytes{3, 6, 13}) {
        Bytes bytes(2u + length, 0x04);
        bytes[0] = 0x7F;
        bytes[1] = length;
        EXPECT_FALSE(Parse(bytes));
        EXPECT_THAT(
            platform.TakeLog(),
            ElementsAre(ParseLine(6, 339, Red("Unknown extension tag " + std::to_string(length)))));
    }
    EXPECT_THAT(fake::Parsing().parsed, IsEmpty());
}

TEST_F(DeliveryDescTest, AnotherExtensionOfLength4IsParsedAndThenRefused) {
    EXPECT_FALSE(Parse({0x7F, 4, 0x05, 0, 0, 0}));
    EXPECT_EQ(fake::Parsing().parsed.size(), 1u);
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(ParseLine(3, 328, "T2 delivery system descriptor"),
                    ParseLine(6, 335, Red("Failed to parse DSD 6 bytes parsed, tag 32517"))));
}

TEST_F(DeliveryDescTest, AnUnknownTagIsToldByItsLengthByte) {
    for (const unsigned char tag : Bytes{0x41, 0x00, 0xFA, 0x42, 0x45, 0x59, 0x7E}) {
        EXPECT_FALSE(Parse({tag, 2, 0, 0}));
        EXPECT_THAT(platform.TakeLog(), ElementsAre(ParseLine(6, 344, Red("Unknown tag 2"))));
    }
}

struct Kind {
    Bytes bytes;
    int line;
    std::string text;
    int failureLine;
    unsigned short tag;
};

std::vector<Kind> Kinds() {
    return {{{0x43, 1, 0}, 292, "Satellite delivery system descriptor", 299, 0x43},
            {{0x5A, 1, 0}, 303, "Terrestrial delivery system descriptor", 311, 0x5A},
            {{0x44, 1, 0}, 315, "Cable delivery system descriptor", 322, 0x44},
            {{0x7F, 4, 4, 0, 0, 0}, 328, "T2 delivery system descriptor", 335, 0x7F04}};
}

TEST_F(DeliveryDescTest, WhatIsNotAllConsumedIsRefused) {
    for (const Kind& kind : Kinds()) {
        const int size = static_cast<int>(kind.bytes.size());
        for (const int consumed : {0, size - 1, size + 1}) {
            const int before = fake::LivingDescriptors();
            fake::Parsing().consumed = consumed;
            EXPECT_FALSE(Parse(kind.bytes));
            EXPECT_THAT(
                platform.TakeLog(),
                ElementsAre(ParseLine(3, kind.line, kind.text),
                            ParseLine(6, kind.failureLine,
                                      Red("Failed to parse DSD " + std::to_string(consumed) +
                                          " bytes parsed, tag " + std::to_string(kind.tag)))));
            EXPECT_EQ(fake::LivingDescriptors(), before);
            EXPECT_EQ(fake::Forks(), 0);
        }
    }
}

TEST_F(DeliveryDescTest, WhatWasConsumedIsComparedWithThePlatformsLength) {
    for (const Kind& kind : Kinds()) {
        const int size = static_cast<int>(kind.bytes.size());
        fake::Parsing().length = size + 30;
        fake::Parsing().consumed = size + 30;
        EXPECT_TRUE(Parse(kind.bytes));
        platform.TakeLog();
        fake::Parsing().consumed = size;
        EXPECT_FALSE(Parse(kind.bytes));
        EXPECT_THAT(platform.TakeLog(),
                    ElementsAre(ParseLine(3, kind.line, kind.text),
                                ParseLine(6, kind.failureLine,
                                          Red("Failed to parse DSD " + std::to_string(size) +
                                              " bytes parsed, tag " + std::to_string(kind.tag)))));
    }
}

TEST_F(DeliveryDescTest, OfT2BothBytesOfTheTagCount) {
    for (const unsigned short tag :
         std::initializer_list<unsigned short>{0x0004, 0x007F, 0x7E04, 0x047F}) {
        fake::Parsing().tag = tag;
        EXPECT_FALSE(Parse({0x7F, 4, 4, 0, 0, 0}));
        EXPECT_THAT(platform.TakeLog(),
                    ElementsAre(ParseLine(3, 328, "T2 delivery system descriptor"),
                                ParseLine(6, 335,
                                          Red("Failed to parse DSD 6 bytes parsed, tag " +
                                              std::to_string(tag)))));
    }
}

TEST_F(DeliveryDescTest, WhatThePlatformTakesForAnotherTagIsRefused) {
    for (const Kind& kind : Kinds()) {
        const auto tag = static_cast<unsigned short>(0x8000 | kind.tag);
        fake::Parsing().tag = tag;
        EXPECT_FALSE(Parse(kind.bytes));
        EXPECT_THAT(
            platform.TakeLog(),
            ElementsAre(ParseLine(3, kind.line, kind.text),
                        ParseLine(6, kind.failureLine,
                                  Red("Failed to parse DSD " + std::to_string(kind.bytes.size()) +
                                      " bytes parsed, tag " + std::to_string(tag)))));
    }
}

TEST_F(DeliveryDescTest, KeepsAForkAndDestroysTheRest) {
    for (const Kind& kind : Kinds()) {
        const int before = fake::LivingDescriptors();
        const int forks = fake::Forks();
        auto delivery = Parse(kind.bytes);
        ASSERT_TRUE(delivery);
        EXPECT_EQ(fake::LivingDescriptors(), before + 1);
        EXPECT_EQ(fake::Forks(), forks + 1);
        EXPECT_NE(fake::ForkedFrom(*delivery->PlatformDesc()), nullptr);
        auto holder = delivery;
        delivery.reset();
        EXPECT_EQ(fake::LivingDescriptors(), before + 1);
        holder.reset();
        EXPECT_EQ(fake::LivingDescriptors(), before);
    }
}

template <class Platform>
const Platform& As(const std::shared_ptr<IDeliveryDesc>& delivery) {
    return dynamic_cast<const Platform&>(*delivery->PlatformDesc());
}

TEST_F(DeliveryDescTest, FieldsOfThePlatformsCopyAreThoseOfTheBytes) {
    EXPECT_EQ(
        As<TCDescSatelliteDeliverySystem>(Parse({0x43, 4, 0x01, 0x17, 0x47, 0x80})).Frequency(),
        0x01174780u);
    EXPECT_EQ(As<TCDescTerrestrialDeliverySystem>(Parse({0x5A, 4, 0x02, 0xF6, 0x28, 0x40}))
                  .CentreFrequency(),
              0x02F62840u);
    EXPECT_EQ(As<TCDescCableDeliverySystem>(Parse({0x44, 4, 0x03, 0x46, 0x00, 0x00})).Frequency(),
              0x03460000u);
    EXPECT_EQ(As<TCDescT2SystemDelivery>(Parse({0x7F, 4, 0x04, 0xA5, 0, 1})).PLPId(), 0xA5);
}

TEST_F(DeliveryDescTest, TwoCallsGiveTwoObjectsWithTwoCopies) {
    const auto first = Parse({0x43, 1, 0});
    const auto second = IDeliveryDesc::Parse(bytes_.data());
    EXPECT_NE(first, second);
    EXPECT_NE(first->PlatformDesc(), second->PlatformDesc());
    EXPECT_THAT(fake::Parsing().parsed, ElementsAre(bytes_.data(), bytes_.data()));
}

TEST_F(DeliveryDescTest, ClassesTakeAShareOfTheCopy) {
    const auto copy = fake::PlainDesc(0x43, {0x43, 0});
    const CSatelliteDeliverySystemDesc satellite(copy);
    const CCableDeliverySystemDesc cable(copy);
    const CTerrestrialDeliverySystemDesc terrestrial(copy);
    const CT2DeliverySystemDesc t2(copy);
    for (const IDeliveryDesc* const delivery :
         std::initializer_list<const IDeliveryDesc*>{&satellite, &cable, &terrestrial, &t2}) {
        EXPECT_EQ(delivery->PlatformDesc(), copy);
    }
    EXPECT_EQ(copy.use_count(), 5);
}

TEST_F(DeliveryDescTest, TheDestructorIsTheOnlyVirtualOperation) {
    EXPECT_EQ(Slot(&WithOneMore<IDeliveryDesc>::Last), kDestructorSlots);
    EXPECT_EQ(Slot(&WithOneMore<CT2DeliverySystemDesc>::Last), kDestructorSlots);
    EXPECT_EQ(Slot(&WithOneMore<CTerrestrialDeliverySystemDesc>::Last), kDestructorSlots);
    EXPECT_EQ(Slot(&WithOneMore<CCableDeliverySystemDesc>::Last), kDestructorSlots);
    EXPECT_EQ(Slot(&WithOneMore<CSatelliteDeliverySystemDesc>::Last), kDestructorSlots);
}

TEST_F(DeliveryDescTest, TellsTheKindBeforeItMakesAPlatformDescriptor) {
    for (const Kind& kind : Kinds()) {
        const int before = fake::LivingDescriptors();
        int made = -1;
        platform.duringLog = [&](const std::string& line) {
            if (line == ParseLine(3, kind.line, kind.text)) {
                made = fake::LivingDescriptors() - before;
            }
        };
        EXPECT_TRUE(Parse(kind.bytes));
        platform.duringLog = nullptr;
        EXPECT_EQ(made, 0) << kind.text;
    }
}

TEST_F(DeliveryDescTest, TellsTheFrequencyBeforeItCopies) {
    int forks = -1;
    platform.duringLog = [&](const std::string& line) {
        if (line == ParseLine(3, 308, "Freq 1")) {
            forks = fake::Forks();
        }
    };
    EXPECT_TRUE(Parse({0x5A, 4, 0, 0, 0, 1}));
    platform.duringLog = nullptr;
    EXPECT_EQ(forks, 0);
}

TEST_F(DeliveryDescTest, UnknownDescriptorsAreToldByTheWholeLengthByte) {
    for (const unsigned char length : Bytes{0, 1, 5, 0x84, 0xFF}) {
        Bytes bytes(2u + length);
        bytes[0] = 0x41;
        bytes[1] = length;
        EXPECT_FALSE(Parse(bytes));
        EXPECT_THAT(platform.TakeLog(),
                    ElementsAre(ParseLine(6, 344, Red("Unknown tag " + std::to_string(length)))));
        bytes[0] = 0x7F;
        EXPECT_FALSE(Parse(bytes));
        EXPECT_THAT(
            platform.TakeLog(),
            ElementsAre(ParseLine(6, 339, Red("Unknown extension tag " + std::to_string(length)))));
    }
    EXPECT_THAT(fake::Parsing().parsed, IsEmpty());
}

}  // namespace
