#pragma once

#include <memory>

#include "Export.h"
#include "TCDescExtension.h"

/// One cell of a T2 delivery system descriptor, with its sub-cells (transposers).
class TVSERVICE_API TCT2Cell {
  public:
    ~TCT2Cell();

    /// cell_id.
    unsigned short CellId() const;

    /// Frequencies of the cell: any number with tfs_flag, one without.
    int NumOfCentreFrequencies() const;

    /// centre_frequency at `index` as coded, in units of 10 Hz; 0 past the end.
    unsigned int CentreFrequency(unsigned int index) const;

    /// The same in Hz; 0 past the end and when the field is all ones.
    unsigned long long CentreFrequencyHz(unsigned int index) const;

    int NumOfSubCells() const;

    /// cell_id_extension of the sub-cell at `index`; 0 past the end.
    unsigned char CellIdExtension(unsigned int index) const;

    /// transposer_frequency of the sub-cell at `index` as coded, in units of 10 Hz; 0 past the end.
    unsigned int TransposerFrequency(unsigned int index) const;

    /// The same in Hz; 0 past the end and when the field is all ones.
    unsigned long long TransposerFrequencyHz(unsigned int index) const;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit TCT2Cell(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
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
