#include "tests/unit/si/SectionManagerFixture.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

TEST_F(SectionManagerTest, AsksThePlatformOnceForItsSubscriber) {
    ISectionManager::Instance();
    EXPECT_EQ(platform.SubscribersMade(), 1);
    EXPECT_EQ(platform.profile, 1);
    EXPECT_EQ(platform.parameter, 0);
    EXPECT_EQ(platform.callback, &CKorvoSectionManager::s_OnSectionData);
}

TEST_F(SectionManagerTest, IdsCountFrom1WhicheverOverload) {
    ISectionManager& m = *ISectionManager::Instance();
    EXPECT_EQ(SubscribeTable(observer), 1u);
    EXPECT_EQ(m.Subscribe(0x11, 0x42, 5, observer, ISectionManager::EContinuous, kNoTimeout), 2u);
    EXPECT_EQ(SubscribePattern(observer, ISectionManager::EContinuous), 3u);
    EXPECT_EQ(platform.Requests().at(2).id, 3);
}

TEST_F(SectionManagerTest, FailedSubscribeConsumesNoId) {
    ISectionManager& m = *ISectionManager::Instance();
    platform.NextReply({0, std::nullopt});
    EXPECT_EQ(SubscribeTable(observer), 0u);
    platform.NextReply({0, std::nullopt});
    EXPECT_EQ(m.Subscribe(0x11, 0x42, 5, observer, ISectionManager::EContinuous, kNoTimeout), 0u);
    platform.NextReply({0, std::nullopt});
    EXPECT_EQ(SubscribePattern(observer, ISectionManager::EContinuous), 0u);
    EXPECT_THAT(
        TakeManagerLog(),
        ElementsAre(
            Line(3, "Subscribe", 121, "id: 1, pid: 17, tableId: 66, mode: 1"),
            Line(6, "Subscribe", 139, Red("Failed with id: 1")),
            Line(3, "Subscribe", 148, "id: 1, pid: 17, tableId: 66, tableIdExt: 5, mode: 1"),
            Line(6, "Subscribe", 167, Red("Failed with id: 1")),
            Line(3, "Subscribe", 186, "id: 1, pid: 18, mode: 1, pattern/mask:\n4e \nfe "),
            Line(6, "Subscribe", 204, Red("Failed with id: 1"))));
    EXPECT_EQ(SubscribeTable(observer), 1u);
}

TEST_F(SectionManagerTest, FailedLineComesAfterTheSubscriptionsOwn) {
    platform.NextReply({0, std::nullopt});
    SubscribeTable(observer);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(Line(3, "Subscribe", 121, "id: 1, pid: 17, tableId: 66, mode: 1"),
                            Line(3, "SubscribeSection",
                                 "pid: 17, tableId: 66, id: 1, mode: 1, timeout: -1, fromCache: "
                                 "false"),
                            Line(5, "SubscribeSection",
                                 Yellow("Subscribe section failed. id: 1, TVS handle: -1")),
                            Line(6, "Subscribe", 139, Red("Failed with id: 1"))));
}

TEST_F(SectionManagerTest, TracesShowFullWidthAndSubscriptionsGetTheLowBits) {
    ISectionManager& m = *ISectionManager::Instance();
    m.Subscribe(0x11, 0x10042, observer, ISectionManager::EContinuous, kNoTimeout, true);
    m.Subscribe(0x11, 0x10042, 0x51234, observer, ISectionManager::EContinuous, kNoTimeout);
    EXPECT_THAT(TakeManagerLog(),
                ElementsAre(Line(3, "Subscribe", 121, "id: 1, pid: 17, tableId: 65602, mode: 1"),
                            Line(3, "Subscribe", 148,
                                 "id: 2, pid: 17, tableId: 65602, tableIdExt: 332340, mode: 1")));
    EXPECT_EQ(platform.Requests().at(0).tableId, 0x42);
    EXPECT_EQ(platform.Requests().at(0).selector, 1u);
    EXPECT_EQ(platform.Requests().at(1).filter, Bytes({0x42, 0, 0, 0x12, 0x34}));
}

