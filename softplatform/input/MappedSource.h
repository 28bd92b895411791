#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "softplatform/input/FileSource.h"
#include "softplatform/input/MappedWindow.h"

namespace tvservice {

// A FileSource that maps the file (mmap(2)) and lends the mapped bytes instead of copying them. It
// maps one window of the file at a time, so that a large file fits into a 32-bit address space.
// When the file cannot be mapped, it is read.
//
// Touching lent bytes raises SIGBUS when the file has become shorter or cannot be read there. When
// the handler calls RepairMappedSource (SoftwarePlatform.h), the next Read fails.
class MappedSource final : public FileSource {
  public:
    static constexpr size_t kWindow = 4 * 1024 * 1024;

    // As FileSource. `window`, the size of the window in bytes, is a multiple of the page size.
    MappedSource(std::string name, FileDescriptor file, uint64_t size, size_t window = kWindow);

    bool Rewind() override;
    ReadResult Read(uint8_t* buffer, size_t size) override;

  private:
    uint64_t CurrentSize() const;
    ByteView Mapped();
    ReadResult Failure();

    const size_t windowSize_;
    MappedWindow window_;
    bool canMap_ = true;
};

}  // namespace tvservice
