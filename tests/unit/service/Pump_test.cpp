// The pump with inputs whose behaviour the test scripts.

#include "softplatform/service/Pump.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "softplatform/base/Counters.h"
#include "softplatform/log/PlatformLog.h"
#include "softplatform/section/FilterEngine.h"
#include "tests/support/PacketWriter.h"
#include "tests/unit/section/EngineFixture.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testsupport::Bytes;
using testsupport::PacketWriter;
using testsupport::Recorder;
using testsupport::SectionOfSize;
using testsupport::Slice;

// Returns the scripted results one after the other, then the end.
class ScriptedSource final : public ByteSource {
  public:
    explicit ScriptedSource(bool rewindable = false)
        : ByteSource("script"), rewindable_(rewindable) {}

    void Bytes(testsupport::Bytes bytes) { Add({ReadResult::kBytes}, std::move(bytes)); }
    // Bytes that contain no packet; `then` is called when they are read.
    void Garbage(std::function<void()> then) {
        Bytes(testsupport::Bytes(1000));
        steps_.back().then = std::move(then);
    }
    void WouldBlock() {
        event_.Set();  // makes the descriptor readable, so that a wait for input ends at once
        Add({ReadResult::kWouldBlock});
    }
    // A loss as of a device whose buffer overflowed: it is counted, and reading goes on.
    void Lose(Counters& counters) {
        WouldBlock();
        steps_.back().then = [&counters] { counters.Add(Counter::kDeviceOverflows); };
    }
    void Fail(std::string error) { Add({ReadResult::kFailed, {}, std::move(error)}); }

    uint64_t size() const override { return 0; }
    bool rewindable() const override { return rewindable_; }
    bool Rewind() override { return rewindable_; }
    ReadResult Read(uint8_t* buffer, size_t) override {
        if (steps_.empty()) {
            return {ReadResult::kEnd};
        }
        Step step = std::move(steps_.front());
        steps_.pop_front();
        std::copy(step.bytes.begin(), step.bytes.end(), buffer);
        step.result.bytes = {buffer, step.bytes.size()};
        if (step.then) {
            step.then();
        }
        return step.result;
    }
    int descriptor() const override { return event_.descriptor(); }

  private:
    struct Step {
        ReadResult result{};
        testsupport::Bytes bytes{};
        std::function<void()> then{};
    };
    void Add(ReadResult result, testsupport::Bytes bytes = {}) {
        Step& step = steps_.emplace_back();
        step.result = std::move(result);
        step.bytes = std::move(bytes);
    }

    std::deque<Step> steps_;
    WakeEvent event_;
    const bool rewindable_;
};

class PumpTest : public testing::Test {
  protected:
    void Subscribe(uint16_t pid, uint8_t table_id, int id) {
        engine_.Subscribe(pid, *SectionFilter::Compile({table_id}, {0xFF}, {}), recorder_, id);
    }
    InputEnd Play(std::shared_ptr<ByteSource> source) {
        EXPECT_TRUE(pump_.Start());
        EXPECT_TRUE(pump_.Play(std::make_shared<Source>(std::move(source)), {}));
        const InputEnd end = pump_.WaitEnd();
        pump_.Stop();
        return end;
    }

    Counters counters_;
    FilterEngine engine_{counters_, [this] { pump_.Wake(); }};
    Pump pump_{engine_, counters_};
    Recorder recorder_;
    PacketWriter writer_;
};

TEST_F(PumpTest, TellsWhyAnInputFailedAfterAllThatCameBefore) {
    Subscribe(0x0100, 0x42, 1);
    const auto source = std::make_shared<ScriptedSource>(true);
    source->Bytes(writer_.Section(0x0100, SectionOfSize(50)).Take());
    source->Fail("cannot read script at byte 188: it is torn");
    const InputEnd end = Play(source);
    EXPECT_EQ(end.reason, InputEnd::kFailed);
    EXPECT_EQ(end.error, "cannot read script at byte 188: it is torn");
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
}

TEST_F(PumpTest, AsksTheBarrierAlsoAtTheEndOfAFailedInput) {
    Subscribe(kBarrierPid, kBarrierTableId, 9);
    recorder_.Then([this](int) {
        const Bytes& section = recorder_.sections().back().second;
        EXPECT_EQ(section.size(), 7u);
        pump_.BarrierPassed(uint32_t{section[5]} << 8 | section[6]);
    });
    const auto source = std::make_shared<ScriptedSource>(true);
    source->Fail("torn");
    EXPECT_EQ(Play(source).reason, InputEnd::kFailed);
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(9));
}

