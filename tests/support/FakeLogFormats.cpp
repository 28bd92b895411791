#include "tests/support/FakeLogFormats.h"

#include <map>
#include <set>

namespace fake {

namespace {

using Formats = std::set<std::string>;

std::string Red(const std::string& text) {
    return "\033[31m" + text + "\033[0m";
}
std::string Green(const std::string& text) {
    return "\033[32m" + text + "\033[0m";
}
std::string Yellow(const std::string& text) {
    return "\033[33m" + text + "\033[0m";
}

// The formats of each source file, without their prefix.
const std::map<std::string, Formats>& FormatsByFile() {
    static const auto& formats = *new std::map<std::string, Formats>{
        {"BATParserKorvo.cpp",
         {"%s parse incomplete", "%s parse complete", Red("%s parser error (null)"),
          Red("%s BAT instance not available")}},
        {"CATParserKorvo.cpp",
         {"CCATParserKorvo::%s", Red("CCATParserKorvo::%s parsing error"),
          "CCATParserKorvo::%s Number of CA Descriptors: %d",
          "CCATParserKorvo::%s CA Descriptor with CA_System_ID: %d",
          "CCATParserKorvo::%s parser error (null)"}},
        {"DescriptorsKorvo.cpp",
         {Red("Not an SSU linkage descriptor %d bytes parsed, linkage type %d"),
          Green("%s : OUI 0x%X has %d selector byte entries"), "%s",
          "Satellite delivery system descriptor",
          Red("Failed to parse DSD %d bytes parsed, tag %d"),
          "Terrestrial delivery system descriptor", "Freq %lu", "Cable delivery system descriptor",
          "T2 delivery system descriptor", Red("Unknown extension tag %d"), Red("Unknown tag %d")}},
        {"EITParserKorvo.cpp",
         {Red("CEITParserKorvo::%s parser error"), Red("CEITParserKorvo::%s parser error (null)"),
          Red("CEITParserKorvo::%s EIT instance not available"), "CEITParserKorvo::%s",
          Red("CEITParserKorvo::%s EIT itemEvent not available"),
          "CEITParserKorvo::%s Saving descriptor Tag: 0x%x, Size: %d, Extended? %s, Private? %s"}},
        {"NITParserKorvo.cpp",
         {"%s parse incomplete", "%s parse complete", Red("%s parser error (null)"),
          Red("%s NIT instance not available"), "NIT contains Mux %d %d",
          "Got a cable delivery system descriptor", "Got a satellite delivery system descriptor",
          "Got a T2 delivery system descriptor", "Got a terrestrial delivery system descriptor"}},
        {"PATParserKorvo.cpp",
         {Green("CPATParserKorvo::%s"), Red("CPATParserKorvo::%s parser error (null)")}},
        {"PMTParserKorvo.cpp",
         {"~CPMTParserKorvo",
          Red("%s parsing error"),
          "Prog number %d",
          "No instance available!?",
          Red("%s PMTInstanceData->PMTElementary(%d) = NULL. Skipping"),
          "Num DataBroadcastId descriptors %d",
          Red("%s. m_Parser->PMTInstanceOfIndex(%d) = NULL. Skiping"),
          Red("%s PMTInstanceData->PMTElementary(%d)  = NULL. Skiping"),
          Red("%s PMTElementaryData->Descriptor(TCDescStreamIdentifier::DESCRIPTOR_ID) = NULL. "
              "Ignoring Entry"),
          "%s Found DSM-CC component tag: %d with Carousel Identifier: %d",
          "%s Found DSM-CC component tag: %d with no Carousel Identifier",
          "%s EXIT",
          "CPMTParserKorvo::%s sid=%d",
          "CPMTParserKorvo::%s parser error (null)",
          Red("CPMTParserKorvo::%s PMT instance not available"),
          "%s sid=%d",
          Red("%s PMT instance not available"),
          "%s sid=%d index=%d",
          Red("%s Stream is not valid"),
          "%s tag=%d",
          Red("%s tag (%d) not found"),
          "%s tag found, carousel id=%lu",
          "%s",
          "%s tag found, pid=%d"}},
        {"SDTParserKorvo.cpp",
         {Red("%s parser error"), "CSDTParserKorvo::%s",
          Red("CSDTParserKorvo::%s. m_Parser->DVBSDTInstance() failed."),
          Red("CSDTParserKorvo::%s SDTParserInstance->DVBSDTItemServiceOfIndex(%d) returned NULL "
              "service. Skipping"),
          "CSDTParserKorvo::%s onid: %d, tsid: %d, sid: %d",
          "CSDTParserKorvo::%s Saving descriptor Tag: 0x%x, Size: %d, Extended? %s, Private? %s",
          Red("%s parser error (null)"), Red("%s SDT instance not available"),
          Red("SDT does not contain a reference to the currently tuned service"),
          Red("This must be a non MPEG broadcast service")}},
        {"KorvoSectionManager.cpp",
         {"id: %d, pid: %d, tableId: %d, mode: %d", Red("Failed with id: %d"),
          "id: %d, pid: %d, tableId: %d, tableIdExt: %d, mode: %d",
          "id: %d, pid: %d, mode: %d, pattern/mask:\n%s",
          Red("Failed to find %d in m_subscriptions"),
          Green("Removing %u from m_subscriptions refcount %lu"), Red("NULL data"),
          Red("Couldn't find section subscription for id: %d"),
          Yellow("OneShot filter completed")}},
        {"SectionSubscription.cpp",
         {"pid: %d, tableId: %d, id: %d, mode: %d, timeout: %d, fromCache: %s",
          Yellow("Subscribe section failed. id: %d, TVS handle: %d"),
          Green("Subscribe section succeeded. id: %d, TVS handle: %d"),
          "pid: %d, tableId: %d, tableIdExt: %d, id: %d, mode: %d, timeout: %d",
          "pid: %d, id: %d, mode: %d, timeout: %d",
          Green("Set timer for %dms for id: %d"),
          Green("%s refcount=%d"),
          Red("EToggle mode used for tableid/tableid_ext filter! Resetting to EContinuous"),
          "Subscribed successfully. pid: %d, TVS handle: %d",
          Yellow("Set timer for %dms for id: %d"),
          "%s refcount=%d",
          Green("%s refcount: %d"),
          Green("refcount = 0, unsubscribe section"),
          Yellow("Unsubscribe section failed"),
          Green("refcount > 0, do not unsubscribe section"),
          Yellow("Length is 0"),
          Yellow("pData is NULL"),
          Yellow("Old section data from previous filter, ignore it"),
          Green("%s length: %d"),
          Green("Cancel the timer for id: %d"),
          Green("Toggle mode filter. current tableId: %X, current pattern: %X, current mask: %X"),
          Green("Unsubscribe previous section filter"),
          Yellow("Re-subscribe section failed id: %d, TVS handle: %d"),
          Yellow("Toggle mode filter. Resubscribed, just received tableId: %X, new pattern: %X, "
                 "new mask: %X, TVS handle: %d")}},
    };
    return formats;
}

}  // namespace

bool IsFormatOf(const std::string& file, const std::string& format) {
    const auto found = FormatsByFile().find(file);
    if (found == FormatsByFile().end()) {
        return true;
    }
    // The prefix: source file, function, line.
    const std::string prefix = "%s: %s(%d) > ";
    return format.compare(0, prefix.size(), prefix) == 0 &&
           found->second.count(format.substr(prefix.size())) != 0;
}

}  // namespace fake
