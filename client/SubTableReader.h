#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "SI/Include/ISectionObserver.h"
#include "client/SectionSet.h"

namespace client {

/// The size of a section according to its section_length (ISO/IEC 13818-1 2.4.4.11), in bytes; 0
/// when fewer bytes were delivered. Parsers get no length and rely on section_length, so they would
/// read past the end of such a section.
inline unsigned short WholeLength(const unsigned char* data, unsigned short delivered) {
    constexpr int kUpToSectionLength = 3;
    if (delivered < kUpToSectionLength) {
        return 0;
    }
    const int length = kUpToSectionLength + ((data[1] & 0x0F) << 8 | data[2]);
    return length <= delivered ? static_cast<unsigned short>(length) : 0;
}

/// Keeps the last complete current version of every sub-table of one kind.
///
/// It collects the sections of a version and, when all have come (`SectionSet`), parses them in the
/// order of their numbers. A section that differs from the held one with the same number starts the
/// sub-table from nothing, even if version_number has not changed. `Table` says how the table is
/// parsed; each table has such a struct in a file of its own:
///
///     using Key = ...;       // identifies a sub-table
///     using Snapshot = ...;  // the parsed content of one
///     static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
///     static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
///
/// `Read` parses all sections of one version. It returns no value when a parser refuses one. If
/// `Partial` is used, `Read` must accept a single section as well.
///
/// Memory is bounded: a section that would exceed kMaxBytes of held sections or kMaxSubTables is
/// dropped. The first sub-table that loses a section in this way counts as unfinished until a
/// version of it is complete. The bytes of a complete version count until another complete version
/// has replaced it.
///
/// Sections come on the event thread; the queries may be called on any thread.
template <class Table>
class SubTableReader : public TORVEL_MW::ISectionObserver {
  public:
    using Key = typename Table::Key;
    using Snapshot = typename Table::Snapshot;
    using SnapshotPtr = std::shared_ptr<const Snapshot>;

    static constexpr std::size_t kMaxBytes = std::size_t{4} << 20;
    static constexpr std::size_t kMaxSubTables = 4096;

    /// @param onWhole  called on the event thread with each complete version, without a lock held;
    ///                 may be empty
    explicit SubTableReader(std::function<void(const Snapshot&)> onWhole = {})
        : onWhole_(std::move(onWhole)) {}

    void OnSectionReceived(unsigned short, unsigned short pid, unsigned short length,
                           unsigned char* data) override {
        length = WholeLength(data, length);
        if (length < SectionHeader::kSize) {
            return;
        }
        const SectionHeader header(data);
        if (!header.currentNext) {
            return;
        }
        const Key key = Table::KeyOf(pid, data, length);
        Sections complete;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (!Take(key, header, data, length)) {
                return;
            }
            const SectionSet& sections = *states_.at(key).sections;
            if (!sections.Missing().empty()) {
                return;
            }
            complete = sections.Held();
        }
        std::optional<Snapshot> snapshot = Table::Read(pid, complete);
        if (!snapshot) {
            return;
        }
        const auto whole = std::make_shared<const Snapshot>(*std::move(snapshot));
        {
            std::lock_guard<std::mutex> lock(mutex_);
            State& state = states_.at(key);
            state.whole = whole;
            state.isWhole = true;
            bytes_ -= state.keptBytes;
            state.keptBytes = 0;
        }
        if (onWhole_) {
            onWhole_(*whole);
        }
    }

    void OnSectionTimeout(unsigned int) override {}

    /// The last complete version of each sub-table.
    std::map<Key, SnapshotPtr> Whole() const {
        std::lock_guard<std::mutex> lock(mutex_);
        std::map<Key, SnapshotPtr> whole;
        for (const auto& [key, state] : states_) {
            if (state.whole) {
                whole.emplace_hint(whole.end(), key, state.whole);
            }
        }
        return whole;
    }

