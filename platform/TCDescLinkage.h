#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// One entry of the OUI loop of an SSU linkage (ETSI TS 102 006 6.2).
class TVSERVICE_API CSSULinkLoop {
  public:
    ~CSSULinkLoop();

    /// The manufacturer's OUI, 24 bits.
    unsigned int OUI() const;

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
    explicit CSSULinkLoop(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// Linkage descriptor (ETSI EN 300 468 6.2.19, tag 0x4A) of any linkage_type. For the types of
/// system software updates (ETSI TS 102 006 6.2, 6.3) the private bytes are decoded too.
class TVSERVICE_API TCDescLinkage : public TCBaseDesc {
  public:
    TCDescLinkage();
    ~TCDescLinkage() override;

    enum {
        LINKAGE_TYPE_SOFTWARE_UPDATE = 9,    ///< a service that carries system software updates
        LINKAGE_TYPE_TS_CONTAINING_SSU = 10  ///< a transport stream whose NIT or BAT lists them
    };

    unsigned short TransportStreamId() const;
    unsigned short OriginalNetworkId() const;
    unsigned short ServiceId() const;

    /// linkage_type.
    int LinkageType() const;

    /// table_type of linkage_type 0x0A: 1 NIT, 2 BAT; 0 for every other type.
    int TableType() const;

    /// Entries of the OUI loop of linkage_type 0x09; 0 for every other type.
    int NumOfSSULinkLoop() const;

    /// The entry at `index` of the OUI loop; null past the end. Owned by the descriptor.
    CSSULinkLoop* SSULinkLoop(unsigned int index) const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescLinkage(const TCDescLinkage& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
