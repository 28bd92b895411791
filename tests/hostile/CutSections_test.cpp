// Sections whose end is missing, but whose section_length still counts the whole, and the code that
// reads them.

#include <initializer_list>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "SI/Include/IEITParser.h"
#include "SI/Include/INITParser.h"
#include "SI/Include/IPATParser.h"
#include "SI/Include/IPMTParser.h"
#include "SI/Include/ISDTParser.h"
#include "client/MultiplexScanner.h"
#include "generator/Scenarios.h"
#include "tests/hostile/HostileTest.h"

namespace testsupport {
namespace {

using testing::IsEmpty;
using testing::Not;

constexpr uint16_t kPatPid = 0x0000, kNitPid = 0x0010, kSdtPid = 0x0011, kEitPid = 0x0012;
constexpr uint8_t kPat = 0x00, kPmt = 0x02, kNit = 0x40, kSdt = 0x42, kEit = 0x4E;

uint16_t U16(const Bytes& bytes, size_t at) {
    return static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

// Returns everything that the interface answers for the identifiers of `section`, a whole section.

std::string Describe(TORVEL_MW::IPATParser& parser, const Bytes&) {
    std::ostringstream text;
    std::map<int, int> programs;
    parser.GetProgramList(programs);
    text << parser.IsComplete() << ' ' << parser.TransportStreamId();
    for (const auto& [number, pid] : programs) {
        text << ' ' << number << ':' << pid;
    }
    return text.str();
}

std::string Describe(TORVEL_MW::IPMTParser& parser, const Bytes& section) {
    const uint16_t program_number = U16(section, 3);
    std::ostringstream text;
    std::set<unsigned short> systems;
    parser.GetCASystemIds(systems);
    text << parser.IsComplete(program_number) << ' ' << parser.ProgramNumber() << ' '
         << parser.ProgramFound(program_number) << ' ' << systems.size();
    for (int i = 0; i < parser.NumOfElementary(program_number); ++i) {
        text << ' ' << parser.ElementaryPID(program_number, i) << ':'
             << parser.IsElementaryNotApplication(program_number, i);
    }
    return text.str();
}

std::string Describe(TORVEL_MW::ISDTParser& parser, const Bytes& section) {
    const uint16_t transport_stream_id = U16(section, 3), original_network_id = U16(section, 8),
                   service_id = U16(section, 11);
    std::ostringstream text;
    std::vector<TORVEL_MW::ISDTParser::SDTDescriptor> descriptors;
    text << parser.IsComplete(original_network_id, transport_stream_id) << ' '
         << parser.IsServiceListed(original_network_id, transport_stream_id, service_id) << ' '
         << parser.GetDescriptors(original_network_id, transport_stream_id, service_id, descriptors)
         << ' ' << descriptors.size();
    return text.str();
}

std::string Describe(TORVEL_MW::IEITParser& parser, const Bytes& section) {
    const uint16_t service_id = U16(section, 3), transport_stream_id = U16(section, 8),
                   original_network_id = U16(section, 10);
    std::ostringstream text;
    std::vector<TORVEL_MW::IEITParser::EITDescriptor> descriptors;
    text << parser.IsComplete(original_network_id, transport_stream_id, service_id) << ' '
         << parser.GetDescriptors(original_network_id, transport_stream_id, service_id, descriptors)
         << ' ' << descriptors.size();
    return text.str();
}

std::string Describe(TORVEL_MW::INITParser& parser, const Bytes& section) {
    const uint16_t network_id = U16(section, 3);
    std::ostringstream text;
    std::list<unsigned short> networks;
    parser.NetworkIds(networks);
    text << parser.IsRecv(network_id) << ' ' << networks.size();
    if (const auto network = parser.GetInstance(network_id)) {
        const size_t streams = 10 + (U16(section, 8) & 0x0FFF) + 2u;
        std::vector<std::shared_ptr<TORVEL_MW::IDeliveryDesc>> systems;
        network->GetDeliveryDescs(U16(section, streams + 2), U16(section, streams), systems);
        std::vector<std::unique_ptr<TORVEL_MW::ISSUScanLinkageDesc>> linkages;
        network->GetSSUScanLinkageDesc(linkages);
        text << ' ' << systems.size() << ' ' << linkages.size();
    }
    return text.str();
}

class CutSectionsTest : public HostileTest {
  protected:
    // The first section of a table of the demo multiplex, as its observer gets it.
    Bytes Whole(uint16_t pid, uint8_t table_id) {
        const unsigned id = Subscribe(inbox_, pid, table_id);
        EXPECT_TRUE(platform_.Play(tvservice::MemorySource("demo", stream_)));
        platform_.WaitEnd();
        Manager().Unsubscribe(id);
        const SectionList sections = inbox_.Take();
        return sections.empty() ? Bytes() : sections.front();
    }

    // The test tries every length that a section can be cut to. In a receiver's buffer other bytes
    // follow the cut, and they are parsed because section_length counts them. Nothing behind
    // section_length may be read: the buffer ends there, so AddressSanitizer finds such a read.
    // Then the whole section is parsed and must give the same answers as at first.
    template <class Make>
    void ExpectToSurviveEveryCut(Make make, uint16_t pid, const Bytes& whole) {
        ASSERT_THAT(whole, Not(IsEmpty()));
        tvservice::SetLogPriority(7);
        const auto parse = [&](auto& parser, Bytes section) {
            parser->Initialize();
            return parser->Parse(pid, section.data());
        };
        const auto untouched = make();
        ASSERT_TRUE(parse(untouched, whole));
        const std::string expected = Describe(*untouched, whole);
        for (size_t kept = 3; kept < whole.size(); ++kept) {
            for (const uint8_t filler : std::initializer_list<uint8_t>{0xFF, 0x00, 0x47}) {
                const auto parser = make();
                Bytes cut = whole;
                std::fill(cut.begin() + static_cast<std::ptrdiff_t>(kept), cut.end(), filler);
                parse(parser, cut);
                Describe(*parser, whole);
                ASSERT_TRUE(parse(parser, whole)) << kept;
                EXPECT_EQ(Describe(*parser, whole), expected) << kept;
            }
        }
    }

    const Bytes stream_ = generator::MakeScenario("demo");
};

TEST_F(CutSectionsTest, ParsersReadNoFurtherThanSectionLength) {
    Suffer({});
    const Bytes pat = Whole(kPatPid, kPat);
    ASSERT_GE(pat.size(), 20u);
    const bool hasNetworkFirst = U16(pat, 8) == 0;
    const uint16_t pmtPid = U16(pat, hasNetworkFirst ? 14 : 10) & 0x1FFF;
    using namespace TORVEL_MW;
    ExpectToSurviveEveryCut(IPATParser::CreatePATParser, kPatPid, pat);
    ExpectToSurviveEveryCut(IPMTParser::CreatePMTParser, pmtPid, Whole(pmtPid, kPmt));
    ExpectToSurviveEveryCut(ISDTParser::CreateSDTParser, kSdtPid, Whole(kSdtPid, kSdt));
    ExpectToSurviveEveryCut(IEITParser::CreateEITParser, kEitPid, Whole(kEitPid, kEit));
    ExpectToSurviveEveryCut([] { return INITParser::CreateNITParser(true); }, kNitPid,
                            Whole(kNitPid, kNit));
}

// A summary of what a scan found.
std::string Summary(const client::Multiplex& multiplex) {
    std::ostringstream text;
    text << multiplex.complete;
    for (const auto& program : multiplex.programs) {
        text << " program " << program->programNumber << '/' << program->pmtPid;
        for (const client::ElementaryStream& stream : program->streams) {
            text << ' ' << stream.pid << ':' << int{stream.streamType} << ':'
                 << stream.descriptors.size();
        }
    }
    for (const client::Service& service : *multiplex.services) {
        text << " service " << service.serviceId << ' ' << NameOf(service).name.value_or("-") << ':'
             << service.descriptors.size();
    }
    for (const auto& table : multiplex.events) {
        for (const client::Event& event : table->events) {
            text << " event " << table->serviceId << '/' << event.section << ' ' << event.eventId
                 << ' ' << TextOf(event).name.value_or("-");
        }
    }
    for (const auto& network : multiplex.networks) {
        text << " network " << network->networkId << ' ' << network->name.value_or("-") << ':'
             << network->transportStreams.size();
    }
    for (const auto& bouquet : multiplex.bouquets) {
        text << " bouquet " << bouquet->bouquetId << ' ' << bouquet->name.value_or("-");
    }
    return text.str();
}

TEST_F(CutSectionsTest, AScanTakesNothingFromThem) {
    tvservice::SetLogPriority(7);
    const auto scan = [this](const std::vector<std::string>& faults) {
        Suffer(faults);
        client::MultiplexScanner& scanner = Forever<client::MultiplexScanner>();
        EXPECT_EQ(scanner.Scan(tvservice::MemorySource("demo", stream_)).reason,
                  tvservice::InputEnd::kEndOfInput);
        platform_.Stop();
        return scanner.Result();
    };
    const client::Multiplex untouched = scan({});
    ASSERT_TRUE(untouched.complete);
    const client::Multiplex injured = scan({"cut=1/3"});
    ASSERT_EQ(injured.faults.size(), 1u);
    EXPECT_GT(injured.faults[0].value, 10u);
    EXPECT_EQ(Summary(injured), Summary(untouched));
}

}  // namespace
}  // namespace testsupport
