#include "syntax/Page.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <vector>

#include "syntax/Outline.h"
#include "syntax/Registry.h"

namespace syntax {

namespace {

constexpr std::string_view kIntroduction =
    R"(<!-- Written from the declarations in syntax/; a test compares it with them.
     TORVELSI_UPDATE_GOLDEN=1 ctest -R SyntaxDocuments writes it anew. -->

# Tables and descriptors

These are the tables and descriptors that `torvelsi decode` and `torvelsi encode` know by name. The
last column has the fields of the JSON, in the order of the bytes:

- `x?` is there in some objects only: another field, or the number of bytes that are left, says when;
- `x[...]` is a list of objects with these fields, `x{...}` one such object;
- `x[descriptors]` is a list of descriptors.

Beside a coded value that has words stands `x_name` with them, beside a text that selects a character
table `x_text_table` (beside `text` it is `text_table`).
[torvelsi-descriptors-1.schema.json](torvelsi-descriptors-1.schema.json) says the type of each field.
[adding-a-descriptor.md](adding-a-descriptor.md) says how to declare another one.
)";

// The parts of the page that list descriptors, in the order of the page.
struct Part {
    std::string_view title;
    std::string_view words;
    Space space;
    bool scoped = false;  // lists those that are in force only under a specifier or the like
};

constexpr Part kParts[] = {
    {"Descriptors", "Those of ISO/IEC 13818-1 (below 0x40) and DVB.", Space::kMain},
    {"MPEG extension descriptors", "Tag 0x3F; the first column is `extension_tag`.",
     Space::kMpegExtension},
    {"DVB extension descriptors", "Tag 0x7F; the first column is `extension_tag`.",
     Space::kDvbExtension},
    {"Private descriptors, and those of other standards",
     "They count under a private_data_specifier (`--pds` where a network sends none), behind a\n"
     "registration_descriptor with the format that is named, or under another `--standard`.",
     Space::kMain, true},
    {"Descriptors of the application information table",
     "They count there, beside the descriptors above.", Space::kApplication},
    {"Descriptors of the update notification table",
     "They count there, beside the descriptors above.", Space::kUpdate},
    {"Descriptors of the IP/MAC notification table",
     "They count there, beside the descriptors above.", Space::kIpMac},
    {"Descriptors of groups and modules in a data carousel",
     "They count there, beside the descriptors above.", Space::kCarousel},
    {"Splice descriptors", "They count in splice information.", Space::kSplice},
    {"Descriptors of the resolution provider notification table",
     "They count there, beside the descriptors above.", Space::kResolution},
};

void PutFields(std::span<const Op> steps, std::string& out) {
    bool first = true;
    for (const OutlinedField& field : Outline(steps)) {
        out += first ? "" : ", ";
        first = false;
        out += field.name;
        out += field.always ? "" : "?";
        // When a field has several forms, the one with the most steps is shown: the others are a
        // part of it, or a number.
        const auto most = std::max_element(
            field.forms.begin(), field.forms.end(),
            [](const auto& a, const auto& b) { return a.body.size() < b.body.size(); });
        if (most->op->kind == OpKind::kDescriptors) {
            out += "[descriptors]";
        } else if (!most->body.empty()) {
            const bool list = most->op->kind == OpKind::kLoop;
            out += list ? '[' : '{';
            PutFields(most->body, out);
            out += list ? ']' : '}';
        }
    }
}

void PutHexByte(unsigned value, std::string& out) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", value);
    out += text;
}

void PutRow(const Known& known, bool scoped, std::string& out) {
    const Head& head = known.head;
    out += "| ";
    if (head.low == 0 && head.high == 0xFF) {
        out += "any other";
    } else {
        PutHexByte(head.low, out);
        if (head.high != head.low) {
            out += " to ";
            PutHexByte(head.high, out);
        }
    }
    if (scoped) {
        out += " | ";
        out += ScopeWords(head.scope);
    }
    out += " | ";
    out += head.name;
    out += " | ";
    out += head.clause;
    out += " | ";
    if (std::string fields; PutFields(known.steps, fields), !fields.empty()) {
        out += '`' + fields + '`';
    }
    out += " |\n";
}

void PutRows(std::vector<const Known*> rows, std::string_view number, bool scoped,
             std::string& out) {
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Known* a, const Known* b) { return a->head.high < b->head.high; });
    out += "\n| ";
    out += number;
    out += scoped ? " | counts | name | defined in | fields |\n|---|---|---|---|---|\n"
                  : " | name | defined in | fields |\n|---|---|---|---|\n";
    for (const Known* known : rows) {
        PutRow(*known, scoped, out);
    }
}

}  // namespace

std::string DescriptorsPage() {
    std::string out(kIntroduction);
    out += "\n## Tables\n";
    std::vector<const Known*> rows;
    for (const Known& known : AllKnown()) {
        if (known.head.table) {
            rows.push_back(&known);
        }
    }
    PutRows(rows, "table_id", false, out);
    for (const Part& part : kParts) {
        rows.clear();
        for (const Known& known : AllKnown()) {
            const bool scoped = !ScopeWords(known.head.scope).empty();
            if (!known.head.table && known.head.scope.space == part.space &&
                scoped == part.scoped) {
                rows.push_back(&known);
            }
        }
        out += "\n## ";
        out += part.title;
        out += "\n\n";
        out += part.words;
        out += '\n';
        PutRows(rows, "tag", part.scoped, out);
    }
    return out;
}

}  // namespace syntax
