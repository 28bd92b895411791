#include "softplatform/fault/FaultySource.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "softplatform/base/SyncByte.h"

namespace tvservice {

namespace {

constexpr size_t kChunkSize = 256 * 1024;
constexpr uint64_t kHeaderSize = 4;

int AlwaysReady() {
    const int event = ::eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK);
    if (event < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    return event;
}

// ISO/IEC 13818-1 2.4.3.2
uint32_t PidOf(const uint8_t* packet) {
    return static_cast<uint32_t>((packet[1] & 0x1F) << 8 | packet[2]);
}

}  // namespace

FaultySource::FaultySource(std::shared_ptr<ByteSource> source, std::shared_ptr<FaultPlan> plan)
    : ByteSource(source->name()),
      source_(std::move(source)),
      plan_(std::move(plan)),
      alwaysReady_(AlwaysReady()),
      chunk_(kChunkSize) {
    Start();
}

uint64_t FaultySource::size() const {
    return plan_->Has(FaultKind::kDrop) || plan_->Has(FaultKind::kDuplicate) ? 0 : source_->size();
}

void FaultySource::Start() {
    triggers_ = plan_->Triggers(FaultEvent::kPacket);
    open_.clear();
    held_.clear();
    out_.clear();
    outAt_ = 0;
    mayGoOn_ = false;
    ended_.reset();
}

bool FaultySource::Rewind() {
    if (!source_->Rewind()) {
        return false;
    }
    Start();
    return true;
}

ReadResult FaultySource::Read(uint8_t* buffer, size_t size) {
    if (triggers_.empty()) {
        return source_->Read(buffer, size);
    }
    mayGoOn_ = false;
    if (outAt_ == out_.size()) {
        out_.clear();
        outAt_ = 0;
        if (ended_) {
            return *ended_;
        }
        ReadResult read = source_->Read(chunk_.data(), chunk_.size());
        switch (read.status) {
            case ReadResult::kBytes:
                TakeIn(read.bytes);
                if (out_.empty()) {
                    mayGoOn_ = true;
                    return {ReadResult::kWouldBlock};
                }
                break;
            case ReadResult::kWouldBlock:
                return read;
            case ReadResult::kEnd:
            case ReadResult::kFailed:
                End(std::move(read));
                if (out_.empty()) {
                    return *ended_;
                }
                break;
        }
    }
    const size_t count = std::min(size, out_.size() - outAt_);
    std::copy_n(out_.data() + outAt_, count, buffer);
    outAt_ += count;
    return {ReadResult::kBytes, {buffer, count}};
}

void FaultySource::TakeIn(ByteView bytes) {
    open_.insert(open_.end(), bytes.begin(), bytes.end());
    auto at = open_.cbegin();
    for (;;) {
        const auto sync = std::find(at, open_.cend(), kSyncByte);
        out_.insert(out_.end(), at, sync);
        at = sync;
        if (open_.cend() - at < static_cast<std::ptrdiff_t>(kPacketSize)) {
            break;
        }
        Packet packet;
        std::copy_n(at, kPacketSize, packet.begin());
        OnPacket(packet);
        at += kPacketSize;
    }
    open_.erase(open_.cbegin(), at);
}

void FaultySource::OnPacket(Packet packet) {
    const uint32_t pid = PidOf(packet.data());
    bool isDropped = false;
    unsigned copies = 1;
    uint64_t flips = 0;
    std::optional<size_t> reorder;
    for (size_t i = 0; i < triggers_.size(); ++i) {
        FaultTrigger& trigger = triggers_[i];
        if (!trigger.LooksAt(pid) || !trigger.Next()) {
            continue;
        }
        switch (trigger.spec().kind) {
            case FaultKind::kDrop:
                isDropped = true;
                break;
            case FaultKind::kDuplicate:
                ++copies;
                break;
            case FaultKind::kCorrupt: {
                // Without `byte` the header is spared, so that the PID and the continuity_counter
                // stay correct.
                const auto byte = static_cast<size_t>(
                    trigger.spec().amount
                        ? *trigger.spec().amount
                        : kHeaderSize + trigger.random().Below(kPacketSize - kHeaderSize));
                packet[byte] = static_cast<uint8_t>(packet[byte] ^ 1u << trigger.random().Below(8));
                ++flips;
                break;
            }
            case FaultKind::kReorder:
                reorder = reorder.value_or(i);
                break;
            default:
                break;
        }
    }

    if (isDropped) {
        plan_->Count(FaultKind::kDrop);
    } else {
        plan_->Count(FaultKind::kDuplicate, copies - 1);
        plan_->Count(FaultKind::kCorrupt, flips);
        if (reorder) {
            plan_->Count(FaultKind::kReorder);
            const FaultTrigger& trigger = triggers_[*reorder];
            held_.push_back({*reorder, trigger.seen() + *trigger.spec().amount, copies, packet});
        } else {
            Put(packet, copies);
        }
    }

    for (auto held = held_.begin(); held != held_.end();) {
        if (triggers_[held->trigger].seen() >= held->due) {
            Put(held->packet, held->copies);
            held = held_.erase(held);
        } else {
            ++held;
        }
    }
}

void FaultySource::End(ReadResult result) {
    for (const Held& held : held_) {
        Put(held.packet, held.copies);
    }
    held_.clear();
    out_.insert(out_.end(), open_.begin(), open_.end());
    open_.clear();
    ended_ = std::move(result);
}

void FaultySource::Put(const Packet& packet, unsigned copies) {
    for (; copies > 0; --copies) {
        out_.insert(out_.end(), packet.begin(), packet.end());
    }
}

}  // namespace tvservice
