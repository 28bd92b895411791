// Value tables that several declarations share. Sorted by their values; values without words are
// reserved, or nobody's.
#pragma once

#include "syntax/Op.h"

namespace syntax {

// EN 300 468 table 6
inline constexpr Value kRunningStatus[] = {
    {0, "undefined"}, {1, "not running"}, {2, "starts in a few seconds"},
    {3, "pausing"},   {4, "running"},     {5, "service off-air"},
};

// ISO/IEC 13818-1 table 2-34
inline constexpr Value kStreamTypes[] = {
    {0x01, "MPEG-1 video"},
    {0x02, "MPEG-2 video"},
    {0x03, "MPEG-1 audio"},
    {0x04, "MPEG-2 audio"},
    {0x05, "private sections"},
    {0x06, "PES private data"},
    {0x07, "MHEG"},
    {0x08, "DSM-CC"},
    {0x09, "H.222.1"},
    {0x0A, "DSM-CC multiprotocol encapsulation"},
    {0x0B, "DSM-CC U-N messages"},
    {0x0C, "DSM-CC stream descriptors"},
    {0x0D, "DSM-CC sections"},
    {0x0E, "auxiliary"},
    {0x0F, "AAC audio with ADTS"},
    {0x10, "MPEG-4 visual"},
    {0x11, "AAC audio with LATM"},
    {0x12, "MPEG-4 SL or FlexMux in PES"},
    {0x13, "MPEG-4 SL or FlexMux in sections"},
    {0x14, "DSM-CC synchronized download"},
    {0x15, "metadata in PES"},
    {0x16, "metadata in sections"},
    {0x17, "metadata in a data carousel"},
    {0x18, "metadata in an object carousel"},
    {0x19, "metadata in synchronized download"},
    {0x1A, "IPMP"},
    {0x1B, "AVC video"},
    {0x1C, "MPEG-4 audio without further syntax"},
    {0x1D, "MPEG-4 text"},
    {0x1E, "auxiliary video"},
    {0x1F, "SVC video sub-bitstream"},
    {0x20, "MVC video sub-bitstream"},
    {0x21, "JPEG 2000 video"},
    {0x22, "MPEG-2 video, additional view"},
    {0x23, "AVC video, additional view"},
    {0x24, "HEVC video"},
    {0x25, "HEVC temporal video subset"},
    {0x26, "MVCD video sub-bitstream"},
    {0x27, "timeline and external media information"},
    {0x28, "HEVC enhancement sub-partition, annex G"},
    {0x29, "HEVC temporal enhancement sub-partition, annex G"},
    {0x2A, "HEVC enhancement sub-partition, annex H"},
    {0x2B, "HEVC temporal enhancement sub-partition, annex H"},
    {0x2C, "green access units in sections"},
    {0x2D, "MPEG-H 3D audio, main"},
    {0x2E, "MPEG-H 3D audio, auxiliary"},
    {0x2F, "quality access units in sections"},
    {0x30, "media orchestration access units"},
    {0x31, "HEVC motion-constrained tile set"},
    {0x32, "JPEG XS video"},
    {0x33, "VVC video"},
    {0x34, "VVC temporal video subset"},
    {0x35, "EVC video"},
    {0x36, "LCEVC video"},
    {0x7F, "IPMP"},
    {0x80, 0xFF, "user private"},
};

// TS 102 809
inline constexpr Value kApplicationTypes[] = {
    {0x0001, "DVB-J"}, {0x0002, "DVB-HTML"}, {0x0010, "HbbTV"}};

inline constexpr Value kApplicationControlCodes[] = {
    {1, "AUTOSTART"}, {2, "PRESENT"}, {3, "DESTROY"},  {4, "KILL"},
    {5, "PREFETCH"},  {6, "REMOTE"},  {7, "DISABLED"}, {8, "PLAYBACK_AUTOSTART"},
};

// EN 300 468 table 89
inline constexpr Value kServiceTypes[] = {
    {0x01, "digital television"},
    {0x02, "digital radio sound"},
    {0x03, "teletext"},
    {0x04, "NVOD reference"},
    {0x05, "NVOD time-shifted"},
    {0x06, "mosaic"},
    {0x07, "FM radio"},
    {0x08, "DVB SRM"},
    {0x0A, "advanced codec digital radio sound"},
    {0x0B, "H.264/AVC mosaic"},
    {0x0C, "data broadcast"},
    {0x0D, "reserved for Common Interface"},
    {0x0E, "RCS map"},
    {0x0F, "RCS FLS"},
    {0x10, "DVB MHP"},
    {0x11, "MPEG-2 HD digital television"},
    {0x16, "H.264/AVC SD digital television"},
    {0x17, "H.264/AVC SD NVOD time-shifted"},
    {0x18, "H.264/AVC SD NVOD reference"},
    {0x19, "H.264/AVC HD digital television"},
    {0x1A, "H.264/AVC HD NVOD time-shifted"},
    {0x1B, "H.264/AVC HD NVOD reference"},
    {0x1C, "H.264/AVC frame compatible plano-stereoscopic HD television"},
    {0x1D, "H.264/AVC frame compatible plano-stereoscopic HD NVOD time-shifted"},
    {0x1E, "H.264/AVC frame compatible plano-stereoscopic HD NVOD reference"},
    {0x1F, "HEVC digital television"},
    {0x20, "HEVC UHD digital television"},
    {0x21, "VVC digital television"},
    {0x22, "AVS3 digital television"},
    {0x80, 0xFE, "user defined"},
};

// EN 300 468 table 26, subtitles of stream_content 3 (subtitling_type too)
inline constexpr Value kSubtitlingTypes[] = {
    {0x01, "EBU teletext subtitles"},
    {0x02, "associated EBU teletext"},
    {0x03, "VBI data"},
    {0x10, "DVB subtitles without aspect ratio"},
    {0x11, "DVB subtitles for 4:3"},
    {0x12, "DVB subtitles for 16:9"},
    {0x13, "DVB subtitles for 2.21:1"},
    {0x14, "DVB subtitles for HD"},
    {0x15, "DVB subtitles with plano-stereoscopic disparity for HD"},
    {0x16, "DVB subtitles for UHD"},
    {0x20, "DVB subtitles for the hard of hearing without aspect ratio"},
    {0x21, "DVB subtitles for the hard of hearing for 4:3"},
    {0x22, "DVB subtitles for the hard of hearing for 16:9"},
    {0x23, "DVB subtitles for the hard of hearing for 2.21:1"},
    {0x24, "DVB subtitles for the hard of hearing for HD"},
    {0x25, "DVB subtitles for the hard of hearing with plano-stereoscopic disparity for HD"},
    {0x26, "DVB subtitles for the hard of hearing for UHD"},
    {0x30, "open sign language"},
    {0x31, "closed sign language"},
};

// EN 300 468 6.2.11: data_broadcast_id
inline constexpr Value kDataBroadcastIds[] = {
    {0x0001, "data pipe"},
    {0x0002, "asynchronous data stream"},
    {0x0003, "synchronous data stream"},
    {0x0004, "synchronised data stream"},
    {0x0005, "multiprotocol encapsulation"},
    {0x0006, "data carousel"},
    {0x0007, "object carousel"},
    {0x0008, "DVB ATM streams"},
    {0x0009, "higher protocols on asynchronous data streams"},
    {0x000A, "system software update service"},
    {0x000B, "IP/MAC notification service"},
    {0x000C, "synchronised auxiliary data"},
    {0x00F0, "MHP object carousel"},
    {0x00F1, "MHP multiprotocol encapsulation"},
    {0x0106, "UK MHEG-5"},
    {0x0122, "CI+ data carousel"},
    {0x0123, "HbbTV carousel"},
    {0x0150, "OIPF object carousel"},
};

}  // namespace syntax
