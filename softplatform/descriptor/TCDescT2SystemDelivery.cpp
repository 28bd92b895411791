#include "platform/TCDescT2SystemDelivery.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/BaseDesc.h"
#include "softplatform/descriptor/Frequency.h"
#include "softplatform/descriptor/Internals.h"

using tvservice::ByteView;
using tvservice::PayloadOf;

namespace {

constexpr size_t kShortSize = 4;  // descriptor_tag_extension, plp_id, T2_system_id

struct SubCell {
    uint8_t cellIdExtension;
    uint32_t transposerFrequency;
};

}  // namespace

struct TCT2Cell::Impl {
    uint16_t cellId = 0;
    std::vector<uint32_t> centreFrequencies;
    std::vector<SubCell> subCells;
};

TCT2Cell::TCT2Cell(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCT2Cell::~TCT2Cell() = default;

unsigned short TCT2Cell::CellId() const {
    return m_impl->cellId;
}

int TCT2Cell::NumOfCentreFrequencies() const {
    return static_cast<int>(m_impl->centreFrequencies.size());
}

unsigned int TCT2Cell::CentreFrequency(unsigned int index) const {
    return index < m_impl->centreFrequencies.size() ? m_impl->centreFrequencies[index] : 0;
}

unsigned long long TCT2Cell::CentreFrequencyHz(unsigned int index) const {
    return tvservice::HertzFromTens(CentreFrequency(index));
}

int TCT2Cell::NumOfSubCells() const {
    return static_cast<int>(m_impl->subCells.size());
}

unsigned char TCT2Cell::CellIdExtension(unsigned int index) const {
    return index < m_impl->subCells.size() ? m_impl->subCells[index].cellIdExtension : uint8_t{0};
}

unsigned int TCT2Cell::TransposerFrequency(unsigned int index) const {
    return index < m_impl->subCells.size() ? m_impl->subCells[index].transposerFrequency : 0;
}

unsigned long long TCT2Cell::TransposerFrequencyHz(unsigned int index) const {
    return tvservice::HertzFromTens(TransposerFrequency(index));
}

namespace {

constexpr size_t kFrequencySize = 4;
constexpr size_t kSubCellSize = 5;

// Where the frequencies and the sub-cells of a cell are.
struct CellLayout {
    size_t frequenciesAt;
    size_t frequenciesSize;
    size_t subCellsAt;
    size_t subCellsSize;
};

CellLayout LayoutOf(ByteView bytes, bool tfs) {
    const size_t frequenciesAt = tfs ? 3 : 2;  // cell_id, frequency_loop_length
    const size_t frequenciesSize = tfs ? bytes.U8(2) : kFrequencySize;
    const size_t subCellsAt = frequenciesAt + frequenciesSize + 1;  // subcell_info_loop_length
    return {frequenciesAt, frequenciesSize, subCellsAt, bytes.U8(subCellsAt - 1)};
}

// The size of the cell at the start of `bytes`. 0 when the cell does not fit, or when the length of
// one of its loops is no multiple of its entries' size.
size_t CellSize(ByteView bytes, bool tfs) {
    const CellLayout layout = LayoutOf(bytes, tfs);
    const bool fits =
        bytes.Has(0, layout.subCellsAt) && bytes.Has(layout.subCellsAt, layout.subCellsSize) &&
        layout.frequenciesSize % kFrequencySize == 0 && layout.subCellsSize % kSubCellSize == 0;
    return fits ? layout.subCellsAt + layout.subCellsSize : 0;
}

std::shared_ptr<TCT2Cell> ReadCell(ByteView bytes, bool tfs) {
    const CellLayout layout = LayoutOf(bytes, tfs);
    std::vector<uint32_t> frequencies;
    for (size_t at = 0; at < layout.frequenciesSize; at += kFrequencySize) {
        frequencies.push_back(bytes.U32(layout.frequenciesAt + at));
    }
    std::vector<SubCell> subCells;
    for (size_t at = 0; at < layout.subCellsSize; at += kSubCellSize) {
        subCells.push_back(
            {bytes.U8(layout.subCellsAt + at), bytes.U32(layout.subCellsAt + at + 1)});
    }
    return TVServiceInternals::Make<TCT2Cell>(bytes.U16(0), std::move(frequencies),
                                              std::move(subCells));
}

// The bytes after the short form, from SISO/MISO on; empty when they are fewer than the two that
// the optional part begins with.
ByteView SystemPartOf(const TCDescT2SystemDelivery& desc) {
    return desc.HasSystemPart() ? PayloadOf(desc).Subview(kShortSize) : ByteView();
}

}  // namespace

// ETSI EN 300 468 6.4.6.3
struct TCDescT2SystemDelivery::Impl {
    std::vector<std::shared_ptr<TCT2Cell>> cells;  // copies share them: they never change
};

TCDescT2SystemDelivery::TCDescT2SystemDelivery() = default;

TCDescT2SystemDelivery::TCDescT2SystemDelivery(const TCDescT2SystemDelivery& other)
    : TCDescExtension(other),
      m_impl(other.m_impl ? std::make_unique<Impl>(*other.m_impl) : nullptr) {}

TCDescT2SystemDelivery::~TCDescT2SystemDelivery() = default;

TCBaseDesc* TCDescT2SystemDelivery::Fork() const {
    return new TCDescT2SystemDelivery(*this);
}

int TCDescT2SystemDelivery::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    m_impl.reset();
    if (TCDescExtension::Decode(payload, length) < 0 || !bytes.Has(0, kShortSize)) {
        return -1;
    }
    if (!bytes.Has(kShortSize, 2)) {
        return kShortSize;
    }
    const bool tfs = (bytes.U8(5) & 0x01) != 0;
    size_t at = kShortSize + 2;
    while (at < bytes.size()) {
        const size_t size = CellSize(bytes.Subview(at), tfs);
        if (size == 0) {
            break;
        }
        if (!m_impl) {
            m_impl = std::make_unique<Impl>();
        }
        m_impl->cells.push_back(ReadCell(bytes.Subview(at, size), tfs));
        at += size;
    }
    return static_cast<int>(at);
}

