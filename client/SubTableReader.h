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

/// The bytes that a section has by its section_length (ISO/IEC 13818-1 2.4.4.11); 0 when fewer were
/// delivered. Parsers are not told how many there are and would read beyond the end.
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
/// It collects the sections of a version and parses them when all have come (`SectionSet`), in the
/// order of their numbers. A section that differs from the one that is held under its number begins
/// the sub-table anew, whether its version_number changed or not. `Table` tells how the table is
/// parsed; each table has one in a file of its own:
///
///     using Key = ...;       // what tells sub-tables apart
///     using Snapshot = ...;  // what is kept of one
///     static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
///     static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
///
/// `Read` parses the sections of one version, all of them. It answers nothing when a parser refuses
/// one. A table that is asked for `Partial` must accept a single section as well.
///
/// Memory is bounded whatever the stream holds: a section beyond kMaxBytes of sections or
/// kMaxSubTables is not taken. The first sub-table that loses a section this way counts as
/// unfinished from then on. A complete version counts against kMaxBytes until another one has taken
/// its place.
///
/// Sections come on the event thread; results may be asked for on any thread.
template <class Table>
class SubTableReader : public TORVEL_MW::ISectionObserver {
  public:
    using Key = typename Table::Key;
    using Snapshot = typename Table::Snapshot;
    using SnapshotPtr = std::shared_ptr<const Snapshot>;

    static constexpr std::size_t kMaxBytes = std::size_t{4} << 20;
    static constexpr std::size_t kMaxSubTables = 4096;

    /// @param onWhole  called on the event thread with each complete version; may be empty
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

    /// The sub-tables of which sections came and no version was ever complete, and the numbers of
    /// the sections that they lack. They lack none when a parser refused them.
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

    /// What the sections that came of unfinished sub-tables hold, each section by itself, by
    /// section_number. Sections that a parser refuses are left out.
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
        std::optional<SectionSet> sections;  // of the newest version; always there
        std::size_t bytes = 0;               // of these sections
        bool isWhole = false;                // `whole` was made of these sections
        SnapshotPtr whole;
        std::size_t keptBytes = 0;  // of the sections of `whole` when that is an earlier version
    };

    Sections HeldOf(const Key& key) const {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto state = states_.find(key);
        return state != states_.end() ? state->second.sections->Held() : Sections();
    }

    // Holds the section. False when it is held already, finds no room or has a number above
    // last_section_number. With the lock.
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
    std::size_t bytes_ = 0;        // of all states, and of what was kept before them
    std::optional<std::pair<Key, SectionHeader>> refused_;  // the first that found no room
};

}  // namespace client
