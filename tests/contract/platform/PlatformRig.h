#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/TsBytes.h"

// What the maker of a platform writes for the suite, besides the platform: see docs/porting.md.
namespace contract {

using testsupport::Bytes;

// A section and where it is sent.
struct Broadcast {
    unsigned short pid;  // 13 bits
    Bytes section;       // whole: table_id to CRC_32
};

// What a platform does where the contract leaves a choice or only gives advice. Tests of the things
// that it does not do are skipped, with a message.
struct Abilities {
    // How many filters with different criteria can be set at once, at least 8: only the test that
    // uses them up asks for more. 0 when they cannot be used up.
    unsigned filters = 0;

    // A handle value that was released once more than it was granted is not given again.
    bool retiresHandles = true;

    // Also refuses requests that no client of the contract makes: null criteria, a table id above
    // 255.
    bool refusesTheUnheardOf = false;

    // Has a cache, which holds the tables that arrived while a filter was set on them.
    bool caches = false;

    // PlatformRig::TakeLog returns the logged lines.
    bool showsLog = false;

    // Duties of every platform. False only for a fake that does what a test tells it.
    bool refuses = true;  // refuses bad criteria, and handles that are not in use
    bool waits = true;    // Unsubscribe waits for the end of a callback of that handle
};

// Lets the suite send sections to the platform. There is one rig in a process. It is created before
// the first call of the platform and never destroyed.
class PlatformRig {
  public:
    virtual ~PlatformRig() = default;
    PlatformRig(const PlatformRig&) = delete;
    PlatformRig& operator=(const PlatformRig&) = delete;

    virtual Abilities abilities() const = 0;

    // Makes the platform receive each of these sections once. It must deliver the sections of one
    // PID in this order, and to every filter that was granted before the call and matches. Send may
    // return before, during or after the deliveries. The suite calls it on one thread at a time,
    // and not inside a callback.
    virtual void Send(const std::vector<Broadcast>& broadcasts) = 0;

    // The lines logged since the last call, for a platform whose log can be read.
    virtual std::vector<std::string> TakeLog() { return {}; }

  protected:
    PlatformRig() = default;
};

// The maker defines it. After the return the platform must be ready to set filters and to receive.
std::unique_ptr<PlatformRig> MakePlatformRig();

// For rigs that play a transport stream: the sections as packets. Each section starts in a new
// packet (payload_unit_start_indicator 1, pointer_field 0), and its last packet is filled with
// stuffing. The continuity_counter goes on from call to call.
Bytes ToPackets(const std::vector<Broadcast>& broadcasts);

}  // namespace contract