unsigned char TCDescT2SystemDelivery::PLPId() const {
    return PayloadOf(*this).U8(1);
}

unsigned short TCDescT2SystemDelivery::T2SystemId() const {
    return PayloadOf(*this).U16(2);
}

bool TCDescT2SystemDelivery::HasSystemPart() const {
    return PayloadOf(*this).Has(kShortSize, 2);
}

unsigned char TCDescT2SystemDelivery::SISOMISO() const {
    return SystemPartOf(*this).U8(0) >> 6;
}

unsigned char TCDescT2SystemDelivery::Bandwidth() const {
    return SystemPartOf(*this).U8(0) >> 2 & 0x0F;
}

unsigned char TCDescT2SystemDelivery::GuardInterval() const {
    return SystemPartOf(*this).U8(1) >> 5;
}

unsigned char TCDescT2SystemDelivery::TransmissionMode() const {
    return SystemPartOf(*this).U8(1) >> 2 & 0x07;
}

bool TCDescT2SystemDelivery::OtherFrequencyFlag() const {
    return (SystemPartOf(*this).U8(1) & 0x02) != 0;
}

bool TCDescT2SystemDelivery::TFSFlag() const {
    return (SystemPartOf(*this).U8(1) & 0x01) != 0;
}

int TCDescT2SystemDelivery::NumOfCells() const {
    return m_impl ? static_cast<int>(m_impl->cells.size()) : 0;
}

const TCT2Cell* TCDescT2SystemDelivery::Cell(unsigned int index) const {
    return m_impl && index < m_impl->cells.size() ? m_impl->cells[index].get() : nullptr;
}
