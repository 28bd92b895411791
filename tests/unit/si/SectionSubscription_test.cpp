#include <atomic>
#include <limits>
#include <locale>
#include <stdexcept>
#include <thread>

#include "tests/unit/si/SiFixture.h"

namespace {

using Subscription = std::shared_ptr<CSectionSubscription>;

class SectionSubscriptionTest : public testing::Test {
  protected:
    void SetUp() override { platform.Reset(); }

    Subscription SubscribeTable(ISectionManager::EFilterMode mode = ISectionManager::EContinuous,
                                unsigned int timeout = kNoTimeout, bool fromCache = false) {
        return CSectionSubscription::SubscribeSection(&platform, observer, 0x11, 0x42, 7, mode,
                                                      timeout, fromCache);
    }
    Subscription SubscribeExtension(
        ISectionManager::EFilterMode mode = ISectionManager::EContinuous,
        unsigned int timeout = kNoTimeout) {
        return CSectionSubscription::SubscribeSection(&platform, observer, 0x11, 0x42, 0x1234, 7,
                                                      mode, timeout);
    }
    Subscription SubscribePattern(ISectionManager::EFilterMode mode = ISectionManager::EContinuous,
                                  unsigned int timeout = kNoTimeout) {
        return CSectionSubscription::SubscribeSection(&platform, observer, 0x12, {0x4E, 1},
                                                      {0xFE, 2}, {0x00, 3}, 7, mode, timeout);
    }

    FakePlatform& platform = FakePlatform::Get();
    Recorder observer;
};

TEST_F(SectionSubscriptionTest, TableFilterIsAskedForWithSelector2) {
    const Subscription subscription = SubscribeTable();
    ASSERT_TRUE(subscription);
    const fake::Request request = platform.Requests().at(0);
    EXPECT_TRUE(request.isTable);
    EXPECT_EQ(request.id, 7);
    EXPECT_EQ(request.pid, 0x11);
    EXPECT_EQ(request.tableId, 0x42);
    EXPECT_EQ(request.reserved, 0u);
    EXPECT_EQ(request.selector, 2u);
    EXPECT_EQ(request.flag, 1);
    EXPECT_EQ(request.handleOnEntry, -1);
}

TEST_F(SectionSubscriptionTest, TableFilterFromCacheIsAskedForWithSelector1) {
    const Subscription subscription =
        SubscribeTable(ISectionManager::EContinuous, kNoTimeout, true);
    EXPECT_EQ(platform.Requests().at(0).selector, 1u);
    EXPECT_EQ(platform.TakeLog().at(0),
              Line(3, "SubscribeSection",
                   "pid: 17, tableId: 66, id: 7, mode: 1, timeout: -1, fromCache: true"));
}

TEST_F(SectionSubscriptionTest, TableFilterWritesItsLinesInOrderSubscribedSuccessfullyLast) {
    const Subscription subscription = SubscribeTable(ISectionManager::EOneShot, 5000);
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(
            Line(3, "SubscribeSection",
                 "pid: 17, tableId: 66, id: 7, mode: 2, timeout: 5000, fromCache: false"),
            Line(4, "SubscribeSection",
                 Green("Subscribe section succeeded. id: 7, TVS handle: 100")),
            Line(4, "CSectionSubscription", Green("Set timer for 5000ms for id: 7")),
            Line(4, "CSectionSubscription",
                 Green(" TVS handle=100 id=7 pid=17 tableid=66 mode=2 refcount=1")),
            Line(3, "CSectionSubscription", "Subscribed successfully. pid: 17, TVS handle: 100")));
}

TEST_F(SectionSubscriptionTest, ExtensionFilterIsFiveBytesThatNeverCompareSectionLength) {
    const Subscription subscription = SubscribeExtension();
    const fake::Request request = platform.Requests().at(0);
    EXPECT_FALSE(request.isTable);
    EXPECT_EQ(request.id, 7);
    EXPECT_EQ(request.pid, 0x11);
    EXPECT_EQ(request.filter, Bytes({0x42, 0x00, 0x00, 0x12, 0x34}));
    EXPECT_EQ(request.mask, Bytes({0xFF, 0x00, 0x00, 0xFF, 0xFF}));
    EXPECT_EQ(request.mode, Bytes({0, 0, 0, 0, 0}));
    EXPECT_EQ(request.flag, 1);
    EXPECT_EQ(request.handleOnEntry, -1);
}

