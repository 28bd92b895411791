// What every platform must do with section filters and the log: platform/ISectionSubscriber.h,
// platform/TVServiceAPI.h, platform/Log.h and the README beside them.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Log.h"
#include "platform/TCSectionCriteriaHelper.h"
#include "platform/TCSectionFilterCriteriaHelper.h"
#include "tests/contract/platform/Client.h"

namespace contract {
namespace {

using testsupport::Counting;
using testsupport::PlainSection;
using testsupport::SectionBytes;

constexpr unsigned short kPid = 0x0123;
constexpr unsigned short kOtherPid = 0x0124;
constexpr unsigned char kTableId = 0x42;

constexpr int kGranted = 1;
constexpr int kNoHandle = -1;

// The table of the marks. A mark is sent after everything else on a PID: when it has arrived, no
// earlier section of that PID can still arrive.
constexpr unsigned char kMarkTableId = 0xEE;
constexpr int kFirstMarkId = 0x7A00;

// The answer to a request.
struct Answer {
    int result;
    int handle;
    bool granted() const { return result == kGranted && handle != kNoHandle; }
    bool refused() const { return result != kGranted && handle == kNoHandle; }
};

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    return out << "result " << answer.result << ", handle " << answer.handle;
}

// A byte filter, as a client requests it.
struct Pattern {
    Bytes filter;
    Bytes mask;
    Bytes mode{};
};

// The filter for one table_id_extension.
Pattern OfExtension(unsigned short extension) {
    return {{kTableId, 0, 0, static_cast<uint8_t>(extension >> 8), static_cast<uint8_t>(extension)},
            {0xFF, 0, 0, 0xFF, 0xFF},
            {0, 0, 0, 0, 0}};
}

Bytes Section(unsigned char tableId = kTableId, unsigned short extension = 1, size_t size = 100) {
    return SectionBytes{
        .table_id = tableId, .table_id_extension = extension, .body = Counting(size - 12)}
        .Build();
}

// `count` sections with the table_id_extensions 0, 1, ...
std::vector<Bytes> Numbered(unsigned short count) {
    std::vector<Bytes> sections;
    for (unsigned short number = 0; number < count; ++number) {
        sections.push_back(Section(kTableId, number));
    }
    return sections;
}

bool IsNumber(const Call& call, int id, unsigned number) {
    return call.id == id && (unsigned{call.section[3]} << 8 | call.section[4]) == number;
}

class SubscriberContract : public testing::Test {
  protected:
    void SetUp() override {
        client_.Reset();
        ASSERT_NE(client_.subscriber(), nullptr);
    }

    void TearDown() override {
        Join();
        client_.SetHook(nullptr);
        MustEnd("Unsubscribe", [this] {
            for (const int handle : Held()) {
                Release(handle);
            }
            for (const auto& [pid, mark] : marks_) {
                EXPECT_TRUE(client_.subscriber()->Unsubscribe(mark.handle));
            }
        });
        for (const std::string& fault : client_.Faults()) {
            ADD_FAILURE() << fault;
        }
    }

    // --- Requests. The criteria are changed after the return, because the caller may do that.
    Answer AskTable(int id, unsigned short pid, unsigned short tableId, unsigned selector = 2) {
        TCSectionCriteriaHelper criteria;
        criteria.m_pid = pid;
        criteria.m_tableId = tableId;
        criteria.m_selector = selector;
        criteria.m_flag = 1;
        Answer answer{0, kNoHandle};
        answer.result = client_.subscriber()->SubscribeTable(id, &criteria, &answer.handle);
        criteria = {0x1FFE, 0xEF, 0, 2, 0};
        Keep(answer);
        return answer;
    }

