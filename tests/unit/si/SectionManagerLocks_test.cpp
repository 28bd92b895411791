// Which work is done under the manager's lock, which under the inner lock of its table, and which
// without a lock.

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "tests/unit/si/Call.h"
#include "tests/unit/si/EventQueuePeer.h"
#include "tests/unit/si/SectionManagerFixture.h"

namespace {

using TORVEL_MW::EventQueuePeer;

constexpr int kUnknown = 777;

class SectionManagerLocksTest : public SectionManagerTest {
  protected:
    static void UnsubscribeUnknown() { ISectionManager::Instance()->Unsubscribe(kUnknown); }

    /// Whether the manager's lock is held, as another thread sees it.
    static bool IsLocked() {
        bool isLocked = false;
        std::thread([&isLocked] {
            std::recursive_mutex& mutex = KorvoSectionManagerPeer::Mutex(manager());
            isLocked = !mutex.try_lock();
            if (!isLocked) {
                mutex.unlock();
            }
        }).join();
        return isLocked;
    }

    /// Subscribes by the first, second or third overload.
    static unsigned int Subscribe(int overload, Recorder& recorder,
                                  ISectionManager::EFilterMode mode = ISectionManager::EContinuous,
                                  unsigned int timeout = kNoTimeout) {
        ISectionManager& m = *ISectionManager::Instance();
        return overload == 1 ? m.Subscribe(0x11, 0x42, recorder, mode, timeout, false)
               : overload == 2
                   ? m.Subscribe(0x11, 0x42, 0x1234, recorder, mode, timeout)
                   : m.Subscribe(0x12, {0x4E, 1}, {0xFE, 2}, {0x00, 3}, recorder, mode, timeout);
    }

    /// When a log line that contains `text` has been written, calls `act` on the thread that wrote
    /// it.
    void During(const std::string& text, const std::function<void()>& act) {
        platform.duringLog = [text, act](const std::string& line) {
            if (line.find(text) != std::string::npos) {
                act();
            }
        };
    }
};

// --- The event thread

TEST_F(SectionManagerLocksTest, ToggleRunsWithNoLockOfTheManagers) {
    SubscribePattern(observer, ISectionManager::EToggle);
    static std::atomic<int> moments{0};
    const auto useTheManager = [] {
        ++moments;
        EXPECT_TRUE(ReturnsElsewhere(UnsubscribeUnknown));
    };
    During(" Toggle(", useTheManager);
    platform.duringRelease = [useTheManager](int) { useTheManager(); };
    platform.duringRequest = [useTheManager](const fake::Request&) { useTheManager(); };
    platform.Deliver(1, {0x4E});
    Settle();
    EXPECT_EQ(moments, 5) << "line, release, line, request, line";
}

TEST_F(SectionManagerLocksTest, OneShotCompletesAndEndsWithNoLockOfTheManagers) {
    SubscribeTable(observer, ISectionManager::EOneShot);
    static std::atomic<int> moments{0};
    const auto useTheManager = [] {
        ++moments;
        EXPECT_TRUE(ReturnsElsewhere(UnsubscribeUnknown));
    };
    platform.duringLog = [useTheManager](const std::string& line) {
        if (line == kCompleted) {
            EXPECT_TRUE(KorvoSectionManagerPeer::Holds(manager(), 1)) << "it is erased afterwards";
        }
        if (line == kCompleted || line.find("~CSectionSubscription(") != std::string::npos) {
            useTheManager();
        }
    };
    platform.duringRelease = [useTheManager](int) { useTheManager(); };
    platform.Deliver(1, {0x42});
    Settle();
    EXPECT_EQ(moments, 4) << "line, two lines of the end, release";
}

TEST_F(SectionManagerLocksTest, LineOfAnUnknownIdIsWrittenUnderTheManagersLockAlone) {
    static Signal done;
    During(NotFound(9), [] {
        EXPECT_TRUE(IsLocked());
        UnsubscribeUnknown();  // takes the inner lock, which this thread must not hold
        done.Set();
    });
    platform.Deliver(9, {0x42});
    EXPECT_TRUE(done.Wait());
}

// --- Unsubscribe

TEST_F(SectionManagerLocksTest, UnsubscribeWritesItsLineUnderTheLockAndThenErases) {
    SubscribeTable(observer);
    int lines = 0;
    During("Unsubscribe(217)", [&lines] {
        ++lines;
        EXPECT_TRUE(IsLocked());
        EXPECT_TRUE(KorvoSectionManagerPeer::Holds(manager(), 1));
    });
    platform.duringRelease = [](int) {
        EXPECT_FALSE(KorvoSectionManagerPeer::Holds(manager(), 1));
    };
    ISectionManager::Instance()->Unsubscribe(1);
    EXPECT_EQ(lines, 1);
    EXPECT_EQ(platform.Released().size(), 1u);
    EXPECT_FALSE(IsLocked());
}

TEST_F(SectionManagerLocksTest, UnsubscribeOfAnUnknownIdWritesItsLineUnderTheLock) {
    int lines = 0;
    During("Unsubscribe(222)", [&lines] {
        ++lines;
        EXPECT_TRUE(IsLocked());
    });
    UnsubscribeUnknown();
    EXPECT_EQ(lines, 1);
    EXPECT_FALSE(IsLocked());
}

// --- Subscribe

class EachOverload : public SectionManagerLocksTest, public testing::WithParamInterface<int> {
  protected:
    unsigned int Subscribe(ISectionManager::EFilterMode mode = ISectionManager::EContinuous,
                           unsigned int timeout = kNoTimeout) {
        return SectionManagerLocksTest::Subscribe(GetParam(), observer, mode, timeout);
    }

