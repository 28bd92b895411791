#pragma once

#include <cstddef>

#include "platform/TCBaseDesc.h"
#include "platform/TCDescPrivateDataSpecifier.h"

namespace TORVEL_MW {

/// The private data specifier that applies at one place of a descriptor loop: the latest one before
/// it (ETSI EN 300 468 6.2.31). A loop begins without one.
struct PrivateDataState {
    bool isPrivate = false;
    unsigned int specifier = 0;
};

/// Fills `record` from one descriptor of a loop.
///
/// The caller counts its loop, logs the record and stores it, because the SDT and EIT parsers
/// differ in these.
///
/// @tparam Record  `ISDTParser::SDTDescriptor` or `IEITParser::EITDescriptor`
/// @param desc     null for a missing descriptor
/// @param state    the state before this descriptor; a private data specifier changes it
/// @param record   written in full when the result is true, otherwise unchanged
/// @return false when the descriptor is not saved, because it is missing or because it is a private
///         data specifier
template <class Record>
bool SaveDescriptor(TCBaseDesc* desc, PrivateDataState& state, Record& record) {
    constexpr unsigned short kPrivateDataSpecifierTag = 0x5F;
    constexpr unsigned char kExtensionTag = 0x7F;

    if (desc == nullptr) {
        return false;
    }
    if (desc->Tag() == kPrivateDataSpecifierTag) {
        if (const auto* const pds = dynamic_cast<const TCDescPrivateDataSpecifier*>(desc)) {
            state.specifier = pds->PrivateDataSpecifier();
            state.isPrivate = true;
            return false;
        }
    }
    record.m_tag = static_cast<unsigned char>(desc->Tag());
    record.m_hasPrivateDataSpecifier = state.isPrivate;
    record.m_privateDataSpecifier = state.specifier;
    int length = desc->Length();
    record.m_data.assign(static_cast<std::size_t>(length), 0);
    if (desc->GetDescriptor(record.m_data.data(), &length) == 0) {
        length = 0;
    }
    record.m_data.resize(static_cast<std::size_t>(length));
    record.m_hasExtendedTag = record.m_tag == kExtensionTag && record.m_data.size() >= 3;
    // This is the byte after descriptor_tag_extension, not that field itself. Clients rely on it.
    record.m_extendedTag =
        record.m_hasExtendedTag && record.m_data.size() > 3 ? record.m_data[3] : 0;
    return true;
}

}  // namespace TORVEL_MW