    Answer AskFilter(int id, unsigned short pid, const Pattern& pattern) {
        TCSectionFilterCriteriaHelper criteria;
        criteria.m_pid = pid;
        criteria.m_filter = pattern.filter;
        criteria.m_mask = pattern.mask;
        criteria.m_mode = pattern.mode;
        criteria.m_flag = 1;
        Answer answer{0, kNoHandle};
        answer.result = client_.subscriber()->SubscribeFilter(id, &criteria, &answer.handle);
        criteria.m_pid = 0x1FFE;
        for (Bytes* const bytes : {&criteria.m_filter, &criteria.m_mask, &criteria.m_mode}) {
            std::fill(bytes->begin(), bytes->end(), uint8_t{0xEF});
        }
        Keep(answer);
        return answer;
    }

    // Requests that must be granted.
    int Table(int id, unsigned char tableId = kTableId, unsigned short pid = kPid) {
        const Answer answer = AskTable(id, pid, tableId);
        EXPECT_TRUE(answer.granted()) << answer;
        return answer.handle;
    }

    int Filter(int id, const Pattern& pattern, unsigned short pid = kPid) {
        const Answer answer = AskFilter(id, pid, pattern);
        EXPECT_TRUE(answer.granted()) << answer;
        return answer.handle;
    }

    void Release(int handle) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            held_.erase(handle);
        }
        EXPECT_TRUE(client_.subscriber()->Unsubscribe(handle)) << handle;
    }

    // Sets the filter for the marks of a PID, if it is not set yet.
    void Watch(unsigned short pid = kPid) {
        if (marks_.count(pid) == 0) {
            const int id = kFirstMarkId + static_cast<int>(marks_.size());
            const int handle = Table(id, kMarkTableId, pid);
            std::lock_guard<std::mutex> lock(mutex_);
            held_.erase(handle);  // not released with the others, but at the very end
            marks_[pid] = {id, handle, 0};
        }
    }

    // --- Sections. Send returns when all deliveries have been made. SendBehind returns at once,
    // and Join waits for the deliveries.
    void Send(const std::vector<Broadcast>& broadcasts) {
        SendBehind(broadcasts);
        Join();
    }
    void Send(const std::vector<Bytes>& sections) { Send(On(kPid, sections)); }
    void Send(const Bytes& section, unsigned short pid = kPid) { Send(On(pid, {section})); }

    void SendBehind(std::vector<Broadcast> broadcasts) {
        static unsigned short serial = 0;
        ++serial;
        std::set<unsigned short> pids;
        for (const Broadcast& broadcast : broadcasts) {
            pids.insert(broadcast.pid);
        }
        for (const unsigned short pid : pids) {
            Watch(pid);
            marks_[pid].awaited = serial;
            broadcasts.push_back({pid, Section(kMarkTableId, serial, 12)});
        }
        sender_ = SuiteThread([this, all = std::move(broadcasts)] { client_.rig().Send(all); });
    }
    void SendBehind(const std::vector<Bytes>& sections) { SendBehind(On(kPid, sections)); }

    void Join() {
        if (!sender_.joinable()) {
            return;
        }
        MustEnd("PlatformRig::Send, or a callback that it causes,", [this] { sender_.join(); });
        for (auto& [pid, mark] : marks_) {
            const unsigned serial = std::exchange(mark.awaited, 0u);
            const int id = mark.id;
            EXPECT_TRUE(serial == 0 || client_.WaitFor([id, serial](const Call& call) {
                return IsNumber(call, id, serial);
            })) << "what was sent last on PID "
                << pid << " did not arrive";
        }
    }

    static std::vector<Broadcast> On(unsigned short pid, const std::vector<Bytes>& sections) {
        std::vector<Broadcast> broadcasts;
        for (const Bytes& section : sections) {
            broadcasts.push_back({pid, section});
        }
        return broadcasts;
    }

    std::vector<Bytes> Received(int id) const {
        std::vector<Bytes> sections;
        for (const Call& call : client_.Calls()) {
            if (call.id == id) {
                sections.push_back(call.section);
            }
        }
        return sections;
    }

    size_t CallsFor(int id) const { return client_.CallsFor(id); }

    Client& client_ = Client::Get();
    const Abilities abilities_ = client_.rig().abilities();

  private:
    struct Mark {
        int id;
        int handle;
        unsigned awaited;  // table_id_extension of the mark on its way; 0: none
    };

    void Keep(const Answer& answer) {
        if (answer.granted()) {
            std::lock_guard<std::mutex> lock(mutex_);
            held_.insert(answer.handle);
        }
    }

    std::set<int> Held() {
        std::lock_guard<std::mutex> lock(mutex_);
        return held_;
    }

    std::mutex mutex_;
    std::set<int> held_;
    std::map<unsigned short, Mark> marks_;  // by PID
    std::thread sender_;
};

