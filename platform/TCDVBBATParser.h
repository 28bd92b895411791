#pragma once

#include <list>
#include <memory>

#include "Export.h"
#include "IDescriptorContainer.h"
#include "TCBaseSection.h"
#include "TCDVBItemMux.h"
#include "TCSectionParser.h"

struct TVSHandle;

/// The bouquet association sub-table of one bouquet. Its own descriptor loop has the bouquet
/// descriptors of all its sections, in section_number order. A descriptor that the broadcaster
/// repeats in several sections appears once for each section.
class TVSERVICE_API TCDVBBATInstance : public TCBaseSection, public IDescriptorContainer {
  public:
    ~TCDVBBATInstance() override;

    /// bouquet_id.
    unsigned short BouquetId();

    /// The attribute of every table instance: the version_number.
    unsigned char TableAttribute() const;

    int NumOfDescriptors(int tag) override;
    TCBaseDesc* Descriptor(int tag, unsigned int index) override;

    /// All descriptors of the loop, whatever their tag, in loop order.
    int NumOfDescriptors();

    /// The descriptor at `index` of the loop; null past the end. Owned by this object.
    TCBaseDesc* DescriptorByIndex(unsigned int index);

    int NumOfDVBItemMux();

    /// The transport stream at `index` of the loop, in section_number order; null past the end.
    TCDVBItemMux* DVBItemMuxOfIndex(unsigned int index);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit TCDVBBATInstance(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// Bouquet association tables (table_id 0x4A), one instance a bouquet. `TableIdExt` is the
/// bouquet_id of the last section taken.
class TVSERVICE_API TCDVBBATParser : public TCSectionParser {
  public:
    explicit TCDVBBATParser(const TVSHandle& handle);
    ~TCDVBBATParser() override;

    bool Parse(short pid, unsigned char* section) override;
    void Reset() override;

    /// Appends the bouquet_id of every sub-table of which a section was taken, in ascending order.
    void BouquetIds(std::list<unsigned short>& bouquetIds);

    /// The sub-table of that bouquet; null when no section of it was taken.
    TCDVBBATInstance* GetInstance(unsigned short bouquetId);

    /// True when at least one bouquet is known and every known one is complete.
    bool AllSubtablesReceived();

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
