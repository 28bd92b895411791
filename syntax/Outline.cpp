#include "syntax/Outline.h"

#include <algorithm>

namespace syntax {

namespace {

void AddField(const Op& op, std::span<const Op> body, bool always,
              std::vector<OutlinedField>& fields) {
    auto field = std::find_if(fields.begin(), fields.end(),
                              [&op](const OutlinedField& other) { return other.name == op.name; });
    if (field == fields.end()) {
        field = fields.insert(field, OutlinedField{op.name, false, {}});
    }
    // Bytes up to the end make no field when no byte is left.
    const bool mayBeEmpty = op.kind == OpKind::kBytes && op.extent == Extent::kRest;
    field->always = field->always || (always && !mayBeEmpty);
    field->forms.push_back({&op, body});
}

void AddFields(std::span<const Op> steps, bool always, std::vector<OutlinedField>& fields) {
    for (std::size_t at = 0; at < steps.size(); at += 1 + steps[at].body) {
        const Op& op = steps[at];
        const std::span<const Op> body = steps.subspan(at + 1, op.body);
        if (IsNamed(op)) {
            AddField(op, body, always, fields);
        } else if (op.body != 0) {
            AddFields(body, always && op.kind == OpKind::kWindow, fields);
        }
    }
}

}  // namespace

std::vector<OutlinedField> Outline(std::span<const Op> steps) {
    std::vector<OutlinedField> fields;
    AddFields(steps, true, fields);
    return fields;
}

}  // namespace syntax
