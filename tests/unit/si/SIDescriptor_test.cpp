#include <cstring>
#include <memory>
#include <type_traits>
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

TEST(SIDescriptorTest, SpecifierAndExtensionOfZeroAreThereToo) {
    SIDescriptor record(0x7F, true, 0, true, 0, {});
    unsigned int specifier = 77;
    unsigned int extension = 77;
    EXPECT_TRUE(record.GetPrivateDataSpecifierDescriptor(specifier));
    EXPECT_EQ(specifier, 0u);
    EXPECT_TRUE(record.GetExtendedDescriptorTag(extension));
    EXPECT_EQ(extension, 0u);
}

TEST(SIDescriptorTest, FieldsStandInOrderBehindTheVirtualTable) {
    static_assert(std::is_abstract_v<ISIDescriptor>);
    static_assert(std::is_base_of_v<ISIDescriptor, SIDescriptor>);
    static_assert(
        std::is_same_v<decltype(&ISIDescriptor::CreateSIDescriptor),
                       std::unique_ptr<ISIDescriptor> (*)(unsigned char, bool, unsigned int, bool,
                                                          unsigned char, Bytes)>);
    static_assert(std::is_constructible_v<SIDescriptor, unsigned char, bool, unsigned int, bool,
                                          unsigned char, Bytes>);
    EXPECT_EQ(sizeof(ISIDescriptor), sizeof(void*));
    const SIDescriptor record(0xA1, true, 0xB2B3B4B5, false, 0xC6, {1});
    const auto* const start = reinterpret_cast<const unsigned char*>(&record);
    const unsigned char* const fields = start + sizeof(void*);
    EXPECT_EQ(fields[0], 0xA1);
    EXPECT_EQ(fields[1], 1);
    unsigned int specifier = 0;
    std::memcpy(&specifier, fields + 4, sizeof(specifier));
    EXPECT_EQ(specifier, 0xB2B3B4B5u);
    EXPECT_EQ(fields[8], 0);
    EXPECT_EQ(fields[9], 0xC6);
    const auto* const data = reinterpret_cast<const unsigned char*>(&record.GetData());
    EXPECT_GT(data, fields + 9);
    EXPECT_EQ(data + sizeof(Bytes), start + sizeof(record));
}

}  // namespace
