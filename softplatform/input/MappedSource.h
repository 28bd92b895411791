#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "softplatform/input/FileSource.h"
#include "softplatform/input/MappedWindow.h"

namespace tvservice {

// A FileSource that lends the bytes of the file where the system keeps them (mmap(2)) instead of
// copying them. A window of the file is mapped at a time, so that neither memory nor the addresses
// of a 32-bit process run out. What cannot be mapped is read.
//
// When the file becomes shorter, or a part of it cannot be read, while that part is lent, SIGBUS is
// raised (RepairMappedSource in SoftwarePlatform.h). The source then fails at its next read.
class MappedSource final : public FileSource {
  public:
    static constexpr size_t kWindow = 4 * 1024 * 1024;

    // As FileSource. `window` is a multiple of the page size.
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
