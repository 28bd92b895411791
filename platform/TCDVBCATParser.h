#pragma once

#include <memory>

#include "Export.h"
#include "IDescriptorContainer.h"
#include "TCBaseSection.h"
#include "TCSectionParser.h"

struct TVSHandle;

/// Conditional access table (ISO/IEC 13818-1 2.4.4.6), all its sections as one descriptor loop in
/// section_number order.
class TVSERVICE_API TCDVBCATParser : public TCSectionParser,
                                     public TCBaseSection,
                                     public IDescriptorContainer {
  public:
    explicit TCDVBCATParser(TVSHandle const& handle);
    ~TCDVBCATParser() override;

    bool Parse(short pid, unsigned char* section) override;
    void Reset() override;

    int NumOfDescriptors(int tag) override;
    TCBaseDesc* Descriptor(int tag, unsigned int index) override;

    /// All descriptors of the loop, whatever their tag, in loop order.
    int NumOfDescriptors();

    /// The descriptor at `index` of the loop; null past the end. Owned by this object.
    TCBaseDesc* DescriptorByIndex(unsigned int index);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
