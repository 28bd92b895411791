// Real broadcast streams, compared with what independent decoders found in them: how many sections
// of each table come on each PID, and the PAT. Each stream is read as a whole file, byte by byte
// and in pieces of 17 bytes. scan_golden_test.py compares the other tables. The streams are not
// part of the repository; without their folder the tests are skipped.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "client/Barrier.h"
#include "client/PatTable.h"
#include "client/SubTableReader.h"
#include "generator/TsWriter.h"
#include "platform/TCDVBEITParser.h"
#include "platform/TVSHandle.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/Forever.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using TORVEL_MW::ISectionManager;

constexpr unsigned int kNoTimeout = 0xFFFFFFFF;

// PID -> table_id -> sections
using SectionCounts = std::map<int, std::map<int, int>>;

std::vector<std::uint8_t> ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::string> StreamNames() {
    std::vector<std::string> names;
    std::error_code none;
    for (const fs::directory_entry& entry : fs::directory_iterator(TORVELSI_STREAMS, none)) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".ts" || extension == ".sec") {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

json Expectation(const std::string& name) {
    std::ifstream in(fs::path(TORVELSI_STREAMS) / "expected" /
                     (fs::path(name).stem().string() + ".json"));
    return json::parse(in);
}

/// Puts consecutive sections into packets. Tables with a standard PID get that PID; a PMT gets the
/// PID that the PAT names, or else 0x1000 + program; all others get 0x0300.
std::vector<std::uint8_t> Packetise(const std::vector<std::uint8_t>& sections) {
    std::map<int, std::uint16_t> pmtPids;
    const auto pidOf = [&](const generator::Bytes& section) -> std::uint16_t {
        const int tableId = section[0];
        const int extension = section.size() > 4 ? section[3] << 8 | section[4] : 0;
        if (tableId == 0x02) {
            const auto listed = pmtPids.find(extension);
            return listed != pmtPids.end()
                       ? listed->second
                       : static_cast<std::uint16_t>((0x1000 + extension) & 0x1FFF);
        }
        if (tableId <= 0x01) {
            return static_cast<std::uint16_t>(tableId);
        }
        if (tableId == 0x40 || tableId == 0x41) {
            return 0x10;
        }
        if (tableId == 0x42 || tableId == 0x46 || tableId == 0x4A) {
            return 0x11;
        }
        if (tableId >= 0x4E && tableId <= 0x6F) {
            return 0x12;
        }
        if (tableId >= 0x70 && tableId <= 0x73) {
            return tableId == 0x71 ? 0x13 : 0x14;
        }
        return 0x300;
    };
    std::vector<generator::Bytes> list;
    for (std::size_t at = 0; at + 3 <= sections.size();) {
        const std::size_t size = 3 + ((sections[at + 1] & 0x0Fu) << 8 | sections[at + 2]);
        if (at + size > sections.size()) {
            ADD_FAILURE() << "a section at " << at << " overruns its file";
            break;
        }
        list.emplace_back(sections.begin() + static_cast<std::ptrdiff_t>(at),
                          sections.begin() + static_cast<std::ptrdiff_t>(at + size));
        at += size;
        const generator::Bytes& section = list.back();
        for (std::size_t i = 8; section[0] == 0x00 && i + 8 <= section.size(); i += 4) {
            pmtPids[section[i] << 8 | section[i + 1]] =
                static_cast<std::uint16_t>((section[i + 2] & 0x1F) << 8 | section[i + 3]);
        }
    }
    generator::TsWriter writer;
    for (const generator::Bytes& section : list) {
        writer.WriteSection(pidOf(section), section);
    }
    return generator::Serialise(writer.packets());
}

std::set<int> PidsOf(const std::vector<std::uint8_t>& stream) {
    std::set<int> pids;
    for (std::size_t at = 0; at < stream.size(); at += generator::kPacketSize) {
        pids.insert((stream[at + 1] & 0x1F) << 8 | stream[at + 2]);
    }
    return pids;
}

class Counter : public TORVEL_MW::ISectionObserver {
  public:
    explicit Counter(SectionCounts& counts) : counts_(counts) {}
    void OnSectionReceived(unsigned short, unsigned short pid, unsigned short,
                           unsigned char* data) override {
        ++counts_[pid][data[0]];
    }
    void OnSectionTimeout(unsigned int) override {}

  private:
    SectionCounts& counts_;
};

/// Gives the EIT schedules to the platform's parsers, and computes from the same sections which
/// sub-tables are complete by ETSI EN 300 468 5.2.4.
class Schedules : public TORVEL_MW::ISectionObserver {
  public:
    void OnSectionReceived(unsigned short, unsigned short pid, unsigned short length,
                           unsigned char* data) override {
        constexpr unsigned short kLeast = 18;  // header, fixed part and CRC_32
        if (data[0] < 0x50 || data[0] > 0x6F || length < kLeast || (data[5] & 1) == 0) {
            return;
        }
        auto& parser = parsers_[data[0]];
        if (!parser) {
            parser = std::make_unique<TCDVBEITParser>(data[0], TVSHandle(1, 0));
        }
        if (!parser->Parse(static_cast<short>(pid), data)) {
            return;
        }
        SubTable& table = tables_[{data[0], data[10] << 8 | data[11], data[8] << 8 | data[9],
                                   data[3] << 8 | data[4]}];
        const int version = data[5] >> 1 & 0x1F;
        if (table.version != version || table.last != data[7]) {
            table = {version, data[7], {}, {}};
        }
        table.held.insert(data[6]);
        table.segmentLast[data[6] / 8] = data[12];
    }
    void OnSectionTimeout(unsigned int) override {}

    /// Compares the two. Returns how many sub-tables came and how many are complete.
    std::pair<int, int> Compare() {
        int complete = 0;
        for (const auto& [key, table] : tables_) {
            const auto& [tableId, onid, tsid, sid] = key;
            const auto narrow = [](int id) { return static_cast<unsigned short>(id); };
            TCDVBEITInstance* const instance = parsers_[tableId]->EITInstance(
                TCServiceKey(narrow(onid), narrow(tsid), narrow(sid)));
            EXPECT_NE(instance, nullptr);
            if (instance != nullptr) {
                EXPECT_EQ(instance->IsValid(), table.IsComplete())
                    << "table_id " << tableId << ", service " << sid;
            }
            complete += table.IsComplete() ? 1 : 0;
        }
        return {static_cast<int>(tables_.size()), complete};
    }

  private:
    struct SubTable {
        int version = -1;
        int last = 0;
        std::set<int> held;
        std::map<int, int> segmentLast;

        bool IsComplete() const {
            for (int first = 0; first <= last; first += 8) {
                const auto told = segmentLast.find(first / 8);
                if (told == segmentLast.end()) {
                    return false;
                }
                const int end = std::min(first + 7, last);
                const bool isInside = told->second >= first && told->second <= end;
                for (int number = first; number <= (isInside ? told->second : end); ++number) {
                    if (held.count(number) == 0) {
                        return false;
                    }
                }
            }
            return true;
        }
    };

    std::map<int, std::unique_ptr<TCDVBEITParser>> parsers_;  // by table_id
    std::map<std::tuple<int, int, int, int>, SubTable> tables_;
};

int Number(const std::string& text) {
    return std::stoi(text, nullptr, 0);
}

struct Expected {
    SectionCounts counts;
    std::uint64_t crcErrors = 0;
};

Expected ExpectedSections(const json& expectation) {
    Expected expected;
    for (const auto& [pid, tables] : expectation["section_counts"].items()) {
        for (const auto& [tableId, count] : tables.items()) {
            expected.counts[Number(pid)][Number(tableId)] = count.get<int>();
        }
    }
    for (const json& error : expectation["crc_errors"]) {
        const int count = error["count"].get<int>();
        int& good =
            expected.counts[error["pid"].get<int>()][Number(error["table_id"].get<std::string>())];
        good -= count;
        expected.crcErrors += static_cast<std::uint64_t>(count);
    }
    return expected;
}

/// Returns the counts per table_id only, because this test chose the PIDs of section files.
std::map<int, int> ByTable(const SectionCounts& counts) {
    std::map<int, int> byTable;
    for (const auto& [pid, tables] : counts) {
        for (const auto& [tableId, count] : tables) {
            byTable[tableId] += count;
        }
    }
    return byTable;
}

struct Feeding {
    std::string name;
    std::size_t piece;  // bytes per read; 0: the file itself

    friend std::ostream& operator<<(std::ostream& out, const Feeding& feeding) {
        return out << feeding.name << " in pieces of " << feeding.piece;
    }
};

std::vector<Feeding> Feedings() {
    std::vector<Feeding> feedings;
    for (const std::string& name : StreamNames()) {
        for (const std::size_t piece : {std::size_t{0}, std::size_t{1}, std::size_t{17}}) {
            feedings.push_back({name, piece});
        }
    }
    return feedings;
}

/// The form that the expectations have: {"tsid", "version", "programs": {program_number: PMT PID}}
/// or null.
json PatIn(const client::SubTableReader<client::PatTable>& pats) {
    const auto whole = pats.Whole();
    if (whole.empty()) {
        return nullptr;
    }
    const client::Pat& pat = *whole.begin()->second;
    json programs = json::object();
    for (const client::PatProgram& program : pat.programs) {
        if (program.programNumber != 0) {  // program 0 names the PID of the NIT
            programs[std::to_string(program.programNumber)] = program.pmtPid;
        }
    }
    return {{"tsid", pat.transportStreamId}, {"version", pat.version}, {"programs", programs}};
}

class RealStream : public testing::TestWithParam<Feeding> {};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RealStream);

