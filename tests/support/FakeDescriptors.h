#pragma once

// The fake platform's descriptors: objects that answer what a test wrote into them.
//
// Tests make the objects with the functions below and put them into the loops of FakeTables.h.
// Objects that the SI layer makes itself (in its two static `Parse` functions) answer what
// `ParseScript` says; those of the delivery systems decode the first field of their bytes.

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/TCBaseDesc.h"

namespace fake {

using Bytes = std::vector<unsigned char>;

/// One entry of an OUI loop.
struct OuiEntry {
    unsigned int oui = 0;
    Bytes selector;
    bool isRefused = false;          ///< its selector bytes cannot be copied
    bool isMissing = false;          ///< the loop returns null for it
    std::optional<int> copied = {};  ///< bytes that SelectorByte writes and reports; default: all
    int answer = 1;                  ///< what SelectorByte returns when it is not refused
};

/// An OUI loop. `duringCount` runs each time the entries are counted, before the answer, and may
/// change the loop.
struct OuiLoop {
    std::vector<OuiEntry> entries;
    std::function<void(OuiLoop&)> duringCount;
    int countsAsked = 0;
    std::vector<int> capacities;  ///< the capacities offered to SelectorByte, in order
};

/// The answers of a linkage descriptor.
struct LinkageScript {
    unsigned short tsid = 0, onid = 0, sid = 0;
    int linkageType = 0;
    int tableType = 0;
    std::shared_ptr<OuiLoop> loop = std::make_shared<OuiLoop>();
};

/// The answers of an object that the SI layer makes itself, after its `Parse`. Without a value they
/// come from the bytes: the first byte, the length byte, and all bytes consumed.
struct ParseScript {
    std::optional<int> consumed;
    std::optional<int> length;
    std::optional<unsigned short> tag;
    LinkageScript linkage;

    std::vector<const unsigned char*> parsed;  ///< what `Parse` was called with
    std::vector<int> satelliteTags;            ///< arguments of the satellite class's constructor
};

ParseScript& Parsing();

/// How many descriptor objects exist, copies by `Fork` included.
int LivingDescriptors();
/// How often `Fork` was called since `ResetDescriptors`.
int Forks();
/// Returns the object that `copy` was forked from, or null when it is no fork.
const TCBaseDesc* ForkedFrom(const TCBaseDesc& copy);

/// Clears script and records.
void ResetDescriptors();

/// Makes a plain descriptor. `Tag()` returns `tag`; `bytes` is the whole descriptor. With
/// `isRefused` it cannot be copied. `copied` is the count that GetDescriptor returns; default: all.
std::shared_ptr<TCBaseDesc> PlainDesc(unsigned short tag, Bytes bytes, bool isRefused = false,
                                      std::optional<int> copied = {});
std::shared_ptr<TCBaseDesc> CADesc(unsigned short caSystemId);
std::shared_ptr<TCBaseDesc> StreamIdentifierDesc(unsigned char componentTag);
std::shared_ptr<TCBaseDesc> CarouselIdentifierDesc(unsigned int carouselId);
std::shared_ptr<TCBaseDesc> PrivateDataSpecifierDesc(unsigned int specifier);
std::shared_ptr<TCBaseDesc> DataBroadcastIdDesc(unsigned short id, std::shared_ptr<OuiLoop> loop);
std::shared_ptr<TCBaseDesc> DataBroadcastIdDesc(unsigned short id,
                                                std::vector<OuiEntry> entries = {});
std::shared_ptr<TCBaseDesc> LinkageDesc(LinkageScript script);

}  // namespace fake
