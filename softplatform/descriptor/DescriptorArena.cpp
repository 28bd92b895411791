#include "softplatform/descriptor/DescriptorArena.h"

#include <algorithm>
#include <utility>

#include "platform/TCBaseDesc.h"

namespace tvservice {

void DescriptorArena::Begin(size_t size) {
    if (size > capacity_) {
        std::unique_ptr<unsigned char[]> larger(new unsigned char[size]);
        Clear();
        memory_ = std::move(larger);
        capacity_ = size;
    } else {
        Clear();
    }
}

const std::vector<uint8_t>& DescriptorArena::Text(ByteView bytes) {
    if (!texts_) {
        texts_.emplace();
    }
    if (usedTexts_ == texts_->size()) {
        texts_->emplace_back();
    }
    std::vector<uint8_t>& text = (*texts_)[usedTexts_];
    text.assign(bytes.begin(), bytes.end());
    ++usedTexts_;
    return text;
}

void DescriptorArena::DestroyLater(TCBaseDesc& desc) {
    if (std::find(toDestroy_.rbegin(), toDestroy_.rend(), &desc) == toDestroy_.rend()) {
        toDestroy_.push_back(&desc);
    }
}

void DescriptorArena::Clear() {
    for (TCBaseDesc* const desc : toDestroy_) {
        desc->~TCBaseDesc();
    }
    toDestroy_.clear();
    used_ = 0;
    usedTexts_ = 0;
}

std::unique_ptr<DescriptorArena> ArenaPool::Take() {
    if (count_ == 0) {
        return std::make_unique<DescriptorArena>();
    }
    std::unique_ptr<DescriptorArena> arena = std::move(arenas_[--count_]);
    bytes_ -= arena->capacity();
    return arena;
}

void ArenaPool::Give(std::unique_ptr<DescriptorArena> arena) noexcept {
    if (arena && count_ < arenas_.size() && arena->capacity() <= kMaxBytes - bytes_) {
        bytes_ += arena->capacity();
        arenas_[count_++] = std::move(arena);
    }
}

}  // namespace tvservice
