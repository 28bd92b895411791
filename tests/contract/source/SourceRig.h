#pragma once

#include <memory>
#include <string>
#include <vector>

#include "softplatform/input/ByteSource.h"
#include "tests/support/TsBytes.h"

namespace testsupport {

// A place where one kind of source gets its bytes (a DVB demux has no bytes but sections: what it
// promises is in tests/unit/service/DvbFeed_test.cpp), in the hands of a test. The source that it
// opens may outlive it.
class SourceRig {
  public:
    virtual ~SourceRig() = default;
    SourceRig(const SourceRig&) = delete;
    SourceRig& operator=(const SourceRig&) = delete;

    // A source that has `content` to give; whole packets. Once.
    virtual std::shared_ptr<tvservice::ByteSource> Open(const Bytes& content) = 0;

    // A source that does not come to an end in a minute, wherever it spends its time. Once.
    virtual std::shared_ptr<tvservice::ByteSource> OpenEndless() = 0;

    // There is more to give. For a kind that waits.
    virtual void Add(const Bytes& content);

    // There is no more, now. For a kind that ends.
    virtual void Close() {}

    // Reading fails from now on. For a kind that fails.
    virtual void Break();

  protected:
    SourceRig() = default;
};

// A kind of source and what can be asked of it.
struct SourceKind {
    std::string name;
    std::unique_ptr<SourceRig> (*rig)();
    bool ends;      // after its content; others are live
    bool restarts;  // from its start
    bool waits;     // for what is still to come
    bool fails;     // can be made to
};

// All of them. A new kind of source is added here.
const std::vector<SourceKind>& SourceKinds();

// A stream of 64 packets with PCRs, 15 ms long.
Bytes ContractStream();

}  // namespace testsupport
