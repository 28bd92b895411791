// What a client does with a section: it parses it and reads everything in it. Each reader counts
// what it read (entries of loops, and descriptors), so a reader that reads less is noticed.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "SI/Include/IBATParser.h"
#include "SI/Include/ICATParser.h"
#include "SI/Include/IEITParser.h"
#include "SI/Include/INITParser.h"
#include "SI/Include/IPATParser.h"
#include "SI/Include/IPMTParser.h"
#include "SI/Include/ISDTParser.h"
#include "platform/TCDVBBATParser.h"
#include "platform/TCDVBCATParser.h"
#include "platform/TCDVBEITParser.h"
#include "platform/TCDVBNITParser.h"
#include "platform/TCDVBSDTParser.h"
#include "platform/TCPATParser.h"
#include "platform/TCPMTParser.h"

namespace bench {

/// Reads sections with the platform's parsers, one for each table_id. It reads a table when its
/// last section has come, and an EIT after every section.
class PlatformReader {
  public:
    PlatformReader();
    /// @return the number of entries and descriptors that were read
    std::uint64_t Read(unsigned short pid, unsigned char* section, unsigned short length);

  private:
    std::uint64_t ReadEit(unsigned short pid, unsigned char* section, unsigned short length);
    std::uint64_t ReadSdt(unsigned short pid, unsigned char* section);
    std::uint64_t ReadNit(unsigned short pid, unsigned char* section);

    TCPATParser pat_;
    TCDVBCATParser cat_;
    TCPMTParser pmt_;
    TCDVBBATParser bat_;
    std::map<unsigned char, std::unique_ptr<TCDVBNITParser>> nits_;
    std::map<unsigned char, std::unique_ptr<TCDVBSDTParser>> sdts_;
    std::array<std::unique_ptr<TCDVBEITParser>, 0x100> eits_;
};

/// Reads sections with the parsers of the SI layer. It uses the platform's for tables for which the
/// SI layer has none.
class SiReader {
  public:
    SiReader();
    std::uint64_t Read(unsigned short pid, unsigned char* section, unsigned short length);

  private:
    std::uint64_t ReadSdt(unsigned short pid, unsigned char* section, unsigned short length);
    std::uint64_t ReadEit(unsigned short pid, unsigned char* section);
    std::uint64_t ReadNit(TORVEL_MW::INITParser& parser, unsigned short pid, unsigned char* section,
                          unsigned short length);

    std::unique_ptr<TORVEL_MW::IPATParser> pat_ = TORVEL_MW::IPATParser::CreatePATParser();
    std::unique_ptr<TORVEL_MW::ICATParser> cat_ = TORVEL_MW::ICATParser::CreateCATParser();
    std::unique_ptr<TORVEL_MW::ISDTParser> sdt_ = TORVEL_MW::ISDTParser::CreateSDTParser();
    std::unique_ptr<TORVEL_MW::IEITParser> eit_ = TORVEL_MW::IEITParser::CreateEITParser();
    std::unique_ptr<TORVEL_MW::INITParser> nit_ = TORVEL_MW::INITParser::CreateNITParser(true);
    std::unique_ptr<TORVEL_MW::INITParser> nitOther_ =
        TORVEL_MW::INITParser::CreateNITParser(false);
    std::unique_ptr<TORVEL_MW::IBATParser> bat_ = TORVEL_MW::IBATParser::CreateBATParser();
    PlatformReader others_;
};

/// Remembers the last section of each place in a table. A client can use it to skip repeats.
class Repeats {
  public:
    /// Returns true when the same bytes came before. Otherwise it remembers them and returns false.
    bool IsRepeat(unsigned short pid, const unsigned char* section, unsigned short length);

  private:
    std::unordered_map<std::uint64_t, std::vector<unsigned char>> held_;
};

}  // namespace bench