// --- What arrives

TEST_F(SubscriberContract, DeliversWholeSectionsUnchangedAndInOrder) {
    Table(1);
    std::vector<Bytes> sections;
    for (const size_t size :
         std::vector<size_t>{12, 13, 182, 183, 184, 185, 367, 368, 1024, 4096}) {
        sections.push_back(Section(kTableId, 1, size));
    }
    Send(sections);
    EXPECT_EQ(Received(1), sections);
}

TEST_F(SubscriberContract, DeliversSectionsWithoutSyntaxToo) {
    Table(1, 0x70);
    const Bytes section = PlainSection(0x70, {0xE1, 0x23, 0x12, 0x34, 0x56});
    Send(section);
    EXPECT_EQ(Received(1), std::vector<Bytes>{section});
}

TEST_F(SubscriberContract, DeliversRepeatsEveryTime) {
    Table(1);
    Send(std::vector<Bytes>(5, Section()));
    EXPECT_EQ(CallsFor(1), 5u);
}

TEST_F(SubscriberContract, BringsIdsBackUnchanged) {
    for (const int id : {0, 1, 127, 128, 255, 256, 32767, 32768, 65534, 65535}) {
        const int handle = Table(id);
        Send(Section());
        EXPECT_EQ(CallsFor(id), 1u) << id;
        Release(handle);
    }
}

TEST_F(SubscriberContract, GivesToAllFiltersOfAnIdThatRepeats) {
    Table(1, 0x42);
    Table(1, 0x46);
    Send({Section(0x42), Section(0x46)});
    EXPECT_EQ(Received(1), (std::vector<Bytes>{Section(0x42), Section(0x46)}));
}

TEST_F(SubscriberContract, DeliversNothingElse) {
    Table(1);
    Send({{kPid, Section(0x43)}, {kPid, Section(0x02)}, {kOtherPid, Section()}});
    EXPECT_EQ(CallsFor(1), 0u);
    Send(Section());
    EXPECT_EQ(CallsFor(1), 1u);
}

TEST_F(SubscriberContract, DeliversNothingForPidsThatNoPacketCanCarry) {
    AskTable(1, 0x2000 | kPid, kTableId);  // granted or not
    AskTable(2, 0xE000 | kPid, kTableId);
    Send(Section());
    EXPECT_EQ(CallsFor(1) + CallsFor(2), 0u);
}

TEST_F(SubscriberContract, GoesOnLiveAfterWhatItsCacheHolds) {
    EXPECT_TRUE(AskTable(1, kPid, kTableId, 1).granted());
    Send(Section(kTableId, 0x4321));
    EXPECT_TRUE(client_.WaitFor(
        [](const Call& call) { return call.section == Section(kTableId, 0x4321); }));
}

