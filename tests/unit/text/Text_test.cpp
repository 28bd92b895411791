#include "softplatform/text/Text.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace tvservice {
namespace {

using Bytes = std::vector<uint8_t>;

std::string Utf8(const Bytes& bytes) {
    return TextToUtf8(bytes.data(), bytes.size());
}

std::string Utf8(const std::string& bytes) {
    return Utf8(Bytes(bytes.begin(), bytes.end()));
}

Bytes operator+(Bytes head, const Bytes& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

TEST(Text, NothingIsEmpty) {
    EXPECT_EQ(TextToUtf8(nullptr, 0), "");
    EXPECT_EQ(Utf8(Bytes{0x05}), "");
}

TEST(Text, WithoutSelectorIsTheLatinTable) {
    EXPECT_EQ(Utf8("Plain ~text 09"), "Plain ~text 09");
    EXPECT_EQ(Utf8(Bytes{0xA4, 0xA8, 0xE0, 0xE1, 0xF1, 0xFB, 0xD5, 0xDF}), "€¤ΩÆæß♪⅞");
    EXPECT_EQ(Utf8(Bytes{0xE2, 0xF2, 0xE8, 0xF8, 0xE6, 0xF5, 0xFF}), "ĐđŁłĲı\u00AD");
    EXPECT_EQ(Utf8(Bytes{0xA9, 0xAA, 0xB9, 0xBA, 0xD0, 0xD4}), "‘“’”―™");
}

TEST(Text, FloatingAccentsJoinTheLetterBehindThem) {
    EXPECT_EQ(Utf8(Bytes{0xC1, 'a', 0xC2, 'E', 0xC3, 'o', 0xC4, 'N', 0xC5, 'u'}), "àÉôÑū");
    EXPECT_EQ(Utf8(Bytes{0xC6, 'g', 0xC7, 'z', 0xC8, 'U', 0xCA, 'a', 0xCB, 'c'}), "ğżÜåç");
    EXPECT_EQ(Utf8(Bytes{0xCD, 'o', 0xCE, 'e', 0xCF, 'S'}), "őęŠ");
}

TEST(Text, AccentWithoutACharacterOfItsOwnFollowsItsLetter) {
    EXPECT_EQ(Utf8(Bytes{0xC8, 'q'}), "q\u0308");
    EXPECT_EQ(Utf8(Bytes{0xC2, 0xF1}), "æ\u0301");
}

TEST(Text, AccentBeforeASpaceStandsAlone) {
    EXPECT_EQ(Utf8(Bytes{0xC2, ' ', 0xCF, ' ', 0xC1, ' '}), "´ˇ`");
}

TEST(Text, AccentOnNothingIsDamageAndLosesNothingElse) {
    EXPECT_EQ(Utf8(Bytes{'a', 0xC2}), "a\uFFFD");
    EXPECT_EQ(Utf8(Bytes{0xC2, 0xC8, 'u'}), "\uFFFDü");
    EXPECT_EQ(Utf8(Bytes{0xC2, 0x8A, 'b'}), "\uFFFD\nb");
}

TEST(Text, CodesWithoutACharacterAreVisible) {
    EXPECT_EQ(Utf8(Bytes{'a', 0xA6, 'b', 0xC0, 'c', 0xC9, 'd', 0xD8, 0xE5}),
              "a\uFFFDb\uFFFDc\uFFFDd\uFFFD\uFFFD");
}

TEST(Text, SelectorsOfOneByteChooseAPartOfIso8859) {
    EXPECT_EQ(Utf8(Bytes{0x01, 0xBF, 0xE0}), "Пр");
    EXPECT_EQ(Utf8(Bytes{0x02, 0xC7}), "ا");
    EXPECT_EQ(Utf8(Bytes{0x03, 0xC1, 0xF9}), "Αω");
    EXPECT_EQ(Utf8(Bytes{0x04, 0xE0}), "א");
    EXPECT_EQ(Utf8(Bytes{0x05, 0xFC, 0xDD, 0xFD}), "üİı");
    EXPECT_EQ(Utf8(Bytes{0x06, 0xBF}), "ŋ");
    EXPECT_EQ(Utf8(Bytes{0x07, 0xA1}), "ก");
    EXPECT_EQ(Utf8(Bytes{0x09, 0xDE}), "Ž");
    EXPECT_EQ(Utf8(Bytes{0x0A, 0xA1}), "Ḃ");
    EXPECT_EQ(Utf8(Bytes{0x0B, 0xA4}), "€");
}

TEST(Text, SelectorOfThreeBytesChoosesAPartOfIso8859) {
    const std::pair<int, const char*> kParts[] = {{1, "¤"},  {2, "¤"},  {4, "¤"},  {5, "Є"},
                                                  {9, "¤"},  {10, "Ī"}, {11, "ค"}, {13, "¤"},
                                                  {14, "Ċ"}, {15, "€"}};
    for (const auto& [part, character] : kParts) {
        EXPECT_EQ(Utf8(Bytes{0x10, 0x00, static_cast<uint8_t>(part), 0xA4}), character) << part;
    }
}

TEST(Text, CodesThatAPartOfIso8859LacksAreVisible) {
    EXPECT_EQ(Utf8(Bytes{0x03, 'a', 0xFF, 'b'}), "a\uFFFDb");
}

TEST(Text, ReservedSelectorsShowTheirAscii) {
    for (const int selector : {0x00, 0x08, 0x0C, 0x0D, 0x0E, 0x0F, 0x16, 0x1E}) {
        EXPECT_EQ(Utf8(Bytes{static_cast<uint8_t>(selector), 'a', 0xE4, 'b'}), "a\uFFFDb")
            << selector;
    }
    EXPECT_EQ(Utf8(Bytes{0x10, 0x00, 0x0C, 'a', 0xE4}), "a\uFFFD");
    EXPECT_EQ(Utf8(Bytes{0x10, 0x00, 0x00, 'a'}), "a");
    EXPECT_EQ(Utf8(Bytes{0x10, 0x01, 0x01, 'a'}), "a");
    EXPECT_EQ(Utf8(Bytes{0x10, 0x00}), "");
}

TEST(Text, EncodingTypeIdIsDroppedWithItsSelector) {
    EXPECT_EQ(Utf8(Bytes{0x1F, 0x41, 'a', 0xE4}), "a\uFFFD");
    EXPECT_EQ(Utf8(Bytes{0x1F}), "");
}

TEST(Text, SixteenBitCodes) {
    for (const int selector : {0x11, 0x14}) {
        EXPECT_EQ(Utf8(Bytes{static_cast<uint8_t>(selector), 0x00, 'a', 0x04, 0x1F, 0x20, 0xAC,
                             0x4E, 0x2D}),
                  "aП€中");
        EXPECT_EQ(Utf8(Bytes{static_cast<uint8_t>(selector), 0x00, 'a', 0x04}), "a\uFFFD");
        EXPECT_EQ(Utf8(Bytes{static_cast<uint8_t>(selector), 0xD8, 0x00, 0x00, 'a'}), "\uFFFDa");
        EXPECT_EQ(Utf8(Bytes{static_cast<uint8_t>(selector), 0xE0, 0x86, 0x00, 'a', 0xE0, 0x87,
                             0xE0, 0x8A, 0x00, 'b'}),
                  "a\nb");
        EXPECT_EQ(Utf8(Bytes{static_cast<uint8_t>(selector), 0x00, 0x8A, 0xE0, 0xA0}), "\n\uE0A0");
    }
}

TEST(Text, KoreanAndChinese) {
    EXPECT_EQ(Utf8(Bytes{0x12, 0xC7, 0xD1, 0xB1, 0xDB, ' ', 'a'}), "한글 a");
    EXPECT_EQ(Utf8(Bytes{0x13, 0xD6, 0xD0, 0xCE, 0xC4, ' ', 'a'}), "中文 a");
    for (const int selector : {0x12, 0x13}) {
        EXPECT_EQ(Utf8(Bytes{static_cast<uint8_t>(selector), 'a', 0xB0}), "a\uFFFD") << "cut off";
        EXPECT_EQ(Utf8(Bytes{static_cast<uint8_t>(selector), 0xB0, 'a'}), "\uFFFDa")
            << "half of a two-byte code";
        EXPECT_EQ(Utf8(Bytes{static_cast<uint8_t>(selector), 0xFF, 0xFF, 'a'}), "\uFFFDa")
            << "no character";
        EXPECT_EQ(
            Utf8(Bytes{static_cast<uint8_t>(selector), 'a', 0xE0, 0x8A, 'b', 0xE0, 0x86, 0x8A}),
            "a\nb\n");
    }
}

TEST(Text, Utf8) {
    EXPECT_EQ(Utf8(Bytes{0x15} + Bytes{'a', 0xC3, 0xA4, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x93, 0xBA}),
              "aä€📺");
    EXPECT_EQ(Utf8(Bytes{0x15, 'a', 0xC2, 0x8A, 'b', 0xEE, 0x82, 0x8A, 0xEE, 0x82, 0x86, 'c'}),
              "a\nb\nc");
}

TEST(Text, DamagedUtf8IsVisibleAndLosesNothingElse) {
    EXPECT_EQ(Utf8(Bytes{0x15, 0x80, 'a'}), "\uFFFDa") << "no control code on its own";
    EXPECT_EQ(Utf8(Bytes{0x15, 0xBF, 'a'}), "\uFFFDa") << "a continuation on its own";
    EXPECT_EQ(Utf8(Bytes{0x15, 0xE2, 0x82, 'a'}), "\uFFFDa") << "cut short";
    EXPECT_EQ(Utf8(Bytes{0x15, 0xE2, 0x82}), "\uFFFD") << "cut off";
    EXPECT_EQ(Utf8(Bytes{0x15, 0xC1, 0xA1, 'a'}), "\uFFFDa") << "longer than need be";
    EXPECT_EQ(Utf8(Bytes{0x15, 0xE0, 0x80, 0xA1, 'a'}), "\uFFFDa") << "longer than need be";
    EXPECT_EQ(Utf8(Bytes{0x15, 0xED, 0xA0, 0x80, 'a'}), "\uFFFDa") << "a surrogate";
    EXPECT_EQ(Utf8(Bytes{0x15, 0xF4, 0x90, 0x80, 0x80, 'a'}), "\uFFFDa") << "past Unicode";
    EXPECT_EQ(Utf8(Bytes{0x15, 0xFE, 0xFF, 'a'}), "\uFFFD\uFFFDa");
}

TEST(Text, ControlCodesOfSingleByteTables) {
    for (const Bytes& selector : {Bytes{}, Bytes{0x05}, Bytes{0x10, 0x00, 0x02}}) {
        EXPECT_EQ(Utf8(selector + Bytes{'a', 0x86, 'b', 0x87, 'c', 0x8A, 'd', 0x80, 0x9F, 'e'}),
                  "abc\nde");
    }
}

TEST(Text, CarriageReturnLineFeedAndBothTogetherAreOneLineBreak) {
    EXPECT_EQ(Utf8(Bytes{'a', 0x0D, 'b', 0x0A, 'c', 0x0D, 0x0A, 'd'}), "a\nb\nc\nd");
    EXPECT_EQ(Utf8(Bytes{'b', 0x0D, 0x0D, 0x0A, 0x0A, 'a'}), "b\n\n\na") << "three line breaks";
    EXPECT_EQ(Utf8(Bytes{'b', 0x0D, 'a', 0x0A}), "b\na\n");
    EXPECT_EQ(Utf8(Bytes{0x05, 0x0D, 0xFC, 0x0A}), "\nü\n");
    EXPECT_EQ(Utf8(Bytes{0x11, 0x00, 0x0D, 0x00, 0x0A, 0x00, 'a'}), "\na");
    EXPECT_EQ(Utf8(Bytes{0x15, 'a', 0x0D}), "a\n");
}

TEST(Text, NulsAtTheEndAreDroppedAndOthersAreDamage) {
    EXPECT_EQ(Utf8(Bytes{'a', 0x00, 0x00}), "a");
    EXPECT_EQ(Utf8(Bytes{'a', 0x00, 0x00, 'b', 0x00}), "a\uFFFD\uFFFDb");
    EXPECT_EQ(Utf8(Bytes{0x05, 0xFC, 0x00, 0xFC, 0x00}), "ü\uFFFDü");
    EXPECT_EQ(Utf8(Bytes{'a', 0x00, 0x8A, 0x00}), "a\uFFFD\n");
    EXPECT_EQ(Utf8(Bytes{'a', 0x0D, 0x00, 0x0A}), "a\n\uFFFD\n");
    EXPECT_EQ(Utf8(Bytes{0x11, 0x00, 'a', 0x00, 0x00, 0x00, 0x00}), "a");
    EXPECT_EQ(Utf8(Bytes{0x15, 'a', 0x00}), "a");
    EXPECT_EQ(Utf8(Bytes{0x05, 0x00, 0x00}), "");
}

TEST(Text, OtherControlBytesBelow0x20AreDamage) {
    EXPECT_EQ(Utf8(Bytes{'a', 0x1B, 'b', 0x0A, 'c', 0x00, 0x7F}), "a\uFFFDb\nc\uFFFD\uFFFD");
    EXPECT_EQ(Utf8(Bytes{0x05, 'a', 0x07}), "a\uFFFD");
    EXPECT_EQ(Utf8(Bytes{0x11, 0x00, 0x1B}), "\uFFFD");
}

bool IsValidUtf8(const std::string& text) {
    for (size_t at = 0; at < text.size();) {
        const auto byte = static_cast<uint8_t>(text[at]);
        const size_t size = byte < 0x80   ? 1
                            : byte < 0xC2 ? 0
                            : byte < 0xE0 ? 2
                            : byte < 0xF0 ? 3
                            : byte < 0xF5 ? 4
                                          : 0;
        if (size == 0 || at + size > text.size()) {
            return false;
        }
        for (size_t i = 1; i < size; ++i) {
            if ((static_cast<uint8_t>(text[at + i]) & 0xC0) != 0x80) {
                return false;
            }
        }
        at += size;
    }
    return true;
}

TEST(Text, AnyBytesGiveValidUtf8) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        Bytes bytes(random() % 40);
        for (uint8_t& byte : bytes) {
            byte = static_cast<uint8_t>(random());
        }
        if (!bytes.empty()) {
            bytes[0] = static_cast<uint8_t>(random() % 0x28);
        }
        ASSERT_TRUE(IsValidUtf8(Utf8(bytes))) << i;
    }
}

TEST(Text, IsTheSameOnAllThreadsAtOnce) {
    const auto everyTable = [] {
        std::string all;
        for (uint8_t selector = 0x01; selector <= 0x15; ++selector) {
            Bytes text{selector};
            for (int code = 0x20; code <= 0xFF; ++code) {
                text.push_back(static_cast<uint8_t>(code));
            }
            all += Utf8(text);
        }
        return all;
    };
    std::array<std::string, 8> results;
    std::vector<std::thread> threads;
    for (std::string& result : results) {
        threads.emplace_back([&] { result = everyTable(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(results[0].empty());
    for (const std::string& result : results) {
        EXPECT_EQ(result, results[0]);
    }
}

}  // namespace
}  // namespace tvservice
