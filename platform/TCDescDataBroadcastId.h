#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// One entry of the OUI loop of a system software update (ETSI TS 102 006 7.1).
class TVSERVICE_API CSSUInfoLoop {
  public:
    ~CSSUInfoLoop();

    /// The manufacturer's OUI, 24 bits.
    unsigned int OUI() const;

    /// update_type, 4 bits.
    unsigned char UpdateType() const;

    /// update_versioning_flag.
    bool UpdateVersioningFlag() const;

    /// update_version, 5 bits.
    unsigned char UpdateVersion() const;

    /// selector_length in bytes.
    unsigned char SelectorLength() const;

    /// Copies the selector bytes.
    ///
    /// @param buffer  receives them
    /// @param length  on entry the size of the buffer; on return the number of bytes copied
    /// @return non-zero on success; 0 when the buffer is too small or null
    int SelectorByte(char* buffer, int* length);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit CSSUInfoLoop(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// Data broadcast id descriptor (ETSI EN 300 468 6.2.12, tag 0x66). For data_broadcast_id 0x000A
/// (system software update, ETSI TS 102 006 7.1) the selector is decoded too.
class TVSERVICE_API TCDescDataBroadcastId : public TCBaseDesc {
  public:
    TCDescDataBroadcastId();
    ~TCDescDataBroadcastId() override;

    /// data_broadcast_id.
    unsigned short DataBroadcastId() const;

    /// Entries of the OUI loop of data_broadcast_id 0x000A; 0 for every other id.
    int NumOfSSUInfoLoop() const;

    /// The entry at `index` of the OUI loop; null past the end. Owned by the descriptor.
    CSSUInfoLoop* SSUInfoLoop(unsigned int index) const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescDataBroadcastId(const TCDescDataBroadcastId& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