TEST_F(SectionSubscriptionTest, ExtensionFilterKeepsNoPattern) {
    const Subscription subscription = SubscribeExtension();
    EXPECT_THAT(SectionSubscriptionPeer::Pattern(*subscription), IsEmpty());
    EXPECT_THAT(SectionSubscriptionPeer::Mask(*subscription), IsEmpty());
    EXPECT_THAT(SectionSubscriptionPeer::Mode(*subscription), IsEmpty());
    EXPECT_EQ(SectionSubscriptionPeer::TableIdExt(*subscription), 0x1234);
}

TEST_F(SectionSubscriptionTest, ExtensionFilterWritesNoSubscribedSuccessfully) {
    const Subscription subscription = SubscribeExtension(ISectionManager::EContinuous, 20);
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(Line(3, "SubscribeSection",
                         "pid: 17, tableId: 66, tableIdExt: 4660, id: 7, mode: 1, timeout: 20"),
                    Line(4, "SubscribeSection",
                         Green("Subscribe section succeeded. id: 7, TVS handle: 100")),
                    Line(4, "CSectionSubscription", Green("Set timer for 20ms for id: 7")),
                    Line(4, "CSectionSubscription",
                         Green(" TVS handle=100 id=7 pid=17 tableid=66 mode=1 refcount=1"))));
}

TEST_F(SectionSubscriptionTest, PatternFilterPassesItsBytesUnchanged) {
    const Subscription subscription = SubscribePattern();
    const fake::Request request = platform.Requests().at(0);
    EXPECT_FALSE(request.isTable);
    EXPECT_EQ(request.pid, 0x12);
    EXPECT_EQ(request.filter, Bytes({0x4E, 1}));
    EXPECT_EQ(request.mask, Bytes({0xFE, 2}));
    EXPECT_EQ(request.mode, Bytes({0x00, 3}));
    EXPECT_EQ(request.flag, 1);
    EXPECT_EQ(request.handleOnEntry, -1);
    EXPECT_EQ(SectionSubscriptionPeer::TableId(*subscription), 0x4E);
    EXPECT_EQ(SectionSubscriptionPeer::TableIdExt(*subscription), 0);
}

TEST_F(SectionSubscriptionTest, PatternFilterChecksNoLengths) {
    const Subscription subscription =
        CSectionSubscription::SubscribeSection(&platform, observer, 0x12, {0x4E}, {}, {1, 2, 3}, 7,
                                               ISectionManager::EContinuous, kNoTimeout);
    EXPECT_TRUE(subscription);
    EXPECT_EQ(platform.Requests().at(0).mode, Bytes({1, 2, 3}));
}

TEST_F(SectionSubscriptionTest, PatternFilterSetsItsTimerInYellowAndCountsWithoutColour) {
    const Subscription subscription = SubscribePattern(ISectionManager::EToggle, 5000);
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(Line(3, "SubscribeSection", "pid: 18, id: 7, mode: 0, timeout: 5000"),
                    Line(4, "SubscribeSection",
                         Green("Subscribe section succeeded. id: 7, TVS handle: 100")),
                    Line(5, "CSectionSubscription", Yellow("Set timer for 5000ms for id: 7")),
                    Line(3, "CSectionSubscription",
                         " TVS handle=100 id=7 pid=18 tableid=78 mode=0 refcount=1")));
}

TEST_F(SectionSubscriptionTest, TimeoutAboveIntIsPrintedNegative) {
    const Subscription subscription = SubscribePattern(ISectionManager::EContinuous, 0x80000000u);
    const auto log = platform.TakeLog();
    EXPECT_EQ(log.at(0),
              Line(3, "SubscribeSection", "pid: 18, id: 7, mode: 1, timeout: -2147483648"));
    EXPECT_EQ(log.at(2),
              Line(5, "CSectionSubscription", Yellow("Set timer for -2147483648ms for id: 7")));
}

TEST_F(SectionSubscriptionTest, TimeoutAboveIntIsPrintedNegativeByTableFiltersToo) {
    const std::string line =
        Line(4, "CSectionSubscription", Green("Set timer for -2147483648ms for id: 7"));
    const Subscription table = SubscribeTable(ISectionManager::EContinuous, 0x80000000u);
    auto log = platform.TakeLog();
    EXPECT_EQ(log.at(0), Line(3, "SubscribeSection",
                              "pid: 17, tableId: 66, id: 7, mode: 1, timeout: -2147483648, "
                              "fromCache: false"));
    EXPECT_EQ(log.at(2), line);

    const Subscription extension = SubscribeExtension(ISectionManager::EContinuous, 0x80000000u);
    log = platform.TakeLog();
    EXPECT_EQ(log.at(0), Line(3, "SubscribeSection",
                              "pid: 17, tableId: 66, tableIdExt: 4660, id: 7, mode: 1, timeout: "
                              "-2147483648"));
    EXPECT_EQ(log.at(2), line);
}

