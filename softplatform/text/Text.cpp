#include "softplatform/text/Text.h"

#include <iconv.h>

#include <map>
#include <string>
#include <utility>

#include "softplatform/base/ByteView.h"
#include "softplatform/base/Mutex.h"
#include "softplatform/text/Iso6937.h"

namespace tvservice {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLineBreak = 0x8A;  // ETSI EN 300 468 annex A.1: CR/LF
constexpr char32_t kPrivateControls = 0xE000;

constexpr bool IsControl(char32_t code) {
    return code >= 0x80 && code <= 0x9F;
}

// Collects the characters that the functions below read.
class Utf8Writer {
  public:
    // Adds one character, a control code or an invalid code. Text.h says what these become.
    void Put(char32_t character) {
        if (character == 0) {
            ++nuls_;
            return;
        }
        const bool followsCarriageReturn = std::exchange(afterCarriageReturn_, character == '\r');
        if (character == '\r') {
            Encode('\n');
        } else if (character == '\n' && followsCarriageReturn && nuls_ == 0) {
            return;  // CR LF is one line break, already written
        } else if (IsControl(character) || IsControl(character - kPrivateControls)) {
            Control(character & 0xFF);
        } else if ((character < 0x20 && character != '\n') || character == 0x7F ||
                   (character >= 0xD800 && character <= 0xDFFF) || character > 0x10FFFF) {
            Encode(kReplacement);
        } else {
            Encode(character);
        }
    }

    void Control(char32_t code) {
        if (code == kLineBreak) {
            Encode('\n');
        }
    }

    // Adds one character that is already in UTF-8.
    void Append(const char* utf8, size_t size) {
        FlushNuls();
        afterCarriageReturn_ = false;
        text_.append(utf8, size);
    }

    // Returns the text. NULs at its end are padding and are left out.
    std::string Take() { return std::move(text_); }

  private:
    // Called when a character follows the NULs: they are not padding then, but invalid codes.
    void FlushNuls() {
        for (; nuls_ > 0; --nuls_) {
            text_ += "\uFFFD";
        }
    }

    void Encode(char32_t c) {
        FlushNuls();
        if (c < 0x80) {
            text_ += static_cast<char>(c);
            return;
        }
        if (c < 0x800) {
            text_ += static_cast<char>(0xC0 | c >> 6);
        } else {
            if (c < 0x10000) {
                text_ += static_cast<char>(0xE0 | c >> 12);
            } else {
                text_ += static_cast<char>(0xF0 | c >> 18);
                text_ += static_cast<char>(0x80 | (c >> 12 & 0x3F));
            }
            text_ += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        }
        text_ += static_cast<char>(0x80 | (c & 0x3F));
    }

    std::string text_;
    size_t nuls_ = 0;                   // NULs at the end so far, not in text_
    bool afterCarriageReturn_ = false;  // the last character was a carriage return
};

// The converters of iconv. Each is opened at its first use and never closed, because opening one is
// slow: it loads a module.
class Converters {
  public:
    static Converters& Instance() {
        static Converters& instance = *new Converters;
        return instance;
    }

    Mutex& mutex() TV_RETURN_CAPABILITY(mutex_) { return mutex_; }

    // The converter from `name` to UTF-8; null when it cannot be opened.
    iconv_t Find(const std::string& name) TV_REQUIRES(mutex_) {
        const auto known = byName_.find(name);
        if (known != byName_.end()) {
            return known->second;
        }
        iconv_t opened = iconv_open("UTF-8", name.c_str());
        if (opened == reinterpret_cast<iconv_t>(-1)) {  // NOLINT(performance-no-int-to-ptr)
            return nullptr;
        }
        byName_.emplace(name, opened);
        return opened;
    }

  private:
    Mutex mutex_;
    std::map<std::string, iconv_t> byName_ TV_GUARDED_BY(mutex_);
};

// A character table of iconv, for one code at a time. With a null converter it has no characters.
class Table {
  public:
    explicit Table(iconv_t converter) : converter_(converter) {}

    // Adds the character of `code` to `out`; returns false when the table has none.
    bool Write(ByteView code, Utf8Writer& out) {
        if (converter_ == nullptr) {
            return false;
        }
        char utf8[8];
        // iconv takes a pointer to non-const, but only reads.
        char* from = const_cast<char*>(reinterpret_cast<const char*>(code.data()));
        char* to = utf8;
        size_t left = code.size();
        size_t room = sizeof utf8;
        iconv(converter_, nullptr, nullptr, nullptr, nullptr);
        if (iconv(converter_, &from, &left, &to, &room) == static_cast<size_t>(-1) || left != 0) {
            return false;
        }
        out.Append(utf8, sizeof utf8 - room);
        return true;
    }

