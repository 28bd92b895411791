#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <cstddef>

#include "softplatform/input/ByteSource.h"
#include "tests/support/TsBytes.h"

namespace testsupport {

// Waits for the next result that is not kWouldBlock. `bytes` receives a copy of its bytes.
inline tvservice::ReadResult ReadOnce(tvservice::ByteSource& source, Bytes& bytes, size_t size) {
    for (;;) {
        Bytes buffer(size);
        tvservice::ReadResult result = source.Read(buffer.data(), size);
        bytes.assign(result.bytes.begin(), result.bytes.end());
        result.bytes = {bytes.data(), bytes.size()};
        if (result.status != tvservice::ReadResult::kWouldBlock) {
            return result;
        }
        pollfd ready{source.descriptor(), POLLIN, 0};
        if (::poll(&ready, 1, 20000) != 1) {
            ADD_FAILURE() << source.name() << " gave no result for 20 s";
            return result;
        }
    }
}

// Returns the next `count` bytes, read in pieces of at most `piece`; fewer when the source ends or
// fails.
inline Bytes ReadAll(tvservice::ByteSource& source, size_t count, size_t piece = 65536) {
    Bytes all;
    while (all.size() < count) {
        Bytes bytes;
        const tvservice::ReadResult result =
            ReadOnce(source, bytes, std::min(piece, count - all.size()));
        if (result.status != tvservice::ReadResult::kBytes) {
            EXPECT_EQ(result.status, tvservice::ReadResult::kEnd) << result.error;
            break;
        }
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

// Returns the status of one read.
inline tvservice::ReadResult::Status Ask(tvservice::ByteSource& source) {
    Bytes buffer(4096);
    return source.Read(buffer.data(), buffer.size()).status;
}

}  // namespace testsupport
