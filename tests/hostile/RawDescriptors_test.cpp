// Feeds raw bytes to the SI layer's two functions for single descriptors. The software platform
// decodes them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <string>
#include <utility>
#include <vector>

#include "SI/Include/IDeliveryDesc.h"
#include "SI/Include/ISSULinkageDesc.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/TsBytes.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using TORVEL_MW::IDeliveryDesc;
using TORVEL_MW::ISSULinkageDesc;

class RawDescriptorsTest : public testing::Test {
  protected:
    void SetUp() override {
        tvservice::SetLogPriority(6);
        tvservice::SetLogSink(
            [this](int, int, const char*, const char* line) { errors_.emplace_back(line); });
    }
    void TearDown() override { tvservice::SetLogSink({}); }

    std::vector<std::string> Errors() { return std::exchange(errors_, {}); }

    static Bytes OfLength(unsigned char tag, unsigned char length) {
        Bytes bytes(2u + length);
        bytes[0] = tag;
        bytes[1] = length;
        return bytes;
    }

  private:
    std::vector<std::string> errors_;
};

TEST_F(RawDescriptorsTest, WholeDeliverySystemsAreTaken) {
    Bytes satellite = OfLength(0x43, 11);
    Bytes cable = OfLength(0x44, 11);
    Bytes terrestrial = OfLength(0x5A, 11);
    Bytes t2{0x7F, 4, 0x04, 0, 0, 1};
    int type = 0;
    for (Bytes* bytes : {&t2, &terrestrial, &cable, &satellite}) {
        const auto delivery = IDeliveryDesc::Parse(bytes->data());
        ASSERT_TRUE(delivery) << type;
        EXPECT_EQ(delivery->Type(), type++);
    }
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(RawDescriptorsTest, OthersAreRefusedWithOneLine) {
    const std::vector<std::pair<Bytes, std::string>> refused = {
        {OfLength(0x43, 12), "Failed to parse DSD 13 bytes parsed, tag 67"},
        {OfLength(0x43, 10), "Failed to parse DSD 0 bytes parsed, tag 67"},
        {OfLength(0x5A, 12), "Failed to parse DSD 13 bytes parsed, tag 90"},
        {OfLength(0x44, 12), "Failed to parse DSD 13 bytes parsed, tag 68"},
        {{0x7F, 4, 0x05, 0, 0, 0}, "Failed to parse DSD 6 bytes parsed, tag 32517"},
        {{0x7F, 6, 0x04, 0, 0, 0, 0, 0}, "Unknown extension tag 6"},
        {OfLength(0x41, 3), "Unknown tag 3"}};
    for (auto [bytes, text] : refused) {
        EXPECT_FALSE(IDeliveryDesc::Parse(bytes.data()));
        EXPECT_THAT(Errors(), ElementsAre(HasSubstr("> \033[31m" + text + "\033[0m")));
    }
}

TEST_F(RawDescriptorsTest, LinkageToAServiceWithUpdatesIsTakenAndOneToATableIsNot) {
    const Bytes service{0x4A, 13, 0x04, 0x21, 0xFF, 0x10, 0x04, 0x54,
                        0x09, 5,  0,    0x01, 0x5A, 1,    0x77};
    const auto linkage = ISSULinkageDesc::Parse(service.data());
    ASSERT_TRUE(linkage);
    unsigned short onid = 0, tsid = 0, sid = 0;
    linkage->GetLocation(onid, tsid, sid);
    EXPECT_THAT(std::vector<int>({onid, tsid, sid}), ElementsAre(0xFF10, 0x0421, 0x0454));
    std::list<unsigned int> ouis;
    linkage->GetOUIs(ouis);
    EXPECT_THAT(ouis, ElementsAre(0x15Au));
    EXPECT_THAT(Errors(), IsEmpty());

    const Bytes table{0x4A, 8, 0x04, 0x21, 0xFF, 0x10, 0x04, 0x54, 0x0A, 1};
    EXPECT_FALSE(ISSULinkageDesc::Parse(table.data()));
    EXPECT_THAT(
        Errors(),
        ElementsAre(HasSubstr("Not an SSU linkage descriptor 10 bytes parsed, linkage type 10")));
}

}  // namespace
}  // namespace testsupport
