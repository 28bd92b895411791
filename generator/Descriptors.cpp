#include "generator/Descriptors.h"

#include <stdexcept>

#include "generator/FieldWriter.h"

namespace generator {
namespace {

// ISO 639-2 and ISO 3166 codes must fill their 24 bits.
std::string_view ThreeCharacters(std::string_view code) {
    if (code.size() != 3) {
        throw std::logic_error("a language or country code must have three characters");
    }
    return code;
}

ByteWriter LinkageHead(const LinkageTarget& target, std::uint8_t linkage_type) {
    ByteWriter body;
    body.U16(target.transport_stream_id)
        .U16(target.original_network_id)
        .U16(target.service_id)
        .U8(linkage_type);
    return body;
}

}  // namespace

Bytes Descriptor(std::uint8_t descriptor_tag, const Bytes& body) {
    return ByteWriter().U8(descriptor_tag).Length8(body).Build();
}

Bytes ExtensionDescriptor(std::uint8_t descriptor_tag_extension, const Bytes& body) {
    return Descriptor(0x7F, ByteWriter().U8(descriptor_tag_extension).Raw(body).Build());
}

std::string Utf8(std::string_view text) {
    return "\x15" + std::string(text);
}

Bytes RegistrationDescriptor(std::uint32_t format_identifier,
                             const Bytes& additional_identification_info) {
    return Descriptor(
        0x05, ByteWriter().U32(format_identifier).Raw(additional_identification_info).Build());
}

Bytes CaDescriptor(std::uint16_t CA_system_ID, std::uint16_t CA_PID, const Bytes& private_data) {
    return Descriptor(
        0x09,
        ByteWriter().U16(CA_system_ID).Reserved(3).Bits(13, CA_PID).Raw(private_data).Build());
}

Bytes Iso639LanguageDescriptor(std::string_view language_code, std::uint8_t audio_type) {
    return Descriptor(0x0A,
                      ByteWriter().Text(ThreeCharacters(language_code)).U8(audio_type).Build());
}

Bytes CarouselIdentifierDescriptor(std::uint32_t carousel_id, std::uint8_t format_id,
                                   const Bytes& private_data) {
    return Descriptor(0x13, ByteWriter().U32(carousel_id).U8(format_id).Raw(private_data).Build());
}

Bytes NetworkNameDescriptor(std::string_view name) {
    return Descriptor(0x40, ByteWriter().Text(name).Build());
}

Bytes ServiceListDescriptor(const std::vector<ServiceListEntry>& services) {
    ByteWriter body;
    for (const ServiceListEntry& service : services) {
        body.U16(service.service_id).U8(service.service_type);
    }
    return Descriptor(0x41, body.Build());
}

Bytes BouquetNameDescriptor(std::string_view name) {
    return Descriptor(0x47, ByteWriter().Text(name).Build());
}

Bytes ServiceDescriptor(std::uint8_t service_type, std::string_view service_provider_name,
                        std::string_view service_name) {
    return Descriptor(
        0x48,
        ByteWriter().U8(service_type).Text8(service_provider_name).Text8(service_name).Build());
}

Bytes PrivateDataSpecifierDescriptor(std::uint32_t private_data_specifier) {
    return Descriptor(0x5F, ByteWriter().U32(private_data_specifier).Build());
}

Bytes LinkageDescriptor(const LinkageTarget& target, std::uint8_t linkage_type,
                        const Bytes& private_data) {
    return Descriptor(0x4A, LinkageHead(target, linkage_type).Raw(private_data).Build());
}

Bytes SsuLinkageDescriptor(const LinkageTarget& target, const std::vector<SsuLink>& links,
                           const Bytes& private_data) {
    ByteWriter loop;
    for (const SsuLink& link : links) {
        loop.U24(link.OUI).Length8(link.selector);
    }
    // TS 102 006: OUI_data_length, OUI loop, private data
    return LinkageDescriptor(target, 0x09,
                             ByteWriter().Length8(loop.Build()).Raw(private_data).Build());
}

Bytes SsuScanLinkageDescriptor(const LinkageTarget& target, std::uint8_t table_type,
                               const Bytes& private_data) {
    return LinkageDescriptor(target, 0x0A, ByteWriter().U8(table_type).Raw(private_data).Build());
}

Bytes DataBroadcastIdDescriptor(std::uint16_t data_broadcast_id, const Bytes& id_selector) {
    return Descriptor(0x66, ByteWriter().U16(data_broadcast_id).Raw(id_selector).Build());
}

Bytes SsuDataBroadcastIdDescriptor(const std::vector<SsuInfo>& infos, const Bytes& private_data) {
    ByteWriter loop;
    for (const SsuInfo& info : infos) {
        loop.U24(info.OUI)
            .Reserved(4)
            .Bits(4, info.update_type)
            .Reserved(2)
            .Bits(1, info.update_versioning_flag ? 1 : 0)
            .Bits(5, info.update_version)
            .Length8(info.selector);
    }
    // TS 102 006: OUI_data_length, OUI loop, private data
    return DataBroadcastIdDescriptor(0x000A,
                                     ByteWriter().Length8(loop.Build()).Raw(private_data).Build());
}

Bytes StreamIdentifierDescriptor(std::uint8_t component_tag) {
    return Descriptor(0x52, {component_tag});
}

Bytes ApplicationSignallingDescriptor(std::uint16_t application_type,
                                      std::uint8_t AIT_version_number) {
    return Descriptor(0x6F, ByteWriter()
                                .Reserved(1)
                                .Bits(15, application_type)
                                .Reserved(3)
                                .Bits(5, AIT_version_number)
                                .Build());
}

Bytes ShortEventDescriptor(std::string_view language_code, std::string_view event_name,
                           std::string_view text) {
    return Descriptor(
        0x4D,
        ByteWriter().Text(ThreeCharacters(language_code)).Text8(event_name).Text8(text).Build());
}

Bytes ExtendedEventDescriptor(const ExtendedEvent& event) {
    ByteWriter items;
    for (const EventItem& item : event.items) {
        items.Text8(item.item_description).Text8(item.item);
    }
    return Descriptor(0x4E, ByteWriter()
                                .Bits(4, event.descriptor_number)
                                .Bits(4, event.last_descriptor_number)
                                .Text(ThreeCharacters(event.language_code))
                                .Length8(items.Build())
                                .Text8(event.text)
                                .Build());
}

Bytes ComponentDescriptor(const Component& component) {
    return Descriptor(0x50, ByteWriter()
                                .Bits(4, component.stream_content_ext)
                                .Bits(4, component.stream_content)
                                .U8(component.component_type)
                                .U8(component.component_tag)
                                .Text(ThreeCharacters(component.language_code))
                                .Text(component.text)
                                .Build());
}

Bytes ContentDescriptor(const std::vector<ContentEntry>& entries) {
    ByteWriter body;
    for (const ContentEntry& entry : entries) {
        body.Bits(4, entry.content_nibble_level_1)
            .Bits(4, entry.content_nibble_level_2)
            .U8(entry.user_byte);
    }
    return Descriptor(0x54, body.Build());
}

Bytes ParentalRatingDescriptor(const std::vector<ParentalRating>& ratings) {
    ByteWriter body;
    for (const ParentalRating& rating : ratings) {
        body.Text(ThreeCharacters(rating.country_code)).U8(rating.rating);
    }
    return Descriptor(0x55, body.Build());
}

Bytes LocalTimeOffsetDescriptor(const LocalTimeOffset& offset) {
    return Descriptor(0x58, ByteWriter()
                                .Text(ThreeCharacters(offset.country_code))
                                .Bits(6, offset.country_region_id)
                                .Reserved(1)
                                .Bits(1, offset.local_time_offset_polarity ? 1 : 0)
                                .U16(offset.local_time_offset)
                                .U40(offset.time_of_change)
                                .U16(offset.next_time_offset)
                                .Build());
}

Bytes SatelliteDeliveryDescriptor(const SatelliteDelivery& delivery) {
    return Descriptor(0x43, ByteWriter()
                                .U32(delivery.frequency)
                                .U16(delivery.orbital_position)
                                .Bits(1, delivery.west_east_flag ? 1 : 0)
                                .Bits(2, delivery.polarization)
                                .Bits(2, delivery.roll_off)
                                .Bits(1, delivery.modulation_system ? 1 : 0)
                                .Bits(2, delivery.modulation_type)
                                .Bits(28, delivery.symbol_rate)
                                .Bits(4, delivery.FEC_inner)
                                .Build());
}

Bytes CableDeliveryDescriptor(const CableDelivery& delivery) {
    return Descriptor(0x44, ByteWriter()
                                .U32(delivery.frequency)
                                .Reserved(12)
                                .Bits(4, delivery.FEC_outer)
                                .U8(delivery.modulation)
                                .Bits(28, delivery.symbol_rate)
                                .Bits(4, delivery.FEC_inner)
                                .Build());
}

Bytes TerrestrialDeliveryDescriptor(const TerrestrialDelivery& delivery) {
    return Descriptor(0x5A, ByteWriter()
                                .U32(delivery.centre_frequency)
                                .Bits(3, delivery.bandwidth)
                                .Bits(1, delivery.priority ? 1 : 0)
                                .Bits(1, delivery.Time_Slicing_indicator ? 1 : 0)
                                .Bits(1, delivery.MPE_FEC_indicator ? 1 : 0)
                                .Reserved(2)
                                .Bits(2, delivery.constellation)
                                .Bits(3, delivery.hierarchy_information)
                                .Bits(3, delivery.code_rate_HP_stream)
                                .Bits(3, delivery.code_rate_LP_stream)
                                .Bits(2, delivery.guard_interval)
                                .Bits(2, delivery.transmission_mode)
                                .Bits(1, delivery.other_frequency_flag ? 1 : 0)
                                .Reserved(32)
                                .Build());
}

Bytes T2DeliveryBody(const T2Delivery& delivery) {
    // EN 300 468 6.4.6.3
    ByteWriter body;
    body.U8(delivery.plp_id).U16(delivery.T2_system_id);
    if (delivery.short_form) {
        return body.Build();
    }
    body.Bits(2, delivery.SISO_MISO)
        .Bits(4, delivery.bandwidth)
        .Reserved(2)
        .Bits(3, delivery.guard_interval)
        .Bits(3, delivery.transmission_mode)
        .Bits(1, delivery.other_frequency_flag ? 1 : 0)
        .Bits(1, delivery.tfs_flag ? 1 : 0);
    for (const T2Cell& cell : delivery.cells) {
        ByteWriter frequencies;
        for (const std::uint32_t centre_frequency : cell.centre_frequencies) {
            frequencies.U32(centre_frequency);
        }
        ByteWriter subcells;
        for (const T2Subcell& subcell : cell.subcells) {
            subcells.U8(subcell.cell_id_extension).U32(subcell.transposer_frequency);
        }
        body.U16(cell.cell_id);
        if (delivery.tfs_flag) {
            body.Length8(frequencies.Build());
        } else if (cell.centre_frequencies.size() == 1) {
            body.Raw(frequencies.Build());
        } else {
            throw std::logic_error("without tfs_flag a cell must have exactly one frequency");
        }
        body.Length8(subcells.Build());
    }
    return body.Build();
}

Bytes T2DeliveryDescriptor(const T2Delivery& delivery) {
    return ExtensionDescriptor(0x04, T2DeliveryBody(delivery));
}

}  // namespace generator