TEST_F(SectionManagerTest, PatternTextIsLowerCaseHexWithoutANewlineAtItsEnd) {
    ISectionManager& m = *ISectionManager::Instance();
    m.Subscribe(0x12, {0x42, 0x00, 0x0A}, {0xFF, 0x00, 0xB0}, {}, observer,
                ISectionManager::EContinuous, kNoTimeout);
    platform.NextReply({0, std::nullopt});
    m.Subscribe(0x12, {}, {}, {}, observer, ISectionManager::EContinuous, kNoTimeout);
    const auto lines = TakeManagerLog();
    EXPECT_EQ(lines.at(0), Line(3, "Subscribe", 186,
                                "id: 1, pid: 18, mode: 1, pattern/mask:\n42 00 0a \nff 00 b0 "));
    EXPECT_EQ(lines.at(1), Line(3, "Subscribe", 186, "id: 2, pid: 18, mode: 1, pattern/mask:\n\n"));
}

TEST_F(SectionManagerTest, MaskOfThePairIsShownAsTheExampleSays) {
    ISectionManager::Instance()->Subscribe(0x12, {0x4F}, {0xFE}, {}, observer,
                                           ISectionManager::EContinuous, kNoTimeout);
    EXPECT_EQ(TakeManagerLog().at(0),
              Line(3, "Subscribe", 186, "id: 1, pid: 18, mode: 1, pattern/mask:\n4f \nfe "));
}

TEST_F(SectionManagerTest, After4294967294Comes1) {
    KorvoSectionManagerPeer::SetNextId(manager(), 4294967294u);
    EXPECT_EQ(SubscribeTable(observer), 4294967294u);
    EXPECT_EQ(SubscribeTable(observer), 1u);
    EXPECT_EQ(platform.Requests().at(0).id, 0xFFFE);
}

TEST_F(SectionManagerTest, WrappedIdReplacesAndReleasesTheOldSubscription) {
    EXPECT_EQ(SubscribeTable(observer), 1u);
    KorvoSectionManagerPeer::SetNextId(manager(), 1);
    Recorder& other = Forever<Recorder>();
    EXPECT_EQ(SubscribeTable(other), 1u);
    EXPECT_THAT(platform.Released(), ElementsAre(100));
    platform.Deliver(1, {0x42});
    EXPECT_TRUE(other.WaitForSections(1));
    EXPECT_THAT(observer.Sections(), IsEmpty());
}

TEST_F(SectionManagerTest, UnsubscribeOfUnknownIdsIsToldAndChangesNothing) {
    ISectionManager& m = *ISectionManager::Instance();
    SubscribeTable(observer);
    platform.TakeLog();
    m.Unsubscribe(0);
    m.Unsubscribe(77);
    m.Unsubscribe(4294967295u);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(FailedToFind("0"), FailedToFind("77"), FailedToFind("-1")));
    m.Unsubscribe(1);
    platform.TakeLog();
    m.Unsubscribe(1);
    EXPECT_THAT(platform.TakeLog(), ElementsAre(FailedToFind("1")));
    EXPECT_EQ(platform.Released().size(), 1u);
}

TEST_F(SectionManagerTest, UnsubscribeTellsOneOwnerBeforeItDestroysUnderTheLock) {
    SubscribeTable(observer);
    platform.TakeLog();
    bool locked = false;
    platform.duringRelease = [&](int) {
        std::thread([&] { locked = !KorvoSectionManagerPeer::Mutex(manager()).try_lock(); }).join();
    };
    ISectionManager::Instance()->Unsubscribe(1);
    EXPECT_TRUE(locked);
    EXPECT_EQ(platform.TakeLog().at(0), Removing(1, 1));
    EXPECT_THAT(platform.Released(), ElementsAre(100));
}

TEST_F(SectionManagerTest, ContinuousGetsEverySectionUntilUnsubscribed) {
    SubscribeTable(observer);
    for (unsigned char i = 0; i < 5; ++i) {
        platform.Deliver(1, {0x42, i});
    }
    ASSERT_TRUE(observer.WaitForSections(5));
    for (unsigned char i = 0; i < 5; ++i) {
        EXPECT_EQ(observer.Sections()[i], (Recorder::Section{1, 0x11, {0x42, i}}));
    }
    ISectionManager::Instance()->Unsubscribe(1);
    platform.TakeLog();
    platform.Deliver(1, {0x42});
    EXPECT_TRUE(platform.WaitForLog(NotFound(1)));
    EXPECT_EQ(observer.Sections().size(), 5u);
}

