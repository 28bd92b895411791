#include <cstdint>
#include <set>

#include "generator/FieldWriter.h"
#include "generator/Multiplexer.h"
#include "generator/Random.h"
#include "generator/scenarios/DemoTables.h"
#include "generator/scenarios/Streams.h"

namespace generator {
namespace {

constexpr std::uint32_t kVideoPeriod = 40;  // ms; also of the clock references (at most 100)
constexpr std::uint32_t kAudioPeriod = 60;
constexpr std::uint32_t kMapPeriod = 250;
constexpr std::uint32_t kSectionsPeriod = 800;
constexpr std::uint32_t kTimePeriod = 1000;

// One access unit that just fills a packet: a PES header with a time stamp, then bytes in the place
// of coded picture or sound.
PacketList MakeAccessUnit(const DemoStream& stream, std::uint32_t milliseconds, Random& random) {
    PacketFields fields{.pid = stream.pid, .payload_unit_start_indicator = true};
    fields.transport_scrambling_control = stream.scrambled ? 2 : 0;
    if (stream.carriesClock) {
        fields.adaptation_field = AdaptationField{.program_clock_reference = 0};
    }
    // The time stamp is half a second after the time of sending; 90 kHz.
    const std::uint64_t stamp = (std::uint64_t{milliseconds} + 500) * 90;
    const std::size_t size = kPayloadSize - (stream.carriesClock ? 8 : 0);
    // ISO/IEC 13818-1 2.4.3.6: stream_id, PES_packet_length, flags with PTS, PES_header_data_length
    const Bytes header = ByteWriter()
                             .U24(0x000001)
                             .U8(stream.content == Content::kVideo ? 0xE0 : 0xC0)
                             .U16(size - 6)
                             .U16(0x8080)
                             .U8(5)
                             .Bits(4, 2)
                             .Bits(3, stamp >> 30 & 0x7)
                             .Bits(1, 1)
                             .Bits(15, stamp >> 15 & 0x7FFF)
                             .Bits(1, 1)
                             .Bits(15, stamp & 0x7FFF)
                             .Bits(1, 1)
                             .Build();
    const Bytes payload =
        stream.scrambled ? random.Fill(size) : Concat({header, random.Fill(size - header.size())});
    return {MakePacket(fields, payload)};
}

// Adds the streams of the demo to a multiplexer. Each begins a little later than the one before, so
// that not all are due at once.
class DemoPlan {
  public:
    DemoPlan(Multiplexer& multiplexer, std::uint64_t seed)
        : multiplexer_(multiplexer), random_(seed) {}

    void AddProgram(const DemoProgram& program) {
        AddSections(program.pmtPid, kMapPeriod, program.pmt);
        for (const DemoStream& stream : program.streams) {
            if (stream.content == Content::kSections) {
                AddSections(stream.pid, kSectionsPeriod, stream.sections);
            } else {
                BeginAnywhere(stream.pid);
                multiplexer_.AddSource(
                    stream.pid, stream.content == Content::kVideo ? kVideoPeriod : kAudioPeriod,
                    NextPhase(kVideoPeriod), [this, stream](std::uint32_t milliseconds) {
                        return MakeAccessUnit(stream, milliseconds, random_);
                    });
            }
        }
    }

    void AddSections(std::uint16_t pid, std::uint32_t period, const Sections& sections) {
        BeginAnywhere(pid);
        multiplexer_.AddSections(pid, period, NextPhase(period), sections, {.back_to_back = true});
    }

    void AddTimes(std::uint16_t pid) {
        BeginAnywhere(pid);
        multiplexer_.AddSource(
            pid, kTimePeriod, NextPhase(kTimePeriod), [pid](std::uint32_t milliseconds) {
                const std::int64_t time = kDemoTime + milliseconds / 1000;
                return PackSections(pid, {MakeTdt(time), MakeTot(time, {MakeDemoTimeOffset()})});
            });
    }

  private:
    // Counters begin anywhere, as in a stream that a receiver has just tuned to.
    void BeginAnywhere(std::uint16_t pid) {
        if (begun_.insert(pid).second) {
            multiplexer_.SkipContinuity(pid, static_cast<unsigned>(random_.Below(16)));
        }
    }

    std::uint32_t NextPhase(std::uint32_t period) {
        phase_ += 37;
        return phase_ % period;
    }

    Multiplexer& multiplexer_;
    Random random_;
    std::set<std::uint16_t> begun_;
    std::uint32_t phase_ = 0;
};

}  // namespace

PacketList MakeDemo(std::uint64_t seed, const DemoExtent& extent) {
    Multiplexer multiplexer(extent.packetsPerSecond);
    DemoPlan plan(multiplexer, seed);
    for (const DemoTable& table : MakeDemoTables()) {
        plan.AddSections(table.pid, table.period, table.sections);
    }
    for (const DemoProgram& program : MakeDemoPrograms()) {
        plan.AddProgram(program);
    }
    plan.AddTimes(0x0014);
    return multiplexer.Run(extent.milliseconds);
}

}  // namespace generator