TEST_F(SectionSubscriptionTest, OnlyResult1IsSuccess) {
    for (const int result : {0, 2, -1}) {
        platform.Reset();
        platform.NextReply({result, std::nullopt});
        EXPECT_FALSE(SubscribeTable());
        EXPECT_EQ(
            platform.TakeLog().at(1),
            Line(5, "SubscribeSection", Yellow("Subscribe section failed. id: 7, TVS handle: -1")));
        platform.NextReply({result, std::nullopt});
        EXPECT_FALSE(SubscribeExtension());
        platform.NextReply({result, std::nullopt});
        EXPECT_FALSE(SubscribePattern());
        platform.TakeLog();
    }
}

TEST_F(SectionSubscriptionTest, RefusalShowsTheHandleThatThePlatformLeftAndCountsNothing) {
    const std::function<Subscription()> ways[] = {[this] { return SubscribeTable(); },
                                                  [this] { return SubscribeExtension(); },
                                                  [this] { return SubscribePattern(); }};
    for (const auto& subscribe : ways) {
        platform.NextReply({0, 4711});
        EXPECT_FALSE(subscribe());
        const auto log = platform.TakeLog();
        ASSERT_EQ(log.size(), 2u);
        EXPECT_EQ(log[1], Line(5, "SubscribeSection",
                               Yellow("Subscribe section failed. id: 7, TVS handle: 4711")));
        EXPECT_FALSE(SectionSubscriptionPeer::HasHandleCount(4711));
    }
    EXPECT_THAT(platform.Released(), IsEmpty());
}

TEST_F(SectionSubscriptionTest, MissingSubscriberIsARefusal) {
    EXPECT_FALSE(CSectionSubscription::SubscribeSection(
        nullptr, observer, 0x11, 0x42, 7, ISectionManager::EContinuous, kNoTimeout, false));
    EXPECT_EQ(
        platform.TakeLog().at(1),
        Line(5, "SubscribeSection", Yellow("Subscribe section failed. id: 7, TVS handle: -1")));
    EXPECT_FALSE(CSectionSubscription::SubscribeSection(nullptr, observer, 0x11, 0x42, 1, 7,
                                                        ISectionManager::EContinuous, kNoTimeout));
    EXPECT_EQ(platform.TakeLog().size(), 2u);
    EXPECT_FALSE(CSectionSubscription::SubscribeSection(
        nullptr, observer, 0x11, {0x42}, {0xFF}, {}, 7, ISectionManager::EContinuous, kNoTimeout));
    EXPECT_EQ(platform.TakeLog().size(), 2u);
}

TEST_F(SectionSubscriptionTest, ToggleOfTableFiltersTurnsContinuousAfterTheCountLine) {
    const Subscription table = SubscribeTable(ISectionManager::EToggle);
    EXPECT_EQ(table->FilterMode(), ISectionManager::EContinuous);
    const std::string reset =
        Line(6, "CSectionSubscription",
             Red("EToggle mode used for tableid/tableid_ext filter! Resetting to EContinuous"));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(
            Line(3, "SubscribeSection",
                 "pid: 17, tableId: 66, id: 7, mode: 0, timeout: -1, fromCache: false"),
            Line(4, "SubscribeSection",
                 Green("Subscribe section succeeded. id: 7, TVS handle: 100")),
            Line(4, "CSectionSubscription",
                 Green(" TVS handle=100 id=7 pid=17 tableid=66 mode=0 refcount=1")),
            reset,
            Line(3, "CSectionSubscription", "Subscribed successfully. pid: 17, TVS handle: 100")));
    const Subscription extension = SubscribeExtension(ISectionManager::EToggle);
    EXPECT_EQ(extension->FilterMode(), ISectionManager::EContinuous);
    EXPECT_EQ(platform.TakeLog().back(), reset);
    EXPECT_EQ(SubscribePattern(ISectionManager::EToggle)->FilterMode(), ISectionManager::EToggle);
    EXPECT_EQ(platform.Requests().size(), 3u);
}

