// The demux over a fake kernel. Each test runs it step by step on its own thread.

#include "softplatform/input/dvb/DvbDemux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "softplatform/input/FileDescriptor.h"
#include "tests/unit/input/dvb/FakeDemux.h"

namespace tvservice {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using testsupport::Bytes;
using testsupport::FakeKernel;
using testsupport::kPid;
using testsupport::TableId;
using Call = FakeKernel::Call;
using Arrival = std::pair<uint16_t, Bytes>;

constexpr uint16_t kOtherPid = 0x0011;

// A section with `body` behind its section_length.
Bytes Section(uint8_t table_id, const Bytes& body = {0, 5, 0xC1, 0, 0}) {
    const size_t length = body.size();
    const Bytes header{table_id, static_cast<uint8_t>(0xB0 | length >> 8),
                       static_cast<uint8_t>(length)};
    return testsupport::Join({header, body});
}

DvbFilter Extension(uint8_t low) {
    return {{0, 0, 0, 0, low}, {0, 0, 0, 0xFF, 0xFF}, {}};
}

class DvbDemuxTest : public testing::Test, protected DvbDemuxSink {
  protected:
    void OnSection(uint16_t pid, const uint8_t* section, size_t size) override {
        arrivals_.emplace_back(pid, Bytes(section, section + size));
        if (onSection_) {
            onSection_();
        }
    }
    void OnWarning(uint16_t pid, const std::string& line) override {
        warnings_.push_back(line);
        warnedPids_.insert(pid);
    }

    void Make(DvbDemuxLimits limits) {
        DvbDemuxSink& sink = *this;
        demux_ = std::make_unique<DvbDemux>(
            kernel_.path(), kernel_.Opener(), sink, [this] { ++changes_; }, limits);
    }
    void SetUp() override { Make({}); }

    // Calls WaitAndDeliver once without waiting. Returns its error, which is empty when there is
    // none.
    std::string WaitAndDeliver() {
        std::string error;
        const bool isGood = demux_->WaitAndDeliver(wake_.get(), error);
        EXPECT_EQ(isGood, error.empty());
        return error;
    }

    // Calls it until nothing more comes. Returns what came.
    std::vector<Arrival> Arrivals() {
        std::vector<Arrival> all;
        do {
            arrivals_.clear();
            EXPECT_EQ(WaitAndDeliver(), "");
            all.insert(all.end(), arrivals_.begin(), arrivals_.end());
        } while (!arrivals_.empty());
        return all;
    }

    std::vector<std::string> TakeWarnings() { return std::exchange(warnings_, {}); }

    // Adds a filter and sets it.
    uint64_t AddNow(uint16_t pid, const DvbFilter& filter) {
        const uint64_t name = demux_->Add(pid, filter);
        EXPECT_NE(name, 0u);
        EXPECT_EQ(WaitAndDeliver(), "");
        return name;
    }
    void RemoveNow(uint64_t name) {
        EXPECT_TRUE(demux_->Remove(name));
        EXPECT_EQ(WaitAndDeliver(), "");
    }
    bool OnlyTheWideFilterIsSet() {
        const auto filters = kernel_.Filters();
        return filters.size() == 1 && IsWide(filters[0]);
    }

    FakeKernel kernel_;
    const FileDescriptor wake_{::eventfd(1, EFD_CLOEXEC)};  // always set
    std::vector<Arrival> arrivals_;
    std::function<void()> onSection_;
    std::vector<std::string> warnings_;
    std::set<uint16_t> warnedPids_;
    int changes_ = 0;
    std::unique_ptr<DvbDemux> demux_;
};

TEST_F(DvbDemuxTest, WhatIsWantedIsSetOnADeviceAndComesWhole) {
    AddNow(kPid, TableId(0x4E));
    ASSERT_THAT(kernel_.Filters(), SizeIs(1));
    EXPECT_EQ(kernel_.Filters()[0].pid, kPid);
    EXPECT_EQ(kernel_.Filters()[0].filter.filter[0], 0x4E);
    EXPECT_THAT(kernel_.BufferSizes(), ElementsAre(256u * 1024));

    kernel_.Broadcast(kPid, Section(0x4E));
    kernel_.Broadcast(kPid, Section(0x50));
    kernel_.Broadcast(kOtherPid, Section(0x4E));
    kernel_.Broadcast(kPid, Section(0x4E, Bytes(4093, 7)));
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(kPid, Section(0x4E)),
                                        Arrival(kPid, Section(0x4E, Bytes(4093, 7)))));
    EXPECT_EQ(demux_->overflows(), 0u);
    EXPECT_EQ(demux_->malformed_sections(), 0u);
    EXPECT_THAT(warnings_, IsEmpty());
}

