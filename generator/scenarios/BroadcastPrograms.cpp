#include <cstdint>
#include <utility>
#include <vector>

#include "generator/Descriptors.h"
#include "generator/scenarios/BroadcastTables.h"
#include "generator/scenarios/Makers.h"

namespace generator {
namespace {

constexpr std::uint16_t kTelevisionMapPid = 0x0400;
constexpr std::uint16_t kSharedMapPid = 0x0410;
constexpr std::uint16_t kMislabelledMapPid = 0x0420;
constexpr std::uint16_t kUpdatesMapPid = 0x0430;
constexpr std::uint16_t kCarouselsMapPid = 0x0440;
constexpr std::uint16_t kApplicationsMapPid = 0x0450;

SentTable Map(std::uint16_t pid, const Pmt& pmt, std::uint8_t version_number) {
    return {pid, MakePmt(pmt, {.version_number = version_number})};
}

// Access systems for the programme and for single streams; their descriptors with more bytes behind
// the fields; extension descriptors of three bytes and longer ones.
SentTable MapOfTelevision() {
    return Map(
        kTelevisionMapPid,
        {kTelevision,
         0x0501,
         {RegistrationDescriptor(0x42524F41, {0x01, 0x02, 0x03}), CaDescriptor(0xFF21, 0x0601),
          CaDescriptor(0xFF22, 0x0602, {0xAA, 0xBB}), CaDescriptor(0xFF21, 0x0603, {0xCC}),
          ExtensionDescriptor(0x83, {})},
         {{0x1B,
           0x0501,
           {StreamIdentifierDescriptor(0x01), CaDescriptor(0xFF23, 0x0604),
            RegistrationDescriptor(0x42524F42, {0xFF, 0x1B, 0x44, 0x3F}),
            ExtensionDescriptor(0x83, {})}},
          {0x0F,
           0x0502,
           {StreamIdentifierDescriptor(0x02), CaDescriptor(0xFF22, 0x0605, {0x11}),
            CaDescriptor(0xFF24, 0x0606), Iso639LanguageDescriptor("eng", 0)}},
          {0x06,
           0x0503,
           {RegistrationDescriptor(0x42524F43),
            // EN 300 468 6.4.11: supplementary audio, with a language
            ExtensionDescriptor(0x06, {0x85, 'd', 'e', 'u'}),
            // EN 300 468 6.4.6.3, where no delivery belongs
            T2DeliveryDescriptor({.plp_id = 9, .T2_system_id = 0x9009, .short_form = true})}}}},
        30);
}

SentTable MapsOnOnePid() {
    const TableOptions options{.version_number = 4};
    const Sections first =
        MakePmt({kFirstSharer, 0x0511, {CaDescriptor(0xFF25, 0x0611)}, {{0x02, 0x0511}}}, options);
    const Sections second = MakePmt(
        {kSecondSharer, 0x0521, {}, {{0x02, 0x0521}, {0x03, 0x0522}, {0x03, 0x0522}}}, options);
    return {kSharedMapPid, {first[0], second[0]}, {.back_to_back = true}};
}

SentTable MislabelledMap() {
    return Map(kMislabelledMapPid,
               {1354,
                0x0531,
                {CaDescriptor(0xFF26, 0x0631)},
                {{0x0B,
                  0x0531,
                  {StreamIdentifierDescriptor(0x31),
                   SsuDataBroadcastIdDescriptor({{.OUI = kFirstMaker, .selector = {0x54}}})}}}},
               1);
}

// Update offers of every kind, between data broadcasts that are no update.
SentTable MapOfUpdates() {
    const Bytes standard =
        SsuDataBroadcastIdDescriptor({{.OUI = kFirstMaker,
                                       .update_type = 1,
                                       .update_versioning_flag = true,
                                       .update_version = 17,
                                       .selector = {0x01, 0x02, 0x03, 0x04}},
                                      {.OUI = kSecondMaker, .update_type = 0},
                                      {.OUI = kFirstMaker, .update_type = 2, .selector = {0x05}},
                                      {.OUI = kAnyMaker, .update_type = 3}},
                                     {0xDE, 0xAD});
    return Map(
        kUpdatesMapPid,
        {kUpdates,
         0x1FFF,
         {},
         {{0x0B,
           0x0541,
           {StreamIdentifierDescriptor(0x41), CarouselIdentifierDescriptor(0x541), standard}},
          {0x05,
           0x0542,
           {SsuDataBroadcastIdDescriptor({{.OUI = kAnyMaker, .update_type = 2}}),
            DataBroadcastIdDescriptor(0x0005, {}),
            SsuDataBroadcastIdDescriptor(
                {{.OUI = kSecondMaker, .update_type = 2, .selector = Bytes(40, 0x42)}})}},
          {0x0D,
           0x0543,
           {StreamIdentifierDescriptor(0x43), DataBroadcastIdDescriptor(0x0005, {0x01})}},
          // Its bytes would be a valid update, but its data_broadcast_id is another one.
          {0x0B,
           0x0544,
           {StreamIdentifierDescriptor(0x44),
            DataBroadcastIdDescriptor(0x0123, {0x06, 0x02, 0xA1, 0xB2, 0xF1, 0xC0, 0x00})}},
          {0x0B, 0x0545, {SsuDataBroadcastIdDescriptor({})}}}},
        0);
}

// Every stream_type of ISO/IEC 13818-6, with and without carousel and stream identifiers. Two
// streams have the same component_tag, and the lowest and highest values are used.
SentTable MapOfCarousels() {
    const auto stream = [](std::uint8_t stream_type, std::uint16_t pid,
                           std::vector<Bytes> descriptors) {
        return PmtStream{stream_type, pid, std::move(descriptors)};
    };
    return Map(
        kCarouselsMapPid,
        {kCarousels,
         0x1FFF,
         {},
         {stream(0x08, 0x0551,
                 {StreamIdentifierDescriptor(0x10), CarouselIdentifierDescriptor(0x00001008)}),
          stream(0x0A, 0x0552, {StreamIdentifierDescriptor(0x11)}),
          stream(0x0B, 0x0553,
                 {StreamIdentifierDescriptor(0x12), CarouselIdentifierDescriptor(0x0000100B),
                  DataBroadcastIdDescriptor(0x0123, {})}),
          stream(0x0C, 0x0554, {CarouselIdentifierDescriptor(0x0000100C, 1, {0x0C})}),
          stream(0x0D, 0x0555, {}),
          stream(0x0B, 0x0556,
                 {StreamIdentifierDescriptor(0x12), CarouselIdentifierDescriptor(0x0000200B)}),
          stream(0x0D, 0x0557,
                 {CarouselIdentifierDescriptor(0xFFFFFFFF), StreamIdentifierDescriptor(0xFF)}),
          stream(0x0C, 0x0558,
                 {CarouselIdentifierDescriptor(0x00000000), StreamIdentifierDescriptor(0x00)}),
          stream(0x0A, 0x0559,
                 {StreamIdentifierDescriptor(0x13), CarouselIdentifierDescriptor(0x0000100A)}),
          stream(0x08, 0x055A, {StreamIdentifierDescriptor(0x14)})}},
        31);
}

// Private sections, some with applications and some without.
SentTable MapOfApplications() {
    return Map(kApplicationsMapPid,
               {kApplications,
                0x1FFF,
                {},
                {{0x05, 0x0561, {ApplicationSignallingDescriptor(0x0010, 3)}},
                 {0x05, 0x0562, {PrivateDataSpecifierDescriptor(kBroadcastPrivateDataSpecifier)}},
                 {0x05, 0x0563, {Descriptor(0x6F, {})}},
                 {0x05,
                  0x0564,
                  {StreamIdentifierDescriptor(0x64), ApplicationSignallingDescriptor(0x0001, 31)}},
                 {0x05, 0x0565},
                 {0x06, 0x0566, {ApplicationSignallingDescriptor(0x0010, 0)}},
                 {0x0B,
                  0x0567,
                  {StreamIdentifierDescriptor(0x67), CarouselIdentifierDescriptor(0x00001067),
                   DataBroadcastIdDescriptor(0x0123, {0x00, 0x10})}}}},
               0);
}

}  // namespace

std::vector<SentTable> MakeBroadcastPrograms() {
    const Sections pat = MakePat(kBroadcastTransportStream,
                                 {{0, 0x0010},
                                  {kTelevision, kTelevisionMapPid},
                                  {kFirstSharer, kSharedMapPid},
                                  {kSecondSharer, kSharedMapPid},
                                  {kMislabelled, kMislabelledMapPid},
                                  {kUpdates, kUpdatesMapPid},
                                  {kCarousels, kCarouselsMapPid},
                                  {kApplications, kApplicationsMapPid}},
                                 {.version_number = 9, .entries_per_section = 5});
    const Sections cat = MakeCat({CaDescriptor(0xFF21, 0x0701), CaDescriptor(0xFF22, 0x0702, {7}),
                                  PrivateDataSpecifierDescriptor(kBroadcastPrivateDataSpecifier),
                                  CaDescriptor(0xFF27, 0x0703), CaDescriptor(0xFF21, 0x0704)},
                                 {.version_number = 3, .entries_per_section = 3});
    return {{0x0000, pat, {.back_to_back = true}},
            {0x0001, cat, {.back_to_back = true}},
            MapOfTelevision(),
            MapsOnOnePid(),
            MislabelledMap(),
            MapOfUpdates(),
            MapOfCarousels(),
            MapOfApplications()};
}

}  // namespace generator
