#include "softplatform/input/MappedWindow.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace tvservice {

// Written by the window's thread and read by a signal handler, which may run on any thread. Only a
// fault in this window makes the handler write `damaged`: it then runs on the window's thread.
struct MappedWindow::Slot {
    std::atomic<bool> isTaken{false};
    std::atomic<uintptr_t> begin{0};
    std::atomic<uintptr_t> end{0};      // equal to begin: nothing is mapped
    std::atomic<uintptr_t> damaged{0};  // the first address that was repaired; 0: none
};

struct MappedSlots {
    static constexpr size_t kCount = 16;  // windows that can exist at a time in the process
    static MappedWindow::Slot all[kCount];
};
constinit MappedWindow::Slot MappedSlots::all[kCount];

MappedWindow::MappedWindow() : slot_(TakeSlot()) {}

MappedWindow::Slot* MappedWindow::TakeSlot() {
    for (Slot& slot : MappedSlots::all) {
        if (!slot.isTaken.exchange(true)) {
            return &slot;
        }
    }
    return nullptr;
}

MappedWindow::~MappedWindow() {
    Unmap();
    if (slot_ != nullptr) {
        slot_->isTaken = false;
    }
}

bool MappedWindow::Map(int file, uint64_t offset, size_t size) {
    Unmap();
    if (slot_ == nullptr) {
        return false;
    }
    void* const bytes =
        ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file, static_cast<off_t>(offset));
    if (bytes == MAP_FAILED) {
        return false;
    }
    bytes_ = bytes;
    offset_ = offset;
    slot_->begin = reinterpret_cast<uintptr_t>(bytes);
    slot_->end = slot_->begin + size;
    return true;
}

void MappedWindow::Unmap() {
    if (slot_ == nullptr || slot_->begin == slot_->end) {
        return;
    }
    const size_t size = slot_->end - slot_->begin;
    slot_->end = slot_->begin.load();
    slot_->damaged = 0;
    ::munmap(bytes_, size);
}

ByteView MappedWindow::From(uint64_t offset) const {
    const size_t size = slot_ == nullptr ? 0 : slot_->end - slot_->begin;
    if (offset < offset_ || offset - offset_ >= size) {
        return {};
    }
    const auto at = static_cast<size_t>(offset - offset_);
    return {static_cast<const uint8_t*>(bytes_) + at, size - at};
}

bool MappedWindow::IsDamaged() const {
    return slot_ != nullptr && slot_->damaged != 0;
}

uint64_t MappedWindow::DamagedOffset() const {
    return offset_ + (slot_->damaged - slot_->begin);
}

bool MappedWindow::Repair(void* address) noexcept {
    const int error = errno;
    const auto at = reinterpret_cast<uintptr_t>(address);
    const uintptr_t intoPage = at % static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
    uint8_t* const page = static_cast<uint8_t*>(address) - intoPage;
    bool isRepaired = false;
    for (Slot& slot : MappedSlots::all) {
        if (at >= slot.begin && at < slot.end) {
            const size_t size = slot.end - (at - intoPage);
            isRepaired = ::mmap(page, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1,
                                0) != MAP_FAILED;
            if (isRepaired && slot.damaged == 0) {
                slot.damaged = at;
            }
        }
    }
    errno = error;
    return isRepaired;
}

}  // namespace tvservice
