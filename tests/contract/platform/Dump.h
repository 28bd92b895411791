#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "platform/IDescriptorContainer.h"
#include "platform/TCBaseDesc.h"
#include "tests/support/TsBytes.h"

// Everything that can be asked of a descriptor or a loop, as text: what two of them have to agree
// in. Whoever dumps damaged input has asked it everything.
namespace contract {

// Class, tag, length, bytes and every field; for null "null".
std::string Dump(TCBaseDesc* descriptor);

// The copy that GetDescriptor makes.
testsupport::Bytes BytesOf(TCBaseDesc& descriptor);

// All descriptors of what has NumOfDescriptors() and DescriptorByIndex().
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

// The same, asked by tag: for each tag from 0 to 0xFF, and 0x7F00 to 0x7FFF.
std::string DumpByTag(IDescriptorContainer& container);

}  // namespace contract
