#include "syntax/Characters.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

#include "softplatform/text/Iso6937.h"
#include "softplatform/text/Text.h"
#include "syntax/Hex.h"

namespace syntax {

namespace {

using tvservice::ByteView;

constexpr char32_t kReplacement = 0xFFFD;

void PutUtf8(char32_t c, std::string& out) {
    if (c < 0x80) {
        out += static_cast<char>(c);
        return;
    }
    if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
    } else {
        if (c < 0x10000) {
            out += static_cast<char>(0xE0 | c >> 12);
        } else {
            out += static_cast<char>(0xF0 | c >> 18);
            out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        }
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    }
    out += static_cast<char>(0x80 | (c & 0x3F));
}

// Reads the next character and moves `at` past it. `text` may be invalid UTF-8: a byte that begins
// no character gives kReplacement.
char32_t TakeUtf8(std::string_view text, std::size_t& at) {
    const auto byte = [&text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t first = byte(at);
    const std::size_t more = first < 0x80   ? 0
                             : first < 0xC2 ? 4
                             : first < 0xE0 ? 1
                             : first < 0xF0 ? 2
                             : first < 0xF5 ? 3
                                            : 4;
    if (more == 4 || at + more >= text.size()) {
        ++at;
        return kReplacement;
    }
    char32_t c = more == 0 ? first : first & (0x3Fu >> more);
    for (std::size_t i = 1; i <= more; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) {
            ++at;
            return kReplacement;
        }
        c = c << 6 | (byte(at + i) & 0x3Fu);
    }
    static constexpr char32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    if (c < kLeast[more] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        ++at;
        return kReplacement;
    }
    at += 1 + more;
    return c;
}

constexpr bool IsControl(char32_t c) {
    return c >= 0x80 && c <= 0x9F;
}

// --- Tables of one byte a character, and ISO/IEC 6937 with its accents

constexpr std::uint8_t kFirstAccent = 0xC1;

struct SingleTable {
    std::array<char32_t, 256> characters{};  // 0: none
    std::unordered_map<char32_t, std::uint16_t>
        codes;  // accents: code of the accent, then the letter
    bool accents = false;
    // Computed in advance, for speed: the UTF-8 of each code, and whether encoding its character
    // gives that code again.
    struct Utf8 {
        char bytes[3] = {};
        std::uint8_t size = 0;
    };
    std::array<Utf8, 256> utf8{};
    std::array<bool, 256> survives{};
    std::array<std::array<bool, 256>, 16> pairSurvives{};  // of an accent, 0xC0 on, and a letter
    std::unordered_map<char32_t, std::uint8_t> marks;      // combining characters of accents
};

void Finish(SingleTable& table) {
    // The standard has no codes below 0x20 in a text, but streams contain them.
    for (unsigned code = 1; code < 0x20; ++code) {
        table.characters[code] = code;
    }
    for (unsigned code = 0x80; code <= 0x9F; ++code) {
        table.characters[code] = code == 0x8A ? U'\n' : code;
    }
    for (unsigned code = 1; code < 256; ++code) {
        if (table.characters[code] != 0) {
            table.codes.emplace(table.characters[code], static_cast<std::uint16_t>(code));
        }
    }
    table.codes[U'\n'] = 0x8A;
    // A code without a character is decoded to U+FFFD, and U+FFFD is encoded as such a code.
    for (unsigned code = 0x7F; code < 256; ++code) {
        const bool accent =
            table.accents && tvservice::Iso6937Accent(static_cast<std::uint8_t>(code)) != 0;
        if (table.characters[code] == 0 && !accent) {
            table.codes.emplace(kReplacement, static_cast<std::uint16_t>(code));
        }
    }
    if (table.accents) {
        for (unsigned accent = kFirstAccent; accent <= 0xCF; ++accent) {
            if (const char32_t mark = tvservice::Iso6937Accent(static_cast<std::uint8_t>(accent))) {
                table.marks.emplace(mark, static_cast<std::uint8_t>(accent));
            }
            for (unsigned letter = 0x20; letter < 0x100; ++letter) {
                const char32_t composed = tvservice::Iso6937Composed(
                    static_cast<std::uint8_t>(accent), static_cast<std::uint8_t>(letter));
                const auto code = static_cast<std::uint16_t>(accent << 8 | letter);
                table.pairSurvives[accent & 15][letter] =
                    composed != 0 && table.codes.emplace(composed, code).first->second == code;
            }
        }
    }
    for (unsigned code = 0; code < 256; ++code) {
        const char32_t c = table.characters[code];
        std::string utf8;
        PutUtf8(c == 0 ? kReplacement : c, utf8);
        table.utf8[code].size = static_cast<std::uint8_t>(utf8.size());
        std::copy(utf8.begin(), utf8.end(), table.utf8[code].bytes);
        const auto again = table.codes.find(c == 0 ? kReplacement : c);
        table.survives[code] = again != table.codes.end() && again->second == code;
    }
}

const SingleTable& Iso6937() {
    static const SingleTable& table = *[] {
        auto* made = new SingleTable;
        made->accents = true;
        for (unsigned code = 0x20; code < 256; ++code) {
            if (tvservice::Iso6937Accent(static_cast<std::uint8_t>(code)) == 0) {
                made->characters[code] =
                    tvservice::Iso6937Character(static_cast<std::uint8_t>(code));
            }
        }
        Finish(*made);
        return made;
    }();
    return table;
}

// Makes the table of ISO/IEC 8859 part `part` with the help of TextToUtf8.
const SingleTable& MakeIso8859(unsigned part) {
    auto* table = new SingleTable;
    for (unsigned code = 0x20; code < 256; ++code) {
        const std::uint8_t text[] = {0x10, 0, static_cast<std::uint8_t>(part),
                                     static_cast<std::uint8_t>(code)};
        const std::string utf8 = tvservice::TextToUtf8(text, sizeof text);
        std::size_t at = 0;
        const char32_t c = utf8.empty() ? kReplacement : TakeUtf8(utf8, at);
        table->characters[code] = c == kReplacement ? 0 : c;
    }
    Finish(*table);
    return *table;
}

template <std::size_t... Parts>
const SingleTable& Iso8859Of(unsigned part, std::index_sequence<Parts...> /*parts*/) {
    // One static table for each part, made at its first use.
    using Make = const SingleTable& (*)();
    static constexpr Make kMakers[] = {[]() -> const SingleTable& {
        static const SingleTable& table = MakeIso8859(Parts);
        return table;
    }...};
    return kMakers[part]();
}

const SingleTable& Iso8859(unsigned part) {
    return Iso8859Of(part, std::make_index_sequence<16>());
}

void DecodeSingle(ByteView text, const SingleTable& table, std::string& utf8) {
    const std::size_t begin = utf8.size();
    utf8.resize(begin + text.size() * 3);  // a code gives at most three bytes
    char* out = utf8.data() + begin;
    const std::uint8_t* const end = text.end();
    for (const std::uint8_t* at = text.begin(); at != end; ++at) {
        const std::uint8_t code = *at;
        if (table.characters[code] == 0 && table.accents && at + 1 != end &&
            tvservice::Iso6937Accent(code) != 0) {
            std::string pair;
            if (const char32_t composed = tvservice::Iso6937Composed(code, at[1])) {
                PutUtf8(composed, pair);
            } else if (const char32_t base = tvservice::Iso6937Character(at[1])) {
                PutUtf8(base, pair);
                PutUtf8(tvservice::Iso6937Accent(code), pair);
            }
            if (!pair.empty()) {
                out = std::copy(pair.begin(), pair.end(), out);
                ++at;
                continue;
            }
        }
        const SingleTable::Utf8& character = table.utf8[code];
        for (std::size_t i = 0; i < character.size; ++i) {
            *out++ = character.bytes[i];
        }
    }
    utf8.resize(static_cast<std::size_t>(out - utf8.data()));
}

bool SingleSurvives(ByteView text, const SingleTable& table) {
    const std::uint8_t* const end = text.end();
    for (const std::uint8_t* at = text.begin(); at != end; ++at) {
        if (table.survives[*at]) {
            continue;
        }
        if (!table.accents || *at < kFirstAccent || *at > 0xCF || at + 1 == end ||
            !table.pairSurvives[*at & 15][at[1]]) {
            return false;
        }
        ++at;
    }
    return true;
}

bool EncodeSingle(std::string_view utf8, const SingleTable& table,
                  std::vector<std::uint8_t>& bytes) {
    for (std::size_t at = 0; at < utf8.size();) {
        const auto code = table.codes.find(TakeUtf8(utf8, at));
        if (code == table.codes.end()) {
            return false;
        }
        if (code->second > 0xFF) {
            bytes.push_back(static_cast<std::uint8_t>(code->second >> 8));
        } else if (!table.marks.empty() && at < utf8.size()) {
            // In the table an accent comes before its letter; in Unicode it comes after it.
            std::size_t behind = at;
            const auto mark = table.marks.find(TakeUtf8(utf8, behind));
            if (mark != table.marks.end()) {
                bytes.push_back(mark->second);
                at = behind;
            }
        }
        bytes.push_back(static_cast<std::uint8_t>(code->second));
    }
    return true;
}

// --- Tables of two bytes a character

// KS X 1001 and GB 2312: ASCII in one byte, rows and columns 0xA1 to 0xFE in two.
struct DoubleTable {
    std::array<std::array<char32_t, 94>, 94> characters{};  // 0: none
    std::unordered_map<char32_t, std::uint16_t> codes;
};

constexpr std::uint8_t kFirstRow = 0xA1;
constexpr std::uint8_t kLastRow = 0xFE;
constexpr std::uint8_t kNoRow = 0xFF;  // a row without characters

const DoubleTable& MakeDouble(std::uint8_t selector) {
    auto* table = new DoubleTable;
    for (unsigned row = kFirstRow; row <= kLastRow; ++row) {
        for (unsigned column = kFirstRow; column <= kLastRow; ++column) {
            const std::uint8_t text[] = {selector, static_cast<std::uint8_t>(row),
                                         static_cast<std::uint8_t>(column)};
            const std::string utf8 = tvservice::TextToUtf8(text, sizeof text);
            std::size_t at = 0;
            const char32_t c = utf8.empty() ? kReplacement : TakeUtf8(utf8, at);
            if (c != kReplacement && at == utf8.size()) {
                table->characters[row - kFirstRow][column - kFirstRow] = c;
                table->codes.emplace(c, static_cast<std::uint16_t>(row << 8 | column));
            }
        }
    }
    return *table;
}

const DoubleTable& EastAsian(unsigned selector) {
    static const DoubleTable& korean = MakeDouble(0x12);
    static const DoubleTable& chinese = MakeDouble(0x13);
    return selector == 0x12 ? korean : chinese;
}

void DecodeEastAsian(ByteView text, const DoubleTable& table, std::string& utf8) {
    const auto isRow = [](std::uint8_t code) { return code >= kFirstRow && code <= kLastRow; };
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::uint8_t code = text.U8(at);
        if (code < 0xA0 && code != 0) {
            PutUtf8(code == 0x8A ? U'\n' : code, utf8);
        } else if (isRow(code) && isRow(text.U8(at + 1))) {
            const char32_t c = table.characters[code - kFirstRow][text.U8(++at) - kFirstRow];
            PutUtf8(c == 0 ? kReplacement : c, utf8);
        } else {
            PutUtf8(kReplacement, utf8);
        }
    }
}

