#include "softplatform/fault/FaultSpec.h"

#include <algorithm>
#include <utility>

#include "softplatform/input/ErrorText.h"

namespace tvservice {

namespace {

constexpr uint64_t kMaxIndex = UINT64_MAX - 1;

// The option that restricts a fault to one PID or one table_id.
struct Selector {
    const char* name;
    uint32_t most;
};

std::optional<Selector> SelectorOf(FaultEvent event) {
    switch (event) {
        case FaultEvent::kPacket:
            return Selector{"pid", 0x1FFF};
        case FaultEvent::kDelivery:
            return Selector{"table", 0xFF};
        default:
            return std::nullopt;
    }
}

bool IsNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || c == '-';
}

int DigitValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : 16;
}

// Reads one spec from left to right. A step that finds a mistake returns false; error() then
// describes the mistake.
class SpecReader {
  public:
    explicit SpecReader(const std::string& text) : text_(text) {}

    bool Read() { return ReadName() && ReadWhen() && ReadOptions(); }

    FaultSpec& spec() { return spec_; }
    const std::string& error() const { return error_; }

  private:
    bool ReadName() {
        const std::string name = Word();
        const auto found = std::find_if(kFaultTable.begin(), kFaultTable.end(),
                                        [&](const FaultInfo& info) { return name == info.name; });
        if (found == kFaultTable.end()) {
            std::string names;
            for (const FaultInfo& info : kFaultTable) {
                names += std::string(names.empty() ? "" : ", ") + info.name;
            }
            return Fail(0, "here stands one of " + names);
        }
        info_ = &*found;
        spec_.kind = found->kind;
        spec_.amount = found->otherwise;
        return true;
    }

    bool ReadWhen() {
        if (Skip('=')) {
            uint64_t rate = 0;
            if (!Skip('1') || !Skip('/')) {
                return Fail(at_, "a rate is =1/ and a number");
            }
            if (!ReadNumber(1, UINT32_MAX, "a rate", rate)) {
                return false;
            }
            spec_.rate = static_cast<uint32_t>(rate);
            return true;
        }
        if (!Skip('@')) {
            return Fail(at_, "here stands =1/ and a number, or @ and numbers between commas");
        }
        do {
            uint64_t index = 0;
            if (!ReadNumber(0, kMaxIndex, "an index", index)) {
                return false;
            }
            spec_.indexes.push_back(index);
        } while (Skip(','));
        std::sort(spec_.indexes.begin(), spec_.indexes.end());
        spec_.indexes.erase(std::unique(spec_.indexes.begin(), spec_.indexes.end()),
                            spec_.indexes.end());
        return true;
    }

    bool ReadOptions() {
        bool isOwnGiven = false;
        while (at_ < text_.size()) {
            if (!Skip(':')) {
                return Fail(at_, "here stands the end, or : and an option");
            }
            const size_t start = at_;
            const std::string name = Word();
            const std::optional<Selector> selector = SelectorOf(info_->event);
            if (selector && name == selector->name) {
                if (spec_.only) {
                    return Fail(start, name + " is given twice");
                }
                if (!ReadValue(name, 0, selector->most, spec_.only)) {
                    return false;
                }
            } else if (info_->option != nullptr && name == info_->option) {
                if (std::exchange(isOwnGiven, true)) {
                    return Fail(start, name + " is given twice");
                }
                if (!ReadValue(name, info_->least, info_->most, spec_.amount)) {
                    return false;
                }
            } else {
                return Fail(start, OptionsText(selector));
            }
        }
        return true;
    }

    std::string OptionsText(const std::optional<Selector>& selector) const {
        std::string text = std::string(info_->name) + " takes ";
        if (!selector && info_->option == nullptr) {
            return text + "no option";
        }
        text += selector ? selector->name : "";
        text += selector && info_->option != nullptr ? " and " : "";
        text += info_->option != nullptr ? info_->option : "";
        return text;
    }

    bool ReadValue(const std::string& name, uint32_t least, uint32_t most,
                   std::optional<uint32_t>& value) {
        if (!Skip('=')) {
            return Fail(at_, "here stands = and the value of " + name);
        }
        uint64_t number = 0;
        if (!ReadNumber(least, most, name, number)) {
            return false;
        }
        value = static_cast<uint32_t>(number);
        return true;
    }

    bool ReadNumber(uint64_t least, uint64_t most, const std::string& what, uint64_t& number) {
        const size_t start = at_;
        const bool isHexadecimal = Skip('0') && Skip('x');
        if (!isHexadecimal) {
            at_ = start;
        }
        const uint64_t base = isHexadecimal ? 16 : 10;
        const size_t firstDigit = at_;
        bool fits = true;
        number = 0;
        for (; at_ < text_.size(); ++at_) {
            const auto digit = static_cast<uint64_t>(DigitValue(text_[at_]));
            if (digit >= base) {
                break;
            }
            fits = fits && number <= (most - std::min(most, digit)) / base;
            number = number * base + digit;
        }
        if (at_ == firstDigit || !fits || number < least || number > most) {
            return Fail(start, what + " is a number from " + std::to_string(least) + " to " +
                                   std::to_string(most));
        }
        return true;
    }

    std::string Word() {
        const size_t start = at_;
        while (at_ < text_.size() && IsNameCharacter(text_[at_])) {
            ++at_;
        }
        return text_.substr(start, at_ - start);
    }

    bool Skip(char c) {
        if (at_ < text_.size() && text_[at_] == c) {
            ++at_;
            return true;
        }
        return false;
    }

    bool Fail(size_t offset, const std::string& reason) {
        error_ =
            "fault \"" + Visible(text_) + "\", offset " + std::to_string(offset) + ": " + reason;
        return false;
    }

    const std::string& text_;
    size_t at_ = 0;
    const FaultInfo* info_ = nullptr;
    FaultSpec spec_;
    std::string error_;
};

}  // namespace

std::optional<FaultSpec> FaultSpec::Parse(const std::string& text, std::string& error) {
    SpecReader reader(text);
    if (!reader.Read()) {
        error = reader.error();
        return std::nullopt;
    }
    return std::move(reader.spec());
}

}  // namespace tvservice