TEST_F(SectionManagerTest, ThePlatformsBoolHasNoEffect) {
    SubscribeTable(observer);
    platform.Deliver(1, {0x42}, true);
    platform.Deliver(1, {0x42}, false);
    EXPECT_TRUE(observer.WaitForSections(2));
}

TEST_F(SectionManagerTest, OneShotGetsExactlyOneSection) {
    SubscribeTable(observer, ISectionManager::EOneShot);
    platform.TakeLog();
    platform.Deliver(1, {0x42, 1});
    platform.Deliver(1, {0x42, 2});
    EXPECT_THAT(TakeManagerLog(), ElementsAre(kCompleted, NotFound(1)));
    EXPECT_EQ(observer.Sections().size(), 1u);
    EXPECT_THAT(platform.Released(), ElementsAre(100));
    ISectionManager::Instance()->Unsubscribe(1);
    EXPECT_THAT(platform.TakeLog(), ElementsAre(FailedToFind("1")));
}

TEST_F(SectionManagerTest, OneShotCompletesEvenWhenItsSectionWasDropped) {
    SubscribeTable(observer, ISectionManager::EOneShot);
    platform.TakeLog();
    platform.Deliver(1, {});
    Settle();
    const auto log = platform.TakeLog();
    EXPECT_EQ(log.at(0), Line(5, "OnCallback", Yellow("Length is 0")));
    EXPECT_EQ(log.at(1), kCompleted);
    EXPECT_THAT(observer.Sections(), IsEmpty());
    EXPECT_FALSE(KorvoSectionManagerPeer::Holds(manager(), 1));
}

TEST_F(SectionManagerTest, OneShotCompletesWhileAClientSitsInSubscribe) {
    SubscribeTable(observer, ISectionManager::EOneShot);
    Signal inside;
    Signal leave;
    std::thread client;
    // While the section is handled, the client takes the manager's lock and keeps it.
    observer.duringSection = [&](unsigned short) {
        client = std::thread([&] {
            platform.duringRequest = [&](const fake::Request&) {
                inside.Set();
                EXPECT_TRUE(leave.Wait());
            };
            SubscribeTable(Forever<Recorder>());
        });
        EXPECT_TRUE(inside.Wait());
    };
    platform.TakeLog();
    platform.Deliver(1, {0x42});
    EXPECT_TRUE(platform.WaitForLog(kCompleted));
    EXPECT_TRUE(platform.WaitForLog(
        Line(4, "~CSectionSubscription", Green("refcount = 0, unsubscribe section"))));
    leave.Set();
    client.join();
}

TEST_F(SectionManagerTest, ToggleIsCalledWithTheTableIdOfEachSection) {
    SubscribePattern(observer, ISectionManager::EToggle);
    platform.Deliver(1, {0x4F, 1});
    platform.Deliver(1, {0x4E, 2});
    platform.Deliver(1, {0x4E, 3});  // stale, because 0x4F is expected now
    Settle();
    ASSERT_EQ(observer.Sections().size(), 2u);
    const auto requests = platform.Requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[1].filter, Bytes({0x4E}));
    EXPECT_EQ(requests[2].filter, Bytes({0x4F}));
    EXPECT_EQ(requests[2].id, 1);
}

TEST_F(SectionManagerTest, RefusedToggleLeavesTheSubscriptionInTheTable) {
    SubscribePattern(observer, ISectionManager::EToggle);
    platform.NextReply({0, std::nullopt});
    platform.Deliver(1, {0x4E});
    Settle();
    EXPECT_TRUE(KorvoSectionManagerPeer::Holds(manager(), 1));
    for (const std::string& line : platform.TakeLog()) {
        EXPECT_EQ(line.find("~CSectionSubscription"), std::string::npos);
    }
    platform.Deliver(1, {0x4F});  // may still come through a filter that others share
    EXPECT_TRUE(observer.WaitForSections(2));
}

