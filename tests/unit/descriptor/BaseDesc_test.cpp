#include "platform/TCBaseDesc.h"

#include "platform/TCDescCA.h"
#include "tests/unit/descriptor/DescriptorFixture.h"

namespace {

TEST(BaseDesc, IsEmptyBeforeTheFirstParse) {
    TCBaseDesc desc;
    unsigned char buffer[4];
    int length = sizeof buffer;
    EXPECT_EQ(desc.Length(), 0);
    EXPECT_EQ(desc.Tag(), 0);
    EXPECT_EQ(desc.GetDescriptor(buffer, &length), 0);
    EXPECT_EQ(length, 4);
}

TEST(BaseDesc, TakesAnyTagAndAllItsBytes) {
    TCBaseDesc desc;
    EXPECT_EQ(ParseExactly(desc, {0x83, 3, 1, 2, 3}), 5);
    EXPECT_EQ(desc.Length(), 5);
    EXPECT_EQ(desc.Tag(), 0x83);
    EXPECT_EQ(ParseExactly(desc, {0x7F, 0}), 2);
    EXPECT_EQ(desc.Tag(), 0x7F);
}

TEST(BaseDesc, KeepsACopyOfTheBytes) {
    Bytes bytes{0x83, 1, 7};
    TCBaseDesc desc;
    desc.Parse(bytes.data());
    bytes[2] = 8;
    unsigned char buffer[3];
    int length = sizeof buffer;
    EXPECT_EQ(desc.GetDescriptor(buffer, &length), 3);
    EXPECT_EQ(buffer[2], 7);
}

TEST(BaseDesc, CopiesIntoARoomyBufferAndTellsTheCount) {
    TCBaseDesc desc;
    ParseExactly(desc, {0x83, 2, 1, 2});
    unsigned char buffer[10];
    int length = sizeof buffer;
    EXPECT_EQ(desc.GetDescriptor(buffer, &length), 4);
    EXPECT_EQ(length, 4);
    EXPECT_THAT(Bytes(buffer, buffer + 4), ElementsAre(0x83, 2, 1, 2));
}

TEST(BaseDesc, RefusesASmallOrMissingBuffer) {
    TCBaseDesc desc;
    ParseExactly(desc, {0x83, 2, 1, 2});
    unsigned char buffer[3] = {};
    int length = sizeof buffer;
    EXPECT_EQ(desc.GetDescriptor(buffer, &length), 0);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(desc.GetDescriptor(nullptr, &length), 0);
    EXPECT_EQ(desc.GetDescriptor(buffer, nullptr), 0);
}

TEST(BaseDesc, ForksKeepTheirDynamicTypeAndLiveOnTheirOwn) {
    std::unique_ptr<TCBaseDesc> fork;
    {
        TCDescCA desc;
        ParseExactly(desc, {0x09, 4, 0x12, 0x34, 0xE0, 0x55});
        fork.reset(desc.Fork());
        ParseExactly(desc, {0x09, 4, 0, 0, 0, 0});
    }
    const auto* const ca = dynamic_cast<TCDescCA*>(fork.get());
    ASSERT_NE(ca, nullptr);
    EXPECT_EQ(ca->CASystemId(), 0x1234);
    EXPECT_EQ(ca->CAPID(), 0x55);
    EXPECT_EQ(fork->Length(), 6);
    EXPECT_EQ(fork->Tag(), 0x09);
}

}  // namespace