TEST_F(SectionSubscriptionTest, TextIgnoresAGlobalLocaleThatGroupsDigits) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\1"; }
    };
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    platform.NextReply({1, 123456});
    const Subscription subscription = SubscribeTable();
    EXPECT_EQ(SectionSubscriptionPeer::Info(*subscription),
              " TVS handle=123456 id=7 pid=17 tableid=66 mode=1");
    std::locale::global(before);
}

TEST_F(SectionSubscriptionTest, LastHolderOfAHandleReleasesTheFilter) {
    platform.NextReply({1, 300});
    platform.NextReply({1, 300});
    Subscription first = SubscribeTable();
    Subscription second = SubscribeExtension();
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(300), 2);
    platform.TakeLog();

    first.reset();
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(
            Line(4, "~CSectionSubscription",
                 Green(" TVS handle=300 id=7 pid=17 tableid=66 mode=1 refcount: 1")),
            Line(4, "~CSectionSubscription", Green("refcount > 0, do not unsubscribe section"))));
    EXPECT_THAT(platform.Released(), IsEmpty());

    second.reset();
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(Line(4, "~CSectionSubscription",
                         Green(" TVS handle=300 id=7 pid=17 tableid=66 mode=1 refcount: 0")),
                    Line(4, "~CSectionSubscription", Green("refcount = 0, unsubscribe section"))));
    EXPECT_THAT(platform.Released(), ElementsAre(300));
}

TEST_F(SectionSubscriptionTest, RefusedReleaseIsToldAndTheCountStaysDown) {
    platform.NextReply({1, 301});
    Subscription subscription = SubscribeTable();
    platform.NextRelease(false);
    subscription.reset();
    EXPECT_EQ(platform.TakeLog().back(),
              Line(5, "~CSectionSubscription", Yellow("Unsubscribe section failed")));
    EXPECT_TRUE(SectionSubscriptionPeer::HasHandleCount(301));
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(301), 0);
}

TEST_F(SectionSubscriptionTest, HandleThatComesBackContinuesItsCount) {
    SectionSubscriptionPeer::SetHandleCount(302, -1);
    platform.NextReply({1, 302});
    Subscription subscription = SubscribeTable();
    EXPECT_EQ(platform.TakeLog().at(2),
              Line(4, "CSectionSubscription",
                   Green(" TVS handle=302 id=7 pid=17 tableid=66 mode=1 refcount=0")));
    subscription.reset();  // counts down to -1, which is below 1 too
    EXPECT_THAT(platform.Released(), ElementsAre(302));
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(302), -1);
}

TEST_F(SectionSubscriptionTest, PlatformReleaseComesBeforeTheTimerEnds) {
    Signal inside;
    Signal released;
    Recorder slow;
    slow.duringTimeout = [&](unsigned int) {
        inside.Set();
        EXPECT_TRUE(released.Wait());
    };
    platform.duringRelease = [&](int) { released.Set(); };
    Subscription subscription = CSectionSubscription::SubscribeSection(
        &platform, slow, 0x11, 0x42, 7, ISectionManager::EContinuous, 0, false);
    // The time-out notice runs under the timer's lock and waits for the release. If the
    // subscription stopped the timer before the release, it would wait for the notice for ever.
    ASSERT_TRUE(inside.Wait());
    subscription.reset();
    EXPECT_THAT(platform.Released(), testing::SizeIs(1));
}

TEST_F(SectionSubscriptionTest, TimeoutMayFireBetweenReleaseAndEnd) {
    Recorder late;
    platform.duringRelease = [&](int) { EXPECT_TRUE(late.WaitForTimeouts(1)); };
    Subscription subscription = CSectionSubscription::SubscribeSection(
        &platform, late, 0x11, 0x42, 7, ISectionManager::EContinuous, 100, false);
    subscription.reset();
    EXPECT_THAT(late.Timeouts(), ElementsAre(7u));
}

TEST_F(SectionSubscriptionTest, TimeoutThatWonTheRaceIsReportedBeforeTheSection) {
    Signal inside;
    Signal leave;
    Recorder racing;
    std::atomic<bool> left{false};
    racing.duringTimeout = [&](unsigned int) {
        inside.Set();
        EXPECT_TRUE(leave.Wait());
        left = true;
    };
    racing.duringSection = [&](unsigned short) { EXPECT_TRUE(left); };
    Subscription subscription = CSectionSubscription::SubscribeSection(
        &platform, racing, 0x11, 0x42, 7, ISectionManager::EContinuous, 0, false);
    ASSERT_TRUE(inside.Wait());
    std::thread eventThread([&] {
        unsigned char byte = 0x42;
        subscription->OnCallback(1, &byte);
    });
    // The cancel waits for the time-out notice, and the section is delivered after the cancel.
    EXPECT_TRUE(platform.WaitForLog(Line(4, "OnCallback", Green("Cancel the timer for id: 7"))));
    EXPECT_THAT(racing.Sections(), IsEmpty());
    leave.Set();
    eventThread.join();
    EXPECT_EQ(racing.Sections().size(), 1u);
    EXPECT_EQ(racing.Timeouts().size(), 1u);
}

