#include "softplatform/input/MappedSource.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "softplatform/input/ErrorText.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace tvservice {

MappedSource::MappedSource(std::string name, FileDescriptor file, uint64_t size, size_t window)
    : FileSource(std::move(name), std::move(file), size), windowSize_(window) {}

bool MappedSource::Rewind() {
    if (window_.IsDamaged()) {
        window_.Unmap();
    }
    return FileSource::Rewind();
}

ReadResult MappedSource::Read(uint8_t* buffer, size_t size) {
    if (window_.IsDamaged()) {
        return Failure();
    }
    // Each read asks for the size: bytes beyond the end of the file must not be lent.
    const uint64_t end = CurrentSize();
    const ByteView mapped = offset() < end ? Mapped() : ByteView();
    if (mapped.empty()) {
        return FileSource::Read(buffer, size);
    }
    const auto left = static_cast<size_t>(std::min<uint64_t>(end - offset(), size));
    const ByteView lent = mapped.Subview(0, left);
    Pass(lent.size());
    return {ReadResult::kBytes, lent};
}

// The size of the file now; 0 when it is unknown.
uint64_t MappedSource::CurrentSize() const {
    struct stat status {};
    return ::fstat(file(), &status) == 0 && S_ISREG(status.st_mode)
               ? static_cast<uint64_t>(status.st_size)
               : 0;
}

// The mapped bytes from the next one on. Moves the window when that byte is not mapped; empty when
// mapping fails.
ByteView MappedSource::Mapped() {
    if (canMap_ && window_.From(offset()).empty()) {
        const auto page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
        canMap_ = window_.Map(file(), offset() - offset() % page, windowSize_);
    }
    return window_.From(offset());
}

ReadResult MappedSource::Failure() {
    const uint64_t at = window_.DamagedOffset();
    uint8_t byte = 0;
    if (::pread(file(), &byte, 1, static_cast<off_t>(at)) < 0) {
        return {ReadResult::kFailed, {}, ReadErrorText(name(), at, errno)};
    }
    return {ReadResult::kFailed, {}, ReadErrorText(name(), at, "it has become shorter")};
}

bool RepairMappedSource(void* address) noexcept {
    return MappedWindow::Repair(address);
}

}  // namespace tvservice
