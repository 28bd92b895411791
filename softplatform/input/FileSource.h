#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "softplatform/input/ByteSource.h"
#include "softplatform/input/FileDescriptor.h"

namespace tvservice {

// A regular file or a block device, read with pread(2). The file may grow meanwhile: Read returns
// kEnd when nothing follows, and bytes again when the file has grown. When the file becomes shorter
// than the part that was read, Read fails.
class FileSource : public ByteSource {
  public:
    // `file` is open for reading; the source owns it. `size` is its size when it was opened.
    FileSource(std::string name, FileDescriptor file, uint64_t size);

    uint64_t size() const override { return size_; }
    bool rewindable() const override { return true; }
    bool Rewind() override;
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return -1; }

  protected:
    int file() const { return file_.get(); }
    uint64_t offset() const { return offset_; }  // of the next byte to read
    void Pass(size_t count) { offset_ += count; }

  private:
    const FileDescriptor file_;
    const uint64_t size_;
    uint64_t offset_ = 0;
};

}  // namespace tvservice
