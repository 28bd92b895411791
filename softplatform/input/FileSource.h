#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "softplatform/input/ByteSource.h"
#include "softplatform/input/FileDescriptor.h"

namespace tvservice {

// A file that can be read at any offset, by read(2). It may grow while it is read: it ends where a
// read finds nothing more, and can be read on when there is more. A file that becomes shorter than
// what was read of it fails.
class FileSource : public ByteSource {
  public:
    // `file` is open for reading and becomes the source's; `size` is its size when it was opened.
    FileSource(std::string name, FileDescriptor file, uint64_t size);

    uint64_t size() const override { return size_; }
    bool rewindable() const override { return true; }
    bool Rewind() override;
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return -1; }

  protected:
    int file() const { return file_.get(); }
    uint64_t offset() const { return offset_; }  // of the next byte
    void Pass(size_t count) { offset_ += count; }

  private:
    const FileDescriptor file_;
    const uint64_t size_;
    uint64_t offset_ = 0;
};

}  // namespace tvservice
