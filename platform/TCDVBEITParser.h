#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseSection.h"
#include "TCSectionParser.h"
#include "TCServiceKey.h"

struct TVSHandle;

/// One event of an EIT section (ETSI EN 300 468 5.2.4).
class TVSERVICE_API TCDVBEITItemEvent {
  public:
    ~TCDVBEITItemEvent();

    unsigned short EventId() const;

    /// start_time as coded: 16 bits of MJD, then 24 bits of BCD UTC; all ones when undefined.
    unsigned long long StartTime() const;

    /// duration as coded: 24 bits of BCD hours, minutes, seconds.
    unsigned int Duration() const;

    /// running_status, 0 to 7.
    unsigned char RunningStatus() const;
    bool FreeCAMode() const;

    /// The event's descriptor loop as broadcast. It points into the section that was given to the
    /// item's `m_Parse`, and is valid as long as those bytes are.
    unsigned char* DescriptorLoop() const;

    /// Bytes of the descriptor loop, 0 to 4095.
    int DescriptorLoopLength() const;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit TCDVBEITItemEvent(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// The events of one EIT section.
class TVSERVICE_API TCDVBEITItem {
  public:
    TCDVBEITItem(int serviceId, unsigned short transportStreamId, unsigned short originalNetworkId,
                 TVSHandle const& handle);
    ~TCDVBEITItem();

    /// Decodes one section. The bytes are borrowed: they must stay valid as long as the item's
    /// events are used.
    ///
    /// @param section  the whole section, table_id first; null is refused
    /// @param length   its bytes, header and CRC_32 included
    /// @param tableId  the table_id that it must have
    /// @return true when the section was decoded; when false the item has no events
    bool m_Parse(unsigned char* section, int length, int tableId);

    int NumOfDVBEITItemEvent() const;

    /// The event at `index`; null past the end. Owned by the item.
    TCDVBEITItemEvent* DVBEITItemEvent(unsigned int index);

    TCDVBEITItem(const TCDVBEITItem&) = delete;
    TCDVBEITItem& operator=(const TCDVBEITItem&) = delete;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

/// The event information sub-table of one service.
class TVSERVICE_API TCDVBEITInstance : public TCBaseSection {
  public:
    ~TCDVBEITInstance();

    unsigned short ServiceId() const;
    unsigned short TransportStreamId() const;
    unsigned short OriginalNetworkId() const;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit TCDVBEITInstance(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// Event information tables of one table_id (0x4E to 0x6F), one instance a service.
class TVSERVICE_API TCDVBEITParser : public TCSectionParser {
  public:
    TCDVBEITParser(int tableId, TVSHandle const& handle);
    ~TCDVBEITParser() override;

    bool Parse(short pid, unsigned char* section) override;
    void Reset() override;

    /// The sub-table of that service; null when no section of it was taken.
    TCDVBEITInstance* EITInstance(TCServiceKey key);

    /// The parser's own copy of the last section taken, table_id first; null before the first one.
    /// Valid until the next `Parse` that returns true, `Reset` or destruction.
    unsigned char* Section() const;

    /// section_length of that section (its bytes less 3); 0 before the first one.
    int SectionLength() const;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
