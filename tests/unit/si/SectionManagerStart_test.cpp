// How the section manager is created. Each test needs a process in which there is none yet.

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "tests/unit/si/Call.h"
#include "tests/unit/si/SectionManagerFixture.h"

namespace {

using TORVEL_MW::SectionData;

class SectionManagerStartTest : public testing::Test {
  protected:
    void SetUp() override {
        platform.Reset();
        if (platform.SubscribersMade() != 0) {
            GTEST_SKIP() << "the process has its manager already";
        }
    }

    static void Receive(int id) {
        unsigned char section[] = {0x42, 0xF0, 0x00};
        CKorvoSectionManager::s_OnSectionData(false, sizeof(section), section, id);
    }

    FakePlatform& platform = FakePlatform::Get();
};

TEST_F(SectionManagerStartTest, EventThreadRunsBeforeThePlatformIsAskedForItsSubscriber) {
    // The manager's address must be known before its constructor has returned.
    struct Place {
        alignas(CKorvoSectionManager) unsigned char memory[sizeof(CKorvoSectionManager)];
    };
    unsigned char* const memory = Forever<Place>().memory;
    std::memset(memory, 0xFF, sizeof(CKorvoSectionManager));
    auto* const manager = reinterpret_cast<CKorvoSectionManager*>(memory);
    bool isAsked = false;
    platform.duringCreation = [&] {
        isAsked = true;
        EXPECT_EQ(KorvoSectionManagerPeer::Subscriber(*manager), nullptr);
        EXPECT_EQ(KorvoSectionManagerPeer::NextId(*manager), 1u);
        unsigned char section = 0x42;
        KorvoSectionManagerPeer::Push(*manager, std::make_unique<SectionData>(5, &section, 1));
        EXPECT_TRUE(platform.WaitForLog(NotFound(5)));
    };
    new (manager) CKorvoSectionManager;
    EXPECT_TRUE(isAsked);
}

TEST_F(SectionManagerStartTest, CallbackOfAnotherThreadWaitsUntilTheManagerExists) {
    static std::atomic<bool> isMade{false};
    Call* early = nullptr;
    platform.duringCreation = [&] {
        early = &Forever<Call>([] {
            Receive(5);
            EXPECT_TRUE(isMade);
        });
        EXPECT_TRUE(early->Blocks());
        isMade = true;
    };
    ISectionManager::Instance();
    ASSERT_NE(early, nullptr);
    EXPECT_TRUE(early->Returns());
    EXPECT_TRUE(platform.WaitForLog(NotFound(5)));
    EXPECT_EQ(platform.SubscribersMade(), 1);
}

TEST_F(SectionManagerStartTest, FirstCallbackMakesTheManager) {
    Receive(5);
    EXPECT_EQ(platform.SubscribersMade(), 1);
    EXPECT_TRUE(platform.WaitForLog(NotFound(5)));
    ISectionManager::Instance();
    EXPECT_EQ(platform.SubscribersMade(), 1);
}

TEST_F(SectionManagerStartTest, ThreadsThatAskAtOnceGetOneManager) {
    constexpr std::size_t kThreads = 4;
    std::vector<ISectionManager*> managers(kThreads, nullptr);
    std::vector<Call*> others;
    platform.duringCreation = [&] {
        for (std::size_t i = 1; i < kThreads; ++i) {
            others.push_back(
                &Forever<Call>([&managers, i] { managers[i] = ISectionManager::Instance(); }));
        }
        for (Call* const other : others) {
            EXPECT_TRUE(other->Blocks()) << "on what the first is making";
        }
    };
    managers[0] = ISectionManager::Instance();
    for (Call* const other : others) {
        ASSERT_TRUE(other->Returns());
    }
    EXPECT_EQ(platform.SubscribersMade(), 1);
    EXPECT_EQ(managers, std::vector<ISectionManager*>(kThreads, managers[0]));
    EXPECT_NE(managers[0], nullptr);
}

TEST_F(SectionManagerStartTest, ItsEndStopsNoThreadAndEndsTheProcess) {
    EXPECT_EXIT(
        {
            { CKorvoSectionManager manager; }
            std::_Exit(0);
        },
        testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
