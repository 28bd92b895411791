#include "softplatform/input/dvb/DvbAddress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace tvservice {
namespace {

using testing::HasSubstr;

TEST(DvbAddress, AnAdapterAloneStandsForItsFirstDemux) {
    std::string error = "untouched";
    const std::optional<DvbPaths> paths = ParseDvbAddress("dvb:2", error);
    ASSERT_TRUE(paths);
    EXPECT_EQ(paths->demux, "/dev/dvb/adapter2/demux0");
    EXPECT_EQ(paths->dvr, "/dev/dvb/adapter2/dvr0");
    EXPECT_EQ(error, "untouched");
}

TEST(DvbAddress, TheDemuxNumbersBothDevices) {
    std::string error;
    const std::optional<DvbPaths> paths = ParseDvbAddress("dvb:0:1", error);
    ASSERT_TRUE(paths);
    EXPECT_EQ(paths->demux, "/dev/dvb/adapter0/demux1");
    EXPECT_EQ(paths->dvr, "/dev/dvb/adapter0/dvr1");
}

TEST(DvbAddress, NumbersReachFrom0To255) {
    std::string error;
    EXPECT_TRUE(ParseDvbAddress("dvb:255:255", error));
    EXPECT_FALSE(ParseDvbAddress("dvb:256", error));
    EXPECT_FALSE(ParseDvbAddress("dvb:0:256", error));
    EXPECT_FALSE(ParseDvbAddress("dvb:99999999999999999999", error));
}

TEST(DvbAddress, TheErrorQuotesTheAddressAndNamesThePartThatIsWrong) {
    const auto errorOf = [](const std::string& uri) {
        std::string error;
        EXPECT_FALSE(ParseDvbAddress(uri, error)) << uri;
        EXPECT_THAT(error, HasSubstr("\"" + uri + "\""));
        return error;
    };
    for (const char* uri : {"dvb:", "dvb:x", "dvb:-1", "dvb:+1", "dvb: 1", "dvb:1x", "dvb::1"}) {
        EXPECT_THAT(errorOf(uri), HasSubstr("ADAPTER must be")) << uri;
    }
    for (const char* uri : {"dvb:0:", "dvb:0:x", "dvb:0:-1", "dvb:0:1:2", "dvb:0:1 "}) {
        EXPECT_THAT(errorOf(uri), HasSubstr("DEMUX must be")) << uri;
    }
    for (const char* uri : {"", "dvb", "DVB:0", "file.ts"}) {
        EXPECT_THAT(errorOf(uri), HasSubstr("does not begin with dvb:")) << uri;
    }
}

}  // namespace
}  // namespace tvservice