TEST_F(DvbDemuxTest, NoDeviceIsOpenBeforeSomethingIsWantedNorAfter) {
    EXPECT_EQ(WaitAndDeliver(), "");
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
    const uint64_t name = AddNow(kPid, TableId(0x4E));
    EXPECT_EQ(kernel_.OpenFiles(), 1u);
    RemoveNow(name);
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
}

TEST_F(DvbDemuxTest, TheEndOfTheDemuxClosesItsDevices) {
    AddNow(kPid, TableId(0x4E));
    AddNow(kOtherPid, TableId(0x42));
    EXPECT_EQ(kernel_.OpenFiles(), 2u);
    demux_.reset();
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
}

TEST_F(DvbDemuxTest, WhatNoDeviceCouldFilterIsRefused) {
    EXPECT_EQ(demux_->Add(0x2000, TableId(0x00)), 0u);
    EXPECT_EQ(demux_->Add(kPid, {}), 0u);
    EXPECT_EQ(demux_->Add(kPid, {{1}, {1, 2}, {}}), 0u);
    EXPECT_EQ(demux_->Add(kPid, {{1}, {1}, {1, 2}}), 0u);
    EXPECT_NE(demux_->Add(0x1FFF, TableId(0x00)), 0u);
    EXPECT_EQ(changes_, 1);
}

TEST_F(DvbDemuxTest, MoreThanTheLimitIsRefusedUntilOneIsRemoved) {
    DvbDemuxLimits limits;
    limits.wanted = 2;
    Make(limits);
    const uint64_t first = demux_->Add(kPid, TableId(1));
    EXPECT_NE(demux_->Add(kPid, TableId(2)), 0u);
    EXPECT_EQ(demux_->Add(kPid, TableId(3)), 0u);
    EXPECT_TRUE(demux_->Remove(first));
    EXPECT_NE(demux_->Add(kPid, TableId(3)), 0u);
}

TEST_F(DvbDemuxTest, ANameIsRemovedOnceAndNeverGivenAgain) {
    const uint64_t first = demux_->Add(kPid, TableId(1));
    EXPECT_TRUE(demux_->Remove(first));
    EXPECT_FALSE(demux_->Remove(first));
    EXPECT_FALSE(demux_->Remove(0));
    EXPECT_NE(demux_->Add(kPid, TableId(1)), first);
}

TEST_F(DvbDemuxTest, ChangesAreToldOfOnceATurn) {
    const uint64_t first = demux_->Add(kPid, TableId(1));
    demux_->Add(kOtherPid, TableId(2));
    demux_->Remove(first);
    EXPECT_EQ(changes_, 1);
    WaitAndDeliver();
    demux_->Add(kPid, TableId(3));
    EXPECT_EQ(changes_, 2);
}

TEST_F(DvbDemuxTest, ASectionThatSeveralDeviceFiltersLetPassComesOnce) {
    AddNow(kPid, TableId(0x4E));
    AddNow(kPid, Extension(5));
    AddNow(kPid, Extension(6));
    ASSERT_EQ(kernel_.OpenFiles(), 3u);
    const Bytes both = Section(0x4E, {0, 5, 1});
    const Bytes tableOnly = Section(0x4E, {0, 9, 1});
    const Bytes extensionOnly = Section(0x50, {0, 6, 1});
    kernel_.Broadcast(kPid, both);
    kernel_.Broadcast(kPid, tableOnly);
    kernel_.Broadcast(kPid, extensionOnly);
    kernel_.Broadcast(kPid, both);
    EXPECT_THAT(Arrivals(),
                UnorderedElementsAre(Arrival(kPid, both), Arrival(kPid, both),
                                     Arrival(kPid, tableOnly), Arrival(kPid, extensionOnly)));
}