TEST_F(SectionManagerTest, ExceptionOfAnObserverEndsTheProcess) {
    EXPECT_DEATH(
        {
            observer.duringSection = [](unsigned short) { throw std::length_error("observer"); };
            SubscribeTable(observer);
            platform.Deliver(1, {0x42});
            Signal never;
            never.Wait();
        },
        "");
}

TEST_F(SectionManagerTest, UnsubscribeInItsOwnTimeoutEndsTheProcess) {
    EXPECT_DEATH(
        {
            observer.duringTimeout = [](unsigned int id) {
                ISectionManager::Instance()->Unsubscribe(id);
            };
            ISectionManager::Instance()->Subscribe(0x11, 0x42, observer,
                                                   ISectionManager::EContinuous, 0, false);
            Signal never;
            never.Wait();
        },
        "");
}

TEST_F(SectionManagerTest, StaleToggleSectionWritesThreeLines) {
    SubscribePattern(observer, ISectionManager::EToggle);
    platform.Deliver(1, {0x4E});
    Settle();
    platform.TakeLog();
    platform.Deliver(1, {0x4E});
    Settle();
    const auto log = platform.TakeLog();
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(log[0],
              Line(5, "OnCallback", Yellow("Old section data from previous filter, ignore it")));
    EXPECT_EQ(log[1], Line(4, "Toggle",
                           Green("Toggle mode filter. current tableId: 4E, current pattern: 4F, "
                                 "current mask: FF")));
    EXPECT_EQ(log[2],
              Line(5, "Toggle", Yellow("Old section data from previous filter, ignore it")));
}

TEST_F(SectionManagerTest, EmptyToggleSectionIsNotToggled) {
    SubscribePattern(observer, ISectionManager::EToggle);
    platform.TakeLog();
    platform.Deliver(1, {});
    Settle();
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(Line(5, "OnCallback", Yellow("Length is 0")), NotFound(60000)));
    EXPECT_EQ(platform.Requests().size(), 1u);
}

TEST_F(SectionManagerTest, ObserverMayUnsubscribeItselfAndTheSubscriptionEndsOnTheEventThread) {
    std::thread::id destroyedOn;
    std::thread::id eventThread;
    platform.duringRelease = [&](int) { destroyedOn = std::this_thread::get_id(); };
    bool releasedInside = true;
    observer.duringSection = [&](unsigned short id) {
        eventThread = std::this_thread::get_id();
        ISectionManager::Instance()->Unsubscribe(id);
        releasedInside = !platform.Released().empty();
    };
    SubscribeTable(observer);
    platform.Deliver(1, {0x42});
    EXPECT_THAT(TakeManagerLog(),
                ElementsAre(Line(3, "Subscribe", 121, "id: 1, pid: 17, tableId: 66, mode: 1"),
                            Removing(1, 2)));
    EXPECT_FALSE(releasedInside);
    EXPECT_EQ(destroyedOn, eventThread);
}

TEST_F(SectionManagerTest, OneShotThatUnsubscribesItselfIsErasedOnce) {
    observer.duringSection = [&](unsigned short id) {
        ISectionManager::Instance()->Unsubscribe(id);
    };
    SubscribeTable(observer, ISectionManager::EOneShot);
    platform.Deliver(1, {0x42});
    EXPECT_THAT(TakeManagerLog(),
                ElementsAre(Line(3, "Subscribe", 121, "id: 1, pid: 17, tableId: 66, mode: 2"),
                            Removing(1, 2), kCompleted));
    EXPECT_EQ(platform.Released().size(), 1u);
}

TEST_F(SectionManagerTest, OneShotErasesWhateverStandsUnderItsId) {
    Recorder& other = Forever<Recorder>();
    observer.duringSection = [&](unsigned short id) {
        observer.duringSection = nullptr;
        ISectionManager::Instance()->Unsubscribe(id);
        KorvoSectionManagerPeer::SetNextId(manager(), 1);
        EXPECT_EQ(SubscribeTable(other), 1u);
    };
    SubscribeTable(observer, ISectionManager::EOneShot);
    platform.Deliver(1, {0x42});
    Settle();
    EXPECT_FALSE(KorvoSectionManagerPeer::Holds(manager(), 1));
}

