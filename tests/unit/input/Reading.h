#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <cstddef>

#include "softplatform/input/Source.h"
#include "tests/support/TsBytes.h"

namespace testsupport {

// What a source says once it has something to say: waits for it where it has nothing yet.
inline tvservice::ReadResult ReadOnce(tvservice::Source& source, Bytes& bytes, size_t size) {
    for (;;) {
        bytes.resize(size);
        tvservice::ReadResult result = source.Read(bytes.data(), size);
        bytes.resize(result.size);
        if (result.status != tvservice::ReadResult::kWouldBlock) {
            return result;
        }
        pollfd ready{source.descriptor(), POLLIN, 0};
        if (::poll(&ready, 1, 20000) != 1) {
            ADD_FAILURE() << source.name() << " has had nothing to say for 20 s";
            return result;
        }
    }
}

// The next `count` bytes, read in pieces of at most `piece`; less where the source ends or fails.
inline Bytes ReadAll(tvservice::Source& source, size_t count, size_t piece = 65536) {
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

// What it says at once.
inline tvservice::ReadResult::Status Ask(tvservice::Source& source) {
    Bytes buffer(4096);
    return source.Read(buffer.data(), buffer.size()).status;
}

}  // namespace testsupport