TEST_P(RealStream, SectionCountsAndPatAreAsIndependentlyDecoded) {
    const auto& [name, piece] = GetParam();
    const fs::path path = fs::path(TORVELSI_STREAMS) / name;
    const bool isSections = path.extension() == ".sec";
    const json expectation = Expectation(name);
    const Expected expected = ExpectedSections(expectation);

    tvservice::SetLogPriority(7);
    ASSERT_TRUE(tvservice::SoftwarePlatform::Instance().Start());
    SectionCounts counts;
    Counter& counter = Forever<Counter>(counts);
    std::string error;
    tvservice::SourcePtr source;
    std::set<int> pids;
    for (const auto& [pid, tables] : expected.counts) {
        pids.insert(pid);
    }
    if (isSections) {
        const std::vector<std::uint8_t> bytes = Packetise(ReadFile(path));
        pids = PidsOf(bytes);
        source = tvservice::MemorySource(name, bytes, piece);
    } else if (piece == 0) {
        source = tvservice::OpenSource(path.string(), error);
    } else {
        source = tvservice::MemorySource(name, ReadFile(path), piece);
    }
    ASSERT_TRUE(source) << error;
    // A pattern without significant bits lets every section of the PID pass.
    for (const int pid : pids) {
        ASSERT_NE(ISectionManager::Instance()->Subscribe(static_cast<unsigned short>(pid), {0}, {0},
                                                         {0}, counter, ISectionManager::EContinuous,
                                                         kNoTimeout),
                  0u);
    }
    auto& pats = Forever<client::SubTableReader<client::PatTable>>();
    ASSERT_NE(ISectionManager::Instance()->Subscribe(
                  0x0000, 0x00, pats, ISectionManager::EContinuous, kNoTimeout, false),
              0u);
    auto& schedules = Forever<Schedules>();
    ASSERT_NE(ISectionManager::Instance()->Subscribe(0x0012, {0}, {0}, {0}, schedules,
                                                     ISectionManager::EContinuous, kNoTimeout),
              0u);
    const client::Barrier barrier;
    tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
    ASSERT_TRUE(platform.Play(source));
    ASSERT_EQ(platform.WaitEnd().reason, tvservice::InputEnd::kEndOfInput);

    if (isSections) {
        EXPECT_EQ(ByTable(counts), ByTable(expected.counts));
    } else {
        EXPECT_EQ(counts, expected.counts);
        EXPECT_EQ(platform.Counter(tvservice::Counter::kPackets),
                  expectation["packets"].get<std::uint64_t>());
        EXPECT_EQ(platform.PacketSize(), expectation["packet_size"].get<unsigned int>());
    }
    EXPECT_EQ(platform.Counter(tvservice::Counter::kCrcErrors), expected.crcErrors);
    EXPECT_EQ(PatIn(pats), expectation["pat"]);
    const auto [tables, complete] = schedules.Compare();
    RecordProperty("schedules", tables);
    RecordProperty("complete_schedules", complete);
}

INSTANTIATE_TEST_SUITE_P(Streams, RealStream, testing::ValuesIn(Feedings()),
                         [](const testing::TestParamInfo<Feeding>& feeding) {
                             std::string name = feeding.param.name + "_piece_" +
                                                std::to_string(feeding.param.piece);
                             std::replace_if(
                                 name.begin(), name.end(),
                                 [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
                             return name;
                         });

TEST(RealStreams, AreSaidToHaveBeenCompared) {
    const std::vector<std::string> names = StreamNames();
    if (names.empty()) {
        GTEST_SKIP() << "no folder of real streams beside the checkout";
    }
    std::size_t tables = 0;
    for (const std::string& name : names) {
        for (const auto& [pid, byTable] : ExpectedSections(Expectation(name)).counts) {
            tables += byTable.size();
        }
    }
    RecordProperty("streams", static_cast<int>(names.size()));
    std::printf("compared: %zu streams, section counts of %zu tables on their PIDs, 3 ways each\n",
                names.size(), tables);
    EXPECT_GT(tables, names.size());
}

}  // namespace
