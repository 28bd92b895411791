#pragma once

#include <CLI/App.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "tools/torvelsi/ReceiverOptions.h"
#include "tools/torvelsi/TextOption.h"

namespace tool {

/// What the command `sections` was asked for.
struct SectionsRequest {
    enum Format { kHex, kJson, kBinary };
    static constexpr unsigned int kNoTimeout = 0xFFFFFFFF;

    ReceiverOptions receiver;
    unsigned short pid = 0;
    std::optional<unsigned int> tableId;    ///< without it the pattern is the filter
    std::optional<unsigned int> extension;  ///< only with a table id
    std::vector<unsigned char> pattern;
    std::vector<unsigned char> mask;
    std::vector<unsigned char> mode;
    TORVEL_MW::ISectionManager::EFilterMode filterMode = TORVEL_MW::ISectionManager::EContinuous;
    unsigned int timeout = kNoTimeout;   ///< in milliseconds
    std::optional<std::uint64_t> count;  ///< 1 or more: end after so many sections
    bool fromCache = false;              ///< only with a table id alone
    Format format = kHex;

    bool IsOneShot() const { return filterMode == TORVEL_MW::ISectionManager::EOneShot; }
};

/// The options of the command line that fill a request.
class SectionsOptions {
  public:
    /// Adds them to a command, which this object must outlive.
    explicit SectionsOptions(CLI::App& command);

    /// After parsing.
    /// @throw CLI::Error when they do not fit together
    SectionsRequest Request() const;

  private:
    void AddFilter(CLI::App& command);
    void AddEndAndFormat(CLI::App& command);
    void ReadFilter(SectionsRequest& request) const;
    void ReadEndAndFormat(SectionsRequest& request) const;

    const std::shared_ptr<const ReceiverOptions> receiver_;
    TextOption pid_, tableId_, extension_, pattern_, mask_, mode_, timeout_, count_;
    std::string filterMode_ = "continuous";
    std::string format_ = "hex";
    bool fromCache_ = false;
};

}  // namespace tool
