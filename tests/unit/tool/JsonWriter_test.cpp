#include "tools/torvelsi/JsonWriter.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tool {
namespace {

// Writes a value piece by piece: containers are opened, or now and then written at once.
void Write(JsonWriter& out, const Json& value, std::mt19937& random) {
    if (!value.is_structured() || random() % 4 == 0) {
        out.Value(value);
    } else if (value.is_array()) {
        out.BeginArray();
        for (const Json& entry : value) {
            Write(out, entry, random);
        }
        out.EndArray();
    } else {
        out.BeginObject();
        for (const auto& [key, entry] : value.items()) {
            out.Key(key.c_str());
            Write(out, entry, random);
        }
        out.EndObject();
    }
}

std::string Written(const Json& value, unsigned seed) {
    std::mt19937 random(seed);
    std::string text;
    JsonWriter out([&](std::string_view piece) { text += piece; });
    Write(out, value, random);
    return text;
}

Json RandomValue(std::mt19937& random, int depth) {
    switch (depth > 0 ? random() % 7 : random() % 5) {
        case 0:
            return Json();
        case 1:
            return random() % 2 == 0;
        case 2:
            return random();
        case 3:
            return std::string("line\nbreak \"quoted\" \\ \x01 \u00e9") + std::to_string(random());
        case 4:
            return random() % 2 == 0 ? Json::array() : Json::object();
        case 5: {
            Json array = Json::array();
            for (auto i = random() % 5; i > 0; --i) {
                array.push_back(RandomValue(random, depth - 1));
            }
            return array;
        }
        default: {
            Json object = Json::object();
            for (auto i = random() % 5; i > 0; --i) {
                object["key " + std::to_string(i)] = RandomValue(random, depth - 1);
            }
            return object;
        }
    }
}

TEST(JsonWriter, WritesWhatADumpOfTheWholeWouldBe) {
    std::mt19937 random(1);
    for (unsigned round = 0; round < 500; ++round) {
        const Json value = RandomValue(random, 5);
        ASSERT_EQ(Written(value, round), value.dump(2)) << "round " << round;
    }
}

TEST(JsonWriter, ReplacesWhatIsNoUtf8) {
    EXPECT_EQ(Written(std::string("a\xFF") + "b", 1), "\"a\uFFFDb\"");
}

TEST(JsonWriter, WritesMembersAndArraysOfAList) {
    std::string text;
    JsonWriter out([&](std::string_view piece) { text += piece; });
    out.BeginObject();
    out.Member("count", 2);
    out.Array("entries", std::vector<int>{7, 8}, [&](int entry) { out.Value(entry); });
    out.Array("none", std::vector<int>(), [&](int entry) { out.Value(entry); });
    out.EndObject();
    EXPECT_EQ(text, (Json{{"count", 2}, {"entries", {7, 8}}, {"none", Json::array()}}).dump(2));
}

}  // namespace
}  // namespace tool
