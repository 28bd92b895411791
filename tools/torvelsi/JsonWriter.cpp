#include "tools/torvelsi/JsonWriter.h"

namespace tool {

namespace {

constexpr int kIndent = 2;

std::string Dump(const Json& value) {
    return value.dump(kIndent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

void JsonWriter::Key(const char* key) {
    Separate();
    output_(Dump(key));
    output_(": ");
    isBehindKey_ = true;
}

void JsonWriter::Value(const Json& value) {
    Separate();
    const std::string text = Dump(value);
    // Every line break in the dump is formatting, because line breaks in strings are escaped.
    std::size_t at = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', at)) {
        output_(std::string_view(text).substr(at, end - at));
        BreakLine(hasEntries_.size());
        at = end + 1;
    }
    output_(std::string_view(text).substr(at));
}

void JsonWriter::Begin(char bracket) {
    Separate();
    output_({&bracket, 1});
    hasEntries_.push_back(false);
}

void JsonWriter::End(char bracket) {
    const bool hadEntries = hasEntries_.back();
    hasEntries_.pop_back();
    if (hadEntries) {
        BreakLine(hasEntries_.size());
    }
    output_({&bracket, 1});
}

void JsonWriter::Separate() {
    if (isBehindKey_ || hasEntries_.empty()) {
        isBehindKey_ = false;
        return;
    }
    if (hasEntries_.back()) {
        output_(",");
    }
    hasEntries_.back() = true;
    BreakLine(hasEntries_.size());
}

void JsonWriter::BreakLine(std::size_t depth) {
    output_("\n");
    output_(std::string(depth * kIndent, ' '));
}

}  // namespace tool