bool EncodeEastAsian(std::string_view utf8, const DoubleTable& table,
                     std::vector<std::uint8_t>& bytes) {
    for (std::size_t at = 0; at < utf8.size();) {
        const char32_t c = TakeUtf8(utf8, at);
        if (c != 0 && c < 0xA0) {
            bytes.push_back(c == '\n' ? std::uint8_t{0x8A} : static_cast<std::uint8_t>(c));
            continue;
        }
        if (c == kReplacement) {
            bytes.push_back(kNoRow);
            continue;
        }
        const auto code = table.codes.find(c);
        if (code == table.codes.end()) {
            return false;
        }
        bytes.push_back(static_cast<std::uint8_t>(code->second >> 8));
        bytes.push_back(static_cast<std::uint8_t>(code->second));
    }
    return true;
}

void DecodeUcs2(ByteView text, std::string& utf8) {
    std::size_t at = 0;
    for (; text.Has(at, 2); at += 2) {
        const char32_t c = text.U16(at);
        if (c == 0xE08A) {
            utf8 += '\n';
        } else if (c >= 0xE080 && c <= 0xE09F) {
            PutUtf8(c - 0xE000, utf8);
        } else if (c == 0 || (c >= 0xD800 && c <= 0xDFFF)) {
            PutUtf8(kReplacement, utf8);
        } else {
            PutUtf8(c, utf8);
        }
    }
    if (at != text.size()) {
        PutUtf8(kReplacement, utf8);
    }
}

