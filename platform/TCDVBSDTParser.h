#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseSection.h"
#include "TCSectionParser.h"

class TCBaseDesc;
struct TVSHandle;

/// One service of an SDT (ETSI EN 300 468 5.2.3) and its descriptor loop.
class TVSERVICE_API TCDVBSDTItemService {
  public:
    ~TCDVBSDTItemService();

    unsigned short ServiceId() const;
    bool EITScheduleFlag() const;
    bool EITPresentFollowingFlag() const;

    /// running_status, 0 to 7 (ETSI EN 300 468 table 6).
    unsigned char RunningStatus() const;
    bool FreeCAMode() const;

    int NumOfDescriptors();

    /// The descriptor at `index` of the loop; null past the end. Owned by this object.
    TCBaseDesc* DescriptorByIndex(unsigned int index);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit TCDVBSDTItemService(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// The service description sub-table of one transport stream.
class TVSERVICE_API TCDVBSDTInstance : public TCBaseSection {
  public:
    ~TCDVBSDTInstance();

    unsigned short OriginalNetworkId() const;
    unsigned short TransportStreamId() const;

    int NumOfDVBSDTItemService();

    /// The service at `index`, in section_number order; null past the end.
    TCDVBSDTItemService* DVBSDTItemServiceOfIndex(unsigned int index);

    /// The first service with that service_id; null when there is none.
    TCDVBSDTItemService* DVBSDTItemServiceBySID(unsigned short serviceId);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit TCDVBSDTInstance(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// Service description tables of one table_id (0x42 or 0x46), one instance a transport stream.
class TVSERVICE_API TCDVBSDTParser : public TCSectionParser {
  public:
    TCDVBSDTParser(int tableId, TVSHandle const& handle);
    ~TCDVBSDTParser() override;

    bool Parse(short pid, unsigned char* section) override;
    void Reset() override;

    /// The sub-table of that transport stream; null when no section of it was taken.
    TCDVBSDTInstance* DVBSDTInstance(unsigned short originalNetworkId,
                                     unsigned short transportStreamId);

    /// The sub-table whose section was taken first since the last `Reset`; null before the first
    /// section.
    TCDVBSDTInstance* DVBSDTFirstInstance();

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
