#include <fmt/format.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/torvelsi/Meanings.h"
#include "tools/torvelsi/ScanDocument.h"

namespace tool {

namespace {

// Writes text line by line.
class Page {
  public:
    explicit Page(const Output& output) : output_(output) {}

    // Leaves out blanks at the end of the line.
    template <class... Args>
    void Line(fmt::format_string<Args...> format, Args&&... args) {
        std::string line = fmt::format(format, std::forward<Args>(args)...);
        line.erase(line.find_last_not_of(' ') + 1);
        line += '\n';
        output_(line);
    }
    void Blank() { output_("\n"); }
    void Add(const std::string& text) { output_(text); }

  private:
    const Output& output_;
};

std::string Count(std::size_t count, const char* what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string Ids(const std::vector<unsigned int>& ids) {
    std::string text;
    for (const unsigned int id : ids) {
        text += (text.empty() ? "" : ", ") + Id16(id);
    }
    return text.empty() ? "none" : text;
}

std::string Place(unsigned int onid, unsigned int tsid) {
    return fmt::format("network {}, transport stream {}", Id16(onid), Id16(tsid));
}

void AddOffers(Page& page, const std::vector<client::SsuOffer>& offers) {
    for (const client::SsuOffer& offer : offers) {
        page.Line("      OUI {:06X}  selector {}", offer.oui,
                  offer.selector ? Hex(offer.selector->data(), offer.selector->size()) : "none");
    }
}

void AddLinkages(Page& page, const std::vector<client::SsuLinkage>& linkages,
                 const std::vector<client::SsuScanLinkage>& scanLinkages) {
    for (const client::SsuLinkage& linkage : linkages) {
        page.Line("    software updates at {}, service {}",
                  Place(linkage.originalNetworkId, linkage.transportStreamId),
                  Id16(linkage.serviceId));
        AddOffers(page, linkage.offers);
    }
    for (const client::SsuScanLinkage& linkage : scanLinkages) {
        page.Line("    software updates listed by the {} of {}, service {}",
                  linkage.isNit ? "NIT" : "BAT",
                  Place(linkage.originalNetworkId, linkage.transportStreamId),
                  Id16(linkage.serviceId));
    }
}

// Whether the meaning of a tag depends on the latest private data specifier before the descriptor
// (ETSI EN 300 468 6.1).
bool IsPrivate(unsigned char tag) {
    return tag >= 0x80 && tag <= 0xFE;
}

void AddDescriptors(Page& page, const client::DescriptorList& descriptors) {
    for (const client::Descriptor& descriptor : descriptors) {
        std::string notes;
        if (descriptor.privateDataSpecifier && IsPrivate(descriptor.tag)) {
            notes += fmt::format("  private data of 0x{:08X}", *descriptor.privateDataSpecifier);
        }
        if (const auto extension = descriptor.TagExtension()) {
            notes += fmt::format("  extension {}", Id8(*extension));
        }
        page.Line("      descriptor {:<12}{}{}", Id8(descriptor.tag),
                  Hex(descriptor.data, descriptor.size), notes);
    }
}

void AddProgram(Page& page, const client::Program& program) {
    page.Line("  {:<16} PMT PID {}, version {}, PCR PID {}", Id16(program.programNumber),
              Id16(program.pmtPid), program.version, Id16(program.pcrPid));
    if (!program.caSystemIds.empty()) {
        page.Line("    CA systems {}", Ids(program.caSystemIds));
    }
    AddDescriptors(page, program.descriptors);
    for (const client::ElementaryStream& stream : program.streams) {
        std::string notes;
        if (stream.componentTag) {
            notes += fmt::format("  component {}", Id8(*stream.componentTag));
        }
        if (stream.carouselId) {
            notes += "  carousel " + Id32(*stream.carouselId);
        }
        if (stream.isApplication) {
            notes += "  application signalling";
        }
        page.Line("    PID {:<16} {:<12} {:<18}{}", Id16(stream.pid), Id8(stream.streamType),
                  StreamTypeMeaning(stream.streamType), notes);
        AddDescriptors(page, stream.descriptors);
    }
    for (const client::Carousel& carousel : program.carousels) {
        page.Line("    carousel {} of component {} on PID {}",
                  carousel.carouselId ? Id32(*carousel.carouselId) : "without an id",
                  Id8(carousel.componentTag), Id16(carousel.pid));
    }
    for (const client::SsuStream& ssu : program.ssu) {
        page.Line("    software updates on PID {}", Id16(ssu.pid));
        AddOffers(page, ssu.offers);
    }
}

void AddService(Page& page, const client::Service& service) {
    const client::ServiceName name = NameOf(service);
    page.Line("  {:<16} {}  {}", Id16(service.serviceId),
              name.name ? Named(*name.name) : "(no name)",
              name.provider ? "by " + Named(*name.provider) : "");
    page.Line("    {}, {}, {}",
              name.serviceType ? ServiceTypeMeaning(*name.serviceType) : "of unknown type",
              RunningStatusMeaning(service.runningStatus),
              service.freeCaMode ? "scrambled" : "in the clear");
    AddDescriptors(page, service.descriptors);
}

// Writes a text of several lines. The lines after the first one are indented further.
void AddLines(Page& page, const std::string& text) {
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = text.find('\n', begin);
        page.Line("    {}{}", begin == 0 ? "" : "  ", Printable(text.substr(begin, end - begin)));
    }
}

void AddEvent(Page& page, const client::EventTable& table, const client::Event& event,
              bool isComplete) {
    page.Line("  {:<16} {:<9} event {:<16} {}  {}  {}{}", Id16(table.serviceId),
              event.section == 0   ? std::string("present")
              : event.section == 1 ? std::string("following")
                                   : fmt::format("section {}", event.section),
              Id16(event.eventId), event.start ? Iso8601(*event.start) : "time undefined",
              event.duration ? fmt::format("{} s", *event.duration) : "duration undefined",
              RunningStatusMeaning(event.runningStatus), isComplete ? "" : "  (table incomplete)");
    page.Line("    {}", Place(table.originalNetworkId, table.transportStreamId));
    const client::EventText text = TextOf(event);
    if (text.name) {
        page.Line("    {}  ({})", Named(*text.name), Printable(text.language.value_or("")));
    }
    if (text.text && !text.text->empty()) {
        AddLines(page, *text.text);
    }
    AddDescriptors(page, event.descriptors);
}

void AddEvents(Page& page, const client::Multiplex& multiplex) {
    bool isFirst = true;
    for (const auto& table : multiplex.events) {
        const bool isComplete = multiplex.partialEvents.count(table) == 0;
        for (const client::Event& event : table->events) {
            if (isFirst) {
                page.Blank();
                page.Line("Events");
                isFirst = false;
            }
            AddEvent(page, *table, event, isComplete);
        }
    }
}

// The text that is shown for a field without a value.
std::string NullText(const std::string& field) {
    const bool isNumber = field.find("_hz") != std::string::npos ||
                          field.find("_per_s") != std::string::npos ||
                          field == "orbital_position_tenth_degrees";
    return isNumber ? "not valid as coded" : "not given";
}

std::string FieldText(const std::string& system, const std::string& field, const Json& value) {
    if (value.is_null()) {
        return NullText(field);
    }
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (field == "plp_id") {
        return Id8(value.get<unsigned int>());
    }
    if (field == "t2_system_id") {
        return Id16(value.get<unsigned int>());
    }
    if (value.is_boolean()) {
        return DeliveryMeaning(system, field, value.get<bool>() ? 1 : 0);
    }
    return value > 0xFFFFFFFFu ? value.dump()
                               : DeliveryMeaning(system, field, value.get<unsigned int>());
}

std::string Hertz(const Json& frequency) {
    return frequency.is_null() ? "frequency not valid as coded"
                               : fmt::format("{} Hz", frequency.get<std::uint64_t>());
}

void AddCells(Page& page, const Json& cells) {
    page.Line("        {:<31}{}", "cells", cells.empty() ? "none" : "");
    for (const Json& cell : cells) {
        std::string frequencies;
        for (const Json& frequency : cell["centre_frequencies_hz"]) {
            frequencies += (frequencies.empty() ? "" : ", ") + Hertz(frequency);
        }
        page.Line("          cell {:<24}{}", Id16(cell["cell_id"].get<unsigned int>()),
                  frequencies.empty() ? "no frequency" : frequencies);
        for (const Json& subCell : cell["sub_cells"]) {
            page.Line("            sub-cell {:<18}transposer {}",
                      Id8(subCell["cell_id_extension"].get<unsigned int>()),
                      Hertz(subCell["transposer_frequency_hz"]));
        }
    }
}

// Whether a field is left out when it has no value. The first two exist in DVB-S2 only; without
// them modulation_type may have no known meaning.
bool IsOfS2(const std::string& field) {
    return field == "roll_off" || field == "modulation_system" || field == "modulation_type";
}

void AddDelivery(Page& page, const Json& delivery) {
    const std::string system = delivery["system"];
    const bool isMalformed = delivery.contains("malformed");
    page.Line("      {}{}", system, isMalformed ? ", malformed: too short for its fields" : "");
    for (const auto& [field, value] : delivery.items()) {
        if (field == "cells") {
            AddCells(page, value);
        } else if (field != "system" && field != "malformed" &&
                   !(value.is_null() && IsOfS2(field))) {
            page.Line("        {:<31}{}", field, FieldText(system, field, value));
        }
    }
}

void AddNetwork(Page& page, const client::Network& network) {
    page.Line("  {:<16} {}{}, version {}", Id16(network.networkId),
              network.isActual ? "this network" : "another network",
              network.name ? ", " + Named(*network.name) : "", network.version);
    AddLinkages(page, network.ssuLinkages, network.ssuScanLinkages);
    for (const client::TransportStream& stream : network.transportStreams) {
        page.Line("    {}", Place(stream.originalNetworkId, stream.transportStreamId));
        for (const client::Descriptor& delivery : stream.delivery) {
            AddDelivery(page, DeliveryToJson(delivery));
        }
    }
}

void AddBouquet(Page& page, const client::Bouquet& bouquet) {
    page.Line("  {:<16} {}version {}", Id16(bouquet.bouquetId),
              bouquet.name ? Named(*bouquet.name) + ", " : "", bouquet.version);
    AddLinkages(page, bouquet.ssuLinkages, bouquet.ssuScanLinkages);
}

template <class List, class AddEntry>
void AddList(Page& page, const List& list, const char* title, AddEntry addEntry) {
    if (list.empty()) {
        return;
    }
    page.Blank();
    page.Line("{}", title);
    for (const auto& entry : list) {
        addEntry(page, entry);
    }
}

void AddCounters(Page& page, const char* title,
                 const std::vector<tvservice::CounterValue>& counters) {
    const std::string text = CountersToText(counters);
    page.Line("{}{}", title, text.empty() ? ": none" : "");
    page.Add(text);
}

// Ascending numbers, with ranges for consecutive ones: "1, 3-7".
std::string Ranges(const std::vector<unsigned char>& numbers) {
    std::string text;
    for (std::size_t at = 0; at < numbers.size();) {
        std::size_t end = at + 1;
        while (end < numbers.size() && numbers[end] == numbers[end - 1] + 1) {
            ++end;
        }
        text += fmt::format("{}{}", text.empty() ? "" : ", ", numbers[at]);
        if (end - at > 1) {
            text += fmt::format("-{}", numbers[end - 1]);
        }
        at = end;
    }
    return text;
}

// "eit 7 (section 1)", or just "eit 7" when no section of the table came.
std::string MissingText(const client::Missing& missing) {
    std::string text = TableName(missing.what);
    if (missing.id) {
        text += fmt::format(" {}", *missing.id);
    }
    if (!missing.sections) {
        return text;
    }
    if (missing.sections->empty()) {
        return text + " (all sections came, but make no valid table)";
    }
    return text + fmt::format(" (section{} {})", missing.sections->size() == 1 ? "" : "s",
                              Ranges(*missing.sections));
}

void AddMissing(Page& page, const std::vector<client::Missing>& missing) {
    std::string text;
    for (const client::Missing& entry : missing) {
        text += (text.empty() ? "" : ", ") + MissingText(entry);
    }
    page.Blank();
    page.Line("Missing: {}", text);
}

}  // namespace

void WriteScanText(const client::Multiplex& multiplex, const Output& output) {
    Page page(output);
    const client::InputFacts& input = multiplex.input;
    page.Line("Input {}, {} bytes, {} packets of {} bytes", Printable(input.uri), input.bytes,
              input.packets, input.packetSize);
    if (multiplex.pat) {
        const client::Pat& pat = *multiplex.pat;
        page.Blank();
        page.Line("Transport stream {}, PAT version {}, {}", Id16(pat.transportStreamId),
                  pat.version, Count(pat.programs.size(), "program"));
        if (!pat.programs.empty()) {
            page.Line("  {:<16} PMT PID", "program");
        }
        for (const client::PatProgram& program : pat.programs) {
            page.Line("  {:<16} {}", Id16(static_cast<unsigned int>(program.programNumber)),
                      Id16(static_cast<unsigned int>(program.pmtPid)));
        }
    }
    if (multiplex.caSystemIds) {
        page.Blank();
        page.Line("CAT: CA systems {}", Ids(*multiplex.caSystemIds));
    }
    AddList(page, multiplex.programs, "Programs",
            [](Page& to, const auto& program) { AddProgram(to, *program); });
    if (!multiplex.services->empty()) {
        const client::Service& first = multiplex.services->front();
        const std::string title =
            "Services of " + Place(first.originalNetworkId, first.transportStreamId);
        AddList(page, *multiplex.services, title.c_str(), AddService);
    }
    AddEvents(page, multiplex);
    AddList(page, multiplex.networks, "Networks",
            [](Page& to, const auto& network) { AddNetwork(to, *network); });
    AddList(page, multiplex.bouquets, "Bouquets",
            [](Page& to, const auto& bouquet) { AddBouquet(to, *bouquet); });
    page.Blank();
    AddCounters(page, "Counters (those that are not 0)", multiplex.counters);
    if (!multiplex.faults.empty()) {
        page.Blank();
        AddCounters(page, "Faults on purpose", multiplex.faults);
    }
    if (!multiplex.missing.empty()) {
        AddMissing(page, multiplex.missing);
    }
}

}  // namespace tool
