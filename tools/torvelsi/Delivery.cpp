#include "client/Records.h"
#include "platform/TCDescCableDeliverySystem.h"
#include "platform/TCDescSatelliteDeliverySystem.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCDescTerrestrialDeliverySystem.h"
#include "tools/torvelsi/ScanDocument.h"

namespace tool {

namespace {

using TORVEL_MW::IDeliveryDesc;

// A number that is coded in decimal digits: null when `coded` has one above nine. The platform
// answers 0 then, which zeros alone give otherwise.
template <class Number>
Json Decimal(Number number, unsigned int coded) {
    return number == 0 && coded != 0 ? Json() : Json(number);
}

void Add(Json& json, const TCDescSatelliteDeliverySystem& desc) {
    json["frequency_hz"] = Decimal(desc.FrequencyHz(), desc.Frequency());
    json["orbital_position_tenth_degrees"] =
        Decimal(desc.OrbitalPositionTenthDegrees(), desc.OrbitalPosition());
    json["west_east_flag"] = desc.WestEastFlag();
    json["polarization"] = desc.Polarization();
    json["roll_off"] = desc.RollOff();
    json["modulation_system"] = desc.ModulationSystem();
    json["modulation_type"] = desc.ModulationType();
    json["symbol_rate_symbols_per_s"] = Decimal(desc.SymbolsPerSecond(), desc.SymbolRate());
    json["fec_inner"] = desc.FECInner();
}

void Add(Json& json, const TCDescCableDeliverySystem& desc) {
    json["frequency_hz"] = Decimal(desc.FrequencyHz(), desc.Frequency());
    json["fec_outer"] = desc.FECOuter();
    json["modulation"] = desc.Modulation();
    json["symbol_rate_symbols_per_s"] = Decimal(desc.SymbolsPerSecond(), desc.SymbolRate());
    json["fec_inner"] = desc.FECInner();
}

void Add(Json& json, const TCDescTerrestrialDeliverySystem& desc) {
    json["centre_frequency_hz"] = desc.CentreFrequencyHz();
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
        frequencies.push_back(cell.CentreFrequencyHz(static_cast<unsigned int>(i)));
    }
    Json subCells = Json::array();
    for (int i = 0; i < cell.NumOfSubCells(); ++i) {
        const auto index = static_cast<unsigned int>(i);
        subCells.push_back({{"cell_id_extension", cell.CellIdExtension(index)},
                            {"transposer_frequency_hz", cell.TransposerFrequencyHz(index)}});
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

// Adds the fields when the platform could decode them: of a descriptor whose fixed part does not
// fit there are only the bytes.
template <class Desc>
void AddFields(Json& json, const TCBaseDesc& desc) {
    if (const auto* const decoded = dynamic_cast<const Desc*>(&desc)) {
        Add(json, *decoded);
    }
}

}  // namespace

Json DeliveryToJson(const IDeliveryDesc& delivery) {
    TCBaseDesc& desc = *delivery.PlatformDesc();
    const client::Bytes bytes = client::BytesOf(desc);
    Json json;
    switch (delivery.Type()) {
        case IDeliveryDesc::DELIVERY_SATELLITE:
            json["system"] = "satellite";
            break;
        case IDeliveryDesc::DELIVERY_CABLE:
            json["system"] = "cable";
            break;
        case IDeliveryDesc::DELIVERY_TERRESTRIAL:
            json["system"] = "terrestrial";
            break;
        case IDeliveryDesc::DELIVERY_T2:
            json["system"] = "t2";
            break;
    }
    json["data"] = Hex(bytes.data(), bytes.size());
    AddFields<TCDescSatelliteDeliverySystem>(json, desc);
    AddFields<TCDescCableDeliverySystem>(json, desc);
    AddFields<TCDescTerrestrialDeliverySystem>(json, desc);
    AddFields<TCDescT2SystemDelivery>(json, desc);
    return json;
}

}  // namespace tool