TEST_F(DvbDemuxTest, ASectionThatPassesByBytesBehindItsEndIsLeftOut) {
    AddNow(kPid, {{0x70, 0, 0, 9}, {0xFF, 0, 0, 0xFF}, {}});
    // The byte 9 stays in the kernel's window, behind the end of the next section.
    kernel_.Broadcast(kPid, Section(0x42, {9}));
    kernel_.Broadcast(kPid, Section(0x70, {}));
    EXPECT_THAT(Arrivals(), IsEmpty());
    kernel_.Broadcast(kPid, Section(0x70, {9}));
    EXPECT_THAT(Arrivals(), SizeIs(1));
}

TEST_F(DvbDemuxTest, WhatARunningFilterLetsPassNeedsNoOtherDevice) {
    AddNow(kPid, TableId(0x4E));
    AddNow(kPid, {{0x4E, 0, 0, 0, 5}, {0xFF, 0, 0, 0xFF, 0xFF}, {}});
    AddNow(kPid, {{0x4E, 0x01}, {0xFF, 0x01}, {}});
    EXPECT_EQ(kernel_.OpenFiles(), 1u);
    EXPECT_EQ(kernel_.SetFilterCalls(), 1u);
}

TEST_F(DvbDemuxTest, WhenAFilterLeavesWhatItHeldForOthersStillComesOnce) {
    const uint64_t table = AddNow(kPid, TableId(0x4E));
    AddNow(kPid, Extension(5));
    const Bytes both = Section(0x4E, {0, 5, 1});
    kernel_.Broadcast(kPid, both);
    demux_->Remove(table);
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(kPid, both)));
    EXPECT_EQ(kernel_.OpenFiles(), 1u);

    kernel_.Broadcast(kPid, both);
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(kPid, both)));
}

TEST_F(DvbDemuxTest, BeyondTheBudgetOfAPidItsFirstDeviceTurnsWide) {
    DvbDemuxLimits limits;
    limits.filtersPerPid = 2;
    Make(limits);
    AddNow(kPid, TableId(0x4E));
    AddNow(kPid, TableId(0x50));
    AddNow(kOtherPid, TableId(0x42));
    EXPECT_EQ(kernel_.OpenFiles(), 3u);
    kernel_.Broadcast(kPid, Section(0x50));
    demux_->Add(kPid, TableId(0x60));
    // Sections that the narrow filters still held are not lost.
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(kPid, Section(0x50))));
    EXPECT_EQ(kernel_.OpenFiles(), 2u);

    kernel_.Broadcast(kPid, Section(0x60));
    kernel_.Broadcast(kOtherPid, Section(0x42));
    EXPECT_THAT(Arrivals(), UnorderedElementsAre(Arrival(kPid, Section(0x60)),
                                                 Arrival(kOtherPid, Section(0x42))));
}

TEST_F(DvbDemuxTest, ADeviceThatTurnsWideForgetsTheSectionThatWasNotWholeYet) {
    DvbDemuxLimits limits;
    limits.filtersPerPid = 1;
    Make(limits);
    AddNow(kPid, TableId(0x4E));
    kernel_.BroadcastRaw(kPid, {0x4E, 0xB0, 0x05, 0x00});
    EXPECT_THAT(Arrivals(), IsEmpty());
    AddNow(kPid, TableId(0x50));
    kernel_.Broadcast(kPid, Section(0x50));
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(kPid, Section(0x50))));
    EXPECT_EQ(demux_->malformed_sections(), 0u);
}

