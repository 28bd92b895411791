#pragma once

#include <CLI/App.hpp>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "tools/torvelsi/Arguments.h"

namespace tool {

/// An option whose text one of the functions in Arguments.h reads. They get an empty text too;
/// CLI11 would skip it in options of other types.
class TextOption {
  public:
    /// Adds the option to a command. This object must live as long as the command does.
    CLI::Option* Add(CLI::App& command, const std::string& name, const std::string& help) {
        option_ = command.add_option(name, text_, help);
        return option_;
    }

    /// Whether the command line has the option. Valid after parsing.
    bool IsGiven() const { return option_->count() > 0; }

    /// The value of the option's text.
    /// @throw CLI::ValidationError when `reader` refuses the text
    template <class Reader>
    auto Parsed(Reader reader) const {
        try {
            return reader(text_);
        } catch (const std::invalid_argument& why) {
            throw CLI::ValidationError(option_->get_name(), why.what());
        }
    }

    /// The option's number, 0 to `largest`; throws as `Parsed` does.
    std::uint64_t Number(std::uint64_t largest) const {
        return Parsed([largest](const std::string& text) { return ParseNumber(text, largest); });
    }

  private:
    CLI::Option* option_ = nullptr;
    std::string text_;
};

}  // namespace tool
