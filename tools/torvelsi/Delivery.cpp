#include "client/Descriptors.h"
#include "platform/TCDescCableDeliverySystem.h"
#include "platform/TCDescSatelliteDeliverySystem.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCDescTerrestrialDeliverySystem.h"
#include "tools/torvelsi/ScanDocument.h"

namespace tool {

namespace {

// The JSON value of a decoded BCD number or frequency. The platform returns 0 when the coded field
// has a digit above nine or is all ones (no frequency). Such a value becomes null.
template <class Number>
Json Valid(Number number, unsigned int coded) {
    return number == 0 && coded != 0 ? Json() : Json(number);
}

void Add(Json& json, const TCDescSatelliteDeliverySystem& desc) {
    json["frequency_hz"] = Valid(desc.FrequencyHz(), desc.Frequency());
    json["orbital_position_tenth_degrees"] =
        Valid(desc.OrbitalPositionTenthDegrees(), desc.OrbitalPosition());
    json["west_east_flag"] = desc.WestEastFlag();
    json["polarization"] = desc.Polarization();
    // ETSI EN 300 468 6.2.13.2: without DVB-S2 the bits of roll_off are zero. ISDB uses the same
    // descriptor, but codes a modulation in five bits at this place. So when roll_off is not zero
    // without DVB-S2, modulation_type has no known meaning. An ISDB descriptor in which it is zero
    // cannot be told from one of DVB-S.
    const bool isS2 = desc.ModulationSystem() == 1;
    json["roll_off"] = isS2 ? Json(desc.RollOff()) : Json();
    json["modulation_system"] = isS2 ? Json(desc.ModulationSystem()) : Json();
    json["modulation_type"] = isS2 || desc.RollOff() == 0 ? Json(desc.ModulationType()) : Json();
    json["symbol_rate_symbols_per_s"] = Valid(desc.SymbolsPerSecond(), desc.SymbolRate());
    json["fec_inner"] = desc.FECInner();
}

void Add(Json& json, const TCDescCableDeliverySystem& desc) {
    json["frequency_hz"] = Valid(desc.FrequencyHz(), desc.Frequency());
    json["fec_outer"] = desc.FECOuter();
    json["modulation"] = desc.Modulation();
    json["symbol_rate_symbols_per_s"] = Valid(desc.SymbolsPerSecond(), desc.SymbolRate());
    json["fec_inner"] = desc.FECInner();
}

void Add(Json& json, const TCDescTerrestrialDeliverySystem& desc) {
    json["centre_frequency_hz"] = Valid(desc.CentreFrequencyHz(), desc.CentreFrequency());
    json["bandwidth"] = desc.Bandwidth();
    json["priority"] = desc.Priority();
    json["time_slicing_indicator"] = desc.TimeSlicingIndicator();
    json["mpe_fec_indicator"] = desc.MPEFECIndicator();
    json["constellation"] = desc.Constellation();
    json["hierarchy_information"] = desc.HierarchyInformation();
    json["code_rate_hp_stream"] = desc.CodeRateHPStream();
    json["code_rate_lp_stream"] = desc.CodeRateLPStream();
    json["guard_interval"] = desc.GuardInterval();
    json["transmission_mode"] = desc.TransmissionMode();
    json["other_frequency_flag"] = desc.OtherFrequencyFlag();
}

Json CellToJson(const TCT2Cell& cell) {
    Json frequencies = Json::array();
    for (int i = 0; i < cell.NumOfCentreFrequencies(); ++i) {
        const auto index = static_cast<unsigned int>(i);
        frequencies.push_back(Valid(cell.CentreFrequencyHz(index), cell.CentreFrequency(index)));
    }
    Json subCells = Json::array();
    for (int i = 0; i < cell.NumOfSubCells(); ++i) {
        const auto index = static_cast<unsigned int>(i);
        subCells.push_back({{"cell_id_extension", cell.CellIdExtension(index)},
                            {"transposer_frequency_hz", Valid(cell.TransposerFrequencyHz(index),
                                                              cell.TransposerFrequency(index))}});
    }
    return {{"cell_id", cell.CellId()},
            {"centre_frequencies_hz", std::move(frequencies)},
            {"sub_cells", std::move(subCells)}};
}

void Add(Json& json, const TCDescT2SystemDelivery& desc) {
    json["plp_id"] = desc.PLPId();
    json["t2_system_id"] = desc.T2SystemId();
    const bool isLong = desc.HasSystemPart();
    json["siso_miso"] = isLong ? Json(desc.SISOMISO()) : Json();
    json["bandwidth"] = isLong ? Json(desc.Bandwidth()) : Json();
    json["guard_interval"] = isLong ? Json(desc.GuardInterval()) : Json();
    json["transmission_mode"] = isLong ? Json(desc.TransmissionMode()) : Json();
    json["other_frequency_flag"] = isLong ? Json(desc.OtherFrequencyFlag()) : Json();
    json["tfs_flag"] = isLong ? Json(desc.TFSFlag()) : Json();
    json["cells"] = Json::array();
    for (int i = 0; i < desc.NumOfCells(); ++i) {
        json["cells"].push_back(CellToJson(*desc.Cell(static_cast<unsigned int>(i))));
    }
}

// Adds the fields of a descriptor, or "malformed" when it is too short for its fields.
template <class Desc>
Json WithFields(Json json, Desc desc, client::Bytes bytes) {
    if (desc.Parse(bytes.data()) != 0) {
        Add(json, desc);
    } else {
        json["malformed"] = true;
    }
    return json;
}

}  // namespace

Json DeliveryToJson(const client::Descriptor& delivery) {
    constexpr unsigned char kSatelliteTag = 0x43;
    constexpr unsigned char kCableTag = 0x44;
    constexpr unsigned char kTerrestrialTag = 0x5A;
    const client::Bytes bytes(delivery.data, delivery.data + delivery.size);
    const auto json = [&](const char* system) -> Json {
        return {{"system", system}, {"data", Hex(bytes.data(), bytes.size())}};
    };
    switch (delivery.tag) {
        case kSatelliteTag:
            return WithFields(json("satellite"), TCDescSatelliteDeliverySystem(kSatelliteTag),
                              bytes);
        case kCableTag:
            return WithFields(json("cable"), TCDescCableDeliverySystem(), bytes);
        case kTerrestrialTag:
            return WithFields(json("terrestrial"), TCDescTerrestrialDeliverySystem(), bytes);
        default:  // T2 in an extension descriptor: the SI layer returns no other delivery system
            return WithFields(json("t2"), TCDescT2SystemDelivery(), bytes);
    }
}

}  // namespace tool
