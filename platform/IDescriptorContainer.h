#pragma once

#include "Export.h"

class TCBaseDesc;

/// A descriptor loop that is queried by tag.
class TVSERVICE_API IDescriptorContainer {
  public:
    virtual ~IDescriptorContainer();

    /// How many descriptors of the loop have that `Tag()`.
    virtual int NumOfDescriptors(int tag) = 0;

    /// The `index`-th descriptor with that `Tag()`, in loop order; null past the end. Owned by the
    /// container.
    virtual TCBaseDesc* Descriptor(int tag, unsigned int index) = 0;

  protected:
    IDescriptorContainer() = default;
    IDescriptorContainer(const IDescriptorContainer&) = default;
    IDescriptorContainer& operator=(const IDescriptorContainer&) = default;
};
