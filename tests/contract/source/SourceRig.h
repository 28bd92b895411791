#pragma once

#include <memory>
#include <string>
#include <vector>

#include "softplatform/input/ByteSource.h"
#include "tests/support/TsBytes.h"

namespace testsupport {

// Makes one kind of source for a test and controls where its bytes come from. The source may
// outlive the rig. (A DVB demux gives sections, not bytes: tests/unit/service/DvbFeed_test.cpp
// tests it.)
class SourceRig {
  public:
    virtual ~SourceRig() = default;
    SourceRig(const SourceRig&) = delete;
    SourceRig& operator=(const SourceRig&) = delete;

    // Opens a source that has `content`, which are whole packets, to give. Call it once.
    virtual std::shared_ptr<tvservice::ByteSource> Open(const Bytes& content) = 0;

    // Opens a source that does not end within a minute, whatever it waits for or reads. Call it
    // once.
    virtual std::shared_ptr<tvservice::ByteSource> OpenEndless() = 0;

    // Adds bytes that the source can give. Only for a kind that waits.
    virtual void Add(const Bytes& content);

    // Ends the bytes here. Only for a kind that ends.
    virtual void Close() {}

    // Makes every read fail from now on. Only for a kind that can fail.
    virtual void Break();

  protected:
    SourceRig() = default;
};

// A kind of source and its abilities.
struct SourceKind {
    std::string name;
    std::unique_ptr<SourceRig> (*rig)();
    bool ends;      // after its content; a source that does not end is live
    bool restarts;  // can begin again at its start
    bool waits;     // for bytes that are added later
    bool fails;     // its reads can be made to fail
};

// Returns all kinds. Add a new kind of source here.
const std::vector<SourceKind>& SourceKinds();

// A stream of 64 packets with PCRs, 15 ms long.
Bytes ContractStream();

}  // namespace testsupport
