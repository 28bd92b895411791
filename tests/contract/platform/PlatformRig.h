#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/TsBytes.h"

// What a platform's maker brings to the suite beside the platform itself: see docs/porting.md.
namespace contract {

using testsupport::Bytes;

// A section and where it is sent.
struct Broadcast {
    unsigned short pid;  // 13 bits
    Bytes section;       // whole: table_id to CRC_32
};

// What a platform does of what the contract leaves open or only advises. Tests of what it does not
// do are skipped, and say so.
struct Abilities {
    // How many filters of different criteria can be set at once, at least 8: no test but the one
    // that uses them up asks for more. 0 when they cannot be used up.
    unsigned filters = 0;

    // A handle value that was given up once too often is not handed out again.
    bool retiresHandles = true;

    // Refuses also what no client of the contract asks for: no criteria, a table id above 255.
    bool refusesTheUnheardOf = false;

    // Has a cache, which holds a table that came while a filter was set on it.
    bool caches = false;

    // PlatformRig::TakeLog tells what was logged.
    bool showsLog = false;

    // The duties of a platform. False only for a fake, which does what a test tells it.
    bool refuses = true;  // bad criteria, handles that are not in use
    bool waits = true;    // in Unsubscribe, for the end of a callback of that handle
};

// A platform in the hands of the suite: how to have it receive something. One a process, made
// before anything is asked of the platform, and never destroyed.
class PlatformRig {
  public:
    virtual ~PlatformRig() = default;
    PlatformRig(const PlatformRig&) = delete;
    PlatformRig& operator=(const PlatformRig&) = delete;

    virtual Abilities abilities() const = 0;

    // Has the platform receive each of these sections once. Those of one PID are delivered in that
    // order. Returns before, while or after they are; called by one thread at a time, and not
    // inside a callback. A filter that was granted before the call gets what it asked for.
    virtual void Send(const std::vector<Broadcast>& broadcasts) = 0;

    // The lines logged since the last call. For a platform whose log can be read.
    virtual std::vector<std::string> TakeLog() { return {}; }

  protected:
    PlatformRig() = default;
};

// Defined by the maker. Leaves the platform ready to set filters and to receive.
std::unique_ptr<PlatformRig> MakePlatformRig();

// A help for rigs that play a transport stream: the sections as packets, each starting in a packet
// of its own (payload_unit_start_indicator 1, pointer_field 0) and stuffed to its end. Continuity
// counts on from call to call.
Bytes ToPackets(const std::vector<Broadcast>& broadcasts);

}  // namespace contract
