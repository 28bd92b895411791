#include "tools/torvelsi/ScanDocument.h"

#include <memory>
#include <optional>
#include <utility>

#include "tools/torvelsi/JsonWriter.h"

namespace tool {

namespace {

using client::Missing;

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

Json MissingToJson(const Missing& missing) {
    Json json{{"table", TableName(missing.what)}};
    switch (missing.what) {
        case Missing::kPmt:
            json["program_number"] = OrNull(missing.id);
            json["pmt_pid"] = OrNull(missing.pid);
            break;
        case Missing::kSdt:
        case Missing::kEit:
            json["original_network_id"] = OrNull(missing.originalNetworkId);
            json["transport_stream_id"] = OrNull(missing.transportStreamId);
            if (missing.what == Missing::kEit) {
                json["service_id"] = OrNull(missing.id);
            }
            break;
        case Missing::kNitActual:
        case Missing::kNitOther:
            json["network_id"] = OrNull(missing.id);
            break;
        case Missing::kBat:
            json["bouquet_id"] = OrNull(missing.id);
            break;
        case Missing::kPat:
        case Missing::kCat:
        case Missing::kRestOfInput:
            break;
    }
    json["sections"] = OrNull(missing.sections);
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

void WriteBroadcastDescriptors(JsonWriter& out, const client::DescriptorList& descriptors) {
    out.Array("descriptors", descriptors, [&](const client::Descriptor& desc) {
        out.Value({{"tag", desc.tag},
                   {"private_data_specifier", OrNull(desc.privateDataSpecifier)},
                   {"descriptor_tag_extension", OrNull(desc.TagExtension())},
                   {"data", Hex(desc.data, desc.size)}});
    });
}

void WriteSavedDescriptors(JsonWriter& out, const client::DescriptorList& descriptors) {
    out.Array("descriptors", descriptors, [&](const client::Descriptor& desc) {
        out.Value({{"tag", desc.tag},
                   {"private_data_specifier", OrNull(desc.privateDataSpecifier)},
                   {"extension_tag", OrNull(desc.recordedExtension)},
                   {"descriptor_tag_extension", OrNull(desc.TagExtension())},
                   {"data", Hex(desc.data, desc.size)}});
    });
}

void WriteOffers(JsonWriter& out, const std::vector<client::SsuOffer>& offers) {
    out.Array("offers", offers,
              [&](const client::SsuOffer& offer) { out.Value(OfferToJson(offer)); });
}

void WriteProgram(JsonWriter& out, const client::Program& program) {
    out.BeginObject();
    out.Member("program_number", program.programNumber);
    out.Member("pmt_pid", program.pmtPid);
    out.Member("pcr_pid", program.pcrPid);
    out.Member("version", program.version);
    out.Member("ca_system_ids", program.caSystemIds);
    WriteBroadcastDescriptors(out, program.descriptors);
    out.Array("streams", program.streams, [&](const client::ElementaryStream& stream) {
        out.BeginObject();
        out.Member("pid", stream.pid);
        out.Member("stream_type", stream.streamType);
        out.Member("component_tag", OrNull(stream.componentTag));
        out.Member("carousel_id", OrNull(stream.carouselId));
        out.Member("application", stream.isApplication);
        WriteBroadcastDescriptors(out, stream.descriptors);
        out.EndObject();
    });
    out.Array("carousels", program.carousels, [&](const client::Carousel& carousel) {
        out.Value({{"component_tag", carousel.componentTag},
                   {"carousel_id", OrNull(carousel.carouselId)},
                   {"pid", carousel.pid}});
    });
    out.Array("ssu", program.ssu, [&](const client::SsuStream& ssu) {
        out.BeginObject();
        out.Member("pid", ssu.pid);
        WriteOffers(out, ssu.offers);
        out.EndObject();
    });
    out.EndObject();
}

void WriteService(JsonWriter& out, const client::Service& service) {
    const client::ServiceName name = NameOf(service);
    out.BeginObject();
    out.Member("original_network_id", service.originalNetworkId);
    out.Member("transport_stream_id", service.transportStreamId);
    out.Member("service_id", service.serviceId);
    out.Member("name", OrNull(name.name));
    out.Member("provider", OrNull(name.provider));
    out.Member("service_type", OrNull(name.serviceType));
    out.Member("running_status", service.runningStatus);
    out.Member("free_ca_mode", service.freeCaMode);
    WriteSavedDescriptors(out, service.descriptors);
    out.EndObject();
}

void WriteEvent(JsonWriter& out, const client::EventTable& table, const client::Event& event,
                bool isComplete) {
    const client::EventText text = TextOf(event);
    out.BeginObject();
    out.Member("original_network_id", table.originalNetworkId);
    out.Member("transport_stream_id", table.transportStreamId);
    out.Member("service_id", table.serviceId);
    out.Member("table_complete", isComplete);
    out.Member("section", event.section);
    out.Member("event_id", event.eventId);
    out.Member("start", event.start ? Json(Iso8601(*event.start)) : Json());
    out.Member("duration_s", OrNull(event.duration));
    out.Member("running_status", event.runningStatus);
    out.Member("name", OrNull(text.name));
    out.Member("text", OrNull(text.text));
    out.Member("language", OrNull(text.language));
    WriteSavedDescriptors(out, event.descriptors);
    out.EndObject();
}

// The linkages of a network or a bouquet.
template <class Table>
void WriteLinkages(JsonWriter& out, const Table& table) {
    out.Array("ssu_linkages", table.ssuLinkages, [&](const client::SsuLinkage& linkage) {
        out.BeginObject();
        out.Member("original_network_id", linkage.originalNetworkId);
        out.Member("transport_stream_id", linkage.transportStreamId);
        out.Member("service_id", linkage.serviceId);
        WriteOffers(out, linkage.offers);
        out.EndObject();
    });
    out.Array("ssu_scan_linkages", table.ssuScanLinkages,
              [&](const client::SsuScanLinkage& linkage) {
                  out.Value({{"table", linkage.isNit ? "nit" : "bat"},
                             {"original_network_id", linkage.originalNetworkId},
                             {"transport_stream_id", linkage.transportStreamId},
                             {"service_id", linkage.serviceId}});
              });
}

void WriteNetwork(JsonWriter& out, const client::Network& network) {
    out.BeginObject();
    out.Member("network_id", network.networkId);
    out.Member("actual", network.isActual);
    out.Member("name", OrNull(network.name));
    out.Member("version", network.version);
    WriteLinkages(out, network);
    out.Array("transport_streams", network.transportStreams,
              [&](const client::TransportStream& stream) {
                  out.BeginObject();
                  out.Member("original_network_id", stream.originalNetworkId);
                  out.Member("transport_stream_id", stream.transportStreamId);
                  out.Array("delivery", stream.delivery, [&](const client::Descriptor& delivery) {
                      out.Value(DeliveryToJson(delivery));
                  });
                  out.EndObject();
              });
    out.EndObject();
}

void WriteBouquet(JsonWriter& out, const client::Bouquet& bouquet) {
    out.BeginObject();
    out.Member("bouquet_id", bouquet.bouquetId);
    out.Member("name", OrNull(bouquet.name));
    out.Member("version", bouquet.version);
    WriteLinkages(out, bouquet);
    out.EndObject();
}

}  // namespace

const char* TableName(Missing::What what) {
    switch (what) {
        case Missing::kPat:
            return "pat";
        case Missing::kCat:
            return "cat";
        case Missing::kPmt:
            return "pmt";
        case Missing::kSdt:
            return "sdt";
        case Missing::kNitActual:
            return "nit";
        case Missing::kNitOther:
            return "nit other";
        case Missing::kBat:
            return "bat";
        case Missing::kEit:
            return "eit";
        case Missing::kRestOfInput:
            break;
    }
    return "rest of the input";
}

void WriteScanDocument(const client::Multiplex& multiplex, const Output& output) {
    JsonWriter out(output);
    out.BeginObject();
    out.Member("schema", "torvelsi-scan/2");
    out.Member("complete", multiplex.complete);
    out.Array("missing", multiplex.missing,
              [&](const Missing& missing) { out.Value(MissingToJson(missing)); });
    out.Member("input", InputToJson(multiplex.input));
    out.Member("counters", CountersToJson(multiplex.counters));
    out.Member("pat", multiplex.pat ? PatToJson(*multiplex.pat) : Json());
    out.Member("cat",
               multiplex.caSystemIds ? Json{{"ca_system_ids", *multiplex.caSystemIds}} : Json());
    out.Array("programs", multiplex.programs,
              [&](const auto& program) { WriteProgram(out, *program); });
    out.Array("services", *multiplex.services,
              [&](const client::Service& service) { WriteService(out, service); });
    out.Key("events");
    out.BeginArray();
    for (const auto& table : multiplex.events) {
        const bool isComplete = multiplex.partialEvents.count(table) == 0;
        for (const client::Event& event : table->events) {
            WriteEvent(out, *table, event, isComplete);
        }
    }
    out.EndArray();
    out.Array("networks", multiplex.networks,
              [&](const auto& network) { WriteNetwork(out, *network); });
    out.Array("bouquets", multiplex.bouquets,
              [&](const auto& bouquet) { WriteBouquet(out, *bouquet); });
    if (!multiplex.faults.empty()) {
        out.Member("faults", FaultsToJson(multiplex.faults));
    }
    out.EndObject();
    output("\n");
}

}  // namespace tool
