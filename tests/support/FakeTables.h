#pragma once

// The fake platform's tables: parsers and instances that answer what a test wrote into them.

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "tests/support/FakeDescriptors.h"

namespace fake {

/// A descriptor loop. An entry with a null descriptor counts under its tag, but the loop returns
/// null for it. `duringCount` runs each time the loop is counted, before the answer, and may change
/// the loop.
struct Loop {
    struct Entry {
        int tag;
        std::shared_ptr<TCBaseDesc> desc;
    };
    std::vector<Entry> entries;
    std::function<void(Loop&)> duringCount;
    int countsAsked = 0;

    Loop& Add(std::shared_ptr<TCBaseDesc> desc);
    Loop& AddMissing(int tag);
};

struct StreamScript {
    unsigned char streamType = 0;
    unsigned short pid = 0;
    Loop loop;
};

/// A null entry is a stream that is missing.
struct PmtScript {
    bool valid = false;
    Loop loop;
    std::vector<std::shared_ptr<StreamScript>> streams;
    StreamScript& AddStream(unsigned char streamType, unsigned short pid);
    void AddMissingStream() { streams.push_back(nullptr); }
};

struct ServiceScript {
    unsigned short sid = 0;
    Loop loop;
};

struct SdtScript {
    unsigned short onid = 0, tsid = 0;
    bool valid = false;
    std::vector<std::shared_ptr<ServiceScript>> services;
    ServiceScript& AddService(unsigned short sid);
    void AddMissingService() { services.push_back(nullptr); }
};

struct MuxScript {
    unsigned short onid = 0, tsid = 0;
    Loop loop;
};

/// A NIT or BAT sub-table.
struct NetworkScript {
    unsigned short id = 0;
    bool valid = false;
    unsigned char nitAttribute = 0, tableAttribute = 0;
    Loop loop;
    std::vector<std::shared_ptr<MuxScript>> muxes;
    std::optional<int> muxCount;  ///< the count that is answered; default: the true one
    MuxScript& AddMux(unsigned short onid, unsigned short tsid);
    void AddMissingMux() { muxes.push_back(nullptr); }
};

struct EventScript {
    Bytes loop;  ///< the bytes that TCDescriptor::Parse gets
};

/// What a table parser answers, and what it was asked.
struct TableScript {
    bool accepts = true;
    std::function<void()> duringParse;
    std::function<void()> duringDestruction;  ///< runs before any part of the parser is destroyed

    int constructed = 0;
    int destroyed = 0;
    int resets = 0;
    int tableId = -1;
    int access = 0;
    int instance = -1;
    std::vector<std::pair<short, unsigned char*>> parsed;
};

struct PmtTable : TableScript {
    unsigned short programNumber = 0;
    std::map<unsigned short, std::shared_ptr<PmtScript>> programs;  ///< answers PMTInstance
    std::vector<std::shared_ptr<PmtScript>> byIndex;                ///< answers PMTInstanceOfIndex
    std::vector<unsigned short> asked;                              ///< arguments of PMTInstance
    PmtScript& AddProgram(unsigned short number);                   ///< to both
};

struct CatTable : TableScript {
    bool valid = false;
    Loop loop;
};

struct SdtTable : TableScript {
    std::vector<std::shared_ptr<SdtScript>> subTables;  ///< the first answers FirstInstance
    std::vector<unsigned short> sidsAsked;
    SdtScript& AddSubTable(unsigned short onid, unsigned short tsid);
};

struct EitTable : TableScript {
    bool hasInstance = false;
    std::vector<std::vector<unsigned short>> keysAsked;  ///< of EITInstance, as passed
    Bytes section;
    int sectionLength = 0;
    std::vector<EventScript> events;
    std::optional<bool> itemParses;  ///< the answer of an item's m_Parse, when not "has events"
    int livingItems = 0;
    Loop loop;  ///< what TCDescriptor::Parse fills the hash with
    /// The arguments of each call: of an item's constructor, of m_Parse, of TCDescriptor::Parse.
    std::vector<std::vector<int>> itemsMade;
    std::vector<std::pair<unsigned char*, std::pair<int, int>>> itemsParsed;
    std::vector<std::vector<int>> loopsParsed;  ///< length, table_id
    std::vector<Bytes> loopBytes;
};

struct NitTable : TableScript {
    std::map<unsigned short, std::shared_ptr<NetworkScript>> networks;
    NetworkScript& AddNetwork(unsigned short id);
};

struct BatTable : TableScript {
    std::map<unsigned short, std::shared_ptr<NetworkScript>> bouquets;
    unsigned short tableIdExt = 0;
    bool allReceived = false;
    NetworkScript& AddBouquet(unsigned short id);
};

struct Tables {
    PmtTable pmt;
    CatTable cat;
    SdtTable sdt;
    EitTable eit;
    NitTable nit;
    BatTable bat;
};

/// Script and records of all tables except the PAT (which FakePlatform has).
Tables& TheTables();

/// Clears script and records.
void ResetTables();

}  // namespace fake