  private:
    iconv_t converter_;
};

void ReadIso6937(ByteView text, Utf8Writer& out) {
    for (size_t at = 0; at < text.size(); ++at) {
        const uint8_t code = text.U8(at);
        if (code < 0x20 || IsControl(code)) {
            out.Put(code);
            continue;
        }
        const char32_t accent = Iso6937Accent(code);
        if (accent == 0) {
            const char32_t character = Iso6937Character(code);
            out.Put(character != 0 ? character : kReplacement);
            continue;
        }
        const uint8_t letter = text.U8(at + 1);
        const char32_t base = Iso6937Character(letter);
        if (base == 0) {
            out.Put(kReplacement);  // an accent without a letter; the next code is read by itself
            continue;
        }
        ++at;
        if (const char32_t composed = Iso6937Composed(code, letter)) {
            out.Put(composed);
        } else {
            out.Put(base);
            out.Put(accent);
        }
    }
}

void ReadIso8859(ByteView text, int part, Utf8Writer& out) {
    Converters& converters = Converters::Instance();
    MutexLock lock(converters.mutex());
    Table table(converters.Find("ISO-8859-" + std::to_string(part)));
    for (size_t at = 0; at < text.size(); ++at) {
        const uint8_t code = text.U8(at);
        if (code < 0xA0) {
            out.Put(code);
        } else if (!table.Write(text.Subview(at, 1), out)) {
            out.Put(kReplacement);
        }
    }
}

void ReadUtf16(ByteView text, Utf8Writer& out) {
    for (size_t at = 0; at < text.size(); at += 2) {
        out.Put(text.Has(at, 2) ? text.U16(at) : kReplacement);
    }
}

// Reads a table that mixes ASCII with codes of two bytes, both 0xA0 or above.
void ReadTwoByte(ByteView text, const char* name, Utf8Writer& out) {
    Converters& converters = Converters::Instance();
    MutexLock lock(converters.mutex());
    Table table(converters.Find(name));
    size_t at = 0;
    while (at < text.size()) {
        const uint8_t first = text.U8(at);
        const uint8_t second = text.U8(at + 1);
        if (first < 0xA0) {
            out.Put(first);
            ++at;
        } else if (first == 0xE0 && IsControl(second)) {
            out.Control(second);
            at += 2;
        } else if (second < 0xA0) {
            out.Put(kReplacement);  // half a code; the next byte is read by itself
            ++at;
        } else {
            if (!table.Write(text.Subview(at, 2), out)) {
                out.Put(kReplacement);
            }
            at += 2;
        }
    }
}

void ReadUtf8(ByteView text, Utf8Writer& out) {
    size_t at = 0;
    while (at < text.size()) {
        const uint8_t first = text.U8(at);
        const size_t more = first < 0x80             ? 0
                            : (first & 0xE0) == 0xC0 ? 1
                            : (first & 0xF0) == 0xE0 ? 2
                            : (first & 0xF8) == 0xF0 ? 3
                                                     : SIZE_MAX;
        // By number of bytes that follow: smaller characters have a shorter form and are invalid.
        constexpr char32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
        if (more == SIZE_MAX) {
            out.Put(kReplacement);
            ++at;
            continue;
        }
        char32_t character = more == 0 ? first : first & (0x3Fu >> more);
        size_t taken = 1;
        while (taken <= more && (text.U8(at + taken) & 0xC0) == 0x80) {
            character = character << 6 | (text.U8(at + taken) & 0x3F);
            ++taken;
        }
        const bool isWhole = taken == more + 1 && character >= kLeast[more];
        out.Put(isWhole ? character : kReplacement);
        at += taken;
    }
}

void ReadAscii(ByteView text, Utf8Writer& out) {
    for (const uint8_t code : text) {
        out.Put(code < 0xA0 ? code : kReplacement);
    }
}

}  // namespace

std::string TextToUtf8(const std::uint8_t* data, std::size_t size) {
    constexpr int kReservedPart = 12;  // ISO/IEC 8859-12 does not exist
    const ByteView text(data, size);
    Utf8Writer out;
    const uint8_t selector = text.U8(0);
    const ByteView rest = text.Subview(1);
    // ETSI EN 300 468 tables A.3 and A.4
    if (text.empty()) {
        return {};
    }
    if (selector >= 0x20) {
        ReadIso6937(text, out);
    } else if (selector >= 0x01 && selector <= 0x0B && selector + 4 != kReservedPart) {
        ReadIso8859(rest, selector + 4, out);
    } else if (selector == 0x10 && rest.U16(0) >= 1 && rest.U16(0) <= 15 &&
               rest.U16(0) != kReservedPart) {
        ReadIso8859(rest.Subview(2), rest.U16(0), out);
    } else if (selector == 0x10) {
        ReadAscii(rest.Subview(2), out);
    } else if (selector == 0x11 || selector == 0x14) {
        ReadUtf16(rest, out);
    } else if (selector == 0x12) {
        ReadTwoByte(rest, "EUC-KR", out);
    } else if (selector == 0x13) {
        ReadTwoByte(rest, "GB2312", out);
    } else if (selector == 0x15) {
        ReadUtf8(rest, out);
    } else if (selector == 0x1F) {
        ReadAscii(rest.Subview(1), out);  // after encoding_type_id
    } else {
        ReadAscii(rest, out);
    }
    return out.Take();
}

}  // namespace tvservice
