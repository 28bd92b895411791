#pragma once

// The descriptors that the SDT and EIT parsers save, in a form that tests can compare and print.

#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/FakeDescriptors.h"

namespace {

/// The fields of a saved descriptor: tag, whether private, specifier, whether extended, extended
/// tag, data.
using Record = std::tuple<int, bool, unsigned int, bool, int, fake::Bytes>;

inline Record Public(int tag, fake::Bytes data) {
    return {tag, false, 0, false, 0, std::move(data)};
}
inline Record Private(int tag, unsigned int specifier, fake::Bytes data) {
    return {tag, true, specifier, false, 0, std::move(data)};
}
inline Record Extended(int extendedTag, fake::Bytes data) {
    return {0x7F, false, 0, true, extendedTag, std::move(data)};
}

/// A descriptor object with another tag than the one of its class.
template <class Descriptor, unsigned short kTag>
class OtherTag : public Descriptor {
  public:
    unsigned short Tag() const override { return kTag; }
};

template <class Descriptor>
std::vector<Record> Records(const std::vector<Descriptor>& saved) {
    std::vector<Record> records;
    for (const Descriptor& record : saved) {
        records.emplace_back(record.m_tag, record.m_hasPrivateDataSpecifier,
                             record.m_privateDataSpecifier, record.m_hasExtendedTag,
                             record.m_extendedTag, record.m_data);
    }
    return records;
}

}  // namespace
