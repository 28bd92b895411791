#include <fmt/format.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/torvelsi/Meanings.h"
#include "tools/torvelsi/ScanDocument.h"

namespace tool {

namespace {

// Text that grows line by line.
class Page {
  public:
    template <class... Args>
    void Line(fmt::format_string<Args...> format, Args&&... args) {
        text_ += fmt::format(format, std::forward<Args>(args)...);
        while (!text_.empty() && text_.back() == ' ') {
            text_.pop_back();
        }
        text_ += '\n';
    }
    void Blank() { text_ += '\n'; }
    void Add(const std::string& text) { text_ += text; }
    const std::string& text() const { return text_; }

  private:
    std::string text_;
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

void AddDescriptors(Page& page, const std::vector<client::Descriptor>& descriptors) {
    for (const client::Descriptor& descriptor : descriptors) {
        std::string notes;
        if (descriptor.privateDataSpecifier) {
            notes += fmt::format("  private data of 0x{:08X}", *descriptor.privateDataSpecifier);
        }
        if (descriptor.extensionTag) {
            notes += fmt::format("  extension {}", Id8(*descriptor.extensionTag));
        }
        page.Line("      descriptor {:<12}{}{}", Id8(descriptor.tag),
                  Hex(descriptor.data.data(), descriptor.data.size()), notes);
    }
}

void AddProgram(Page& page, const client::Program& program) {
    page.Line("  {:<16} PMT PID {}, version {}, PCR PID {}", Id16(program.programNumber),
              Id16(program.pmtPid), program.version, Id16(program.pcrPid));
    if (!program.caSystemIds.empty()) {
        page.Line("    CA systems {}", Ids(program.caSystemIds));
    }
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
    page.Line("  {:<16} {}  {}", Id16(service.serviceId),
              service.name ? Named(*service.name) : "(no name)",
              service.provider ? "by " + Named(*service.provider) : "");
    page.Line("    {}, {}, {}",
              service.serviceType ? ServiceTypeMeaning(*service.serviceType) : "of unknown type",
              RunningStatusMeaning(service.runningStatus),
              service.freeCaMode ? "scrambled" : "in the clear");
    AddDescriptors(page, service.descriptors);
}

void AddEvent(Page& page, const client::Event& event) {
    page.Line("  {:<16} {:<9} event {:<16} {}  {}  {}", Id16(event.serviceId),
              event.section == 0   ? std::string("present")
              : event.section == 1 ? std::string("following")
                                   : fmt::format("section {}", event.section),
              Id16(event.eventId), event.start ? Iso8601(*event.start) : "time undefined",
              event.duration ? fmt::format("{} s", *event.duration) : "duration undefined",
              RunningStatusMeaning(event.runningStatus));
    page.Line("    {}", Place(event.originalNetworkId, event.transportStreamId));
    if (event.name) {
        page.Line("    {}  ({})", Named(*event.name), Printable(event.language.value_or("")));
    }
    if (event.text && !event.text->empty()) {
        page.Line("    {}", Printable(*event.text));
    }
    AddDescriptors(page, event.descriptors);
}

std::string FieldText(const std::string& system, const std::string& field, const Json& value) {
    if (value.is_null()) {
        return "not defined";
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

void AddCells(Page& page, const Json& cells) {
    page.Line("        {:<31}{}", "cells", cells.empty() ? "none" : "");
    for (const Json& cell : cells) {
        std::string frequencies;
        for (const Json& frequency : cell["centre_frequencies_hz"]) {
            frequencies += fmt::format("{}{} Hz", frequencies.empty() ? "" : ", ",
                                       frequency.get<std::uint64_t>());
        }
        page.Line("          cell {:<24}{}", Id16(cell["cell_id"].get<unsigned int>()),
                  frequencies.empty() ? "no frequency" : frequencies);
        for (const Json& subCell : cell["sub_cells"]) {
            page.Line("            sub-cell {:<18}transposer {} Hz",
                      Id8(subCell["cell_id_extension"].get<unsigned int>()),
                      subCell["transposer_frequency_hz"].get<std::uint64_t>());
        }
    }
}

void AddDelivery(Page& page, const Json& delivery) {
    const std::string system = delivery["system"];
    page.Line("      {}", system);
    for (const auto& [field, value] : delivery.items()) {
        if (field == "cells") {
            AddCells(page, value);
        } else if (field != "system") {
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
        for (const auto& delivery : stream.delivery) {
            AddDelivery(page, DeliveryToJson(*delivery));
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

}  // namespace

std::string ScanText(const client::Multiplex& multiplex) {
    Page page;
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
    AddList(page, multiplex.programs, "Programs", AddProgram);
    if (!multiplex.services.empty()) {
        const client::Service& first = multiplex.services.front();
        const std::string title =
            "Services of " + Place(first.originalNetworkId, first.transportStreamId);
        AddList(page, multiplex.services, title.c_str(), AddService);
    }
    AddList(page, multiplex.events, "Events", AddEvent);
    AddList(page, multiplex.networks, "Networks", AddNetwork);
    AddList(page, multiplex.bouquets, "Bouquets", AddBouquet);
    page.Blank();
    AddCounters(page, "Counters (those that are not 0)", multiplex.counters);
    if (!multiplex.faults.empty()) {
        page.Blank();
        AddCounters(page, "Faults on purpose", multiplex.faults);
    }
    if (!multiplex.missing.empty()) {
        page.Blank();
        page.Line("Missing: {}", fmt::join(multiplex.missing, ", "));
    }
    return page.text();
}

}  // namespace tool