TEST_F(SectionSubscriptionTest, LinesAndCancelComeBeforeTheObserver) {
    const Subscription subscription = SubscribeTable(ISectionManager::EContinuous, 3600000);
    platform.TakeLog();
    observer.duringSection = [&](unsigned short) {
        EXPECT_EQ(platform.TakeLog().size(), 2u);
        EXPECT_FALSE(SectionSubscriptionPeer::IsArmed(*subscription));
    };
    unsigned char byte = 0x42;
    subscription->OnCallback(1, &byte);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SectionSubscriptionTest, WithoutATimeoutNoFilterArmsItsTimer) {
    const Subscription extension = SubscribeExtension();
    EXPECT_EQ(platform.TakeLog().size(), 3u);
    EXPECT_FALSE(SectionSubscriptionPeer::IsArmed(*extension));
    const Subscription pattern = SubscribePattern();
    EXPECT_EQ(platform.TakeLog().size(), 3u);
    EXPECT_FALSE(SectionSubscriptionPeer::IsArmed(*pattern));
    EXPECT_TRUE(
        SectionSubscriptionPeer::IsArmed(*SubscribePattern(ISectionManager::EToggle, 3600000)));
}

TEST_F(SectionSubscriptionTest, CountThatFellTo0IsKept) {
    platform.NextReply({1, 303});
    SubscribeTable().reset();
    EXPECT_TRUE(SectionSubscriptionPeer::HasHandleCount(303));
}

TEST_F(SectionSubscriptionTest, ExceptionsOfThePlatformPass) {
    platform.duringRequest = [](const fake::Request&) { throw std::length_error("platform"); };
    EXPECT_THROW(SubscribeTable(), std::length_error);
    EXPECT_THROW(SubscribeExtension(), std::length_error);
    EXPECT_THROW(SubscribePattern(), std::length_error);
}

TEST_F(SectionSubscriptionTest, ExceptionsOfTheObserverPass) {
    const Subscription subscription = SubscribeTable();
    observer.duringSection = [](unsigned short) { throw std::length_error("observer"); };
    unsigned char byte = 0x42;
    EXPECT_THROW(subscription->OnCallback(1, &byte), std::length_error);
}

TEST_F(SectionSubscriptionTest, ExceptionInATimeoutEndsTheProcess) {
    EXPECT_DEATH(
        {
            observer.duringTimeout = [](unsigned int) { throw std::length_error("observer"); };
            const Subscription subscription = SubscribeTable(ISectionManager::EContinuous, 0);
            Signal never;
            never.Wait();
        },
        "");
}

TEST_F(SectionSubscriptionTest, AcceptedSectionCancelsAndReachesTheObserver) {
    const Subscription subscription = SubscribeTable();
    platform.TakeLog();
    Bytes section = {0x42, 0xF0, 0x01, 0xAA};
    subscription->OnCallback(4, section.data());
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(Line(4, "OnCallback",
                                 Green(" TVS handle=100 id=7 pid=17 tableid=66 mode=1 length: 4")),
                            Line(4, "OnCallback", Green("Cancel the timer for id: 7"))));
    EXPECT_THAT(observer.Sections(), ElementsAre(Recorder::Section{7, 0x11, section}));
}

TEST_F(SectionSubscriptionTest, ObserverIsCalledWithTheTimersLockReleased) {
    Subscription subscription;
    subscription = SubscribeTable(ISectionManager::EContinuous, 3600000);
    observer.duringSection = [&](unsigned short) {
        // A second section, on another thread, cancels the timer too. If the timer's lock were held
        // here, it would wait for ever.
        observer.duringSection = nullptr;
        std::thread([&] {
            unsigned char byte = 0x42;
            subscription->OnCallback(1, &byte);
        }).join();
    };
    unsigned char byte = 0x42;
    subscription->OnCallback(1, &byte);
    EXPECT_EQ(observer.Sections().size(), 2u);
}

