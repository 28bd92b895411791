#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "platform/TCBaseDesc.h"

namespace {

using Bytes = std::vector<unsigned char>;
using testing::ElementsAre;
using testing::IsEmpty;

/// Makes a descriptor with this tag and payload.
inline Bytes Whole(unsigned char tag, const Bytes& payload) {
    Bytes bytes{tag, static_cast<unsigned char>(payload.size())};
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

/// Parses from a heap buffer of exactly the descriptor's size, so that AddressSanitizer finds every
/// read behind it.
inline int ParseExactly(TCBaseDesc& desc, const Bytes& bytes) {
    const auto buffer = std::make_unique<unsigned char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), buffer.get());
    return desc.Parse(buffer.get());
}

/// Returns whether the descriptor was consumed to its last byte.
inline bool ParsesWhole(TCBaseDesc& desc, const Bytes& bytes) {
    const int consumed = ParseExactly(desc, bytes);
    return consumed == desc.Length();
}

inline Bytes BytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

inline Bytes operator+(Bytes head, const Bytes& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

}  // namespace
