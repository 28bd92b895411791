#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/Output.h"

namespace tool {

/// Writes a JSON document while it is made, indented by two blanks, in the form that
/// `Json::dump(2)` gives it. Text that is not UTF-8 is written with U+FFFD in its place.
///
/// Values are written one after the other, in an object each behind its key. Every Begin has an
/// End.
class JsonWriter {
  public:
    explicit JsonWriter(Output output) : output_(std::move(output)) {}

    void BeginObject() { Begin('{'); }
    void EndObject() { End('}'); }
    void BeginArray() { Begin('['); }
    void EndArray() { End(']'); }

    void Key(const char* key);

    /// A value that is small enough to be made at once.
    void Value(const Json& value);

    /// A member of an object.
    void Member(const char* key, const Json& value) {
        Key(key);
        Value(value);
    }

    /// A member that is an array: `write` is called with each entry and writes it.
    template <class List, class Write>
    void Array(const char* key, const List& list, Write write) {
        Key(key);
        BeginArray();
        for (const auto& entry : list) {
            write(entry);
        }
        EndArray();
    }

  private:
    void Begin(char bracket);
    void End(char bracket);
    void Separate();                    // what stands before a key, or before an array's value
    void BreakLine(std::size_t depth);  // and indent

    const Output output_;
    std::vector<bool> hasEntries_;  // of the containers that are open, the innermost last
    bool isBehindKey_ = false;
};

}  // namespace tool
