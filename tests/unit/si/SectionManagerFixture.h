#pragma once

// What the tests of the section manager share.

#include <string>
#include <vector>

#include "tests/unit/si/SiFixture.h"

namespace {

inline const std::string kCompleted =
    Line(5, "m_EventLoop", 83, Yellow("OneShot filter completed"));

inline std::string NotFound(int id) {
    return Line(6, "m_EventLoop", 71,
                Red("Couldn't find section subscription for id: " + std::to_string(id)));
}
inline std::string Removing(unsigned int id, int refcount) {
    return Line(4, "Unsubscribe", 217,
                Green("Removing " + std::to_string(id) + " from m_subscriptions refcount " +
                      std::to_string(refcount)));
}
inline std::string FailedToFind(const std::string& id) {
    return Line(6, "Unsubscribe", 222, Red("Failed to find " + id + " in m_subscriptions"));
}

class SectionManagerTest : public testing::Test {
  protected:
    void SetUp() override {
        platform.Reset();
        manager();  // in a process of its own the manager counts ids from 1
        platform.TakeLog();
    }

    static CKorvoSectionManager& manager() {
        return dynamic_cast<CKorvoSectionManager&>(*ISectionManager::Instance());
    }

    unsigned int SubscribeTable(Recorder& recorder,
                                ISectionManager::EFilterMode mode = ISectionManager::EContinuous) {
        return ISectionManager::Instance()->Subscribe(0x11, 0x42, recorder, mode, kNoTimeout,
                                                      false);
    }
    unsigned int SubscribePattern(Recorder& recorder, ISectionManager::EFilterMode mode) {
        return ISectionManager::Instance()->Subscribe(0x12, {0x4E}, {0xFE}, {0x00}, recorder, mode,
                                                      kNoTimeout);
    }

    /// Waits until all sections delivered so far were handled. It delivers one more section and
    /// waits for that one, because sections are handled in order.
    void Settle() {
        platform.Deliver(60000, {0});
        ASSERT_TRUE(platform.WaitForLog(NotFound(60000)));
    }

    /// The log without the lines of subscriptions and without those that Settle causes.
    std::vector<std::string> TakeManagerLog() {
        Settle();
        std::vector<std::string> lines;
        for (const std::string& line : platform.TakeLog()) {
            if (line.find("KorvoSectionManager.cpp") != std::string::npos &&
                line != NotFound(60000)) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    FakePlatform& platform = FakePlatform::Get();
    Recorder& observer = Forever<Recorder>();  // lives as long as the manager may call it
};

}  // namespace