// Sections from the cache come on the delivery thread too, which is checked after every test. They
// must not come inside the request, because the SI layer holds its lock during the request.
TEST_F(SubscriberContract, GivesWhatItsCacheHoldsToASecondClient) {
    Table(1);
    Send(Section(kTableId, 0x1111));
    MustEnd("a request from the cache",
            [this] { EXPECT_TRUE(AskTable(2, kPid, kTableId, 1).granted()); });
    if (abilities_.caches) {
        EXPECT_TRUE(client_.WaitFor([](const Call& call) { return IsNumber(call, 2, 0x1111); }));
    }
    Send(Section(kTableId, 0x4321));
    std::vector<Bytes> live = Received(2);
    ASSERT_FALSE(live.empty());
    EXPECT_EQ(live.back(), Section(kTableId, 0x4321));
    live.pop_back();
    EXPECT_LE(live.size(), 1u);
    for (const Bytes& cached : live) {
        EXPECT_EQ(cached, Section(kTableId, 0x1111));
    }
}

TEST_F(SubscriberContract, CallsBackOneAtATimeOnAThreadOfItsOwn) {
    constexpr size_t kSections = 100;
    const std::vector<unsigned short> pids{0x0020, 0x0123, 0x1FFB};
    std::vector<Broadcast> broadcasts;
    for (size_t i = 0; i < kSections; ++i) {
        for (const unsigned short pid : pids) {
            broadcasts.push_back({pid, Section()});
        }
    }
    for (const unsigned short pid : pids) {
        Table(pid, kTableId, pid);
    }
    client_.SetHook([](const Call&) { std::this_thread::yield(); });
    Send(broadcasts);
    // Whether calls overlapped or came on a wrong thread is checked after every test.
    for (const unsigned short pid : pids) {
        EXPECT_EQ(CallsFor(pid), kSections);
    }
}

// --- Byte filters

struct PatternCase {
    std::string name;
    Pattern pattern;
    std::vector<Bytes> hits;
    std::vector<Bytes> misses;
};

std::ostream& operator<<(std::ostream& out, const PatternCase& pattern) {
    return out << pattern.name;
}

Bytes OfVersion(unsigned char version) {
    return SectionBytes{.table_id = kTableId, .version_number = version, .body = Counting(20)}
        .Build();
}

class FilterContract : public SubscriberContract,
                       public testing::WithParamInterface<PatternCase> {};

TEST_P(FilterContract, LetsThroughWhatMatches) {
    Filter(1, GetParam().pattern);
    std::vector<Bytes> all = GetParam().misses;
    all.insert(all.end(), GetParam().hits.begin(), GetParam().hits.end());
    all.insert(all.end(), GetParam().misses.begin(), GetParam().misses.end());
    Send(all);
    EXPECT_EQ(Received(1), GetParam().hits);
}