TEST_F(SectionSubscriptionTest, EmptySectionIsToldAndNothingElse) {
    const Subscription subscription = SubscribePattern(ISectionManager::EToggle);
    platform.TakeLog();
    subscription->OnCallback(0, nullptr);
    EXPECT_THAT(platform.TakeLog(), ElementsAre(Line(5, "OnCallback", Yellow("Length is 0"))));
    subscription->OnCallback(5, nullptr);
    EXPECT_THAT(platform.TakeLog(), ElementsAre(Line(5, "OnCallback", Yellow("pData is NULL"))));
    EXPECT_THAT(observer.Sections(), IsEmpty());
}

TEST_F(SectionSubscriptionTest, StaleSectionIsDroppedInToggleModeOnly) {
    const std::string old =
        Line(5, "OnCallback", Yellow("Old section data from previous filter, ignore it"));
    unsigned char other = 0x50;
    const Subscription toggle = SubscribePattern(ISectionManager::EToggle);
    platform.TakeLog();
    toggle->OnCallback(1, &other);
    EXPECT_THAT(platform.TakeLog(), ElementsAre(old));
    EXPECT_THAT(observer.Sections(), IsEmpty());

    const Subscription continuous = SubscribePattern();
    continuous->OnCallback(1, &other);
    EXPECT_EQ(observer.Sections().size(), 1u);
}

TEST_F(SectionSubscriptionTest, DroppedSectionsLeaveTheTimeoutArmed) {
    const Subscription subscription = SubscribePattern(ISectionManager::EToggle, 50);
    unsigned char other = 0x50;
    subscription->OnCallback(1, &other);
    subscription->OnCallback(0, &other);
    subscription->OnCallback(1, nullptr);
    EXPECT_TRUE(observer.WaitForTimeouts(1));
    EXPECT_THAT(observer.Timeouts(), ElementsAre(7u));
}

TEST_F(SectionSubscriptionTest, AcceptedSectionEndsTheTimeoutForGood) {
    const Subscription subscription = SubscribeTable(ISectionManager::EContinuous, 400);
    unsigned char byte = 0x42;
    subscription->OnCallback(1, &byte);
    Recorder other;
    const Subscription later = CSectionSubscription::SubscribeSection(
        &platform, other, 0x11, 0x42, 8, ISectionManager::EContinuous, 500, false);
    EXPECT_TRUE(other.WaitForTimeouts(1));  // 500 ms have passed
    EXPECT_THAT(observer.Timeouts(), IsEmpty());
}

TEST_F(SectionSubscriptionTest, Timeout0FiresAtOnceAndNoTimeoutNever) {
    const Subscription never = SubscribeTable(ISectionManager::EContinuous, kNoTimeout);
    for (const std::string& line : platform.TakeLog()) {
        EXPECT_EQ(line.find("Set timer"), std::string::npos);
    }
    Recorder other;
    const Subscription atOnce = CSectionSubscription::SubscribeSection(
        &platform, other, 0x11, 0x42, 0xFFFF, ISectionManager::EContinuous, 0, false);
    EXPECT_TRUE(other.WaitForTimeouts(1));
    EXPECT_THAT(other.Timeouts(), ElementsAre(0xFFFFu));
    EXPECT_THAT(observer.Timeouts(), IsEmpty());
}

TEST_F(SectionSubscriptionTest, MembersStandInOrder) {
    const Subscription subscription = SubscribeTable();
    const auto members = SectionSubscriptionPeer::Members(*subscription);
    EXPECT_TRUE(std::is_sorted(members.begin(), members.end(), std::less<const void*>()));
    EXPECT_EQ(members.front(), subscription.get()) << "no base, nothing before";
    EXPECT_FALSE(std::is_polymorphic_v<CSectionSubscription>);
}

TEST_F(SectionSubscriptionTest, BitsOfThePatternOutsideTheMaskMakeNoSectionStale) {
    const Subscription toggle = CSectionSubscription::SubscribeSection(
        &platform, observer, 0x12, {0x4F}, {0xFE}, {0x00}, 7, ISectionManager::EToggle, kNoTimeout);
    for (unsigned char tableId : Bytes({0x4E, 0x4F})) {
        toggle->OnCallback(1, &tableId);
    }
    EXPECT_EQ(observer.Sections().size(), 2u);
}

