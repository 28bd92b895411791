#pragma once

// The start-up interface of the software platform: the one header that a program includes, beside
// the declarations of the service library, to run the SI layer without a receiver's hardware.
// Usable from C++14.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Counter.h"

#if defined(__GNUC__)
#define SOFTPLATFORM_API __attribute__((visibility("default")))
#else
#define SOFTPLATFORM_API
#endif

namespace tvservice {

/// Where a transport stream comes from. Made by the functions below, played by
/// `SoftwarePlatform::Play`; used by one thread at a time.
class Source;
using SourcePtr = std::shared_ptr<Source>;

/// The range of `SourceOptions::pace`.
constexpr double kMinPace = 0.001;
constexpr double kMaxPace = 1000000;

/// How a source is read.
struct SourceOptions {
    bool loop = false;    ///< starts again at its end; for files and memory
    bool follow = false;  ///< waits at its end for more; for files that grow
    double pace = 0;      ///< by its PCRs, in multiples of real time; 0: as fast as it can be read
    bool dvr = false;     ///< takes the packets of the dvr device; for "dvb:..."
    /// Maps files into memory (mmap(2)) a part at a time, which saves a copy. What cannot be mapped
    /// is read (read(2)), as everything is without this. For a program whose handler of SIGBUS
    /// calls `RepairMappedSource`.
    bool mapped = false;
};

/// Opens a transport stream. Never waits, not even for the writer of a named pipe.
///
/// @param uri      a path; "-" for standard input; or one of `SourceSchemes`. Addresses are
///                 numeric, IPv6 in brackets; a multicast group may stand behind @.
/// @param options  how it is read
/// @param error    on failure receives one line that names the input and why; otherwise left alone
/// @return the source, or null on failure
SOFTPLATFORM_API SourcePtr OpenSource(const std::string& uri, const SourceOptions& options,
                                      std::string& error);
SOFTPLATFORM_API SourcePtr OpenSource(const std::string& uri, std::string& error);

/// A kind of URI that `OpenSource` opens.
struct SourceScheme {
    const char* prefix;   ///< what the URI begins with: "dvb:"
    const char* form;     ///< "dvb:ADAPTER[:DEMUX]"
    const char* meaning;  ///< what it stands for: one line for people
    bool hasDvr;          ///< whether `SourceOptions::dvr` can be set
};

/// All of them.
SOFTPLATFORM_API std::vector<SourceScheme> SourceSchemes();

/// Reads a source as the options say, `dvr` excepted. The source becomes the result's alone.
/// @param error  receives the line when the options do not fit the source or each other
/// @return null in that case, and when `source` is null
SOFTPLATFORM_API SourcePtr WithOptions(SourcePtr source, const SourceOptions& options,
                                       std::string& error);

/// A transport stream in memory, which the source keeps.
///
/// @param name   the name that messages use
/// @param bytes  the stream
/// @param piece  the number of bytes that one read gives; 0: as many as are asked for
SOFTPLATFORM_API SourcePtr MemorySource(std::string name, std::vector<unsigned char> bytes,
                                        std::size_t piece = 0);

/// A transport stream in memory that the caller keeps: `bytes` stay alive and unchanged until the
/// source is destroyed and nothing plays it. They are read where they lie.
SOFTPLATFORM_API SourcePtr BorrowedSource(std::string name, const unsigned char* bytes,
                                          std::size_t size, std::size_t piece = 0);

/// For the SIGBUS handler of a program that has files mapped; the library installs none. The signal
/// comes, on the thread that reads the source, when a mapped file becomes shorter or cannot be read
/// from its device. If `address` (`si_addr`) lies in such a file, zeros take the place of what is
/// missing, the source fails at its next read, and the handler can return.
///
/// Async-signal-safe; leaves `errno` alone.
/// @return false when the signal has another cause
SOFTPLATFORM_API bool RepairMappedSource(void* address) noexcept;

/// What can be said of a source without playing it.
struct SourceInfo {
    std::string name;    ///< the name that messages use
    std::uint64_t size;  ///< in bytes; 0 when unknown (pipes)
    bool rewindable;     ///< whether it can be played again from its start
    bool live;           ///< whether it has no end of its own (sockets)
};
SOFTPLATFORM_API SourceInfo Describe(const Source& source);

/// The PID of the barrier: 0x2000, which no packet can carry. While a filter is set on it, the
/// delivery thread sends that filter a section of the form below where `PlayOptions` says, and goes
/// on only when `SoftwarePlatform::BarrierPassed` was called with the same sequence number. The
/// subscriber that answers on the thread which handles all sections thereby holds the stream until
/// everything delivered before has been handled.
///
/// A subscriber that got a barrier section must answer it, even if it is releasing the filter. The
/// section is not sent again to a filter that is set in the meantime: without an answer the stream
/// stops until `Interrupt`.
///
/// The section: table_id `kBarrierTableId`, section_syntax_indicator 0, section_length 4, then the
/// sequence number, 32 bits, most significant byte first.
constexpr unsigned short kBarrierPid = 0x2000;
constexpr unsigned char kBarrierTableId = 0x80;

/// How a source is played.
struct PlayOptions {
    enum Reading {
        kFreeRunning,  ///< a barrier every `barrierInterval` bytes, and one at the end
        kLockStep      ///< a barrier after each packet that delivered a section, and one at the end
    };
    Reading reading = kFreeRunning;
    std::uint64_t barrierInterval = 4 * 1024 * 1024;
};

/// How a source ended.
struct InputEnd {
    enum Reason {
        kEndOfInput,   ///< every byte was read
        kInterrupted,  ///< by `Interrupt` or `Stop`
        kFailed        ///< reading failed
    };
    Reason reason;
    std::string error;  ///< with `kFailed`: one line that names the input, the offset and why
};

/// One counter of the stream.
struct CounterValue {
    const char* name;     ///< in snake_case, as the tool prints it
    const char* meaning;  ///< one line for people
    std::uint64_t value;
};

/// What a receiver is started with.
struct Config {
    unsigned filters = 256;  ///< section filters that can be set at once, 1 to 4096

