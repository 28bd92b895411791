// How fast a file goes through the libraries, measured as their clients use them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// What is done with the sections of a file.
enum class Mode {
    kScan,                 ///< a: nothing is subscribed
    kSections,             ///< b: every section reaches a filter's callback
    kPlatform,             ///< p: and the platform's parsers; everything in it is read
    kPlatformSkipRepeats,  ///< P: the same, but repeats are skipped by comparing
    kObserver,             ///< d: every section reaches an empty observer of the section manager
    kClient,               ///< c: and the SI layer's parsers; everything in it is read
    kClientSkipRepeats     ///< C: the same, but repeats are skipped by comparing
};
/// By its letter; false for another letter.
bool ModeOf(const std::string& letter, Mode& mode);

struct Pass {
    double seconds = 0;
    std::uint64_t sections = 0;
    std::uint64_t sectionBytes = 0;
    std::uint64_t items = 0;  ///< entries of loops and descriptors that were read
};

/// Plays one file as often as is asked, always with the same filters: on PIDs 0, 1, 0x10, 0x11,
/// 0x12, 0x14 and on those of the PMTs, all sections of each. One in a process.
class Throughput {
  public:
    /// Reads the file once, which also brings it into the page cache. Throws std::runtime_error
    /// when it cannot be read.
    /// @param cacheBytes  the platform's section cache; 0: none
    Throughput(std::string file, Mode mode, std::size_t cacheBytes);

    /// From `Play` until the last section has been handled.
    Pass Run();

    std::uint64_t fileSize() const { return fileSize_; }
    /// The PIDs that have filters.
    const std::vector<unsigned short>& pids() const { return pids_; }

  private:
    std::string file_;
    Mode mode_;
    std::uint64_t fileSize_ = 0;
    std::vector<unsigned short> pids_;
};

}  // namespace bench