bool EncodeUcs2(std::string_view utf8, std::vector<std::uint8_t>& bytes) {
    for (std::size_t at = 0; at < utf8.size();) {
        char32_t c = TakeUtf8(utf8, at);
        if (c == '\n') {
            c = 0xE08A;
        } else if (IsControl(c)) {
            c += 0xE000;
        }
        if (c > 0xFFFF) {
            return false;
        }
        bytes.push_back(static_cast<std::uint8_t>(c >> 8));
        bytes.push_back(static_cast<std::uint8_t>(c));
    }
    return true;
}

void DecodeUtf8(ByteView text, std::string& utf8) {
    const std::string_view chars(reinterpret_cast<const char*>(text.data()), text.size());
    for (std::size_t at = 0; at < chars.size();) {
        const char32_t c = TakeUtf8(chars, at);
        if (c == 0x8A || c == 0xE08A) {
            utf8 += '\n';
        } else if (c >= 0xE080 && c <= 0xE09F) {
            PutUtf8(c - 0xE000, utf8);
        } else {
            PutUtf8(c == 0 ? kReplacement : c, utf8);
        }
    }
}

bool EncodeUtf8(std::string_view utf8, std::vector<std::uint8_t>& bytes) {
    std::string coded;
    for (std::size_t at = 0; at < utf8.size();) {
        const char32_t c = TakeUtf8(utf8, at);
        PutUtf8(c == '\n' ? 0xE08A : IsControl(c) ? c + 0xE000 : c, coded);
    }
    bytes.insert(bytes.end(), coded.begin(), coded.end());
    return true;
}