TEST_F(PumpTest, WaitsForInputThatIsNotThereYet) {
    Subscribe(0x0100, 0x42, 1);
    const Bytes bytes = writer_.Section(0x0100, SectionOfSize(300))
                            .Section(0x0100, SectionOfSize(300))
                            .Section(0x0100, SectionOfSize(300))
                            .Take();
    const auto source = std::make_shared<ScriptedSource>(true);
    source->WouldBlock();
    source->Bytes(Slice(bytes, 0, 500));
    source->WouldBlock();
    source->WouldBlock();
    source->Bytes(Slice(bytes, 500));
    EXPECT_EQ(Play(source).reason, InputEnd::kEndOfInput);
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1, 1, 1));
}

TEST_F(PumpTest, AppliesChangesWhileNoPacketComes) {
    engine_.SetCacheLimit(64 * 1024);
    const auto source = std::make_shared<ScriptedSource>(true);
    std::vector<int> idsMeanwhile;
    for (int i = 0; i < 20; ++i) {
        writer_.Section(0x0011, SectionOfSize(100));
    }
    source->Bytes(writer_.Take());
    source->Garbage([this] {
        engine_.Subscribe(0x0011, *SectionFilter::Compile({0x42}, {0xFF}, {}), recorder_, 7, true);
    });
    source->Garbage([&] { idsMeanwhile = recorder_.TakeIds(); });
    Play(source);
    EXPECT_THAT(idsMeanwhile, ElementsAre(7));
}

TEST_F(PumpTest, LogsWhatADeviceHasLost) {
    std::vector<std::string> lines;
    ReplaceLogReceiver([&](int, int priority, const char*, const char* line) {
        lines.push_back(std::to_string(priority) + " " + line);
    });
    Subscribe(0x0100, 0x42, 1);
    const auto source = std::make_shared<ScriptedSource>(true);
    source->Bytes(writer_.Section(0x0100, SectionOfSize(50)).Take());
    source->Lose(counters_);
    source->Bytes(writer_.Section(0x0100, SectionOfSize(50)).Take());
    EXPECT_EQ(Play(source).reason, InputEnd::kEndOfInput);
    ReplaceLogReceiver({});
    EXPECT_THAT(lines, ElementsAre("5 bytes lost of script: the buffer overflowed"));
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1, 1));
}

TEST_F(PumpTest, DoesNotPlayWhatCannotBeRewound) {
    ASSERT_TRUE(pump_.Start());
    EXPECT_FALSE(pump_.Play(std::make_shared<Source>(std::make_shared<ScriptedSource>(false)), {}));
    EXPECT_FALSE(pump_.Play(nullptr, {}));
    EXPECT_TRUE(pump_.Play(std::make_shared<Source>(std::make_shared<ScriptedSource>(true)), {}));
    pump_.WaitEnd();
    pump_.Stop();
}

TEST_F(PumpTest, HasNothingToWaitForWhereNothingPlayed) {
    EXPECT_EQ(pump_.WaitEnd().reason, InputEnd::kInterrupted);
    pump_.Interrupt();
    EXPECT_EQ(Play(std::make_shared<ScriptedSource>(true)).reason, InputEnd::kEndOfInput)
        << "an interrupt of nothing does not reach the next source";
}

TEST_F(PumpTest, TellsThePacketSizeOfASourceThatIsInterruptedInItsFirstRead) {
    Subscribe(0x0100, 0x42, 1);
    const auto source = std::make_shared<ScriptedSource>(true);
    for (int i = 0; i < 8; ++i) {
        writer_.Section(0x0100, SectionOfSize(50));
    }
    source->Bytes(writer_.Take());
    recorder_.Then([this](int) { pump_.Interrupt(); });
    EXPECT_EQ(Play(source).reason, InputEnd::kInterrupted);
    EXPECT_EQ(pump_.packet_size(), 188u);
}

TEST_F(PumpTest, LetsGoOfTheSourceBeforeItTellsTheEnd) {
    auto source = std::make_shared<ScriptedSource>(true);
    const std::weak_ptr<ByteSource> watched = source;
    ASSERT_TRUE(pump_.Start());
    ASSERT_TRUE(pump_.Play(std::make_shared<Source>(std::move(source)), {}));
    pump_.WaitEnd();
    EXPECT_TRUE(watched.expired());
    pump_.Stop();
}

}  // namespace
}  // namespace tvservice
