#include "tools/torvelsi/ScanDocument.h"

#include <optional>
#include <utility>

namespace tool {

namespace {

template <class T>
Json OrNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json();
}

Json HexOf(const client::Bytes& bytes) {
    return Hex(bytes.data(), bytes.size());
}

template <class List, class Convert>
Json ListToJson(const List& list, Convert convert) {
    Json json = Json::array();
    for (const auto& entry : list) {
        json.push_back(convert(entry));
    }
    return json;
}

Json PatToJson(const client::Pat& pat) {
    return {{"transport_stream_id", pat.transportStreamId},
            {"version", pat.version},
            {"programs", ListToJson(pat.programs, [](const client::PatProgram& program) -> Json {
                 return {{"program_number", program.programNumber}, {"pmt_pid", program.pmtPid}};
             })}};
}

Json OfferToJson(const client::SsuOffer& offer) {
    return {{"oui", offer.oui}, {"selector", offer.selector ? HexOf(*offer.selector) : Json()}};
}

Json StreamToJson(const client::ElementaryStream& stream) {
    return {
        {"pid", stream.pid},
        {"stream_type", stream.streamType},
        {"component_tag", OrNull(stream.componentTag)},
        {"carousel_id", OrNull(stream.carouselId)},
        {"application", stream.isApplication},
        {"descriptors", ListToJson(stream.descriptors, [](const client::Descriptor& desc) -> Json {
             return {{"tag", desc.tag}, {"data", HexOf(desc.data)}};
         })}};
}

Json ProgramToJson(const client::Program& program) {
    return {{"program_number", program.programNumber},
            {"pmt_pid", program.pmtPid},
            {"pcr_pid", program.pcrPid},
            {"version", program.version},
            {"ca_system_ids", program.caSystemIds},
            {"streams", ListToJson(program.streams, StreamToJson)},
            {"carousels", ListToJson(program.carousels,
                                     [](const client::Carousel& carousel) -> Json {
                                         return {{"component_tag", carousel.componentTag},
                                                 {"carousel_id", OrNull(carousel.carouselId)},
                                                 {"pid", carousel.pid}};
                                     })},
            {"ssu", ListToJson(program.ssu, [](const client::SsuStream& ssu) -> Json {
                 return {{"pid", ssu.pid}, {"offers", ListToJson(ssu.offers, OfferToJson)}};
             })}};
}

Json DescriptorToJson(const client::Descriptor& desc) {
    return {{"tag", desc.tag},
            {"private_data_specifier", OrNull(desc.privateDataSpecifier)},
            {"extension_tag", OrNull(desc.extensionTag)},
            {"data", HexOf(desc.data)}};
}

Json ServiceToJson(const client::Service& service) {
    return {{"original_network_id", service.originalNetworkId},
            {"transport_stream_id", service.transportStreamId},
            {"service_id", service.serviceId},
            {"name", OrNull(service.name)},
            {"provider", OrNull(service.provider)},
            {"service_type", OrNull(service.serviceType)},
            {"running_status", service.runningStatus},
            {"free_ca_mode", service.freeCaMode},
            {"descriptors", ListToJson(service.descriptors, DescriptorToJson)}};
}

Json EventToJson(const client::Event& event) {
    return {{"original_network_id", event.originalNetworkId},
            {"transport_stream_id", event.transportStreamId},
            {"service_id", event.serviceId},
            {"section", event.section},
            {"event_id", event.eventId},
            {"start", event.start ? Json(Iso8601(*event.start)) : Json()},
            {"duration_s", OrNull(event.duration)},
            {"running_status", event.runningStatus},
            {"name", OrNull(event.name)},
            {"text", OrNull(event.text)},
            {"language", OrNull(event.language)},
            {"descriptors", ListToJson(event.descriptors, DescriptorToJson)}};
}

Json SsuLinkageToJson(const client::SsuLinkage& linkage) {
    return {{"original_network_id", linkage.originalNetworkId},
            {"transport_stream_id", linkage.transportStreamId},
            {"service_id", linkage.serviceId},
            {"offers", ListToJson(linkage.offers, OfferToJson)}};
}

Json SsuScanLinkageToJson(const client::SsuScanLinkage& linkage) {
    return {{"table", linkage.isNit ? "nit" : "bat"},
            {"original_network_id", linkage.originalNetworkId},
            {"transport_stream_id", linkage.transportStreamId},
            {"service_id", linkage.serviceId}};
}

Json NetworkToJson(const client::Network& network) {
    return {
        {"network_id", network.networkId},
        {"actual", network.isActual},
        {"name", OrNull(network.name)},
        {"version", network.version},
        {"ssu_linkages", ListToJson(network.ssuLinkages, SsuLinkageToJson)},
        {"ssu_scan_linkages", ListToJson(network.ssuScanLinkages, SsuScanLinkageToJson)},
        {"transport_streams",
         ListToJson(network.transportStreams, [](const client::TransportStream& stream) -> Json {
             return {{"original_network_id", stream.originalNetworkId},
                     {"transport_stream_id", stream.transportStreamId},
                     {"delivery", ListToJson(stream.delivery, [](const auto& delivery) {
                          return DeliveryToJson(*delivery);
                      })}};
         })}};
}

Json BouquetToJson(const client::Bouquet& bouquet) {
    return {{"bouquet_id", bouquet.bouquetId},
            {"name", OrNull(bouquet.name)},
            {"version", bouquet.version},
            {"ssu_linkages", ListToJson(bouquet.ssuLinkages, SsuLinkageToJson)},
            {"ssu_scan_linkages", ListToJson(bouquet.ssuScanLinkages, SsuScanLinkageToJson)}};
}

}  // namespace

Json ScanDocument(const client::Multiplex& multiplex) {
    Json document = {
        {"schema", "torvelsi-scan/1"},
        {"complete", multiplex.complete},
        {"missing", multiplex.missing},
        {"input", InputToJson(multiplex.input)},
        {"counters", CountersToJson(multiplex.counters)},
        {"pat", multiplex.pat ? PatToJson(*multiplex.pat) : Json()},
        {"cat", multiplex.caSystemIds ? Json{{"ca_system_ids", *multiplex.caSystemIds}} : Json()},
        {"programs", ListToJson(multiplex.programs, ProgramToJson)},
        {"services", ListToJson(multiplex.services, ServiceToJson)},
        {"events", ListToJson(multiplex.events, EventToJson)},
        {"networks", ListToJson(multiplex.networks, NetworkToJson)},
        {"bouquets", ListToJson(multiplex.bouquets, BouquetToJson)}};
    if (!multiplex.faults.empty()) {
        document["faults"] = FaultsToJson(multiplex.faults);
    }
    return document;
}

}  // namespace tool
