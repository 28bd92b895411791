#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/Output.h"

namespace tool {

/// Writes a JSON document piece by piece, in the format of `Json::dump(2)`: indented by two blanks.
/// Bytes that are not valid UTF-8 are replaced by U+FFFD.
///
/// Write the values in document order. In an object, call `Key` before each value. Every Begin
/// needs its End.
class JsonWriter {
  public:
    explicit JsonWriter(Output output) : output_(std::move(output)) {}

    void BeginObject() { Begin('{'); }
    void EndObject() { End('}'); }
    void BeginArray() { Begin('['); }
    void EndArray() { End(']'); }

    void Key(const char* key);

    /// Writes a complete value. Use it for small ones, because the value is held in memory.
    void Value(const Json& value);

    /// Writes one member of an object.
    void Member(const char* key, const Json& value) {
        Key(key);
        Value(value);
    }

    /// Writes a member that is an array: `write` is called for each entry and writes its value.
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
    void Separate();                    // writes comma and line break before a key or array value
    void BreakLine(std::size_t depth);  // writes a line break and the indentation

    const Output output_;
    std::vector<bool> hasEntries_;  // one for each open container, the innermost last
    bool isBehindKey_ = false;
};

}  // namespace tool
