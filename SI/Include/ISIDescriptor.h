#pragma once

#include <memory>
#include <vector>

#include "Export.h"

namespace TORVEL_MW {

/// One descriptor that a client keeps after its section has gone. A record never changes after it
/// was made, and takes no lock.
class TORVELSI_API ISIDescriptor {
  public:
    virtual ~ISIDescriptor() = default;

    /// descriptor_tag, 0 to 255.
    virtual unsigned int GetTag() = 0;

    /// Whether a private data specifier applies; `pds` is written only when one does.
    virtual bool GetPrivateDataSpecifierDescriptor(unsigned int& pds) = 0;

    /// Whether there is a descriptor_tag_extension; `extTag` is written only when there is.
    virtual bool GetExtendedDescriptorTag(unsigned int& extTag) = 0;

    /// The payload, as it was passed; valid as long as this record.
    virtual const std::vector<unsigned char>& GetData() const = 0;

    /// Makes a record, owned by the caller; never null. It keeps what is passed and checks nothing:
    /// tag, extended tag and payload need not fit each other.
    static std::unique_ptr<ISIDescriptor> CreateSIDescriptor(
        unsigned char tag, bool hasPrivateDataSpecifier, unsigned int privateDataSpecifier,
        bool hasExtendedTag, unsigned char extendedTag, std::vector<unsigned char> data);
};

}  // namespace TORVEL_MW