    /// The system's number of the event thread.
    int EventThread() {
        static std::atomic<int> number;
        static Signal known;
        During(NotFound(60001), [] {
            number = ThreadNumber();
            known.Set();
        });
        platform.Deliver(60001, {0});
        EXPECT_TRUE(known.Wait());
        return number;
    }
};

TEST_P(EachOverload, HoldsTheLockAcrossThePlatformsCall) {
    int calls = 0;
    platform.duringRequest = [&calls](const fake::Request&) {
        ++calls;
        EXPECT_TRUE(IsLocked());
    };
    EXPECT_EQ(Subscribe(), 1u);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(IsLocked());
}

TEST_P(EachOverload, AnotherClientsCallWaitsUntilThePlatformHasAnswered) {
    std::atomic<bool> isAnswered{false};
    std::unique_ptr<Call> other;
    platform.duringRequest = [&](const fake::Request&) {
        other = std::make_unique<Call>([&isAnswered] {
            UnsubscribeUnknown();
            EXPECT_TRUE(isAnswered);
        });
        EXPECT_TRUE(other->Blocks());
        isAnswered = true;
    };
    EXPECT_EQ(Subscribe(), 1u);
    ASSERT_TRUE(other);
    EXPECT_TRUE(other->Returns());
}

TEST_P(EachOverload, SectionThatComesBeforeThePlatformsAnswerFindsItsSubscription) {
    const int eventThread = EventThread();
    Settle();
    platform.TakeLog();
    platform.duringRequest = [&](const fake::Request& request) {
        platform.Deliver(request.id, {0x42});
        // Waits until the event thread has taken the section and sleeps. It sleeps at the manager's
        // lock, or, without that lock, after it did not find the subscription.
        while (!EventQueuePeer::IsEmpty(KorvoSectionManagerPeer::Queue(manager())) ||
               !IsAsleep(eventThread)) {
            std::this_thread::yield();
        }
    };
    EXPECT_EQ(Subscribe(), 1u);
    Settle();
    EXPECT_EQ(observer.Sections().size(), 1u);
    EXPECT_THAT(platform.TakeLog(), testing::Not(testing::Contains(NotFound(1))));
}

TEST_P(EachOverload, WritesItsFailureUnderTheLock) {
    constexpr int kLines[] = {139, 167, 204};
    int lines = 0;
    During("Subscribe(" + std::to_string(kLines[GetParam() - 1]) + ")", [&lines] {
        ++lines;
        EXPECT_TRUE(IsLocked());
    });
    platform.NextReply({0, std::nullopt});
    EXPECT_EQ(Subscribe(), 0u);
    EXPECT_EQ(lines, 1);
    EXPECT_FALSE(IsLocked());
}

TEST_P(EachOverload, PassesItsModeOn) {
    Subscribe(ISectionManager::EOneShot);
    platform.Deliver(1, {0x42});
    platform.Deliver(1, {0x42});
    Settle();
    EXPECT_EQ(observer.Sections().size(), 1u);
    EXPECT_THAT(platform.TakeLog(), testing::Contains(kCompleted));
}

TEST_P(EachOverload, PassesItsTimeoutOn) {
    Subscribe(ISectionManager::EContinuous, 5000);
    EXPECT_THAT(platform.TakeLog(), testing::Contains(testing::AllOf(
                                        testing::StartsWith("3 SectionSubscription.cpp"),
                                        testing::HasSubstr("id: 1, mode: 1, timeout: 5000"))));
    Subscribe(ISectionManager::EContinuous, kNoTimeout);
    EXPECT_THAT(platform.TakeLog(),
                testing::Not(testing::Contains(testing::HasSubstr("Set timer"))));
    Subscribe(ISectionManager::EContinuous, 0);
    ASSERT_TRUE(observer.WaitForTimeouts(1));
    EXPECT_THAT(observer.Timeouts(), ElementsAre(3u));
}

INSTANTIATE_TEST_SUITE_P(Overloads, EachOverload, testing::Values(1, 2, 3));

TEST_F(SectionManagerLocksTest, PatternMaskAndModePassThroughTheManagerUnchanged) {
    Subscribe(3, observer);
    const fake::Request request = platform.Requests().at(0);
    EXPECT_EQ(request.pid, 0x12);
    EXPECT_EQ(request.filter, Bytes({0x4E, 1}));
    EXPECT_EQ(request.mask, Bytes({0xFE, 2}));
    EXPECT_EQ(request.mode, Bytes({0x00, 3}));
}

// --- The inner lock

/// A moment inside a client's call, under the manager's lock.
struct Moment {
    std::string name;
    std::string when;  // "request", "release" or part of a log line
    std::function<void(FakePlatform&, Recorder&)> call;
};

class InnerLock : public SectionManagerLocksTest, public testing::WithParamInterface<Moment> {
  public:
    static void SubscribeBy(int overload, Recorder& recorder) { Subscribe(overload, recorder); }
};

std::vector<Moment> Moments() {
    const auto subscribe = [](int overload) {
        return [overload](FakePlatform&, Recorder& recorder) {
            InnerLock::SubscribeBy(overload, recorder);
        };
    };
    const auto beRefused = [](int overload) {
        return [overload](FakePlatform& platform, Recorder& recorder) {
            platform.NextReply({0, std::nullopt});
            InnerLock::SubscribeBy(overload, recorder);
        };
    };
    const auto unsubscribe = [](unsigned int id) {
        return [id](FakePlatform&, Recorder&) { ISectionManager::Instance()->Unsubscribe(id); };
    };
    const auto replace = [](FakePlatform&, Recorder& recorder) {
        auto& manager = dynamic_cast<CKorvoSectionManager&>(*ISectionManager::Instance());
        KorvoSectionManagerPeer::SetNextId(manager, 2);
        InnerLock::SubscribeBy(1, recorder);
    };
    return {{"Request1", "request", subscribe(1)},
            {"Request2", "request", subscribe(2)},
            {"Request3", "request", subscribe(3)},
            {"Trace3", "Subscribe(186)", subscribe(3)},
            {"Failure1", "Subscribe(139)", beRefused(1)},
            {"Failure2", "Subscribe(167)", beRefused(2)},
            {"Failure3", "Subscribe(204)", beRefused(3)},
            {"LineOfUnsubscribe", "Unsubscribe(217)", unsubscribe(2)},
            {"LineOfAnUnknownId", "Unsubscribe(222)", unsubscribe(kUnknown)},
            {"EndByUnsubscribe", "release", unsubscribe(2)},
            {"EndByReplacement", "release", replace}};
}

// A one-shot needs only the inner lock to complete, so it can complete at each of these moments.
TEST_P(InnerLock, IsFree) {
    static Signal looked;
    static Signal goOn;
    static Signal erased;
    observer.duringSection = [](unsigned short) {
        looked.Set();
        EXPECT_TRUE(goOn.Wait());
    };
    SubscribeTable(observer, ISectionManager::EOneShot);
    Recorder& other = Forever<Recorder>();
    SubscribeTable(other);
    static const std::string kEnd =
        Line(4, "~CSectionSubscription",
             Green(" TVS handle=100 id=1 pid=17 tableid=66 mode=2 refcount: 0"));
    static int moments = 0;
    const auto complete = [] {
        ++moments;
        goOn.Set();
        EXPECT_TRUE(erased.Wait());
    };
    const Moment moment = GetParam();
    platform.duringLog = [complete, when = moment.when](const std::string& line) {
        if (line == kEnd) {
            erased.Set();
        } else if (line.find(when) != std::string::npos) {
            complete();
        }
    };
    if (moment.when == "request") {
        platform.duringRequest = [complete](const fake::Request&) { complete(); };
    } else if (moment.when == "release") {
        platform.duringRelease = [complete](int handle) {
            if (handle == 101) {
                complete();
            }
        };
    }
    platform.Deliver(1, {0x42});
    ASSERT_TRUE(looked.Wait());
    moment.call(platform, other);
    EXPECT_EQ(moments, 1);
}

INSTANTIATE_TEST_SUITE_P(Moments, InnerLock, testing::ValuesIn(Moments()),
                         [](const auto& moment) { return moment.param.name; });

TEST_P(EachOverload, WritesItsTraceBeforeTheLockExceptTheThird) {
    constexpr int kLines[] = {121, 148, 186};
    int lines = 0;
    During("Subscribe(" + std::to_string(kLines[GetParam() - 1]) + ")", [&lines] {
        ++lines;
        EXPECT_EQ(IsLocked(), GetParam() == 3);
    });
    EXPECT_EQ(Subscribe(), 1u);
    EXPECT_EQ(lines, 1);
}

TEST_P(EachOverload, TellsThePlatformTheLow16BitsOfItsId) {
    KorvoSectionManagerPeer::SetNextId(manager(), 65536 + 9);
    EXPECT_EQ(Subscribe(), 65545u);
    EXPECT_EQ(platform.Requests().at(0).id, 9);
}

TEST_F(SectionManagerLocksTest, UnsubscribeWaitsForNoDeliveryAndTheEventThreadDestroys) {
    std::thread::id destroyedOn;
    std::thread::id eventThread;
    platform.duringRelease = [&](int) { destroyedOn = std::this_thread::get_id(); };
    bool isBack = false;
    bool isReleased = true;
    observer.duringSection = [&](unsigned short) {
        eventThread = std::this_thread::get_id();
        isBack = ReturnsElsewhere([] { ISectionManager::Instance()->Unsubscribe(1); });
        isReleased = !platform.Released().empty();
    };
    SubscribeTable(observer);
    platform.Deliver(1, {0x42});
    Settle();
    EXPECT_TRUE(isBack);
    EXPECT_FALSE(isReleased);
    EXPECT_EQ(destroyedOn, eventThread);
    EXPECT_THAT(platform.TakeLog(), testing::Contains(Removing(1, 2)));
}

TEST_F(SectionManagerLocksTest, OneThreadServesAllSubscriptionsInTheOrderOfArrival) {
    Recorder& other = Forever<Recorder>();
    std::vector<int> ids;
    std::vector<std::thread::id> threads;
    observer.duringSection = other.duringSection = [&](unsigned short id) {
        ids.push_back(id);
        threads.push_back(std::this_thread::get_id());
    };
    SubscribeTable(observer);
    SubscribeTable(other);
    for (const int id : {1, 2, 2, 1, 2}) {
        platform.Deliver(id, {0x42});
    }
    Settle();
    EXPECT_THAT(ids, ElementsAre(1, 2, 2, 1, 2));
    EXPECT_THAT(threads, testing::Each(threads.at(0)));
}

TEST_F(SectionManagerLocksTest, ThePlatformWaitsForNoObserver) {
    observer.duringSection = [&](unsigned short) {
        observer.duringSection = nullptr;
        EXPECT_TRUE(ReturnsElsewhere([this] {
            for (int i = 0; i < 100; ++i) {
                platform.Deliver(1, {0x42});
            }
        }));
    };
    SubscribeTable(observer);
    platform.Deliver(1, {0x42});
    EXPECT_TRUE(observer.WaitForSections(101));
}

TEST_P(EachOverload, EndsTheSubscriptionThatItReplacesItselfUnderTheLock) {
    SubscribeTable(observer);
    KorvoSectionManagerPeer::SetNextId(manager(), 1);
    bool isLocked = false;
    std::thread::id endedOn;
    platform.duringRelease = [&](int handle) {
        EXPECT_EQ(handle, 100);
        isLocked = IsLocked();
        endedOn = std::this_thread::get_id();
    };
    EXPECT_EQ(Subscribe(), 1u);
    EXPECT_TRUE(isLocked);
    EXPECT_EQ(endedOn, std::this_thread::get_id());
}

TEST_F(SectionManagerLocksTest, EventThreadDropsTheLastReferenceWithNoLockOfTheManagers) {
    static std::atomic<int> moments{0};
    const auto useTheManager = [] {
        ++moments;
        EXPECT_TRUE(ReturnsElsewhere(UnsubscribeUnknown));
    };
    observer.duringSection = [](unsigned short id) {
        ISectionManager::Instance()->Unsubscribe(id);
    };
    SubscribeTable(observer);
    SubscribePattern(observer, ISectionManager::EToggle);
    During("~CSectionSubscription(", useTheManager);
    platform.duringRelease = [useTheManager](int) { useTheManager(); };
    platform.Deliver(1, {0x42});
    Settle();
    EXPECT_EQ(moments, 3) << "two lines of the end, release";
    platform.TakeLog();
    platform.Deliver(2, {0x4E});
    Settle();
    EXPECT_EQ(moments, 7) << "the release of Toggle, and the same three";
}

}  // namespace