TEST_F(SectionManagerTest, ObserverMaySubscribeInsideItsSection) {
    unsigned int inner = 0;
    Recorder& other = Forever<Recorder>();
    observer.duringSection = [&](unsigned short) { inner = SubscribeTable(other); };
    SubscribeTable(observer, ISectionManager::EOneShot);
    platform.Deliver(1, {0x42});
    Settle();
    EXPECT_EQ(inner, 2u);
    platform.Deliver(2, {0x42});
    EXPECT_TRUE(other.WaitForSections(1));
}

TEST_F(SectionManagerTest, TracesOfOverloads1And2ComeBeforeTheLockAndThatOf3UnderIt) {
    Signal inside;
    Signal leave;
    platform.duringRequest = [&](const fake::Request&) {
        platform.duringRequest = nullptr;
        inside.Set();
        EXPECT_TRUE(leave.Wait());
    };
    std::thread holder([&] { SubscribeTable(observer); });
    ASSERT_TRUE(inside.Wait());
    platform.TakeLog();
    ISectionManager& m = *ISectionManager::Instance();
    std::thread third([&] { SubscribePattern(observer, ISectionManager::EContinuous); });
    std::thread first([&] {
        m.Subscribe(0x21, 0x42, observer, ISectionManager::EContinuous, kNoTimeout, false);
    });
    EXPECT_TRUE(
        platform.WaitForLog(Line(3, "Subscribe", 121, "id: 1, pid: 33, tableId: 66, mode: 1")));
    std::thread second(
        [&] { m.Subscribe(0x22, 0x42, 1, observer, ISectionManager::EContinuous, kNoTimeout); });
    EXPECT_TRUE(platform.WaitForLog(
        Line(3, "Subscribe", 148, "id: 1, pid: 34, tableId: 66, tableIdExt: 1, mode: 1")));
    EXPECT_EQ(platform.TakeLog().size(), 2u);  // none for the third
    leave.Set();
    holder.join();
    first.join();
    second.join();
    third.join();
    std::size_t thirds = 0;
    for (const std::string& line : platform.TakeLog()) {
        thirds += line.find("Subscribe(186)") != std::string::npos ? 1u : 0u;
    }
    EXPECT_EQ(thirds, 1u);
}

TEST_F(SectionManagerTest, NestedSubscribeInsideThePlatformsCallGetsTheFirstId) {
    unsigned int inner = 0;
    platform.duringRequest = [&](const fake::Request&) {
        platform.duringRequest = nullptr;
        inner = SubscribeTable(Forever<Recorder>());
    };
    const unsigned int outer = SubscribeTable(observer);
    EXPECT_EQ(inner, 1u);
    EXPECT_EQ(outer, 2u);
}

TEST_F(SectionManagerTest, IdsFrom65536AreKnownOutsideByTheirLow16BitsOnly) {
    KorvoSectionManagerPeer::SetNextId(manager(), 65536 + 9);
    EXPECT_EQ(SubscribeTable(observer), 65545u);
    EXPECT_EQ(platform.Requests().at(0).id, 9);
    platform.TakeLog();
    platform.Deliver(9, {0x42});
    EXPECT_TRUE(platform.WaitForLog(NotFound(9)));
    EXPECT_THAT(observer.Sections(), IsEmpty());

    // The observer gets the low 16 bits too.
    platform.Deliver(65545, {0x42});
    ASSERT_TRUE(observer.WaitForSections(1));
    EXPECT_EQ(observer.Sections()[0].id, 9);
    Settle();
    ISectionManager::Instance()->Unsubscribe(65545);
    EXPECT_THAT(platform.Released(), ElementsAre(100));
}

TEST_F(SectionManagerTest, SectionOfAHighIdGoesToTheOlderHolderOfTheLow16Bits) {
    EXPECT_EQ(SubscribeTable(observer), 1u);
    KorvoSectionManagerPeer::SetNextId(manager(), 65537);
    Recorder& high = Forever<Recorder>();
    EXPECT_EQ(SubscribeTable(high), 65537u);
    platform.Deliver(platform.Requests().at(1).id, {0x42});
    EXPECT_TRUE(observer.WaitForSections(1));
    EXPECT_THAT(high.Sections(), IsEmpty());
}