    /// Room for the cache, from which a filter may be given at once what the broadcast said before:
    /// in bytes; every table costs 192 beside its sections, and every section 64; 0: no cache.
    std::size_t cacheBytes = 1024 * 1024;

    /// Faults to inject on purpose, for example "drop=1/1000"; docs/faults.md lists them all.
    std::vector<std::string> faults{};
    std::uint64_t faultSeed = 1;  ///< the same seed and faults damage the same packets and sections
};

/// The receiver itself: demultiplexer, section filters and the delivery thread, which calls the
/// section callback. One per process, never destroyed. All members may be called on any thread;
/// none may be called from the section callback but `BarrierPassed`, `Counters` and `Counter`.
///
/// A subscriber that was asked for before `Start` is idle: filters can be set, nothing arrives.
/// Nothing arrives before `Play` either, so what is subscribed first is in force from the first
/// packet on. Filters outlive the end of an input, and of the receiver.
class SOFTPLATFORM_API SoftwarePlatform {
  public:
    static SoftwarePlatform& Instance();

    /// Starts the delivery thread. False when it runs already, when the configuration is out of
    /// range, when fewer filters are asked for than are in use, or when a fault is not understood.
    /// @param error  on failure receives one line that says why; otherwise left alone
    bool Start(const Config& config, std::string& error);
    bool Start(const Config& config = Config());

    /// Plays a source from its start (a source that can be rewound is). Counters begin at 0, the
    /// demultiplexer afresh, filters stay. False when not started, when another source is playing,
    /// when `source` is null or cannot be rewound although it was played before.
    bool Play(SourcePtr source, const PlayOptions& options = PlayOptions());

    /// Waits until the source that was played last has ended and its last barrier has passed.
    /// Returns `kInterrupted` at once when nothing was played.
    InputEnd WaitEnd();

    /// Ends the source that plays, within 100 ms, whatever its input does.
    void Interrupt();

    /// Interrupts and joins the delivery thread. `Start` may follow.
    void Stop();

    /// Answers the barrier section with that sequence number. Late and unknown ones are ignored.
    void BarrierPassed(std::uint32_t sequence);

    /// All counters of the current or last source, in the order of the enumeration.
    std::vector<CounterValue> Counters() const;

    /// One of them. 0 for a value that this library does not know.
    std::uint64_t Counter(tvservice::Counter counter) const;

    /// How many faults of each kind were injected since the last `Start`: one row for each kind
    /// that was asked for.
    std::vector<CounterValue> FaultCounts() const;

    /// Whether the current or last source had a packet with payload on a PID (13 bits) while a
    /// filter was set on it.
    bool Seen(unsigned short pid) const;

    /// The packet size found in the current or last source: 188, 192 or 204; 0 while unknown.
    unsigned PacketSize() const;

    SoftwarePlatform(const SoftwarePlatform&) = delete;
    SoftwarePlatform& operator=(const SoftwarePlatform&) = delete;

  private:
    SoftwarePlatform();
    ~SoftwarePlatform() = default;
    struct Impl;
    Impl* const m_impl;
};

/// Takes the lines of the platform log in place of stderr: buffer, priority, tag and the finished
/// line with its colours and without a newline at its end. Called on the thread that writes the
/// line, one line at a time; must not write to the log itself.
using LogSink = std::function<void(int bufferId, int priority, const char* tag, const char* line)>;

/// Puts a sink in the place of stderr; an empty one restores it. Returns when no line is on its way
/// to the previous sink any more.
SOFTPLATFORM_API void SetLogSink(LogSink sink);

/// Drops lines below a priority (3 debug to 6 error; 7 drops all). Default: 5, warning. Holds for
/// stderr and for a sink.
SOFTPLATFORM_API void SetLogPriority(int lowest);

}  // namespace tvservice
