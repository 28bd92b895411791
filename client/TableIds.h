#pragma once

namespace client {

// ETSI EN 300 468 5.1.3: the PIDs of service information; ISO/IEC 13818-1 table 2-3.
constexpr unsigned short kPatPid = 0x0000;
constexpr unsigned short kCatPid = 0x0001;
constexpr unsigned short kNitPid = 0x0010;
constexpr unsigned short kSdtBatPid = 0x0011;
constexpr unsigned short kEitPid = 0x0012;

// ETSI EN 300 468 table 2; ISO/IEC 13818-1 table 2-31.
constexpr unsigned char kPatTableId = 0x00;
constexpr unsigned char kCatTableId = 0x01;
constexpr unsigned char kPmtTableId = 0x02;
constexpr unsigned char kNitActualTableId = 0x40;
constexpr unsigned char kNitOtherTableId = 0x41;
constexpr unsigned char kSdtActualTableId = 0x42;
constexpr unsigned char kBatTableId = 0x4A;
constexpr unsigned char kEitPresentFollowingTableId = 0x4E;
constexpr unsigned char kFirstEitScheduleTableId = 0x50;  // 0x60 to 0x6F: other transport streams
constexpr unsigned char kLastEitScheduleTableId = 0x6F;

}  // namespace client
