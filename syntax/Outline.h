// What objects a declaration's steps make, for those who describe declarations rather than bytes.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "syntax/Op.h"

namespace syntax {

// A field of an object. Two steps may have the same name: a choice's ways, say.
struct OutlinedField {
    struct Form {
        const Op* op;
        std::span<const Op> body;  // of a loop or an object
    };

    std::string_view name;
    bool always = false;  // in every object whose bytes fit the declaration
    std::vector<Form> forms;
};

// The fields of one object that `steps` make, each name once, in the order of the bytes.
std::vector<OutlinedField> Outline(std::span<const Op> steps);

}  // namespace syntax