TEST_F(DvbDemuxTest, AWideFilterServesAllThatComeAndGoUntilNothingIsWanted) {
    DvbDemuxLimits limits;
    limits.filtersPerPid = 1;
    Make(limits);
    std::vector<uint64_t> names{AddNow(kPid, TableId(0x4E)), AddNow(kPid, TableId(0x50))};
    ASSERT_TRUE(OnlyTheWideFilterIsSet());
    const size_t calls = kernel_.SetFilterCalls();
    for (uint8_t table_id = 0x60; table_id < 0x70; ++table_id) {
        names.push_back(AddNow(kPid, TableId(table_id)));
    }
    while (names.size() > 1) {
        RemoveNow(names.back());
        names.pop_back();
    }
    EXPECT_EQ(kernel_.SetFilterCalls(), calls);
    EXPECT_TRUE(OnlyTheWideFilterIsSet());

    RemoveNow(names.back());
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
    AddNow(kPid, TableId(0x4E));
    EXPECT_FALSE(OnlyTheWideFilterIsSet());
}

TEST_F(DvbDemuxTest, WithoutRoomForOneMoreThePidTurnsWide) {
    kernel_.SetRoom(1);
    AddNow(kPid, TableId(0x4E));
    AddNow(kPid, TableId(0x50));
    EXPECT_TRUE(OnlyTheWideFilterIsSet());
    EXPECT_EQ(kernel_.OpenFiles(), 1u);
    EXPECT_THAT(warnings_, IsEmpty());
}

TEST_F(DvbDemuxTest, ADeviceThatCannotFilterSoNarrowlyIsSetWide) {
    for (const int reason : {EINVAL, EOPNOTSUPP}) {
        kernel_.Fail(Call::kSetFilter, reason);
        const uint64_t name = AddNow(kPid, TableId(0x4E));
        EXPECT_TRUE(OnlyTheWideFilterIsSet());
        RemoveNow(name);
    }
    EXPECT_THAT(warnings_, IsEmpty());
}

TEST_F(DvbDemuxTest, APidWithoutRoomIsWarnedOfOnceAndServedWhenRoomIsMade) {
    kernel_.SetRoom(1);
    const uint64_t first = AddNow(kOtherPid, TableId(0x42));
    AddNow(kPid, TableId(0x4E));
    EXPECT_THAT(TakeWarnings(),
                ElementsAre(AllOf(HasSubstr("PID 0x0012"), HasSubstr(kernel_.path()),
                                  HasSubstr("no room"), HasSubstr("busy"))));
    EXPECT_THAT(warnedPids_, ElementsAre(kPid));
    EXPECT_EQ(kernel_.OpenFiles(), 1u);

    AddNow(kPid, TableId(0x50));
    EXPECT_THAT(warnings_, IsEmpty());

    RemoveNow(first);
    EXPECT_TRUE(OnlyTheWideFilterIsSet());
    kernel_.Broadcast(kPid, Section(0x50));
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(kPid, Section(0x50))));
}

TEST_F(DvbDemuxTest, DevicesAreOpenedOnlyUpToTheLimit) {
    DvbDemuxLimits limits;
    limits.devices = 2;
    Make(limits);
    AddNow(0x100, TableId(0x02));
    AddNow(0x101, TableId(0x02));
    AddNow(0x102, TableId(0x02));
    EXPECT_EQ(kernel_.OpenFiles(), 2u);
    EXPECT_THAT(TakeWarnings(), ElementsAre(HasSubstr("PID 0x0102")));
    AddNow(0x100, TableId(0x03));
    EXPECT_EQ(kernel_.OpenFiles(), 2u);
    kernel_.Broadcast(0x100, Section(0x03));
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(0x100, Section(0x03))));
}

TEST_F(DvbDemuxTest, AnOverflowIsCountedWarnedOfAndSurvived) {
    DvbDemuxLimits limits;
    limits.bufferBytes = 4096;
    Make(limits);
    AddNow(kPid, TableId(0x4E));
    for (int i = 0; i < 5; ++i) {
        kernel_.Broadcast(kPid, Section(0x4E, Bytes(1000)));
    }
    EXPECT_EQ(WaitAndDeliver(), "");
    EXPECT_EQ(demux_->overflows(), 1u);
    EXPECT_THAT(TakeWarnings(), ElementsAre(AllOf(HasSubstr("lost"), HasSubstr("PID 0x0012"),
                                                  HasSubstr(kernel_.path()))));
    kernel_.Broadcast(kPid, Section(0x4E));
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(kPid, Section(0x4E))));
    EXPECT_EQ(demux_->overflows(), 1u);
}

