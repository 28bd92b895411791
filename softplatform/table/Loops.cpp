#include "softplatform/table/Loops.h"

#include <algorithm>
#include <utility>

#include "softplatform/base/Counters.h"

namespace tvservice {

void CountOverruns(uint64_t overruns) {
    if (overruns > 0) {
        ReceiverCounters().AddShared(Counter::kDescriptorOverruns, overruns);
    }
}

ByteView Field(ByteView body, size_t at, size_t length) {
    CountOverruns(body.Has(at, length) ? 0 : 1);
    return body.Subview(at, length);
}

bool EntryReader::Next() {
    if (next_ >= loop_.size()) {
        return false;
    }
    if (!loop_.Has(next_, headSize_)) {
        ++overruns_;
        next_ = loop_.size();
        return false;
    }
    head_ = loop_.Subview(next_, headSize_);
    const size_t length = head_.U16(headSize_ - 2) & 0x0FFF;
    descriptors_ = loop_.Subview(next_ + headSize_, length);
    overruns_ += descriptors_.size() < length ? 1 : 0;
    next_ += headSize_ + descriptors_.size();
    return true;
}

Room RoomForEntries(ByteView loop, size_t headSize) {
    Room room;
    EntryReader reader(loop, headSize);
    while (reader.Next()) {
        ++room.entries;
        room.descriptors += DescriptorLoop::CountIn(reader.descriptors());
    }
    return room;
}

void SpanningLoop::Put(uint8_t sectionNumber, DescriptorLoop loop) {
    if (sectionNumber >= sections_.size()) {
        sections_.resize(size_t{sectionNumber} + 1);
    }
    sections_[sectionNumber].loop = loop;
    size_t end = 0;
    for (Section& section : sections_) {
        end += section.loop.size();
        section.end = end;
    }
    cursor_ = {};
}

int SpanningLoop::Count(int tag) const {
    if (cursor_.tag != tag) {
        cursor_ = {tag};
        for (const Section& section : sections_) {
            cursor_.count += section.loop.Count(tag);
        }
    }
    return static_cast<int>(cursor_.count);
}

TCBaseDesc* SpanningLoop::At(size_t index) {
    const auto section = std::upper_bound(sections_.begin(), sections_.end(), index,
                                          [](size_t at, const Section& of) { return at < of.end; });
    return section == sections_.end()
               ? nullptr
               : section->loop.At(index - (section->end - section->loop.size()));
}

TCBaseDesc* SpanningLoop::Find(int tag, size_t index) {
    if (index >= static_cast<size_t>(Count(tag))) {
        return nullptr;
    }
    if (index < cursor_.before) {
        cursor_.section = cursor_.before = 0;
    }
    for (;; ++cursor_.section) {
        DescriptorLoop& loop = sections_[cursor_.section].loop;
        if (index - cursor_.before < loop.Count(tag)) {
            return loop.Find(tag, index - cursor_.before);
        }
        cursor_.before += loop.Count(tag);
    }
}

}  // namespace tvservice