INSTANTIATE_TEST_SUITE_P(
    All, FilterContract,
    testing::Values(
        PatternCase{"TableIdAndExtensionWhateverTheLength",
                    OfExtension(0x1234),
                    {Section(0x42, 0x1234), Section(0x42, 0x1234, 300)},
                    {Section(0x42, 0x1235), Section(0x42, 0x1334), Section(0x43, 0x1234)}},
        PatternCase{"SectionLengthAtPositionsOneAndTwo",
                    {{0x42, 0x01, 0x2C}, {0xFF, 0x0F, 0xFF}},
                    {Section(0x42, 1, 3 + 0x12C)},
                    {Section(0x42, 1, 3 + 0x12D), Section(0x42, 1, 3 + 0x02C)}},
        PatternCase{"ModeZeroWhenThereIsNone",
                    {{0x42}, {0xFF}, {}},
                    {Section(0x42)},
                    {Section(0x43), Section(0x02)}},
        PatternCase{"BitsUnderTheMaskOnly",
                    {{0x4E}, {0xFE}, {0}},
                    {Section(0x4E), Section(0x4F)},
                    {Section(0x4C), Section(0x50)}},
        PatternCase{"WhateverStandsInTheFilterOutsideTheMask",
                    {{0x42, 0xFF, 0xFF, 0xFF, 0x07}, {0xFF, 0, 0, 0, 0xFF}, {0, 0, 0, 0, 0}},
                    {Section(0x42, 0x0007), Section(0x42, 0x1207)},
                    {Section(0x42, 0x0008)}},
        PatternCase{"NegativeBits",
                    {{0x42, 0, 0, 0, 0, 5 << 1}, {0xFF, 0, 0, 0, 0, 0x3E}, {0, 0, 0, 0, 0, 0x3E}},
                    {OfVersion(4), OfVersion(6), OfVersion(21), OfVersion(26)},
                    {OfVersion(5), Section(0x43)}},
        PatternCase{"NegativeBitsOfSeveralBytesTogether",
                    {{0x42, 0, 0, 0x12, 0x34}, {0xFF, 0, 0, 0xFF, 0xFF}, {0, 0, 0, 0xFF, 0xFF}},
                    {Section(0x42, 0x1235), Section(0x42, 0x1334), Section(0x42, 0)},
                    {Section(0x42, 0x1234), Section(0x43, 0x1235)}},
        PatternCase{"BothModesInOneByte",
                    {{0x42}, {0xFF}, {0x01}},
                    {Section(0x43)},
                    {Section(0x42), Section(0x40), Section(0x41)}},
        PatternCase{
            "SixteenBytes",
            {Bytes{0x42, 0, 0, 0, 1, 0xC1, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7},
             Bytes{0xFF, 0, 0, 0xFF, 0xFF, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
             Bytes(16, 0)},
            {Section(0x42, 1)},
            {SectionBytes{.table_id = 0x42, .body = {0, 1, 2, 3, 4, 5, 6, 8, 8}}.Build()}}),
    [](const auto& tested) { return tested.param.name; });

// --- Handles

TEST_F(SubscriberContract, GivesFiltersOfDifferentCriteriaHandlesOfTheirOwn) {
    std::set<int> handles;
    for (unsigned short i = 0; i < 4; ++i) {
        handles.insert(Filter(i, OfExtension(i)));
    }
    handles.insert(Table(4));
    handles.insert(Table(5, kTableId, kOtherPid));
    EXPECT_EQ(handles.size(), 6u);
}

TEST_F(SubscriberContract, ReleasesOneFilterAndNoOther) {
    const int first = Filter(1, OfExtension(1));
    Filter(2, OfExtension(2));
    const std::vector<Bytes> both{Section(kTableId, 1), Section(kTableId, 2)};
    Send(both);
    Release(first);
    Send(both);
    EXPECT_EQ(CallsFor(1), 1u);
    EXPECT_EQ(CallsFor(2), 2u);
}

TEST_F(SubscriberContract, GivesEachSectionToAllThatAskedForTheSame) {
    const int first = Table(1);
    const int second = Table(2);
    Send(Numbered(3));
    EXPECT_EQ(CallsFor(1), 3u);
    EXPECT_EQ(CallsFor(2), 3u);

    // A shared handle is released once, for all that share it.
    Release(first);
    Send(Numbered(2));
    EXPECT_EQ(CallsFor(1), 3u);
    EXPECT_EQ(CallsFor(2), first == second ? 3u : 5u);
}

TEST_F(SubscriberContract, SetsAFilterAgainThatWasReleased) {
    for (int round = 0; round < 20; ++round) {
        const int handle = Table(round);
        Send(Section());
        Release(handle);
        Send(Section());
        EXPECT_EQ(CallsFor(round), 1u);
    }
}

TEST_F(SubscriberContract, RefusesWhenNoFilterIsLeftAndSharesThenAtMost) {
    if (abilities_.filters == 0) {
        GTEST_SKIP() << "its filters cannot be used up";
    }
    Watch();
    const auto count = static_cast<unsigned short>(abilities_.filters - 1);
    std::vector<int> handles;
    for (unsigned short i = 0; i < count; ++i) {
        handles.push_back(Filter(i, OfExtension(i)));
    }
    EXPECT_EQ(std::set<int>(handles.begin(), handles.end()).size(), count);
    for (int i = 0; i < 3; ++i) {
        const Answer other = AskFilter(1000, kPid, OfExtension(count));
        EXPECT_TRUE(other.refused()) << other;
        const Answer table = AskTable(1001, kOtherPid, kTableId);
        EXPECT_TRUE(table.refused()) << table;
    }

    const Answer same = AskFilter(2000, kPid, OfExtension(0));
    EXPECT_TRUE(same.refused() || (same.granted() && same.handle == handles[0])) << same;
    Send(Section(kTableId, 0));
    EXPECT_EQ(CallsFor(0), 1u);
    EXPECT_EQ(CallsFor(2000), same.granted() ? 1u : 0u);
    EXPECT_EQ(CallsFor(1000) + CallsFor(1001), 0u);

    Release(handles[0]);
    Send(Section(kTableId, 0));
    EXPECT_EQ(CallsFor(0), 1u);
    EXPECT_EQ(CallsFor(2000), same.granted() ? 1u : 0u);

    Filter(1000, OfExtension(count));
    Send(Section(kTableId, count));
    EXPECT_EQ(CallsFor(1000), 1u);
}

TEST_F(SubscriberContract, AnswersFalseToHandlesThatAreNotInUse) {
    if (!abilities_.refuses) {
        GTEST_SKIP() << "it refuses nothing by itself";
    }
    const int handle = Table(1);
    for (const int other : {kNoHandle, INT_MIN, INT_MAX}) {
        if (other != handle) {
            EXPECT_FALSE(client_.subscriber()->Unsubscribe(other)) << other;
        }
    }
    Send(Section());
    EXPECT_EQ(CallsFor(1), 1u);
    Release(handle);
    EXPECT_FALSE(client_.subscriber()->Unsubscribe(handle));
    EXPECT_FALSE(client_.subscriber()->Unsubscribe(handle));
}

TEST_F(SubscriberContract, DoesNotHandOutAgainAHandleGivenUpOnceTooOften) {
    if (!abilities_.refuses || !abilities_.retiresHandles) {
        GTEST_SKIP() << "it retires no handles";
    }
    const int retired = Table(1);
    Release(retired);
    ASSERT_FALSE(client_.subscriber()->Unsubscribe(retired));
    for (int round = 0; round < 5000; ++round) {
        const int handle = Table(1);
        ASSERT_NE(handle, retired) << round;
        Release(handle);
    }
}

// --- Refusals

class RefusalContract : public SubscriberContract {
  protected:
    void SetUp() override {
        SubscriberContract::SetUp();
        if (!abilities_.refuses) {
            GTEST_SKIP() << "it refuses nothing by itself";
        }
    }

    void ExpectRefusal(const Pattern& pattern) {
        const Answer answer = AskFilter(1, kPid, pattern);
        EXPECT_TRUE(answer.refused()) << answer;
    }
};

TEST_F(RefusalContract, AnEmptyPattern) {
    ExpectRefusal({{}, {}, {}});
    ExpectRefusal({{}, {0xFF}, {}});
    ExpectRefusal({{}, {}, {0}});
}

TEST_F(RefusalContract, AMaskOfAnotherLength) {
    ExpectRefusal({{0x42, 0}, {0xFF}, {0, 0}});
    ExpectRefusal({{0x42}, {0xFF, 0xFF}, {0}});
    ExpectRefusal({{0x42}, {}, {}});
}

TEST_F(RefusalContract, AModeThatIsNeitherEmptyNorOfThatLength) {
    ExpectRefusal({{0x42, 0}, {0xFF, 0}, {0}});
    ExpectRefusal({{0x42, 0}, {0xFF, 0}, {0, 0, 0}});
}

TEST_F(RefusalContract, WhatNoClientAsksFor) {
    if (!abilities_.refusesTheUnheardOf) {
        GTEST_SKIP() << "not a duty";
    }
    for (const unsigned short tableId : std::vector<unsigned short>{0x100, 0x142, 0xFFFF}) {
        const Answer answer = AskTable(1, kPid, tableId);
        EXPECT_TRUE(answer.refused()) << answer;
    }
    Answer answer{kGranted, kNoHandle};
    answer.result = client_.subscriber()->SubscribeTable(1, nullptr, &answer.handle);
    EXPECT_TRUE(answer.refused()) << answer;
    answer.result = client_.subscriber()->SubscribeFilter(1, nullptr, &answer.handle);
    EXPECT_TRUE(answer.refused()) << answer;
}

TEST_F(RefusalContract, CostsNobodyAFilter) {
    const auto rounds = abilities_.filters + 10;
    for (unsigned i = 0; i < rounds; ++i) {
        ExpectRefusal({{0x42}, {}, {}});
    }
    Table(2);
    Send(Section());
    EXPECT_EQ(CallsFor(1), 0u);
    EXPECT_EQ(CallsFor(2), 1u);
}

// --- Inside the callback, and on other threads during it

TEST_F(SubscriberContract, LetsACallbackReleaseItsOwnFilter) {
    const int handle = Table(1);
    client_.SetHook([&](const Call& call) {
        if (call.id == 1) {
            Release(handle);
        }
    });
    Send(Numbered(3));
    EXPECT_EQ(CallsFor(1), 1u);
}

TEST_F(SubscriberContract, LetsACallbackReleaseAnotherFilterThatWouldBeNext) {
    const std::map<int, int> handles{{1, Table(1)}, {2, Filter(2, {{kTableId, 0}, {0xFF, 0}})}};
    int first = 0;
    client_.SetHook([&](const Call& call) {
        if (handles.count(call.id) != 0 && first == 0) {
            first = call.id;
            Release(handles.at(3 - first));
        }
    });
    Send(Numbered(3));
    ASSERT_NE(first, 0);
    EXPECT_EQ(CallsFor(first), 3u);
    EXPECT_EQ(CallsFor(3 - first), 0u);
}

TEST_F(SubscriberContract, LetsACallbackSetFilters) {
    Table(1);
    client_.SetHook([&](const Call& call) {
        if (IsNumber(call, 1, 0)) {
            Table(2, 0x46);
            Filter(3, {{0x47}, {0xFF}});
        }
    });
    Send(Numbered(2));
    Send({Section(0x46), Section(0x47)});
    EXPECT_EQ(CallsFor(2), 1u);
    EXPECT_EQ(CallsFor(3), 1u);
}

TEST_F(SubscriberContract, HoldsNoLockDuringACallback) {
    Table(1);
    const int other = Table(2, 0x46);
    client_.SetHook([&](const Call& call) {
        if (call.id == 1) {
            MustEnd("SubscribeTable on another thread during a callback",
                    [this] { Table(3, 0x47); });
            MustEnd("SubscribeFilter on another thread during a callback", [this] {
                Filter(4, {{0x48}, {0xFF}});
            });
            MustEnd("Unsubscribe of another handle on another thread during a callback",
                    [this, other] { Release(other); });
        }
    });
    Send(Section());
    Send({Section(0x46), Section(0x47), Section(0x48)});
    EXPECT_EQ(CallsFor(1), 1u);
    EXPECT_EQ(CallsFor(2), 0u);
    EXPECT_EQ(CallsFor(3), 1u);
    EXPECT_EQ(CallsFor(4), 1u);
}

TEST_F(SubscriberContract, WaitsForTheEndOfACallbackOfTheHandleThatIsReleased) {
    if (!abilities_.waits) {
        GTEST_SKIP() << "it does not wait";
    }
    const int handle = Table(1);
    Gate inside;
    Gate returned;
    client_.SetHook([&](const Call& call) {
        if (call.id == 1) {
            inside.Open();
            EXPECT_FALSE(returned.PassSoon()) << "Unsubscribe returned before the callback";
        }
    });
    SendBehind(Numbered(2));
    ASSERT_TRUE(inside.Pass());
    MustEnd("Unsubscribe", [&] {
        Release(handle);
        returned.Open();
    });
    Join();
    EXPECT_EQ(CallsFor(1), 1u);
}

TEST_F(SubscriberContract, BeginsNoCallbackOnceUnsubscribeHasReturned) {
    if (!abilities_.waits) {
        GTEST_SKIP() << "it does not wait";
    }
    const int handle = Table(1);
    SendBehind(Numbered(1000));
    ASSERT_TRUE(client_.WaitFor([](const Call& call) { return IsNumber(call, 1, 20); }));
    Release(handle);
    const size_t begun = CallsFor(1);
    Join();
    EXPECT_EQ(CallsFor(1), begun);
}

TEST_F(SubscriberContract, WaitsForNoDataEver) {
    // No section is sent.
    for (int round = 0; round < 100; ++round) {
        MustEnd("a request without a stream", [this] {
            const int table = Table(1);
            const int filter = Filter(2, OfExtension(1));
            Release(table);
            Release(filter);
        });
    }
    Send(Section());
    EXPECT_EQ(CallsFor(1) + CallsFor(2), 0u);
}

TEST_F(SubscriberContract, LosesNothingWhileFiltersComeAndGoOnSeveralThreads) {
    constexpr int kRounds = 200;
    Table(1);
    const std::vector<Bytes> sections = Numbered(400);
    SendBehind(sections);
    std::vector<std::thread> clients;
    for (const int id : {2, 3, 4}) {
        clients.push_back(SuiteThread([this, id] {
            for (int round = 0; round < kRounds; ++round) {
                const int table = Table(id);
                const int filter = Filter(id, OfExtension(static_cast<unsigned short>(id)));
                if (table != filter) {
                    Release(filter);
                }
                Release(table);
            }
        }));
    }
    for (std::thread& thread : clients) {
        thread.join();
    }
    Join();
    EXPECT_EQ(Received(1), sections);
}

// --- The log

class LogContract : public SubscriberContract {
  protected:
    static void Write(int number, int priority = LOG_PRIORITY_WARNING) {
        std::string text = "line of the contract";
        LOG(0, priority, "TORVEL", "%s: %s(%d) > \033[33m%s no. %d.\033[0m", "Contract.cpp",
            "Write", 1, text.c_str(), number);
        text.assign(text.size(), '!');  // the platform may use the text only during the call
    }

    void ExpectLines(int count) {
        if (!abilities_.showsLog) {
            return;
        }
        const std::vector<std::string> lines = client_.rig().TakeLog();
        for (int number = 0; number < count; ++number) {
            const std::string wanted = "line of the contract no. " + std::to_string(number) + ".";
            EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                    [&](const std::string& line) {
                                        return line.find(wanted) != std::string::npos;
                                    }),
                      1)
                << wanted;
        }
    }
};

TEST_F(LogContract, TakesLinesOfEveryPriorityOnAnyThread) {
    std::vector<std::thread> writers;
    for (int i = 0; i < 4; ++i) {
        writers.push_back(SuiteThread([i] {
            for (int line = 0; line < 25; ++line) {
                Write(25 * i + line, LOG_PRIORITY_DEBUG + i);
            }
        }));
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    ExpectLines(100);
}

TEST_F(LogContract, TakesLinesInsideACallbackAndBesideIt) {
    Table(1);
    client_.SetHook([](const Call& call) {
        if (call.id == 1) {
            Write(0);
            MustEnd("LOG on another thread during a callback", [] { Write(1); });
        }
    });
    Send(Section());
    EXPECT_EQ(CallsFor(1), 1u);
    ExpectLines(2);
}

}  // namespace
}  // namespace contract
