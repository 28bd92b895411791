// Compares a mapped file with the same file read by read(2), while the file grows and shrinks: both
// sources must give the same bytes, ends and errors. Input: steps of two bytes, an action and its
// size.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "softplatform/input/FileDescriptor.h"
#include "softplatform/input/FileSource.h"
#include "softplatform/input/MappedSource.h"

namespace {

using tvservice::FileDescriptor;
using tvservice::ReadResult;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Reads the same bytes from both. A window may end before `count` bytes; read(2) then gets only as
// many.
void Compare(tvservice::ByteSource& mapped, tvservice::ByteSource& read, size_t count) {
    std::vector<uint8_t> oneBuffer(count);
    std::vector<uint8_t> otherBuffer(count);
    const ReadResult one = mapped.Read(oneBuffer.data(), count);
    const ReadResult other =
        read.Read(otherBuffer.data(), one.bytes.empty() ? count : one.bytes.size());
    Require(one.status == other.status && one.error == other.error);
    Require(one.bytes.size() <= count);
    Require(std::equal(one.bytes.begin(), one.bytes.end(), other.bytes.begin(), other.bytes.end()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FileDescriptor file(::memfd_create("fuzz", MFD_CLOEXEC));
    const auto window = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
    tvservice::MappedSource mapped("file", FileDescriptor(::dup(file.get())), 0, window);
    tvservice::FileSource read("file", FileDescriptor(::dup(file.get())), 0);
    size_t length = 0;
    for (size_t at = 0; at + 2 <= size; at += 2) {
        const size_t amount = data[at + 1];
        switch (data[at] % 8) {
            case 0:
            case 1: {
                std::vector<uint8_t> more(33 * amount);
                for (uint8_t& byte : more) {
                    byte = static_cast<uint8_t>(++length * 7);
                }
                length -= more.size();
                Require(::pwrite(file.get(), more.data(), more.size(),
                                 static_cast<off_t>(length)) == static_cast<ssize_t>(more.size()));
                length += more.size();
                break;
            }
            case 2:
                length = length * amount / 256;
                Require(::ftruncate(file.get(), static_cast<off_t>(length)) == 0);
                break;
            case 3:
                Require(mapped.Rewind() && read.Rewind());
                break;
            default:
                Compare(mapped, read, 1 + 17 * amount);
        }
    }
    return 0;
}