TEST_F(DvbDemuxTest, AnOverflowAmidASectionDropsWhatWasReadOfIt) {
    DvbDemuxLimits limits;
    limits.bufferBytes = 4096;
    Make(limits);
    AddNow(kPid, TableId(0x4E));
    kernel_.SetReadSize(4);
    kernel_.BroadcastRaw(kPid, {0x4E, 0xB0, 0x05, 0x00});  // the rest is still to come
    EXPECT_THAT(Arrivals(), IsEmpty());
    for (int i = 0; i < 5; ++i) {
        kernel_.Broadcast(kPid, Section(0x4E, Bytes(1000)));
    }
    EXPECT_THAT(Arrivals(), IsEmpty());
    EXPECT_EQ(demux_->overflows(), 1u);
    kernel_.Broadcast(kPid, Section(0x4E));
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(kPid, Section(0x4E))));
    EXPECT_EQ(demux_->malformed_sections(), 0u);
}

TEST_F(DvbDemuxTest, SectionsThatAreReadInPiecesComeWhole) {
    AddNow(kPid, TableId(0x4E));
    for (size_t size = 1; size < 12; ++size) {
        kernel_.SetReadSize(size);
        kernel_.Broadcast(kPid, Section(0x4E));
        kernel_.Broadcast(kPid, Section(0x4E, {}));
        EXPECT_THAT(Arrivals(),
                    ElementsAre(Arrival(kPid, Section(0x4E)), Arrival(kPid, Section(0x4E, {}))))
            << size;
    }
}

TEST_F(DvbDemuxTest, ReadsThatAreNoSectionAreCountedAndLeftOut) {
    AddNow(kPid, TableId(0x4E));
    kernel_.BroadcastRaw(kPid, {0x4E, 0xB0, 0x01, 0x00, 0x00});  // more than section_length
    kernel_.BroadcastRaw(kPid, {0x4E, 0xBF, 0xFE, 0x00});        // section_length over 4093
    kernel_.Broadcast(kPid, Section(0x4E));
    EXPECT_THAT(Arrivals(), ElementsAre(Arrival(kPid, Section(0x4E))));
    EXPECT_EQ(demux_->malformed_sections(), 2u);
}

TEST_F(DvbDemuxTest, AnUnpluggedDeviceEndsWithItsNameAndClosesAll) {
    AddNow(kPid, TableId(0x4E));
    AddNow(kOtherPid, TableId(0x42));
    kernel_.Unplug();
    EXPECT_THAT(WaitAndDeliver(), AllOf(HasSubstr(kernel_.path()), HasSubstr("No such device")));
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
}

TEST_F(DvbDemuxTest, AfterAFailureTheNextTurnTriesAnewWithAllFilters) {
    AddNow(kPid, TableId(0x4E));
    AddNow(kOtherPid, TableId(0x42));
    kernel_.Unplug();
    EXPECT_NE(WaitAndDeliver(), "");
    EXPECT_THAT(WaitAndDeliver(), AllOf(HasSubstr(kernel_.path()), HasSubstr("No such file")));
    kernel_.PlugIn();
    EXPECT_EQ(WaitAndDeliver(), "");
    kernel_.Broadcast(kPid, Section(0x4E));
    kernel_.Broadcast(kOtherPid, Section(0x42));
    EXPECT_THAT(Arrivals(), SizeIs(2));
}

TEST_F(DvbDemuxTest, AFailureForgetsThePidsWithoutRoomToo) {
    kernel_.SetRoom(1);
    AddNow(kOtherPid, TableId(0x42));
    AddNow(kPid, TableId(0x4E));
    EXPECT_THAT(TakeWarnings(), SizeIs(1));
    kernel_.Unplug();
    EXPECT_NE(WaitAndDeliver(), "");
    kernel_.PlugIn();
    EXPECT_EQ(WaitAndDeliver(), "");
    EXPECT_THAT(TakeWarnings(), SizeIs(1));
}

