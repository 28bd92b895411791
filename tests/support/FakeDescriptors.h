#pragma once

// The fake platform's descriptors: objects that answer what a test wrote into them.
//
// Tests make them with the functions below and put them into the loops of FakeTables.h. Objects
// that the SI layer makes for itself (in its two static `Parse` entries) take what `ParseScript`
// says; the delivery systems decode the first field of their bytes.

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
    bool isMissing = false;          ///< the loop answers null for it
    std::optional<int> copied = {};  ///< bytes that SelectorByte writes and reports, when not all
    int answer = 1;                  ///< of SelectorByte, when it is not refused
};

/// An OUI loop. `duringCount` runs each time it is counted, before the answer, and may change it.
struct OuiLoop {
    std::vector<OuiEntry> entries;
    std::function<void(OuiLoop&)> duringCount;
    int countsAsked = 0;
    std::vector<int> capacities;  ///< the capacities offered to SelectorByte, in order
};

/// What a linkage descriptor answers.
struct LinkageScript {
    unsigned short tsid = 0, onid = 0, sid = 0;
    int linkageType = 0;
    int tableType = 0;
    std::shared_ptr<OuiLoop> loop = std::make_shared<OuiLoop>();
};

/// What an object that the SI layer makes itself answers once it has parsed. Without a value the
/// bytes speak: their first byte, their length byte, all consumed.
struct ParseScript {
    std::optional<int> consumed;
    std::optional<int> length;
    std::optional<unsigned short> tag;
    LinkageScript linkage;

    std::vector<const unsigned char*> parsed;  ///< what `Parse` was called with
    std::vector<int> satelliteTags;            ///< arguments of the satellite class's constructor
};

ParseScript& Parsing();

/// Descriptor objects that exist, copies by `Fork` included.
int LivingDescriptors();
/// Calls of `Fork` since `ResetDescriptors`.
int Forks();
/// The object that `copy` was forked from; null when it is no fork.
const TCBaseDesc* ForkedFrom(const TCBaseDesc& copy);

/// Forgets script and records.
void ResetDescriptors();

/// A plain descriptor. `Tag()` is `tag`; `bytes` is the whole descriptor; when `isRefused` it
/// cannot be copied. `copied`: the count that GetDescriptor answers, when not all.
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
