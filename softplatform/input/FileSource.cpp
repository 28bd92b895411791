#include "softplatform/input/FileSource.h"

#include <cerrno>
#include <utility>

#include "softplatform/input/ErrorText.h"

namespace tvservice {

FileSource::FileSource(std::string name, FileDescriptor file, uint64_t size)
    : ByteSource(std::move(name)), file_(std::move(file)), size_(size) {}

bool FileSource::Rewind() {
    offset_ = 0;
    return true;
}

ReadResult FileSource::Read(uint8_t* buffer, size_t size) {
    for (;;) {
        const ssize_t count = ::pread(file_.get(), buffer, size, static_cast<off_t>(offset_));
        if (count > 0) {
            offset_ += static_cast<uint64_t>(count);
            return {ReadResult::kBytes, {buffer, static_cast<size_t>(count)}};
        }
        if (count == 0) {
            const off_t end = ::lseek(file_.get(), 0, SEEK_END);
            return end >= 0 && static_cast<uint64_t>(end) < offset_
                       ? ReadResult{ReadResult::kFailed,
                                    {},
                                    ReadErrorText(name(), offset_, "it has become shorter")}
                       : ReadResult{ReadResult::kEnd};
        }
        if (errno != EINTR) {
            return {ReadResult::kFailed, {}, ReadErrorText(name(), offset_, errno)};
        }
    }
}

}  // namespace tvservice
