#include "tests/contract/platform/Tables.h"

#include <list>
#include <sstream>

#include "platform/TCDVBBATParser.h"
#include "platform/TCDVBCATParser.h"
#include "platform/TCDVBEITParser.h"
#include "platform/TCDVBNITParser.h"
#include "platform/TCDVBSDTParser.h"
#include "platform/TCPATParser.h"
#include "platform/TCPMTParser.h"
#include "platform/TVSHandle.h"
#include "tests/contract/platform/Descriptors.h"
#include "tests/contract/platform/Dump.h"
#include "tests/contract/platform/Guarded.h"

namespace contract {

using testsupport::Bytes;
using testsupport::Join;

Bytes U16(unsigned value) {
    return {static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
}

Bytes WithLength(const Bytes& bytes) {
    return Join({U16(0xF000 | static_cast<unsigned>(bytes.size())), bytes});
}

bool Table::Take(const Bytes& section) {
    Guarded guarded(section);
    const bool taken = parser().Parse(0x0123, guarded.data());
    guarded.Scribble();
    return taken;
}

unsigned short TableKind::ExtensionOf(const SectionOptions& options) const {
    constexpr unsigned char kCatTableId = 0x01;  // ISO/IEC 13818-1 2.4.4.6: reserved bits
    return tableId == kCatTableId ? 0xFFFF : options.identity;
}

Bytes TableKind::Section(const SectionOptions& options) const {
    return testsupport::SectionBytes{.table_id = tableId,
                                     .table_id_extension = ExtensionOf(options),
                                     .version_number = options.version,
                                     .section_number = options.number,
                                     .last_section_number = options.last,
                                     .body = body(options.number)}
        .Build();
}

namespace {

constexpr unsigned short kOnid = 0x2001;
constexpr unsigned short kTsid = 0x3001;
constexpr unsigned kFarPastTheEnd = 0xFFFFFFFFu;

// An access handle, as a temporary.
TVSHandle Handle() {
    return {1, 0};
}

std::string DumpSection(TCBaseSection& section) {
    std::ostringstream out;
    out << "valid " << section.IsValid() << " version " << +section.VersionNumber() << " ";
    return out.str();
}

// Writes `get(i)` for all indexes of a loop and for indexes past its end, where it must be null.
template <class Get, class Write>
void DumpItems(std::ostream& out, int count, Get get, Write write) {
    out << count << " items [";
    for (int i = 0; i < count; ++i) {
        if (auto* const item = get(static_cast<unsigned>(i))) {
            write(*item);
        } else {
            out << "null";
        }
        out << ",";
    }
    out << "] behind them " << (get(static_cast<unsigned>(count)) != nullptr)
        << (get(kFarPastTheEnd) != nullptr) << " ";
}

template <class Parser>
class ParserTable : public Table {
  public:
    template <class... Arguments>
    explicit ParserTable(Arguments... arguments) : parser_(arguments..., Handle()) {}
    TCSectionParser& parser() override { return parser_; }

  protected:
    std::string DumpParser() {
        std::ostringstream out;
        out << "extension " << parser_.TableIdExt() << " ";
        return out.str();
    }

    Parser parser_;
};

class PatTable final : public ParserTable<TCPATParser> {
  public:
    TCBaseSection* SubTable(unsigned short) override { return &parser_; }
    std::string Dump() override {
        std::ostringstream out;
        out << DumpParser() << DumpSection(parser_) << parser_.TransportStreamId() << " ";
        for (int i = 0; i < parser_.NumOfProgramList(); ++i) {
            const unsigned short number = parser_.ProgramNumber(static_cast<unsigned>(i));
            out << number << ":" << parser_.ProgramPID(number) << " ";
        }
        out << parser_.ProgramNumber(static_cast<unsigned>(parser_.NumOfProgramList()))
            << parser_.ProgramNumber(kFarPastTheEnd);
        return out.str();
    }
};

class PmtTable final : public ParserTable<TCPMTParser> {
  public:
    TCBaseSection* SubTable(unsigned short identity) override {
        return parser_.PMTInstance(identity);
    }
    std::string Dump() override {
        std::ostringstream out;
        out << DumpParser() << parser_.ProgramNumber() << " ";
        DumpItems(
            out, parser_.NumOfPMTInstance(),
            [&](unsigned i) { return parser_.PMTInstanceOfIndex(i); },
            [&](TCPMTInstance& program) {
                out << DumpSection(program) << program.ProgramNumber() << " " << program.PCRPID()
                    << " " << DumpLoop(program) << DumpByTag(program);
                DumpItems(
                    out, program.NumOfElementary(),
                    [&](unsigned i) { return program.PMTElementary(i); },
                    [&](TCPMTElementary& stream) {
                        out << +stream.StreamType() << " " << stream.ElementaryPID() << " "
                            << DumpLoop(stream) << DumpByTag(stream);
                    });
            });
        return out.str();
    }
};

class CatTable final : public ParserTable<TCDVBCATParser> {
  public:
    TCBaseSection* SubTable(unsigned short) override { return &parser_; }
    std::string Dump() override {
        return DumpParser() + DumpSection(parser_) + DumpLoop(parser_) + DumpByTag(parser_);
    }
};

template <int tableId>
class SdtTable final : public ParserTable<TCDVBSDTParser> {
  public:
    SdtTable() : ParserTable(tableId) {}
    TCBaseSection* SubTable(unsigned short identity) override {
        return parser_.DVBSDTInstance(kOnid, identity);
    }
    std::string Dump() override {
        std::ostringstream out;
        out << DumpParser() << DumpInstance(parser_.DVBSDTFirstInstance());
        for (const unsigned short identity : std::vector<unsigned short>{0x1234, 0x1235}) {
            out << DumpInstance(parser_.DVBSDTInstance(kOnid, identity));
        }
        return out.str();
    }

  private:
    static std::string DumpInstance(TCDVBSDTInstance* instance) {
        if (instance == nullptr) {
            return "null ";
        }
        std::ostringstream out;
        out << DumpSection(*instance) << instance->OriginalNetworkId() << " "
            << instance->TransportStreamId() << " ";
        DumpItems(
            out, instance->NumOfDVBSDTItemService(),
            [&](unsigned i) { return instance->DVBSDTItemServiceOfIndex(i); },
            [&](TCDVBSDTItemService& service) {
                out << service.ServiceId() << service.EITScheduleFlag()
                    << service.EITPresentFollowingFlag() << +service.RunningStatus()
                    << service.FreeCAMode() << DumpLoop(service)
                    << (instance->DVBSDTItemServiceBySID(service.ServiceId()) != nullptr);
            });
        return out.str();
    }
};

template <int tableId>
class EitTable final : public ParserTable<TCDVBEITParser> {
  public:
    EitTable() : ParserTable(tableId) {}
    TCBaseSection* SubTable(unsigned short identity) override {
        return parser_.EITInstance({kOnid, kTsid, identity});
    }
    std::string Dump() override {
        std::ostringstream out;
        out << DumpParser();
        for (const unsigned short identity : std::vector<unsigned short>{0x1234, 0x1235}) {
            if (auto* const instance = parser_.EITInstance({kOnid, kTsid, identity})) {
                out << DumpSection(*instance) << instance->ServiceId() << " "
                    << instance->TransportStreamId() << " " << instance->OriginalNetworkId() << " ";
            }
        }
        out << parser_.SectionLength() << " ";
        if (unsigned char* const section = parser_.Section()) {
            out << std::string(section, section + 3 + parser_.SectionLength());
            TCDVBEITItem item(0x1234, kTsid, kOnid, Handle());
            out << item.m_Parse(section, parser_.SectionLength() + 3, tableId);
            DumpItems(
                out, item.NumOfDVBEITItemEvent(),
                [&](unsigned i) { return item.DVBEITItemEvent(i); },
                [&](TCDVBEITItemEvent& event) {
                    out << event.EventId() << " " << event.StartTime() << " " << event.Duration()
                        << " " << +event.RunningStatus() << event.FreeCAMode() << " ";
                    unsigned char* const loop = event.DescriptorLoop();
                    const int length = event.DescriptorLoopLength();
                    out << std::string(loop, loop + length);
                });
        }
        return out.str();
    }
};

template <class Instance>
std::string DumpNetwork(Instance* instance) {
    if (instance == nullptr) {
        return "null ";
    }
    std::ostringstream out;
    out << DumpSection(*instance) << +instance->TableAttribute() << " " << DumpLoop(*instance)
        << DumpByTag(*instance);
    DumpItems(
        out, instance->NumOfDVBItemMux(),
        [&](unsigned i) { return instance->DVBItemMuxOfIndex(i); },
        [&](TCDVBItemMux& mux) {
            out << mux.TransportStreamId() << " " << mux.OriginalNetworkId() << " "
                << DumpLoop(mux);
        });
    return out.str();
}

std::string DumpIds(const std::list<unsigned short>& ids) {
    std::ostringstream out;
    for (const unsigned short id : ids) {
        out << id << " ";
    }
    return out.str();
}

template <int tableId>
class NitTable final : public ParserTable<TCDVBNITParser> {
  public:
    NitTable() : ParserTable(tableId) {}
    TCBaseSection* SubTable(unsigned short identity) override {
        return parser_.GetInstance(identity);
    }
    std::string Dump() override {
        std::list<unsigned short> ids;
        parser_.NetworkIds(ids);
        std::ostringstream out;
        out << DumpParser() << DumpIds(ids);
        for (const unsigned short id : ids) {
            TCDVBNITInstance* const instance = parser_.GetInstance(id);
            out << DumpNetwork(instance);
            if (instance != nullptr) {
                out << instance->NetworkId() << " " << +instance->NitAttribute() << " ";
            }
        }
        return out.str();
    }
};

class BatTable final : public ParserTable<TCDVBBATParser> {
  public:
    TCBaseSection* SubTable(unsigned short identity) override {
        return parser_.GetInstance(identity);
    }
    std::string Dump() override {
        std::list<unsigned short> ids;
        parser_.BouquetIds(ids);
        std::ostringstream out;
        out << DumpParser() << DumpIds(ids) << parser_.AllSubtablesReceived() << " ";
        for (const unsigned short id : ids) {
            TCDVBBATInstance* const instance = parser_.GetInstance(id);
            out << DumpNetwork(instance);
            if (instance != nullptr) {
                out << instance->BouquetId() << " ";
            }
        }
        return out.str();
    }
};

template <class T>
std::unique_ptr<Table> Make() {
    return std::make_unique<T>();
}

// --- Bodies

// ISO/IEC 13818-1 2.4.4.3
Bytes PatBody(unsigned char number) {
    return Join(
        {U16(10u + number), U16(0xE100u + number), U16(20u + number), U16(0xE200u + number)});
}

// ISO/IEC 13818-1 2.4.4.8
Bytes PmtBody(unsigned char number) {
    return Join({U16(0xE101u + number),
                 WithLength(Tagged(0x09, {0x18, number, 0xE1, 0x02})),
                 {0x0B},
                 U16(0xE111),
                 WithLength(Join({Tagged(0x52, {7}), Tagged(0x66, {0x01, 0x23})})),
                 {0x05},
                 U16(0xE112),
                 WithLength({})});
}

// ISO/IEC 13818-1 2.4.4.6
Bytes CatBody(unsigned char number) {
    return Join({Tagged(0x09, {0x18, number, 0xE1, 0x01}), Tagged(0x83, {number})});
}

// ETSI EN 300 468 5.2.3
Bytes SdtBody(unsigned char number) {
    return Join({U16(kOnid),
                 {0xFF},
                 U16(100u + number),
                 {0xFD},
                 Join({WithLength(Tagged(0x48, {1, 1, 'p', 1, number}))}),
                 U16(200u + number),
                 {0xFE},
                 WithLength({})});
}

// ETSI EN 300 468 5.2.4
Bytes EitBody(unsigned char number) {
    return Join({U16(kTsid),
                 U16(kOnid),
                 {1, 0x4E},
                 U16(500u + number),
                 {0xC0, 0x79, 0x12, 0x45, 0x00},
                 {0x01, 0x30, 0x00},
                 WithLength(Tagged(0x4D, {'e', 'n', 'g', 1, number, 0}))});
}

// ETSI EN 300 468 5.2.1, 5.2.2
Bytes NetworkBody(unsigned char number) {
    return Join(
        {WithLength(Join({Tagged(0x4A, {0, 1, 0, 2, 0, 3, 0x0A, 1}), Tagged(0x83, {number})})),
         WithLength(Join(
             {U16(300u + number), U16(kOnid),
              WithLength(Join({Tagged(0x41, {0, 1, number}), Tagged(0x7F, {0x04, 1, 0, 2})}))}))});
}

}  // namespace

const std::vector<TableKind>& TableKinds() {
    // ISO/IEC 13818-1 2.4.4.9: a PMT is one section.
    static const std::vector<TableKind>& kinds = *new std::vector<TableKind>{
        // name           make                  id    sections sub-tables fixed body
        {"PAT", &Make<PatTable>, 0x00, 3, false, 0, &PatBody},
        {"PMT", &Make<PmtTable>, 0x02, 1, true, 4, &PmtBody},
        {"CAT", &Make<CatTable>, 0x01, 3, false, 0, &CatBody},
        {"SDTActual", &Make<SdtTable<0x42>>, 0x42, 3, true, 3, &SdtBody},
        {"SDTOther", &Make<SdtTable<0x46>>, 0x46, 3, true, 3, &SdtBody},
        {"EITActual", &Make<EitTable<0x4E>>, 0x4E, 2, true, 6, &EitBody},
        {"EITOther", &Make<EitTable<0x4F>>, 0x4F, 2, true, 6, &EitBody},
        {"NITActual", &Make<NitTable<0x40>>, 0x40, 3, true, 4, &NetworkBody},
        {"NITOther", &Make<NitTable<0x41>>, 0x41, 3, true, 4, &NetworkBody},
        {"BAT", &Make<BatTable>, 0x4A, 3, true, 4, &NetworkBody}};
    return kinds;
}

}  // namespace contract
