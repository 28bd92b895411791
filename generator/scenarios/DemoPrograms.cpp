#include "generator/Descriptors.h"
#include "generator/Packet.h"
#include "generator/SectionBuilder.h"
#include "generator/scenarios/DemoServices.h"
#include "generator/scenarios/DemoTables.h"

namespace generator {
namespace {

constexpr std::uint32_t kApplicationCarousel = 0x00000201;
constexpr std::uint32_t kUpdateCarousel = 0x00000801;

// The PIDs of a programme: sixteen each, first the PMT, then its streams.
std::uint16_t Pid(std::size_t program, unsigned stream) {
    return static_cast<std::uint16_t>(0x0110 + 0x10 * program + stream);
}

// ISO/IEC 13818-6 7.2: dsmccMessageHeader
Bytes UserNetworkMessage(std::uint16_t messageId, std::uint32_t transactionId,
                         const Bytes& message) {
    return ByteWriter()
        .U8(0x11)
        .U8(0x03)
        .U16(messageId)
        .U32(transactionId)
        .Reserved(8)
        .U8(0)
        .Length16(message)
        .Build();
}

// A data carousel of one module in three blocks (ISO/IEC 13818-6 7.3).
Sections MakeCarousel(std::uint32_t downloadId) {
    constexpr std::size_t kBlockSize = 800;
    constexpr std::uint16_t kBlocks = 3;
    constexpr std::uint32_t kServerTransaction = 0x80000000;
    constexpr std::uint32_t kInfoTransaction = 0x80000002;

    const Bytes initiate = ByteWriter().Raw(Bytes(20, 0xFF)).U16(0).Length16({0x00, 0x00}).Build();
    const Bytes info = ByteWriter()
                           .U32(downloadId)
                           .U16(kBlockSize)
                           .U8(0)
                           .U8(0)
                           .U32(0)
                           .U32(0)
                           .U16(0)
                           .U16(1)
                           .U16(1)
                           .U32(kBlockSize * kBlocks)
                           .U8(0)
                           .Length8({})
                           .Length16({})
                           .Build();
    Sections sections{
        SectionBuilder(0x3B).Raw(UserNetworkMessage(0x1006, kServerTransaction, initiate)).Build(),
        SectionBuilder(0x3B)
            .TableIdExtension(kInfoTransaction & 0xFFFF)
            .Raw(UserNetworkMessage(0x1002, kInfoTransaction, info))
            .Build()};
    for (std::uint8_t block = 0; block < kBlocks; ++block) {
        const Bytes data(kBlockSize, static_cast<std::uint8_t>(0xB0 + block));
        const Bytes message = ByteWriter().U16(1).U8(0).Reserved(8).U16(block).Raw(data).Build();
        sections.push_back(SectionBuilder(0x3C)
                               .TableIdExtension(1)
                               .Number(block, kBlocks - 1)
                               .Raw(UserNetworkMessage(0x1003, downloadId, message))
                               .Build());
    }
    return sections;
}

// TS 102 809 5.3.4: one application, started by itself.
Sections MakeAit(std::uint16_t application_type) {
    const Bytes application =
        Descriptor(0x00, {0x05, 0x00, 0x00, 0x01, 0x01, 0x01, 0xFF, 0x01, 0x01});
    const Bytes loop =
        ByteWriter().U32(0x0000FEDC).U16(0x0001).U8(0x01).Loop12({application}).Build();
    return {SectionBuilder(0x74)
                .TableIdExtension(application_type)
                .Version(2)
                .Loop12({})
                .Reserved(4)
                .Length12(loop)
                .Build()};
}

// TS 102 006 9.4: a notification without targets.
Sections MakeUnt(std::uint32_t OUI) {
    const std::uint8_t hash = static_cast<std::uint8_t>((OUI >> 16) ^ (OUI >> 8) ^ OUI);
    return {SectionBuilder(0x4B)
                .TableIdExtension(static_cast<std::uint16_t>(0x0100 | hash))
                .U24(OUI)
                .U8(0)
                .Loop12({})
                .Build()};
}

// A control message of an access system; a receiver without a key can read nothing of it.
Sections MakeEcm(std::uint8_t parity) {
    return {SectionBuilder(parity).WithoutSyntax().Raw(Bytes(60, parity)).Build()};
}

PmtStream Video(std::size_t program, std::uint8_t stream_type) {
    return {stream_type, Pid(program, 1), {StreamIdentifierDescriptor(1)}};
}

PmtStream Audio(std::size_t program, unsigned stream, std::uint8_t stream_type,
                std::string_view language) {
    return {stream_type,
            Pid(program, stream),
            {StreamIdentifierDescriptor(static_cast<std::uint8_t>(stream)),
             Iso639LanguageDescriptor(language, 0)}};
}

// The streams with which every television programme here begins.
DemoProgram Television(std::size_t program, bool scrambled) {
    return {.pmtPid = Pid(program, 0),
            .pmt = {},
            .streams = {{Pid(program, 1), Content::kVideo, true, scrambled},
                        {Pid(program, 2), Content::kAudio, false, scrambled}}};
}

void Close(DemoProgram& program, const DemoService& service, std::uint16_t PCR_PID,
           const std::vector<Bytes>& descriptors, const std::vector<PmtStream>& streams,
           std::uint8_t version_number) {
    program.pmt = MakePmt({service.service_id, PCR_PID, descriptors, streams},
                          {.version_number = version_number});
}

// Television with a second language.
DemoProgram MakeTwoLanguages(std::size_t index, const DemoService& service) {
    DemoProgram program = Television(index, false);
    program.streams.push_back({Pid(index, 3), Content::kAudio});
    Close(program, service, Pid(index, 1), {},
          {Video(index, 0x02), Audio(index, 2, 0x03, "eng"), Audio(index, 3, 0x04, "deu")}, 3);
    return program;
}

// Television with an application, its carousel, a second carousel without an identifier, and
// private sections that are no application.
DemoProgram MakeInteractive(std::size_t index, const DemoService& service) {
    DemoProgram program = Television(index, false);
    program.streams.push_back({Pid(index, 4), Content::kSections, false, false, MakeAit(0x0010)});
    program.streams.push_back(
        {Pid(index, 5), Content::kSections, false, false, MakeCarousel(kApplicationCarousel)});
    Close(program, service, Pid(index, 1), {RegistrationDescriptor(0x44454D4F)},  // "DEMO"
          {Video(index, 0x1B),
           Audio(index, 2, 0x0F, "eng"),
           {0x05, Pid(index, 4), {ApplicationSignallingDescriptor(0x0010, 2)}},
           {0x0B,
            Pid(index, 5),
            {StreamIdentifierDescriptor(0x30), CarouselIdentifierDescriptor(kApplicationCarousel),
             DataBroadcastIdDescriptor(0x00F0, {0x00, 0x10})}},
           {0x0B, Pid(index, 6), {StreamIdentifierDescriptor(0x31)}},
           {0x05, Pid(index, 7), {PrivateDataSpecifierDescriptor(kDemoPrivateDataSpecifier)}}},
          7);
    return program;
}

// Television with subtitles in a private stream.
DemoProgram MakeSubtitled(std::size_t index, const DemoService& service,
                          std::uint8_t videoStreamType) {
    DemoProgram program = Television(index, false);
    const Bytes subtitling =
        Descriptor(0x59, ByteWriter().Text("eng").U8(0x10).U16(1).U16(1).Build());
    Close(program, service, Pid(index, 1), {},
          {Video(index, videoStreamType),
           Audio(index, 2, 0x03, "eng"),
           {0x06, Pid(index, 3), {StreamIdentifierDescriptor(3), subtitling}}},
          0);
    return program;
}

// Pay television: one access system for the whole programme, another one for the sound only.
DemoProgram MakeScrambled(std::size_t index, const DemoService& service) {
    DemoProgram program = Television(index, true);
    program.streams.push_back({Pid(index, 8), Content::kSections, false, false, MakeEcm(0x80)});
    program.streams.push_back({Pid(index, 9), Content::kSections, false, false, MakeEcm(0x81)});
    PmtStream audio = Audio(index, 2, 0x0F, "eng");
    audio.descriptors.push_back(CaDescriptor(kDemoOtherCaSystem, Pid(index, 9)));
    Close(program, service, Pid(index, 1),
          {CaDescriptor(kDemoCaSystem, Pid(index, 8), {0x01, 0x02})}, {Video(index, 0x24), audio},
          31);
    return program;
}

DemoProgram MakeRadio(std::size_t index, const DemoService& service) {
    DemoProgram program{
        .pmtPid = Pid(index, 0), .pmt = {}, .streams = {{Pid(index, 2), Content::kAudio, true}}};
    Close(program, service, Pid(index, 2), {}, {Audio(index, 2, 0x03, "dan")}, 1);
    return program;
}

// Updates for receivers: a carousel for two makers, a carousel for any maker, and a notification
// table.
DemoProgram MakeUpdates(std::size_t index, const DemoService& service) {
    DemoProgram program{
        .pmtPid = Pid(index, 0),
        .pmt = {},
        .streams = {
            {Pid(index, 4), Content::kSections, false, false, MakeCarousel(kUpdateCarousel)},
            {Pid(index, 5), Content::kSections, false, false, MakeUnt(kFirstMaker)}}};
    const Bytes standardUpdates = SsuDataBroadcastIdDescriptor(
        {{.OUI = kFirstMaker, .update_type = 1, .selector = {0x11, 0x22, 0x33}},
         {.OUI = kSecondMaker,
          .update_type = 1,
          .update_versioning_flag = true,
          .update_version = 5,
          .selector = {0x44}},
         {.OUI = kAnyMaker}});
    const Bytes notifiedUpdates =
        SsuDataBroadcastIdDescriptor({{.OUI = kFirstMaker,
                                       .update_type = 2,
                                       .update_versioning_flag = true,
                                       .update_version = 9,
                                       .selector = {0xA0, 0xA1}},
                                      {.OUI = kFirstMaker, .update_type = 2}});
    Close(program, service, kNullPid, {},
          {{0x0B,
            Pid(index, 4),
            {StreamIdentifierDescriptor(0x40), CarouselIdentifierDescriptor(kUpdateCarousel),
             standardUpdates}},
           {0x05, Pid(index, 5), {StreamIdentifierDescriptor(0x41), notifiedUpdates}}},
          12);
    return program;
}

}  // namespace

std::vector<DemoProgram> MakeDemoPrograms() {
    return {MakeTwoLanguages(0, kDemoServices[0]),    MakeInteractive(1, kDemoServices[1]),
            MakeSubtitled(2, kDemoServices[2], 0x02), MakeSubtitled(3, kDemoServices[3], 0x1B),
            MakeTwoLanguages(4, kDemoServices[4]),    MakeScrambled(5, kDemoServices[5]),
            MakeRadio(6, kDemoServices[6]),           MakeUpdates(7, kDemoServices[7])};
}

}  // namespace generator