TEST_F(SectionManagerTest, NullRecordIsToldAndTheLoopGoesOn) {
    SubscribeTable(observer);
    platform.TakeLog();
    KorvoSectionManagerPeer::Push(manager(), nullptr);
    EXPECT_TRUE(platform.WaitForLog(Line(6, "m_EventLoop", 55, Red("NULL data"))));
    platform.Deliver(1, {0x42});
    EXPECT_TRUE(observer.WaitForSections(1));
}

TEST_F(SectionManagerTest, NegativePlatformIdIsLookedUpAsUnsigned) {
    platform.TakeLog();
    platform.Deliver(-5, {0x42});
    EXPECT_TRUE(platform.WaitForLog(NotFound(-5)));
    KorvoSectionManagerPeer::SetNextId(manager(), 4294967291u);  // -5
    EXPECT_EQ(SubscribeTable(observer), 4294967291u);
    platform.Deliver(-5, {0x42});
    EXPECT_TRUE(observer.WaitForSections(1));
}

TEST_F(SectionManagerTest, TheLockIsNotHeldWhileTheObserverRuns) {
    Signal done;
    observer.duringSection = [&](unsigned short) {
        std::thread([&] { SubscribeTable(Forever<Recorder>()); }).join();
        done.Set();
    };
    SubscribeTable(observer);
    platform.Deliver(1, {0x42});
    EXPECT_TRUE(done.Wait());
}

TEST_F(SectionManagerTest, MembersStandInOrder) {
    const auto members = KorvoSectionManagerPeer::Members(manager());
    EXPECT_TRUE(std::is_sorted(members.begin(), members.end(), std::less<const void*>()));
}

// Makes another manager, because the process's manager has a subscriber. It is never destroyed.
TEST_F(SectionManagerTest, WithoutASubscriberEverySubscribeIsRefused) {
    platform.HaveNoSubscriber();
    auto& lonely = Forever<CKorvoSectionManager>();
    EXPECT_EQ(
        lonely.Subscribe(0x11, 0x42, observer, ISectionManager::EContinuous, kNoTimeout, false),
        0u);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(Line(3, "Subscribe", 121, "id: 1, pid: 17, tableId: 66, mode: 1"),
                            Line(3, "SubscribeSection",
                                 "pid: 17, tableId: 66, id: 1, mode: 1, timeout: -1, fromCache: "
                                 "false"),
                            Line(5, "SubscribeSection",
                                 Yellow("Subscribe section failed. id: 1, TVS handle: -1")),
                            Line(6, "Subscribe", 139, Red("Failed with id: 1"))));
}

TEST_F(SectionManagerTest, NumbersAboveIntArePrintedNegativeExceptTheIdThatIsRemoved) {
    ISectionManager& m = *ISectionManager::Instance();
    constexpr auto kMode = ISectionManager::EContinuous;
    KorvoSectionManagerPeer::SetNextId(manager(), 4294967291u);  // -5
    m.Subscribe(0x11, 0x80000042u, observer, kMode, kNoTimeout, false);
    m.Subscribe(0x11, 0x80000042u, 0xFFFFFFFFu, observer, kMode, kNoTimeout);
    SubscribePattern(observer, kMode);
    for (int i = 0; i < 3; ++i) {
        platform.NextReply({0, std::nullopt});
    }
    EXPECT_EQ(SubscribeTable(observer), 0u);
    EXPECT_EQ(m.Subscribe(0x11, 0x42, 5, observer, kMode, kNoTimeout), 0u);
    EXPECT_EQ(SubscribePattern(observer, kMode), 0u);
    m.Unsubscribe(4294967291u);
    EXPECT_THAT(
        TakeManagerLog(),
        ElementsAre(
            Line(3, "Subscribe", 121, "id: -5, pid: 17, tableId: -2147483582, mode: 1"),
            Line(3, "Subscribe", 148,
                 "id: -4, pid: 17, tableId: -2147483582, tableIdExt: -1, mode: 1"),
            Line(3, "Subscribe", 186, "id: -3, pid: 18, mode: 1, pattern/mask:\n4e \nfe "),
            Line(3, "Subscribe", 121, "id: -2, pid: 17, tableId: 66, mode: 1"),
            Line(6, "Subscribe", 139, Red("Failed with id: -2")),
            Line(3, "Subscribe", 148, "id: -2, pid: 17, tableId: 66, tableIdExt: 5, mode: 1"),
            Line(6, "Subscribe", 167, Red("Failed with id: -2")),
            Line(3, "Subscribe", 186, "id: -2, pid: 18, mode: 1, pattern/mask:\n4e \nfe "),
            Line(6, "Subscribe", 204, Red("Failed with id: -2")), Removing(4294967291u, 1)));
}

