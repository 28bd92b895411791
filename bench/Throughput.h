// Measures how fast a file goes through the libraries when clients use them as usual.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// What is done with the sections of a file. The letters are the modes of the command line.
enum class Mode {
    kScan,                 ///< a: nothing is subscribed
    kSections,             ///< b: every section reaches a filter's callback
    kPlatform,             ///< p: and the platform's parsers; everything in it is read
    kPlatformSkipRepeats,  ///< P: the same, but repeats are skipped by comparing
    kObserver,             ///< d: every section reaches an empty observer of the section manager
    kClient,               ///< c: and the SI layer's parsers; everything in it is read
    kClientSkipRepeats     ///< C: the same, but repeats are skipped by comparing
};
/// Finds the mode with this letter. Returns false for another letter.
bool ModeOf(const std::string& letter, Mode& mode);

struct Pass {
    double seconds = 0;
    std::uint64_t sections = 0;
    std::uint64_t sectionBytes = 0;
    std::uint64_t items = 0;  ///< entries of loops and descriptors that were read
};

/// Plays one file as often as asked, always with the same filters: all sections of the PIDs 0, 1,
/// 0x10, 0x11, 0x12, 0x14 and of the PMTs. A process can have only one.
class Throughput {
  public:
    /// Reads the file once, which also brings it into the page cache. Throws std::runtime_error
    /// when that fails.
    /// @param cacheBytes  the platform's section cache; 0: none
    Throughput(std::string file, Mode mode, std::size_t cacheBytes);

    /// Measures the time from `Play` until the last section has been handled.
    Pass Run();

    std::uint64_t fileSize() const { return fileSize_; }
    /// Returns the PIDs that have filters.
    const std::vector<unsigned short>& pids() const { return pids_; }

  private:
    std::string file_;
    Mode mode_;
    std::uint64_t fileSize_ = 0;
    std::vector<unsigned short> pids_;
};

}  // namespace bench
