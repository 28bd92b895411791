#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "SI/Include/ISectionObserver.h"
#include "client/TableIds.h"

namespace client {

/// Whether `data` holds what its section_length tells of (ISO/IEC 13818-1 2.4.4.11). A platform may
/// deliver less; parsers, which are not told `length`, would read what lies behind.
inline bool IsWhole(const unsigned char* data, unsigned short length) {
    constexpr int kUpToSectionLength = 3;
    return length >= kUpToSectionLength &&
           length >= kUpToSectionLength + ((data[1] & 0x0F) << 8 | data[2]);
}

/// The header of a section with section_syntax_indicator (ISO/IEC 13818-1 2.4.4.11).
struct SectionHeader {
    static constexpr int kSize = 8;

    unsigned short tableIdExtension;  // 0 in a CAT, where it is reserved (2.4.4.6)
    unsigned char version;
    bool currentNext;
    unsigned char sectionNumber, lastSectionNumber;

    /// Of at least kSize bytes.
    explicit SectionHeader(const unsigned char* data)
        : tableIdExtension(
              data[0] == kCatTableId ? 0 : static_cast<unsigned short>(data[3] << 8 | data[4])),
          version(static_cast<unsigned char>(data[5] >> 1 & 0x1F)),
          currentNext((data[5] & 1) != 0),
          sectionNumber(data[6]),
          lastSectionNumber(data[7]) {}

    bool IsOfStateOf(const SectionHeader& other) const {
        return tableIdExtension == other.tableIdExtension && version == other.version &&
               lastSectionNumber == other.lastSectionNumber;
    }
};

/// Keeps the last complete current version of every sub-table of one kind that an observer is fed.
///
/// Each version of a sub-table gets a fresh `Table`, which is fed each section of it once. A
/// section that differs from the one held under its number, version or not, begins the sub-table
/// anew. `Table` is one file pair a table; it has
///
///     using Key = ...;       // what tells sub-tables apart
///     using Snapshot = ...;  // what is kept of a complete one
///     static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
///     bool Take(unsigned short pid, unsigned char* data, Snapshot& snapshot);
///
/// where `Take` parses a section and answers whether the table is complete now, and then what it
/// holds. Fed on the event thread; what was found may be asked on any thread.
///
/// What a stream makes up is bounded: beyond kMaxBytes of sections and kMaxSubTables nothing more
/// is taken, and the first sub-table that this befalls counts as begun and does not become whole.
/// A complete version counts until another one takes its place.
template <class Table>
class SubTableReader : public TORVEL_MW::ISectionObserver {
  public:
    using Key = typename Table::Key;
    using Snapshot = typename Table::Snapshot;

    static constexpr std::size_t kMaxBytes = std::size_t{4} << 20;
    static constexpr std::size_t kMaxSubTables = 4096;

    /// @param onWhole  called on the event thread with each complete version; may be empty
    explicit SubTableReader(std::function<void(const Snapshot&)> onWhole = {})
        : onWhole_(std::move(onWhole)) {}

    void OnSectionReceived(unsigned short, unsigned short pid, unsigned short length,
                           unsigned char* data) override {
        if (length < SectionHeader::kSize || !IsWhole(data, length)) {
            return;
        }
        const SectionHeader header(data);
        if (!header.currentNext) {
            return;
        }
        const Key key = Table::KeyOf(pid, data, length);
        if (!HasRoomFor(key, length)) {
            Refuse(key);
            return;
        }
        State& state = states_[key];
        const auto known = state.sections.find(header.sectionNumber);
        const bool isOfState = state.table && header.IsOfStateOf(state.header);
        if (isOfState && known != state.sections.end() &&
            std::equal(known->second.begin(), known->second.end(), data, data + length)) {
            return;
        }
        if (!isOfState || known != state.sections.end()) {
            if (state.isWhole) {
                state.keptBytes = state.bytes;
            } else {
                bytes_ -= state.bytes;
            }
            state = State{header, std::make_unique<Table>(), {}, 0, false, state.keptBytes};
        }
        state.sections[header.sectionNumber].assign(data, data + length);
        state.bytes += length;
        bytes_ += length;
        Snapshot snapshot{};
        const bool isWhole = state.table->Take(pid, data, snapshot);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            begun_.insert(key);
            if (isWhole) {
                whole_[key] = snapshot;
            }
        }
        if (isWhole) {
            state.isWhole = true;
            bytes_ -= state.keptBytes;
            state.keptBytes = 0;
        }
        if (isWhole && onWhole_) {
            onWhole_(snapshot);
        }
    }

    void OnSectionTimeout(unsigned int) override {}

    /// The last complete version of each sub-table.
    std::map<Key, Snapshot> Whole() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return whole_;
    }

    /// Every sub-table of which a section came.
    std::set<Key> Begun() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return begun_;
    }

  private:
    struct State {
        SectionHeader header{kNoSection};
        std::unique_ptr<Table> table;
        std::map<unsigned char, std::vector<unsigned char>> sections;
        std::size_t bytes = 0;  // of the sections
        bool isWhole = false;
        std::size_t keptBytes = 0;  // of the sections of the complete version before, which is kept
    };
    static constexpr unsigned char kNoSection[SectionHeader::kSize] = {};

    bool HasRoomFor(const Key& key, std::size_t length) const {
        return bytes_ + length <= kMaxBytes &&
               (states_.size() < kMaxSubTables || states_.count(key) != 0);
    }

    void Refuse(const Key& key) {
        if (!refused_) {
            refused_ = true;
            std::lock_guard<std::mutex> lock(mutex_);
            begun_.insert(key);
            whole_.erase(key);
        }
    }

    const std::function<void(const Snapshot&)> onWhole_;
    std::map<Key, State> states_;  // the event thread's, like the two below
    std::size_t bytes_ = 0;        // of all states, and of what was kept before them
    bool refused_ = false;

    mutable std::mutex mutex_;
    std::map<Key, Snapshot> whole_;  // guarded by mutex_
    std::set<Key> begun_;            // guarded by mutex_
};

}  // namespace client