TEST_F(SectionManagerTest, WithoutASubscriberTheOtherOverloadsAreTriedAndRefusedToo) {
    platform.HaveNoSubscriber();
    auto& lonely = Forever<CKorvoSectionManager>();
    constexpr auto kMode = ISectionManager::EContinuous;
    EXPECT_EQ(lonely.Subscribe(0x11, 0x42, 5, observer, kMode, kNoTimeout), 0u);
    EXPECT_EQ(lonely.Subscribe(0x12, {0x4E}, {0xFE}, {}, observer, kMode, kNoTimeout), 0u);
    const std::string refused =
        Line(5, "SubscribeSection", Yellow("Subscribe section failed. id: 1, TVS handle: -1"));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(
            Line(3, "Subscribe", 148, "id: 1, pid: 17, tableId: 66, tableIdExt: 5, mode: 1"),
            Line(3, "SubscribeSection",
                 "pid: 17, tableId: 66, tableIdExt: 5, id: 1, mode: 1, timeout: -1"),
            refused, Line(6, "Subscribe", 167, Red("Failed with id: 1")),
            Line(3, "Subscribe", 186, "id: 1, pid: 18, mode: 1, pattern/mask:\n4e \nfe "),
            Line(3, "SubscribeSection", "pid: 18, id: 1, mode: 1, timeout: -1"), refused,
            Line(6, "Subscribe", 204, Red("Failed with id: 1"))));
}

TEST_F(SectionManagerTest, SubscriptionsShowTheBitsThatTheyGet) {
    ISectionManager& m = *ISectionManager::Instance();
    m.Subscribe(0x11, 0x10142, observer, ISectionManager::EContinuous, kNoTimeout, true);
    m.Subscribe(0x11, 0x10142, 0x51234, observer, ISectionManager::EContinuous, kNoTimeout);
    EXPECT_EQ(platform.Requests().at(0).tableId, 0x42);
    const auto log = platform.TakeLog();
    EXPECT_THAT(log, testing::Contains(Line(
                         3, "SubscribeSection",
                         "pid: 17, tableId: 66, id: 1, mode: 1, timeout: -1, fromCache: true")));
    EXPECT_THAT(log, testing::Contains(Line(
                         3, "SubscribeSection",
                         "pid: 17, tableId: 66, tableIdExt: 4660, id: 2, mode: 1, timeout: -1")));
}

TEST_F(SectionManagerTest, HasNoMemberMore) {
    struct Mirror {
        virtual ~Mirror() = default;
        std::recursive_mutex mutex;
        std::map<unsigned int, std::shared_ptr<CSectionSubscription>> subscriptions;
        unsigned int nextId;
        ISectionSubscriber* subscriber;
        std::thread eventThread;
        TORVEL_MW::EventQueue<TORVEL_MW::SectionData> eventQueue;
    };
    EXPECT_EQ(sizeof(CKorvoSectionManager), sizeof(Mirror));
}

TEST_F(SectionManagerTest, SectionsOfAnyLengthArrive) {
    SubscribeTable(observer);
    for (const std::size_t length : {4096u, 4097u, 65535u}) {
        platform.Deliver(1, Bytes(length, 0x42));
    }
    ASSERT_TRUE(observer.WaitForSections(3));
    EXPECT_EQ(observer.Sections()[0].data.size(), 4096u);
    EXPECT_EQ(observer.Sections()[1].data.size(), 4097u);
    EXPECT_EQ(observer.Sections()[2].data.size(), 65535u);
}

TEST_F(SectionManagerTest, UnsubscribeLooksAtAllBitsOfAnId) {
    SubscribeTable(observer);
    platform.TakeLog();
    ISectionManager::Instance()->Unsubscribe(65536 + 1);
    EXPECT_THAT(platform.TakeLog(), ElementsAre(FailedToFind("65537")));
    EXPECT_TRUE(KorvoSectionManagerPeer::Holds(manager(), 1));
}

