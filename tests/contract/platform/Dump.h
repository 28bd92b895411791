#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "platform/IDescriptorContainer.h"
#include "platform/TCBaseDesc.h"
#include "tests/support/TsBytes.h"

// Writes every field of a descriptor or a loop as text. Two equal ones have the same text. A dump
// of damaged input calls every accessor on it.
namespace contract {

// Class, tag, length, bytes and every field; "null" for null.
std::string Dump(TCBaseDesc* descriptor);

// The copy that GetDescriptor makes.
testsupport::Bytes BytesOf(TCBaseDesc& descriptor);

// All descriptors of an object that has NumOfDescriptors() and DescriptorByIndex().
template <class Loop>
std::string DumpLoop(Loop& loop) {
    std::ostringstream out;
    const int count = loop.NumOfDescriptors();
    out << count << " descriptors {";
    for (int i = 0; i < count; ++i) {
        out << Dump(loop.DescriptorByIndex(static_cast<unsigned>(i))) << ";";
    }
    out << "} behind them " << (loop.DescriptorByIndex(static_cast<unsigned>(count)) != nullptr)
        << (loop.DescriptorByIndex(0xFFFFFFFFu) != nullptr);
    return out.str();
}

// All descriptors, looked up by tag: each tag from 0 to 0xFF and from 0x7F00 to 0x7FFF.
std::string DumpByTag(IDescriptorContainer& container);

}  // namespace contract