    /// The sub-tables that have sections but never had a complete version, with the numbers of the
    /// missing sections. The list is empty when all sections came but `Read` returned no value.
    std::map<Key, std::vector<unsigned char>> Unfinished() const {
        std::lock_guard<std::mutex> lock(mutex_);
        std::map<Key, std::vector<unsigned char>> unfinished;
        for (const auto& [key, state] : states_) {
            if (!state.whole) {
                unfinished.emplace_hint(unfinished.end(), key, state.sections->Missing());
            }
        }
        if (refused_) {
            const auto state = states_.find(refused_->first);
            if (state == states_.end() ||
                (!state->second.whole &&
                 !refused_->second.IsOfVersionOf(state->second.sections->Header()))) {
                unfinished[refused_->first] = SectionSet(refused_->second).Missing();
            }
        }
        return unfinished;
    }

    /// The content of unfinished sub-tables: each section parsed alone, in the order of the
    /// section_numbers. Sections that a parser refuses are left out.
    std::map<Key, std::vector<Snapshot>> Partial(unsigned short pid) const {
        std::map<Key, std::vector<Snapshot>> partial;
        for (const auto& unfinished : Unfinished()) {
            for (auto& section : HeldOf(unfinished.first)) {
                Sections alone{std::move(section)};
                if (std::optional<Snapshot> snapshot = Table::Read(pid, alone)) {
                    partial[unfinished.first].push_back(*std::move(snapshot));
                }
            }
        }
        return partial;
    }

  private:
    struct State {
        std::optional<SectionSet> sections;  // of the newest version; has a value in the map
        std::size_t bytes = 0;               // the size of these sections
        bool isWhole = false;                // `whole` was parsed from these sections
        SnapshotPtr whole;                   // the last complete version; may be null
        std::size_t keptBytes = 0;  // if `whole` is an earlier version, the size of its sections
    };

    Sections HeldOf(const Key& key) const {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto state = states_.find(key);
        return state != states_.end() ? state->second.sections->Held() : Sections();
    }

    // Keeps a section. Returns false when it is a repeat, when there is no room for it, or when its
    // number is above last_section_number. The caller holds the lock.
    bool Take(const Key& key, const SectionHeader& header, const unsigned char* data,
              std::size_t length) {
        const auto known = states_.find(key);
        const bool isKnown = known != states_.end();
        const bool isOfVersion = isKnown && header.IsOfVersionOf(known->second.sections->Header());
        if (isOfVersion && known->second.sections->Holds(header.sectionNumber, data, length)) {
            return false;
        }
        if (bytes_ + length > kMaxBytes || (!isKnown && states_.size() >= kMaxSubTables)) {
            Refuse(key, header);
            return false;
        }
        State& state = isKnown ? known->second : states_[key];
        if (!isOfVersion || state.sections->Held().count(header.sectionNumber) != 0) {
            Begin(state, header);
        }
        if (header.sectionNumber > header.lastSectionNumber) {
            return false;
        }
        state.sections->Add(data, length);
        state.bytes += length;
        bytes_ += length;
        return true;
    }

    void Begin(State& state, const SectionHeader& header) {
        if (state.isWhole) {
            state.keptBytes = state.bytes;
        } else {
            bytes_ -= state.bytes;
        }
        state.sections.emplace(header);
        state.bytes = 0;
        state.isWhole = false;
    }

    void Refuse(const Key& key, const SectionHeader& header) {
        if (!refused_) {
            refused_.emplace(key, header);
            const auto state = states_.find(key);
            if (state != states_.end()) {
                state->second.whole.reset();
                state->second.isWhole = false;
                bytes_ -= state->second.keptBytes;
                state->second.keptBytes = 0;
            }
        }
    }

    const std::function<void(const Snapshot&)> onWhole_;

    mutable std::mutex mutex_;
    std::map<Key, State> states_;  // guarded by mutex_, like the two below
    std::size_t bytes_ = 0;        // the sum of `bytes` and `keptBytes` of all states
    std::optional<std::pair<Key, SectionHeader>> refused_;  // the first section without room
};

}  // namespace client
