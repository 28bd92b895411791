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

/// The arguments of the command `sections`.
struct SectionsRequest {
    enum Format { kHex, kJson, kBinary };
    static constexpr unsigned int kNoTimeout = 0xFFFFFFFF;

    ReceiverOptions receiver;
    unsigned short pid = 0;
    std::optional<unsigned int> tableId;    ///< if it has no value, the pattern is the filter
    std::optional<unsigned int> extension;  ///< used with a table id only
    std::vector<unsigned char> pattern;
    std::vector<unsigned char> mask;
    std::vector<unsigned char> mode;
    TORVEL_MW::ISectionManager::EFilterMode filterMode = TORVEL_MW::ISectionManager::EContinuous;
    unsigned int timeout = kNoTimeout;   ///< in milliseconds
    std::optional<std::uint64_t> count;  ///< the number of sections to end after, 1 or more
    bool fromCache = false;              ///< used with a table id and no extension only
    Format format = kHex;

    bool IsOneShot() const { return filterMode == TORVEL_MW::ISectionManager::EOneShot; }
};

/// The command-line options that fill a `SectionsRequest`.
class SectionsOptions {
  public:
    /// Adds the options to a command. This object must live as long as the command does.
    explicit SectionsOptions(CLI::App& command);

    /// The request, once the command line was parsed.
    /// @throw CLI::Error when a value is not valid or the options do not fit together
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
