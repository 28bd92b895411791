#pragma once

#include <memory>
#include <vector>

#include "Export.h"
#include "TCDescExtension.h"

/// One cell of a T2 delivery system descriptor.
struct TCT2Cell {
    /// One sub-cell: a transposer of the cell.
    struct SubCell {
        unsigned char m_cellIdExtension;
        unsigned int m_transposerFrequency;  ///< in units of 10 Hz
    };

    unsigned short m_cellId;
    std::vector<unsigned int> m_centreFrequencies;  ///< in units of 10 Hz; one without TFS
    std::vector<SubCell> m_subCells;
};

/// T2 delivery system descriptor (ETSI EN 300 468 6.4.6.3, tag 0x7F, descriptor_tag_extension
/// 0x04).
///
/// A descriptor of descriptor_length 4 holds plp_id and T2_system_id alone: everything else answers
/// 0 or false then, and `HasSystemPart` tells.
class TVSERVICE_API TCDescT2SystemDelivery : public TCDescExtension {
  public:
    TCDescT2SystemDelivery();
    ~TCDescT2SystemDelivery() override;

    /// plp_id.
    unsigned char PLPId() const;

    /// T2_system_id.
    unsigned short T2SystemId() const;

    /// True when the optional part from SISO/MISO on is present.
    bool HasSystemPart() const;

    /// SISO/MISO (2 bits): 0 SISO, 1 MISO.
    unsigned char SISOMISO() const;

    /// bandwidth (4 bits): 0 8 MHz, 1 7 MHz, 2 6 MHz, 3 5 MHz, 4 10 MHz, 5 1.712 MHz.
    unsigned char Bandwidth() const;

    /// guard_interval (3 bits).
    unsigned char GuardInterval() const;

    /// transmission_mode (3 bits).
    unsigned char TransmissionMode() const;

    bool OtherFrequencyFlag() const;

    /// tfs_flag: true when a cell lists several frequencies.
    bool TFSFlag() const;

    int NumOfCells() const;

    /// The cell at `index`; null past the end. Owned by the descriptor.
    const TCT2Cell* Cell(unsigned int index) const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescT2SystemDelivery(const TCDescT2SystemDelivery& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
