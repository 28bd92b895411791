#include "softplatform/table/SubTables.h"

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "platform/TCDVBBATParser.h"
#include "platform/TCDVBEITParser.h"
#include "platform/TCDVBNITParser.h"
#include "platform/TCDVBSDTParser.h"
#include "platform/TCPMTParser.h"
#include "tests/unit/table/TableFixture.h"

namespace {

constexpr size_t kMaxBytes = size_t{16} << 20;

struct Kind {
    std::string name;
    uint8_t tableId;
    std::function<std::unique_ptr<TCSectionParser>()> make;
    std::function<bool(TCSectionParser&, unsigned)> isHeld;  // the sub-table with the extension
};

std::ostream& operator<<(std::ostream& out, const Kind& kind) {
    return out << kind.name;
}

class FullParserTest : public testing::TestWithParam<Kind> {
  protected:
    // Bytes of 0xFF are, in every table, one entry that reaches behind the end of the section.
    // Parsers do not check the CRC.
    bool FeedOne(unsigned extension, uint8_t version = 0, size_t size = 4000, uint8_t number = 0,
                 uint8_t last = 0) {
        const size_t section_length = size + 9;
        section_.assign(section_length + 3, 0xFF);
        section_[0] = GetParam().tableId;
        section_[1] = static_cast<uint8_t>(0xB0 | section_length >> 8);
        section_[2] = static_cast<uint8_t>(section_length);
        section_[3] = static_cast<uint8_t>(extension >> 8);
        section_[4] = static_cast<uint8_t>(extension);
        section_[5] = static_cast<uint8_t>(0xC1 | version << 1);
        section_[6] = number;
        section_[7] = last;
        return parser_->Parse(0, section_.data());
    }

    // Returns how many sections were accepted before one was refused.
    unsigned Fill() {
        unsigned taken = 0;
        while (taken <= 0xFFFF && FeedOne(taken)) {
            ++taken;
        }
        return taken;
    }

    static uint64_t Overflows() {
        return tvservice::ReceiverCounters().Get(tvservice::Counter::kParserOverflows);
    }

    void SetUp() override { tvservice::ReceiverCounters().ResetStream(); }
    void TearDown() override { tvservice::ReceiverCounters().ResetStream(); }

    const std::unique_ptr<TCSectionParser> parser_ = GetParam().make();
    Bytes section_;
};

TEST_P(FullParserTest, RefusesWhatItHasNoRoomFor) {
    const unsigned taken = Fill();
    EXPECT_LE(taken * 4012u, kMaxBytes);
    EXPECT_GE(taken * 5000u, kMaxBytes);
    EXPECT_EQ(Overflows(), 1u);
    EXPECT_FALSE(GetParam().isHeld(*parser_, taken));
    EXPECT_TRUE(GetParam().isHeld(*parser_, 0));
    EXPECT_TRUE(GetParam().isHeld(*parser_, taken - 1));
}

TEST_P(FullParserTest, TakesRepeatsAndNewVersionsOfTheSameSize) {
    const unsigned taken = Fill();
    EXPECT_TRUE(FeedOne(3));
    EXPECT_TRUE(FeedOne(3, 1));
    EXPECT_TRUE(FeedOne(3, 2));
    EXPECT_EQ(Overflows(), 1u);
    EXPECT_FALSE(FeedOne(taken));
}

TEST_P(FullParserTest, KeepsTheOldVersionWhenTheNewOneIsTooLarge) {
    ASSERT_TRUE(FeedOne(0xFFFF, 0, 300));
    Fill();
    EXPECT_FALSE(FeedOne(0xFFFF, 1));
    EXPECT_TRUE(GetParam().isHeld(*parser_, 0xFFFF));
    EXPECT_TRUE(FeedOne(0xFFFF, 0, 300));
}

TEST_P(FullParserTest, ASmallerVersionMakesRoom) {
    const unsigned taken = Fill();
    for (const unsigned extension : {1u, 2u}) {
        ASSERT_TRUE(FeedOne(extension, 1, 300));
    }
    EXPECT_TRUE(FeedOne(taken));
}

TEST_P(FullParserTest, ResetMakesRoom) {
    const unsigned taken = Fill();
    parser_->Reset();
    EXPECT_FALSE(GetParam().isHeld(*parser_, 0));
    EXPECT_EQ(Fill(), taken);
}

// Sections that announce 255 more, which never come.
TEST_P(FullParserTest, PlacesOfSectionsToComeTakeRoomToo) {
    unsigned taken = 0;
    while (taken <= 0xFFFF && FeedOne(taken, 0, 20, 0, 255)) {
        ++taken;
    }
    EXPECT_LE(taken * 255 * sizeof(void*), kMaxBytes);
    EXPECT_EQ(Overflows(), 1u);
}

TEST_P(FullParserTest, CountsWhatIsNoTable) {
    EXPECT_FALSE(FeedOne(1, 0, 1)) << "too short for the fixed part of the table";
    EXPECT_EQ(TakeMalformed(), 1u);
    EXPECT_FALSE(FeedOne(1, 0, 300, 2, 1)) << "section 2 of 0 to 1";
    EXPECT_EQ(TakeMalformed(), 1u);
    EXPECT_FALSE(GetParam().isHeld(*parser_, 1));
    EXPECT_TRUE(FeedOne(1, 0, 300, 1, 1));
    EXPECT_EQ(TakeMalformed(), 0u);
}

template <class Parser>
std::unique_ptr<TCSectionParser> Of(int tableId) {
    return std::make_unique<Parser>(tableId, TVSHandle(1, 0));
}

INSTANTIATE_TEST_SUITE_P(
    AllTables, FullParserTest,
    testing::Values(Kind{"Pmt", 0x02, [] { return std::make_unique<TCPMTParser>(TVSHandle(1, 0)); },
                         [](TCSectionParser& parser, unsigned extension) {
                             return dynamic_cast<TCPMTParser&>(parser).PMTInstance(
                                        static_cast<unsigned short>(extension)) != nullptr;
                         }},
                    Kind{"Sdt", 0x46, [] { return Of<TCDVBSDTParser>(0x46); },
                         [](TCSectionParser& parser, unsigned extension) {
                             return dynamic_cast<TCDVBSDTParser&>(parser).DVBSDTInstance(
                                        0xFFFF, static_cast<unsigned short>(extension)) != nullptr;
                         }},
                    Kind{"Eit", 0x50, [] { return Of<TCDVBEITParser>(0x50); },
                         [](TCSectionParser& parser, unsigned extension) {
                             return dynamic_cast<TCDVBEITParser&>(parser).EITInstance(TCServiceKey(
                                        0xFFFF, 0xFFFF, static_cast<unsigned short>(extension))) !=
                                    nullptr;
                         }},
                    Kind{"Nit", 0x41, [] { return Of<TCDVBNITParser>(0x41); },
                         [](TCSectionParser& parser, unsigned extension) {
                             return dynamic_cast<TCDVBNITParser&>(parser).GetInstance(
                                        static_cast<unsigned short>(extension)) != nullptr;
                         }},
                    Kind{"Bat", 0x4A,
                         [] { return std::make_unique<TCDVBBATParser>(TVSHandle(1, 0)); },
                         [](TCSectionParser& parser, unsigned extension) {
                             return dynamic_cast<TCDVBBATParser&>(parser).GetInstance(
                                        static_cast<unsigned short>(extension)) != nullptr;
                         }}),
    [](const auto& kind) { return kind.param.name; });

}  // namespace