TEST_F(DvbDemuxTest, ADeviceThatCannotBeOpenedEndsWithItsNameAndTheReason) {
    kernel_.Fail(Call::kOpen, EACCES);
    demux_->Add(kPid, TableId(0x4E));
    EXPECT_THAT(WaitAndDeliver(), AllOf(HasSubstr(kernel_.path()), HasSubstr("Permission denied")));
}

TEST_F(DvbDemuxTest, AFilterThatCannotBeSetEndsWithTheNameAndTheReason) {
    kernel_.Fail(Call::kSetFilter, EIO);
    demux_->Add(kPid, TableId(0x4E));
    EXPECT_THAT(WaitAndDeliver(), AllOf(HasSubstr("PID 0x0012"), HasSubstr(kernel_.path()),
                                        HasSubstr("Input/output error")));
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
}

TEST_F(DvbDemuxTest, UnpluggingIsSeenWhereverItComes) {
    DvbDemuxLimits limits;
    limits.filtersPerPid = 2;
    const auto isGone = AllOf(HasSubstr(kernel_.path()), HasSubstr("No such device"));
    Make(limits);
    kernel_.Fail(Call::kSetBufferSize, ENODEV);
    const uint64_t first = demux_->Add(kPid, TableId(0x4E));
    EXPECT_THAT(WaitAndDeliver(), isGone);

    kernel_.Fail(Call::kSetFilter, ENODEV);
    EXPECT_THAT(WaitAndDeliver(), isGone);
    EXPECT_EQ(WaitAndDeliver(), "");

    // The error comes while the sections of a removed filter's device are read.
    demux_->Add(kPid, Extension(5));
    EXPECT_EQ(WaitAndDeliver(), "");
    demux_->Remove(first);
    kernel_.FailReads(ENODEV);
    EXPECT_THAT(WaitAndDeliver(), isGone);
    EXPECT_EQ(WaitAndDeliver(), "");

    // The error comes while devices are read empty, before the first of them becomes wide.
    demux_->Add(kPid, Extension(6));
    demux_->Add(kPid, Extension(7));
    kernel_.FailReads(ENODEV);
    EXPECT_THAT(WaitAndDeliver(), isGone);

    // The error comes while it becomes wide.
    EXPECT_EQ(WaitAndDeliver(), "");
    EXPECT_TRUE(OnlyTheWideFilterIsSet());
    Make(limits);
    demux_->Add(kPid, Extension(6));
    demux_->Add(kPid, Extension(7));
    EXPECT_EQ(WaitAndDeliver(), "");
    demux_->Add(kPid, Extension(8));
    kernel_.Fail(Call::kSetFilter, ENODEV);
    EXPECT_THAT(WaitAndDeliver(), isGone);
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
}

TEST_F(DvbDemuxTest, WithoutRoomEvenForTheWideFilterThePidIsLeftUnserved) {
    AddNow(kPid, TableId(0x4E));
    kernel_.Fail(Call::kSetFilter, EBUSY, 2);
    AddNow(kPid, TableId(0x50));
    EXPECT_THAT(TakeWarnings(), ElementsAre(HasSubstr("no room")));
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
    AddNow(kOtherPid, TableId(0x42));
    EXPECT_THAT(kernel_.Filters(), SizeIs(3));
}

TEST_F(DvbDemuxTest, ABufferThatCannotBeMadeLargeIsWarnedOfAndUsed) {
    kernel_.Fail(Call::kSetBufferSize, ENOMEM);
    AddNow(kPid, TableId(0x4E));
    EXPECT_THAT(TakeWarnings(),
                ElementsAre(AllOf(HasSubstr("cannot set the buffer size"),
                                  HasSubstr(kernel_.path()), HasSubstr("Cannot allocate memory"))));
    kernel_.Broadcast(kPid, Section(0x4E));
    EXPECT_THAT(Arrivals(), SizeIs(1));
}

