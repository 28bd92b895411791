#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "tests/unit/si/SiFixture.h"
#include "tests/unit/si/Slot.h"

namespace {

using TORVEL_MW::ISIDescriptor;
using TORVEL_MW::SIDescriptor;

TEST(SIDescriptorTest, KeepsWhatItIsGiven) {
    FakePlatform::Get().Reset();
    const auto record = ISIDescriptor::CreateSIDescriptor(0x7F, true, 0x28, true, 6, {1, 2, 3});
    ASSERT_TRUE(record);
    unsigned int specifier = 0;
    unsigned int extension = 0xFFFFFFFF;
    EXPECT_EQ(record->GetTag(), 0x7Fu);
    EXPECT_TRUE(record->GetPrivateDataSpecifierDescriptor(specifier));
    EXPECT_EQ(specifier, 0x28u);
    EXPECT_TRUE(record->GetExtendedDescriptorTag(extension));
    EXPECT_EQ(extension, 6u);
    EXPECT_THAT(record->GetData(), ElementsAre(1, 2, 3));
    EXPECT_THAT(FakePlatform::Get().TakeLog(), IsEmpty());
}

TEST(SIDescriptorTest, WidensWithoutASign) {
    SIDescriptor record(0xFF, true, 0xFFFFFFFE, true, 0xFD, {0x80});
    unsigned int specifier = 0;
    unsigned int extension = 0;
    EXPECT_EQ(record.GetTag(), 0xFFu);
    EXPECT_TRUE(record.GetPrivateDataSpecifierDescriptor(specifier));
    EXPECT_EQ(specifier, 0xFFFFFFFEu);
    EXPECT_TRUE(record.GetExtendedDescriptorTag(extension));
    EXPECT_EQ(extension, 0xFDu);
    EXPECT_THAT(record.GetData(), ElementsAre(0x80));
}

TEST(SIDescriptorTest, WithoutSpecifierWritesNothingWhateverWasPassed) {
    SIDescriptor record(0x48, false, 0x28, true, 6, {});
    unsigned int specifier = 77;
    EXPECT_FALSE(record.GetPrivateDataSpecifierDescriptor(specifier));
    EXPECT_EQ(specifier, 77u);
}

TEST(SIDescriptorTest, WithoutExtensionWritesNothingWhateverWasPassed) {
    SIDescriptor record(0x7F, true, 0x28, false, 6, {4});
    unsigned int extension = 77;
    EXPECT_FALSE(record.GetExtendedDescriptorTag(extension));
    EXPECT_EQ(extension, 77u);
    EXPECT_EQ(record.GetTag(), 0x7Fu);
    EXPECT_THAT(record.GetData(), ElementsAre(4));
}

TEST(SIDescriptorTest, KeepsNoSpareCapacity) {
    Bytes roomy{1, 2, 3};
    roomy.reserve(100);
    const SIDescriptor record(0x48, false, 0, false, 0, std::move(roomy));
    EXPECT_EQ(record.GetData().capacity(), 3u);
    Bytes roomyToo{1, 2};
    roomyToo.reserve(100);
    EXPECT_EQ(ISIDescriptor::CreateSIDescriptor(1, false, 0, false, 0, std::move(roomyToo))
                  ->GetData()
                  .capacity(),
              2u);
    const SIDescriptor empty(0x48, false, 0, false, 0, {});
    EXPECT_EQ(empty.GetData().capacity(), 0u);
}

TEST(SIDescriptorTest, OnlyGetDataIsConst) {
    using I = ISIDescriptor;
    static_assert(std::is_same_v<decltype(&I::GetTag), unsigned int (I::*)()>);
    static_assert(std::is_same_v<decltype(&I::GetPrivateDataSpecifierDescriptor),
                                 bool (I::*)(unsigned int&)>);
    static_assert(
        std::is_same_v<decltype(&I::GetExtendedDescriptorTag), bool (I::*)(unsigned int&)>);
    static_assert(std::is_same_v<decltype(&I::GetData), const Bytes& (I::*)() const>);
    EXPECT_EQ(Slot(&I::GetTag), kDestructorSlots);
    EXPECT_EQ(Slot(&I::GetPrivateDataSpecifierDescriptor), kDestructorSlots + 1);
    EXPECT_EQ(Slot(&I::GetExtendedDescriptorTag), kDestructorSlots + 2);
    EXPECT_EQ(Slot(&I::GetData), kDestructorSlots + 3);
    EXPECT_TRUE(std::has_virtual_destructor_v<I>);
}

}  // namespace
