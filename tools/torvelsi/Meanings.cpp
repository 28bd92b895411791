#include "tools/torvelsi/Meanings.h"

#include <map>
#include <utility>

namespace tool {

namespace {

using Words = std::map<unsigned int, const char*>;

std::string Meaning(const Words& words, unsigned int value) {
    const auto found = words.find(value);
    return found == words.end() ? std::to_string(value) : found->second;
}

}  // namespace

std::string StreamTypeMeaning(unsigned int streamType) {
    static const Words kWords{{0x01, "MPEG-1 video"},
                              {0x02, "MPEG-2 video"},
                              {0x03, "MPEG-1 audio"},
                              {0x04, "MPEG-2 audio"},
                              {0x05, "private sections"},
                              {0x06, "private PES"},
                              {0x08, "DSM-CC"},
                              {0x0A, "DSM-CC type A"},
                              {0x0B, "DSM-CC type B"},
                              {0x0C, "DSM-CC type C"},
                              {0x0D, "DSM-CC type D"},
                              {0x0F, "AAC audio"},
                              {0x10, "MPEG-4 video"},
                              {0x11, "LATM AAC audio"},
                              {0x12, "MPEG-4 SL in PES"},
                              {0x15, "metadata in PES"},
                              {0x1B, "H.264 video"},
                              {0x20, "H.264 MVC video"},
                              {0x24, "H.265 video"},
                              {0x2D, "MPEG-H 3D audio"},
                              {0x33, "H.266 video"},
                              // User private: what they are in common use for.
                              {0x81, "AC-3 audio"},
                              {0x86, "SCTE 35 splicing"},
                              {0x87, "E-AC-3 audio"},
                              {0x90, "PGS subtitles"}};
    return Meaning(kWords, streamType);
}

std::string ServiceTypeMeaning(unsigned int serviceType) {
    static const Words kWords{{0x01, "digital television"},
                              {0x02, "digital radio sound"},
                              {0x03, "teletext"},
                              {0x04, "NVOD reference"},
                              {0x05, "NVOD time-shifted"},
                              {0x06, "mosaic"},
                              {0x07, "FM radio"},
                              {0x08, "DVB SRM"},
                              {0x0A, "advanced codec digital radio sound"},
                              {0x0B, "H.264 mosaic"},
                              {0x0C, "data broadcast"},
                              {0x0D, "Common Interface"},
                              {0x0E, "RCS map"},
                              {0x0F, "RCS FLS"},
                              {0x10, "DVB MHP"},
                              {0x11, "MPEG-2 HD television"},
                              {0x16, "H.264 SD television"},
                              {0x17, "H.264 SD NVOD time-shifted"},
                              {0x18, "H.264 SD NVOD reference"},
                              {0x19, "H.264 HD television"},
                              {0x1A, "H.264 HD NVOD time-shifted"},
                              {0x1B, "H.264 HD NVOD reference"},
                              {0x1C, "H.264 3D HD television"},
                              {0x1D, "H.264 3D HD NVOD time-shifted"},
                              {0x1E, "H.264 3D HD NVOD reference"},
                              {0x1F, "HEVC television"},
                              {0x20, "HEVC UHD television"},
                              {0x21, "VVC television"},
                              {0x22, "AVS3 television"}};
    return Meaning(kWords, serviceType);
}

std::string RunningStatusMeaning(unsigned int runningStatus) {
    static const Words kWords{{0, "undefined"}, {1, "not running"}, {2, "starts soon"},
                              {3, "pausing"},   {4, "running"},     {5, "service off-air"}};
    return Meaning(kWords, runningStatus);
}

std::string DeliveryMeaning(const std::string& system, const std::string& field,
                            unsigned int value) {
    static const Words kFecInner{{0, "not defined"}, {1, "1/2"},  {2, "2/3"},  {3, "3/4"},
                                 {4, "5/6"},         {5, "7/8"},  {6, "8/9"},  {7, "3/5"},
                                 {8, "4/5"},         {9, "9/10"}, {15, "none"}};
    static const Words kCodeRate{{0, "1/2"}, {1, "2/3"}, {2, "3/4"}, {3, "5/6"}, {4, "7/8"}};
    static const Words kFlag{{0, "no"}, {1, "yes"}};
    // The indicator is 0 where it is used (ETSI EN 300 468 6.2.13.4).
    static const Words kNotUsed{{0, "used"}, {1, "not used"}};
    // ETSI EN 300 468 6.2.13, 6.4.6.3: by system, then field.
    static const std::map<std::string, std::map<std::string, Words>> kWords{
        {"satellite",
         {{"west_east_flag", {{0, "west"}, {1, "east"}}},
          {"polarization",
           {{0, "linear horizontal"},
            {1, "linear vertical"},
            {2, "circular left"},
            {3, "circular right"}}},
          {"roll_off", {{0, "0.35"}, {1, "0.25"}, {2, "0.20"}}},
          {"modulation_system", {{1, "DVB-S2"}}},
          {"modulation_type", {{0, "auto"}, {1, "QPSK"}, {2, "8PSK"}, {3, "16-QAM"}}},
          {"fec_inner", kFecInner}}},
        {"cable",
         {{"fec_outer", {{0, "not defined"}, {1, "none"}, {2, "RS(204/188)"}}},
          {"modulation",
           {{0, "not defined"},
            {1, "16-QAM"},
            {2, "32-QAM"},
            {3, "64-QAM"},
            {4, "128-QAM"},
            {5, "256-QAM"}}},
          {"fec_inner", kFecInner}}},
        {"terrestrial",
         {{"bandwidth", {{0, "8 MHz"}, {1, "7 MHz"}, {2, "6 MHz"}, {3, "5 MHz"}}},
          {"priority", {{0, "low"}, {1, "high"}}},
          {"time_slicing_indicator", kNotUsed},
          {"mpe_fec_indicator", kNotUsed},
          {"constellation", {{0, "QPSK"}, {1, "16-QAM"}, {2, "64-QAM"}}},
          {"hierarchy_information",
           {{0, "non-hierarchical, native interleaver"},
            {1, "alpha 1, native interleaver"},
            {2, "alpha 2, native interleaver"},
            {3, "alpha 4, native interleaver"},
            {4, "non-hierarchical, in-depth interleaver"},
            {5, "alpha 1, in-depth interleaver"},
            {6, "alpha 2, in-depth interleaver"},
            {7, "alpha 4, in-depth interleaver"}}},
          {"code_rate_hp_stream", kCodeRate},
          {"code_rate_lp_stream", kCodeRate},
          {"guard_interval", {{0, "1/32"}, {1, "1/16"}, {2, "1/8"}, {3, "1/4"}}},
          {"transmission_mode", {{0, "2k"}, {1, "8k"}, {2, "4k"}}},
          {"other_frequency_flag", kFlag}}},
        {"t2",
         {{"siso_miso", {{0, "SISO"}, {1, "MISO"}}},
          {"bandwidth",
           {{0, "8 MHz"},
            {1, "7 MHz"},
            {2, "6 MHz"},
            {3, "5 MHz"},
            {4, "10 MHz"},
            {5, "1.712 MHz"}}},
          {"guard_interval",
           {{0, "1/32"},
            {1, "1/16"},
            {2, "1/8"},
            {3, "1/4"},
            {4, "1/128"},
            {5, "19/128"},
            {6, "19/256"}}},
          {"transmission_mode",
           {{0, "2k"}, {1, "8k"}, {2, "4k"}, {3, "1k"}, {4, "16k"}, {5, "32k"}}},
          {"other_frequency_flag", kFlag},
          {"tfs_flag", kFlag}}}};
    const auto bySystem = kWords.find(system);
    if (bySystem == kWords.end()) {
        return std::to_string(value);
    }
    const auto byField = bySystem->second.find(field);
    return byField == bySystem->second.end() ? std::to_string(value)
                                             : Meaning(byField->second, value);
}

}  // namespace tool