TEST_F(DvbDemuxTest, ACallThatASignalInterruptsIsMadeAgain) {
    kernel_.Fail(Call::kOpen, EINTR, 3);
    kernel_.Fail(Call::kSetBufferSize, EINTR, 3);
    kernel_.Fail(Call::kSetFilter, EINTR, 3);
    AddNow(kPid, TableId(0x4E));
    EXPECT_THAT(kernel_.BufferSizes(), ElementsAre(256u * 1024));
    kernel_.Broadcast(kPid, Section(0x4E));
    kernel_.FailReads(EINTR, 3);
    EXPECT_THAT(Arrivals(), SizeIs(1));

    kernel_.SetRoom(1);
    demux_->Add(kPid, TableId(0x50));
    kernel_.Fail(Call::kSetFilter, EINTR, 3);
    EXPECT_EQ(WaitAndDeliver(), "");
    EXPECT_TRUE(OnlyTheWideFilterIsSet());
    EXPECT_THAT(warnings_, IsEmpty());
}

TEST_F(DvbDemuxTest, AReadThatFailsEndsWithTheNameAndTheReason) {
    AddNow(kPid, TableId(0x4E));
    kernel_.FailReads(EIO);
    EXPECT_THAT(WaitAndDeliver(), AllOf(HasSubstr("PID 0x0012"), HasSubstr(kernel_.path()),
                                        HasSubstr("Input/output error")));
    EXPECT_EQ(WaitAndDeliver(), "");
    kernel_.FailReads(0);
    EXPECT_THAT(WaitAndDeliver(), AllOf(HasSubstr(kernel_.path()), HasSubstr("ended")));
}

TEST_F(DvbDemuxTest, AnErrorThatNoReadTellsOfEndsInsteadOfTurningForEver) {
    AddNow(kPid, TableId(0x4E));
    kernel_.HangUp();
    EXPECT_THAT(WaitAndDeliver(),
                AllOf(HasSubstr(kernel_.path()), HasSubstr("Input/output error")));
}

TEST_F(DvbDemuxTest, AWakeDescriptorThatIsNoneFailsNothing) {
    AddNow(kPid, TableId(0x4E));
    kernel_.Broadcast(kPid, Section(0x4E));
    std::string error;
    EXPECT_TRUE(demux_->WaitAndDeliver(-1, error));
    EXPECT_THAT(arrivals_, SizeIs(1));
}

TEST_F(DvbDemuxTest, ABusyDeviceDoesNotKeepTheTurnFromEndingNorTheOthersFromBeingRead) {
    AddNow(kPid, TableId(0x4E));
    AddNow(kOtherPid, TableId(0x42));
    const Bytes large = Section(0x4E, Bytes(997));
    for (int i = 0; i < 200; ++i) {
        kernel_.Broadcast(kPid, large);
        kernel_.Broadcast(kOtherPid, Section(0x42));
    }
    arrivals_.clear();
    EXPECT_EQ(WaitAndDeliver(), "");
    EXPECT_THAT(arrivals_, testing::Contains(Arrival(kOtherPid, Section(0x42))));
    EXPECT_LT(std::count(arrivals_.begin(), arrivals_.end(), Arrival(kPid, large)), 50);
    const size_t first = arrivals_.size();
    EXPECT_EQ(first + Arrivals().size(), 400u);
}

TEST_F(DvbDemuxTest, TheSinkMayAddAndRemove) {
    const uint64_t first = AddNow(kPid, TableId(0x4E));
    onSection_ = [&] {
        onSection_ = nullptr;
        EXPECT_TRUE(demux_->Remove(first));
        EXPECT_NE(demux_->Add(kOtherPid, TableId(0x42)), 0u);
    };
    kernel_.Broadcast(kPid, Section(0x4E));
    EXPECT_THAT(Arrivals(), SizeIs(1));
    const auto filters = kernel_.Filters();
    ASSERT_THAT(filters, SizeIs(1));
    EXPECT_EQ(filters[0].pid, kOtherPid);
}

}  // namespace
}  // namespace tvservice