// --- Selectors

enum class Coding { kIso6937, kIso8859, kUcs2, kEastAsian, kUtf8, kUnknown };

struct Selector {
    Coding coding = Coding::kIso6937;
    unsigned part = 0;     // of ISO/IEC 8859, or the selector of kEastAsian
    std::size_t size = 0;  // bytes of the selector, before the text
};

constexpr bool IsPart(unsigned part) {
    return part >= 1 && part <= 15 && part != 12;
}

// Figure A.0 and table A.3 of EN 300 468.
Selector SelectorOf(ByteView text) {
    const std::uint8_t first = text.U8(0);
    if (text.empty() || first >= 0x20) {
        return {};
    }
    if (first >= 0x01 && first <= 0x0B && first != 0x08) {
        return {Coding::kIso8859, first + 4u, 1};
    }
    switch (first) {
        case 0x10:
            if (text.size() >= 3 && IsPart(text.U16(1))) {
                return {Coding::kIso8859, text.U16(1), 3};
            }
            return {Coding::kUnknown, 0, std::min<std::size_t>(3, text.size())};
        case 0x11:
        case 0x14:
            return {Coding::kUcs2, first, 1};
        case 0x12:
        case 0x13:
            return {Coding::kEastAsian, first, 1};
        case 0x15:
            return {Coding::kUtf8, 0, 1};
        case 0x1F:
            return {Coding::kUnknown, 0, std::min<std::size_t>(2, text.size())};
        default:
            return {Coding::kUnknown, 0, 1};
    }
}

struct NamedTable {
    std::string_view name;
    std::uint8_t selector;
};

constexpr NamedTable kNamed[] = {
    {"ucs-2", 0x11}, {"ksx1001", 0x12}, {"gb2312", 0x13}, {"big5", 0x14}, {"utf-8", 0x15},
};

constexpr std::string_view kIso8859Prefix = "iso8859-";
constexpr std::string_view kLongPrefix = "10:";
constexpr std::string_view kRawPrefix = "0x";

// The part in a name such as "iso8859-9"; 0 when the name is another one.
unsigned PartOf(std::string_view name) {
    if (name.substr(0, kIso8859Prefix.size()) != kIso8859Prefix) {
        return 0;
    }
    unsigned part = 0;
    for (const char c : name.substr(kIso8859Prefix.size())) {
        if (c < '0' || c > '9' || part > 9) {
            return 0;
        }
        part = part * 10 + static_cast<unsigned>(c - '0');
    }
    return IsPart(part) ? part : 0;
}

void DecodeAs(const Selector& selector, ByteView text, std::string& utf8) {
    switch (selector.coding) {
        case Coding::kIso6937:
            return DecodeSingle(text, Iso6937(), utf8);
        case Coding::kIso8859:
            return DecodeSingle(text, Iso8859(selector.part), utf8);
        case Coding::kUcs2:
            return DecodeUcs2(text, utf8);
        case Coding::kUtf8:
            return DecodeUtf8(text, utf8);
        case Coding::kEastAsian:
            return DecodeEastAsian(text, EastAsian(selector.part), utf8);
        case Coding::kUnknown:
            return AppendHex(text, utf8);
    }
}

bool EncodeAs(const Selector& selector, std::string_view utf8, std::vector<std::uint8_t>& bytes) {
    switch (selector.coding) {
        case Coding::kIso6937:
            return EncodeSingle(utf8, Iso6937(), bytes);
        case Coding::kIso8859:
            return EncodeSingle(utf8, Iso8859(selector.part), bytes);
        case Coding::kUcs2:
            return EncodeUcs2(utf8, bytes);
        case Coding::kUtf8:
            return EncodeUtf8(utf8, bytes);
        case Coding::kEastAsian:
            return EncodeEastAsian(utf8, EastAsian(selector.part), bytes);
        case Coding::kUnknown:
            return ParseHex(utf8, bytes);
    }
    return false;
}