TEST_F(SectionSubscriptionTest, TableFilterHasNoExtensionAndNoPattern) {
    const Subscription subscription = SubscribeTable();
    EXPECT_EQ(SectionSubscriptionPeer::TableId(*subscription), 0x42);
    EXPECT_EQ(SectionSubscriptionPeer::TableIdExt(*subscription), 0);
    EXPECT_THAT(SectionSubscriptionPeer::Pattern(*subscription), IsEmpty());
    EXPECT_THAT(SectionSubscriptionPeer::Mask(*subscription), IsEmpty());
    EXPECT_THAT(SectionSubscriptionPeer::Mode(*subscription), IsEmpty());
}

TEST_F(SectionSubscriptionTest, LinesAndPlatformCallsComeInTheirOrder) {
    std::vector<std::string> order;  // the priorities of log lines, and the calls between them
    platform.duringLog = [&](const std::string& line) { order.push_back(line.substr(0, 1)); };
    platform.duringRequest = [&](const fake::Request&) { order.emplace_back("request"); };
    platform.duringRelease = [&](int) { order.emplace_back("release"); };
    Subscription subscription = SubscribeTable();
    EXPECT_THAT(order, ElementsAre("3", "request", "4", "4", "3"));
    order.clear();
    subscription.reset();
    EXPECT_THAT(order, ElementsAre("4", "4", "release"));
    order.clear();
    subscription = SubscribeExtension();
    EXPECT_THAT(order, ElementsAre("3", "request", "4", "4"));
    subscription.reset();
    order.clear();
    subscription = SubscribePattern(ISectionManager::EToggle);
    EXPECT_THAT(order, ElementsAre("3", "request", "4", "3"));
    order.clear();
    EXPECT_TRUE(subscription->Toggle(0x4E));
    EXPECT_THAT(order, ElementsAre("4", "release", "4", "request", "5"));
    order.clear();
    platform.NextRelease(false);
    subscription.reset();
    EXPECT_THAT(order, ElementsAre("4", "4", "release", "5"));
    platform.Reset();
}

TEST_F(SectionSubscriptionTest, AcceptedSectionCancelsATimerThatWasNeverArmed) {
    const Subscription subscription = SubscribeTable();
    unsigned char byte = 0x42;
    subscription->OnCallback(1, &byte);
    EXPECT_TRUE(
        TORVEL_MW::TimerCallbackPeer::Of(SectionSubscriptionPeer::Timer(*subscription)).cancelled);
}

TEST_F(SectionSubscriptionTest, ObserverGetsTheCallersBytesOnTheCallersThread) {
    struct Witness : TORVEL_MW::ISectionObserver {
        void OnSectionReceived(unsigned short, unsigned short, unsigned short,
                               unsigned char* data) override {
            bytes = data;
            thread = std::this_thread::get_id();
        }
        void OnSectionTimeout(unsigned int) override {}
        unsigned char* bytes = nullptr;
        std::thread::id thread;
    } witness;
    const Subscription subscription = CSectionSubscription::SubscribeSection(
        &platform, witness, 0x11, 0x42, 7, ISectionManager::EContinuous, kNoTimeout, false);
    unsigned char byte = 0x42;
    subscription->OnCallback(1, &byte);
    EXPECT_EQ(witness.bytes, &byte);
    EXPECT_EQ(witness.thread, std::this_thread::get_id());
}

TEST_F(SectionSubscriptionTest, MissingCountIsMadeBeforeItIsLowered) {
    platform.NextReply({1, 304});
    Subscription subscription = SubscribeTable();
    SectionSubscriptionPeer::ForgetHandleCount(304);
    subscription.reset();
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(304), -1);
    EXPECT_THAT(platform.Released(), ElementsAre(304));
}

TEST_F(SectionSubscriptionTest, PIDIsNotCutTo13Bits) {
    constexpr unsigned short kPid = 0xF011;
    constexpr auto kMode = ISectionManager::EContinuous;
    const Subscription ways[] = {
        CSectionSubscription::SubscribeSection(&platform, observer, kPid, 0x42, 7, kMode,
                                               kNoTimeout, false),
        CSectionSubscription::SubscribeSection(&platform, observer, kPid, 0x42, 1, 7, kMode,
                                               kNoTimeout),
        CSectionSubscription::SubscribeSection(&platform, observer, kPid, {0x42}, {0xFF}, {}, 7,
                                               kMode, kNoTimeout)};
    for (const fake::Request& request : platform.Requests()) {
        EXPECT_EQ(request.pid, kPid);
    }
    std::size_t traces = 0;
    for (const std::string& line : platform.TakeLog()) {
        traces += line.find("> pid: 61457, ") != std::string::npos ? 1u : 0u;
    }
    EXPECT_EQ(traces, 3u);
    for (const Subscription& subscription : ways) {
        EXPECT_THAT(SectionSubscriptionPeer::Info(*subscription),
                    testing::HasSubstr(" pid=61457 "));
        unsigned char byte = 0x42;
        subscription->OnCallback(1, &byte);
        EXPECT_EQ(observer.Sections().back().pid, kPid);
    }
}