TEST_F(SectionManagerTest, IdWhoseLow16BitsAre0IsGivenOut) {
    KorvoSectionManagerPeer::SetNextId(manager(), 65535);
    EXPECT_EQ(SubscribeTable(Forever<Recorder>()), 65535u);
    EXPECT_EQ(SubscribeTable(observer), 65536u);
    EXPECT_EQ(platform.Requests().at(1).id, 0);
    platform.Deliver(65536, {0x42});
    ASSERT_TRUE(observer.WaitForSections(1));
    EXPECT_EQ(observer.Sections()[0].id, 0);
    EXPECT_EQ(SubscribeTable(observer), 65537u);
}

TEST_F(SectionManagerTest, ToggleFollowsThoughTheObserverUnsubscribedItself) {
    observer.duringSection = [&](unsigned short id) {
        ISectionManager::Instance()->Unsubscribe(id);
    };
    SubscribePattern(observer, ISectionManager::EToggle);
    platform.Deliver(1, {0x4E});
    Settle();
    EXPECT_EQ(platform.Requests().size(), 2u);
    EXPECT_THAT(platform.Released(), ElementsAre(100, 101));
}

// A second Subscribe inside the platform's call takes the id that the outer one is trying.
TEST_F(SectionManagerTest, FailureShowsTheNextIdNotTheOneThatWasTried) {
    ISectionManager& m = *ISectionManager::Instance();
    const std::function<unsigned int()> ways[] = {
        [this] { return SubscribeTable(observer); },
        [&] {
            return m.Subscribe(0x11, 0x42, 5, observer, ISectionManager::EContinuous, kNoTimeout);
        },
        [this] { return SubscribePattern(observer, ISectionManager::EContinuous); }};
    const int lines[] = {139, 167, 204};
    for (unsigned int i = 0; i < 3; ++i) {
        platform.NextReply({0, std::nullopt});
        platform.duringRequest = [&](const fake::Request&) {
            platform.duringRequest = nullptr;
            EXPECT_EQ(SubscribeTable(Forever<Recorder>()), i + 1);
        };
        EXPECT_EQ(ways[i](), 0u);
        EXPECT_EQ(TakeManagerLog().back(),
                  Line(6, "Subscribe", lines[i], Red("Failed with id: " + std::to_string(i + 2))));
    }
}

TEST_F(SectionManagerTest, PatternTextShowsEveryByte) {
    std::string shown;
    for (int i = 0; i < 200; ++i) {
        shown += "a5 ";
    }
    ISectionManager::Instance()->Subscribe(0xF012, Bytes(200, 0xA5), Bytes(17, 0xFF), {}, observer,
                                           ISectionManager::EContinuous, kNoTimeout);
    std::string mask;
    for (int i = 0; i < 17; ++i) {
        mask += "ff ";
    }
    EXPECT_EQ(TakeManagerLog().at(0),
              Line(3, "Subscribe", 186,
                   "id: 1, pid: 61458, mode: 1, pattern/mask:\n" + shown + "\n" + mask));
}

TEST_F(SectionManagerTest, PIDIsNotCutTo13Bits) {
    ISectionManager& m = *ISectionManager::Instance();
    constexpr auto kMode = ISectionManager::EContinuous;
    m.Subscribe(0xF011, 0x42, observer, kMode, kNoTimeout, false);
    m.Subscribe(0xF011, 0x42, 5, observer, kMode, kNoTimeout);
    m.Subscribe(0xF011, {0x42}, {0xFF}, {}, observer, kMode, kNoTimeout);
    EXPECT_THAT(
        TakeManagerLog(),
        ElementsAre(
            Line(3, "Subscribe", 121, "id: 1, pid: 61457, tableId: 66, mode: 1"),
            Line(3, "Subscribe", 148, "id: 2, pid: 61457, tableId: 66, tableIdExt: 5, mode: 1"),
            Line(3, "Subscribe", 186, "id: 3, pid: 61457, mode: 1, pattern/mask:\n42 \nff ")));
    for (const fake::Request& request : platform.Requests()) {
        EXPECT_EQ(request.pid, 0xF011);
    }
}

}  // namespace
