#include "platform/TCDescT2SystemDelivery.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/Frequency.h"
#include "softplatform/descriptor/Internals.h"

using tvservice::ByteView;

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

// Where the parts of a cell lie: its frequencies, then its sub-cells.
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

// Bytes of the cell at the start of `bytes`; 0 when it does not fit or its loops do not come out
// even.
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

}  // namespace

// ETSI EN 300 468 6.4.6.3
struct TCDescT2SystemDelivery::Impl {
    uint8_t plpId = 0;
    uint16_t t2SystemId = 0;
    bool hasSystemPart = false;
    uint8_t sisoMiso = 0;
    uint8_t bandwidth = 0;
    uint8_t guardInterval = 0;
    uint8_t transmissionMode = 0;
    bool otherFrequencyFlag = false;
    bool tfsFlag = false;
    std::vector<std::shared_ptr<TCT2Cell>> cells;  // shared by forks; they never change
};

TCDescT2SystemDelivery::TCDescT2SystemDelivery() : m_impl(std::make_unique<Impl>()) {}

TCDescT2SystemDelivery::TCDescT2SystemDelivery(const TCDescT2SystemDelivery& other)
    : TCDescExtension(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescT2SystemDelivery::~TCDescT2SystemDelivery() = default;

TCBaseDesc* TCDescT2SystemDelivery::Fork() const {
    return new TCDescT2SystemDelivery(*this);
}

int TCDescT2SystemDelivery::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (TCDescExtension::Decode(payload, length) < 0 || !bytes.Has(0, kShortSize)) {
        return -1;
    }
    m_impl->plpId = bytes.U8(1);
    m_impl->t2SystemId = bytes.U16(2);
    if (!bytes.Has(kShortSize, 2)) {
        return kShortSize;
    }
    m_impl->hasSystemPart = true;
    m_impl->sisoMiso = bytes.U8(4) >> 6;
    m_impl->bandwidth = bytes.U8(4) >> 2 & 0x0F;
    m_impl->guardInterval = bytes.U8(5) >> 5;
    m_impl->transmissionMode = bytes.U8(5) >> 2 & 0x07;
    m_impl->otherFrequencyFlag = (bytes.U8(5) & 0x02) != 0;
    m_impl->tfsFlag = (bytes.U8(5) & 0x01) != 0;
    size_t at = kShortSize + 2;
    while (at < bytes.size()) {
        const size_t size = CellSize(bytes.Subview(at), m_impl->tfsFlag);
        if (size == 0) {
            break;
        }
        m_impl->cells.push_back(ReadCell(bytes.Subview(at, size), m_impl->tfsFlag));
        at += size;
    }
    return static_cast<int>(at);
}

unsigned char TCDescT2SystemDelivery::PLPId() const {
    return m_impl->plpId;
}

unsigned short TCDescT2SystemDelivery::T2SystemId() const {
    return m_impl->t2SystemId;
}

bool TCDescT2SystemDelivery::HasSystemPart() const {
    return m_impl->hasSystemPart;
}

unsigned char TCDescT2SystemDelivery::SISOMISO() const {
    return m_impl->sisoMiso;
}

unsigned char TCDescT2SystemDelivery::Bandwidth() const {
    return m_impl->bandwidth;
}

unsigned char TCDescT2SystemDelivery::GuardInterval() const {
    return m_impl->guardInterval;
}

unsigned char TCDescT2SystemDelivery::TransmissionMode() const {
    return m_impl->transmissionMode;
}

bool TCDescT2SystemDelivery::OtherFrequencyFlag() const {
    return m_impl->otherFrequencyFlag;
}

bool TCDescT2SystemDelivery::TFSFlag() const {
    return m_impl->tfsFlag;
}

int TCDescT2SystemDelivery::NumOfCells() const {
    return static_cast<int>(m_impl->cells.size());
}

const TCT2Cell* TCDescT2SystemDelivery::Cell(unsigned int index) const {
    return index < m_impl->cells.size() ? m_impl->cells[index].get() : nullptr;
}
