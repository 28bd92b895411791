#pragma once

#include <list>
#include <memory>

#include "Export.h"
#include "IDescriptorContainer.h"
#include "TCBaseSection.h"
#include "TCDVBItemMux.h"
#include "TCSectionParser.h"

struct TVSHandle;

/// The network information sub-table of one network. Its own descriptor loop has the network
/// descriptors of all its sections, in section_number order.
class TVSERVICE_API TCDVBNITInstance : public TCBaseSection, public IDescriptorContainer {
  public:
    ~TCDVBNITInstance() override;

    /// network_id.
    unsigned short NetworkId();

    /// The attribute of NIT instances: the table_id, 0x40 or 0x41.
    unsigned char NitAttribute() const;

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
    explicit TCDVBNITInstance(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// Network information tables of one table_id (0x40 or 0x41), one instance a network.
class TVSERVICE_API TCDVBNITParser : public TCSectionParser {
  public:
    TCDVBNITParser(int tableId, const TVSHandle& handle);
    ~TCDVBNITParser() override;

    bool Parse(short pid, unsigned char* section) override;
    void Reset() override;

    /// Appends the network_id of every sub-table of which a section was taken, in ascending order.
    void NetworkIds(std::list<unsigned short>& networkIds);

    /// The sub-table of that network; null when no section of it was taken.
    TCDVBNITInstance* GetInstance(unsigned short networkId);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
