// Builders of descriptors. Their parameters have the field names of the standards. Each builder
// returns the whole descriptor, with tag and length. Text parameters are bytes that are already
// coded as EN 300 468 annex A says (Utf8() does that); language and country codes have three
// characters. A builder throws std::logic_error when a value does not fit its field or the body is
// longer than 255 bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "generator/Bytes.h"

namespace generator {

// Any descriptor, from its tag and its body.
Bytes Descriptor(std::uint8_t descriptor_tag, const Bytes& body);

// EN 300 468 6.2.18.1 extension descriptor: tag 0x7F, then descriptor_tag_extension and the body.
Bytes ExtensionDescriptor(std::uint8_t descriptor_tag_extension, const Bytes& body);

// Codes UTF-8 text as EN 300 468 annex A says: the selector 0x15, then the text.
std::string Utf8(std::string_view text);

// --- ISO/IEC 13818-1 and 13818-6

// 0x05 registration
Bytes RegistrationDescriptor(std::uint32_t format_identifier,
                             const Bytes& additional_identification_info = {});
// 0x09 conditional access
Bytes CaDescriptor(std::uint16_t CA_system_ID, std::uint16_t CA_PID,
                   const Bytes& private_data = {});
// 0x0A language of a stream, one entry
Bytes Iso639LanguageDescriptor(std::string_view language_code, std::uint8_t audio_type);
// 0x13 carousel identifier
Bytes CarouselIdentifierDescriptor(std::uint32_t carousel_id, std::uint8_t format_id = 0,
                                   const Bytes& private_data = {});

// --- Names and lists

// 0x40
Bytes NetworkNameDescriptor(std::string_view name);
// 0x41
struct ServiceListEntry {
    std::uint16_t service_id;
    std::uint8_t service_type;
};
Bytes ServiceListDescriptor(const std::vector<ServiceListEntry>& services);
// 0x47
Bytes BouquetNameDescriptor(std::string_view name);
// 0x48
Bytes ServiceDescriptor(std::uint8_t service_type, std::string_view service_provider_name,
                        std::string_view service_name);
// 0x5F
Bytes PrivateDataSpecifierDescriptor(std::uint32_t private_data_specifier);

// --- Links and system software updates

// The transport stream and service that a linkage refers to.
struct LinkageTarget {
    std::uint16_t transport_stream_id;
    std::uint16_t original_network_id;
    std::uint16_t service_id;
};
// 0x4A with any linkage_type; `private_data` follows the linkage_type.
Bytes LinkageDescriptor(const LinkageTarget& target, std::uint8_t linkage_type,
                        const Bytes& private_data = {});
// One manufacturer's entry of a linkage of type 0x09 (TS 102 006).
struct SsuLink {
    std::uint32_t OUI;  // 24 bits
    Bytes selector;
};
// 0x4A of type 0x09: OUI_data_length, the entries, private data.
Bytes SsuLinkageDescriptor(const LinkageTarget& target, const std::vector<SsuLink>& links,
                           const Bytes& private_data = {});
// 0x4A of type 0x0A: table_type 1 for the NIT, 2 for the BAT.
Bytes SsuScanLinkageDescriptor(const LinkageTarget& target, std::uint8_t table_type,
                               const Bytes& private_data = {});

// 0x66 of any data_broadcast_id.
Bytes DataBroadcastIdDescriptor(std::uint16_t data_broadcast_id, const Bytes& id_selector);
// One manufacturer's entry of system_software_update_info (TS 102 006).
struct SsuInfo {
    std::uint32_t OUI;             // 24 bits
    std::uint8_t update_type = 0;  // 4 bits
    bool update_versioning_flag = false;
    std::uint8_t update_version = 0;  // 5 bits
    Bytes selector = {};
};
// 0x66 with data_broadcast_id 0x000A.
Bytes SsuDataBroadcastIdDescriptor(const std::vector<SsuInfo>& infos,
                                   const Bytes& private_data = {});

// --- Elementary streams and applications

// 0x52
Bytes StreamIdentifierDescriptor(std::uint8_t component_tag);
// 0x6F (TS 102 809), one entry
Bytes ApplicationSignallingDescriptor(std::uint16_t application_type,
                                      std::uint8_t AIT_version_number);

// --- Events

// 0x4D
Bytes ShortEventDescriptor(std::string_view language_code, std::string_view event_name,
                           std::string_view text);
// 0x4E
struct EventItem {
    std::string item_description;
    std::string item;
};
struct ExtendedEvent {
    std::uint8_t descriptor_number = 0;
    std::uint8_t last_descriptor_number = 0;
    std::string language_code;
    std::vector<EventItem> items = {};
    std::string text = {};
};
Bytes ExtendedEventDescriptor(const ExtendedEvent& event);
// 0x50
struct Component {
    std::uint8_t stream_content_ext = 0xF;
    std::uint8_t stream_content;
    std::uint8_t component_type;
    std::uint8_t component_tag;
    std::string language_code;
    std::string text = {};
};
Bytes ComponentDescriptor(const Component& component);
// 0x54
struct ContentEntry {
    std::uint8_t content_nibble_level_1;
    std::uint8_t content_nibble_level_2;
    std::uint8_t user_byte = 0;
};
Bytes ContentDescriptor(const std::vector<ContentEntry>& entries);
// 0x55
struct ParentalRating {
    std::string country_code;
    std::uint8_t rating;
};
Bytes ParentalRatingDescriptor(const std::vector<ParentalRating>& ratings);
// 0x58, one entry; offsets are four BCD digits (hours, minutes), times 40-bit fields.
struct LocalTimeOffset {
    std::string country_code;
    std::uint8_t country_region_id = 0;
    bool local_time_offset_polarity = false;
    std::uint16_t local_time_offset;
    std::uint64_t time_of_change;
    std::uint16_t next_time_offset;
};
Bytes LocalTimeOffsetDescriptor(const LocalTimeOffset& offset);

// Delivery systems (EN 300 468 6.2.13, 6.4.6). All values are those of the coded field. Write BCD
// fields in hexadecimal: the digits are then the decimal value.

// 0x43
struct SatelliteDelivery {
    std::uint32_t frequency;         // BCD, 10 kHz: 0x01172750 is 11.72750 GHz
    std::uint16_t orbital_position;  // BCD, 0.1 degrees
    bool west_east_flag = true;      // true is east
    std::uint8_t polarization = 0;
    std::uint8_t roll_off = 0;
    bool modulation_system = false;  // true is the second generation
    std::uint8_t modulation_type = 1;
    std::uint32_t symbol_rate;  // 28 bits BCD, 100 symbols/s
    std::uint8_t FEC_inner = 3;
};
Bytes SatelliteDeliveryDescriptor(const SatelliteDelivery& delivery);

// 0x44
struct CableDelivery {
    std::uint32_t frequency;  // BCD, 100 Hz: 0x03460000 is 346.0000 MHz
    std::uint8_t FEC_outer = 2;
    std::uint8_t modulation = 5;
    std::uint32_t symbol_rate;  // 28 bits BCD, 100 symbols/s
    std::uint8_t FEC_inner = 0xF;
};
Bytes CableDeliveryDescriptor(const CableDelivery& delivery);

// 0x5A
struct TerrestrialDelivery {
    std::uint32_t centre_frequency;  // 10 Hz
    std::uint8_t bandwidth = 0;
    bool priority = true;
    bool Time_Slicing_indicator = true;
    bool MPE_FEC_indicator = true;
    std::uint8_t constellation = 2;
    std::uint8_t hierarchy_information = 0;
    std::uint8_t code_rate_HP_stream = 2;
    std::uint8_t code_rate_LP_stream = 0;
    std::uint8_t guard_interval = 0;
    std::uint8_t transmission_mode = 1;
    bool other_frequency_flag = false;
};
Bytes TerrestrialDeliveryDescriptor(const TerrestrialDelivery& delivery);

// The extension descriptor 0x7F/0x04.
struct T2Subcell {
    std::uint8_t cell_id_extension;
    std::uint32_t transposer_frequency;  // 10 Hz
};
struct T2Cell {
    std::uint16_t cell_id;
    std::vector<std::uint32_t> centre_frequencies;  // 10 Hz; exactly one unless tfs_flag
    std::vector<T2Subcell> subcells = {};
};
struct T2Delivery {
    std::uint8_t plp_id;
    std::uint16_t T2_system_id;
    bool short_form = false;  // descriptor_length 4: nothing behind T2_system_id
    std::uint8_t SISO_MISO = 0;
    std::uint8_t bandwidth = 0;
    std::uint8_t guard_interval = 0;
    std::uint8_t transmission_mode = 0;
    bool other_frequency_flag = false;
    bool tfs_flag = false;
    std::vector<T2Cell> cells = {};
};
// The bytes behind descriptor_tag_extension.
Bytes T2DeliveryBody(const T2Delivery& delivery);
Bytes T2DeliveryDescriptor(const T2Delivery& delivery);

}  // namespace generator