// The table of a text without a selector.
Selector Default(const TextRules& rules) {
    if (const unsigned part = PartOf(rules.defaultTable)) {
        return {Coding::kIso8859, part, 0};
    }
    for (const NamedTable& named : kNamed) {
        if (named.name == rules.defaultTable) {
            const Selector selector = SelectorOf({&named.selector, 1});
            return {selector.coding, selector.part, 0};
        }
    }
    return {};
}

}  // namespace

std::string TextTable(ByteView text, const TextRules& rules) {
    if (rules.arib) {
        return text.empty() ? "" : "arib";
    }
    const Selector selector = SelectorOf(text);
    if (selector.size == 0) {
        return {};
    }
    if (selector.coding == Coding::kIso8859) {
        const std::string name = std::string(kIso8859Prefix) + std::to_string(selector.part);
        return selector.size == 3 ? std::string(kLongPrefix) + name : name;
    }
    for (const NamedTable& named : kNamed) {
        if (named.selector == text.U8(0)) {
            return std::string(named.name);
        }
    }
    std::string name(kRawPrefix);
    AppendHex(text.Subview(0, selector.size), name);
    return name;
}

void DecodeText(ByteView text, const TextRules& rules, std::string& utf8) {
    if (rules.arib) {
        return AppendHex(text, utf8);
    }
    const Selector selector = SelectorOf(text);
    DecodeAs(selector.size == 0 ? Default(rules) : selector, text.Subview(selector.size), utf8);
}

bool EncodeText(std::string_view utf8, std::string_view table, const TextRules& rules,
                std::vector<std::uint8_t>& bytes) {
    if (table == "arib" || (rules.arib && table.empty())) {
        return ParseHex(utf8, bytes);
    }
    if (table.empty()) {
        const std::size_t begin = bytes.size();
        // The text gets no selector, so its first byte must not look like one.
        return EncodeAs(Default(rules), utf8, bytes) &&
               (bytes.size() == begin || bytes[begin] >= 0x20);
    }
    if (table.substr(0, 2) == kRawPrefix) {
        const std::size_t begin = bytes.size();
        if (!ParseHex(table.substr(2), bytes)) {
            return false;
        }
        const ByteView selector(bytes.data() + begin, bytes.size() - begin);
        return SelectorOf(selector).coding == Coding::kUnknown && ParseHex(utf8, bytes);
    }
    if (table.substr(0, kLongPrefix.size()) == kLongPrefix) {
        const unsigned part = PartOf(table.substr(kLongPrefix.size()));
        bytes.insert(bytes.end(), {0x10, 0, static_cast<std::uint8_t>(part)});
        return part != 0 && EncodeSingle(utf8, Iso8859(part), bytes);
    }
    std::uint8_t selector = 0;
    if (const unsigned part = PartOf(table); part >= 5) {
        selector = static_cast<std::uint8_t>(part - 4);
    }
    for (const NamedTable& named : kNamed) {
        selector = named.name == table ? named.selector : selector;
    }
    if (selector == 0) {
        return false;
    }
    bytes.push_back(selector);
    return EncodeAs(SelectorOf({&selector, 1}), utf8, bytes);
}

bool TextSurvives(ByteView text, const TextRules& rules) {
    Selector selector = rules.arib ? Selector{Coding::kUnknown, 0, 0} : SelectorOf(text);
    if (selector.size == 0 && !rules.arib) {
        selector = Default(rules);
    }
    switch (selector.coding) {
        case Coding::kIso6937:
            return SingleSurvives(text.Subview(selector.size), Iso6937());
        case Coding::kIso8859:
            return SingleSurvives(text.Subview(selector.size), Iso8859(selector.part));
        case Coding::kUnknown:
            return true;
        default:
            break;
    }
    std::string utf8;
    DecodeText(text, rules, utf8);
    std::vector<std::uint8_t> bytes;
    return EncodeText(utf8, TextTable(text, rules), rules, bytes) &&
           std::equal(bytes.begin(), bytes.end(), text.begin(), text.end());
}

bool IsTextTable(std::string_view name) {
    return name == "iso6937" || PartOf(name) != 0 ||
           std::any_of(std::begin(kNamed), std::end(kNamed),
                       [name](const NamedTable& named) { return named.name == name; });
}

bool IsValidUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t before = at;
        if (TakeUtf8(text, at) == kReplacement && at - before == 1) {
            return false;
        }
    }
    return true;
}

}  // namespace syntax