TEST_F(SectionSubscriptionTest, HandleMinus1IsAHandleLikeAnother) {
    const std::function<Subscription()> ways[] = {[this] { return SubscribeTable(); },
                                                  [this] { return SubscribeExtension(); },
                                                  [this] { return SubscribePattern(); }};
    for (const auto& subscribe : ways) {
        platform.Reset();
        platform.NextReply({1, std::nullopt});
        Subscription subscription = subscribe();
        ASSERT_TRUE(subscription);
        EXPECT_EQ(platform.TakeLog().at(1),
                  Line(4, "SubscribeSection",
                       Green("Subscribe section succeeded. id: 7, TVS handle: -1")));
        EXPECT_EQ(SectionSubscriptionPeer::HandleCount(-1), 1);
        subscription.reset();
        EXPECT_EQ(SectionSubscriptionPeer::HandleCount(-1), 0);
        EXPECT_THAT(platform.Released(), ElementsAre(-1));
    }
}

TEST_F(SectionSubscriptionTest, ShortMaskAndEmptyModeAreNotFilledUp) {
    const Subscription subscription =
        CSectionSubscription::SubscribeSection(&platform, observer, 0x12, {0x4E, 1, 2}, {0xFE}, {},
                                               7, ISectionManager::EToggle, kNoTimeout);
    EXPECT_TRUE(subscription->Toggle(0x4E));
    const auto requests = platform.Requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].mask, Bytes({0xFE}));
    EXPECT_EQ(requests[1].mask, Bytes({0xFF}));
    for (const fake::Request& request : requests) {
        EXPECT_THAT(request.mode, IsEmpty());
    }
}

TEST_F(SectionSubscriptionTest, OnlyTheFirstByteMakesASectionStale) {
    const Subscription toggle = CSectionSubscription::SubscribeSection(
        &platform, observer, 0x12, {0x4E, 0xF0, 1}, {0xFE, 0xFF, 0xFF}, {}, 7,
        ISectionManager::EToggle, kNoTimeout);
    Bytes section = {0x4E, 0x70, 2};
    toggle->OnCallback(3, section.data());
    EXPECT_EQ(observer.Sections().size(), 1u);
    // A section may also be shorter than the pattern.
    toggle->OnCallback(1, section.data());
    EXPECT_EQ(observer.Sections().size(), 2u);
}

TEST_F(SectionSubscriptionTest, EveryAcceptedSectionTellsThatItCancels) {
    const Subscription subscription = SubscribeTable(ISectionManager::EContinuous, 3600000);
    platform.TakeLog();
    const std::string length =
        Line(4, "OnCallback", Green(" TVS handle=100 id=7 pid=17 tableid=66 mode=1 length: 1"));
    const std::string cancel = Line(4, "OnCallback", Green("Cancel the timer for id: 7"));
    unsigned char byte = 0x42;
    subscription->OnCallback(1, &byte);
    subscription->OnCallback(1, &byte);
    EXPECT_THAT(platform.TakeLog(), ElementsAre(length, cancel, length, cancel));
}

TEST_F(SectionSubscriptionTest, TextShowsHandlesSignedAndIdsUnsigned) {
    platform.NextReply({1, std::numeric_limits<int>::min()});
    const Subscription subscription =
        CSectionSubscription::SubscribeSection(&platform, observer, 0xFFFF, {0xFF}, {0xFF}, {},
                                               0xFFFE, ISectionManager::EOneShot, kNoTimeout);
    EXPECT_EQ(SectionSubscriptionPeer::Info(*subscription),
              " TVS handle=-2147483648 id=65534 pid=65535 tableid=255 mode=2");
    platform.NextReply({1, std::numeric_limits<int>::max()});
    const Subscription other = CSectionSubscription::SubscribeSection(
        &platform, observer, 0, {0}, {0xFF}, {}, 0, ISectionManager::EToggle, kNoTimeout);
    EXPECT_EQ(SectionSubscriptionPeer::Info(*other),
              " TVS handle=2147483647 id=0 pid=0 tableid=0 mode=0");
}

}  // namespace
