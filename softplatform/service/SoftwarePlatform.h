#pragma once

// The start-up interface of the software platform. Besides the declarations of the service library,
// a program needs only this header to run the SI layer without the hardware of a receiver.
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
    double pace = 0;      ///< reading speed by the PCRs: 1 is real time; 0: as fast as possible
    bool dvr = false;     ///< takes the packets of the dvr device; for "dvb:..."
    /// Maps files into memory (mmap(2)), one part at a time, which saves a copy. Inputs that cannot
    /// be mapped are read with read(2), as all inputs are without this option. Set it only in a
    /// program whose SIGBUS handler calls `RepairMappedSource`.
    bool mapped = false;
};

/// Opens a transport stream. Never waits, not even for the writer of a named pipe.
///
/// @param uri      a path; "-" for standard input; or one of `SourceSchemes`. Addresses are
///                 numeric, IPv6 in brackets; a multicast group may be written with @ before it.
/// @param options  how it is read
/// @param error    on failure receives one line with the input and the reason; otherwise unchanged
/// @return the source, or null on failure
SOFTPLATFORM_API SourcePtr OpenSource(const std::string& uri, const SourceOptions& options,
                                      std::string& error);
SOFTPLATFORM_API SourcePtr OpenSource(const std::string& uri, std::string& error);

/// A kind of URI that `OpenSource` opens.
struct SourceScheme {
    const char* prefix;   ///< what the URI begins with: "dvb:"
    const char* form;     ///< "dvb:ADAPTER[:DEMUX]"
    const char* meaning;  ///< the kind of input: one line for people
    bool hasDvr;          ///< whether `SourceOptions::dvr` can be set
};

/// All kinds of URI.
SOFTPLATFORM_API std::vector<SourceScheme> SourceSchemes();

/// Returns a source that reads `source` as the options say; `dvr` is ignored. Only the result may
/// use `source` from then on.
/// @param error  receives one line when the options do not fit the source or each other
/// @return null in that case, and when `source` is null
SOFTPLATFORM_API SourcePtr WithOptions(SourcePtr source, const SourceOptions& options,
                                       std::string& error);

/// A transport stream in memory. The source owns the bytes.
///
/// @param name   the name that messages use
/// @param bytes  the stream
/// @param piece  the number of bytes that one read gives; 0: as many as the reader wants
SOFTPLATFORM_API SourcePtr MemorySource(std::string name, std::vector<unsigned char> bytes,
                                        std::size_t piece = 0);

/// A transport stream in memory that the caller owns. `bytes` must stay valid and unchanged until
/// the source is destroyed and nothing plays it. They are not copied.
SOFTPLATFORM_API SourcePtr BorrowedSource(std::string name, const unsigned char* bytes,
                                          std::size_t size, std::size_t piece = 0);

/// For the SIGBUS handler of a program that has files mapped; the library installs no handler. The
/// thread that reads the source gets the signal when a mapped file becomes shorter or cannot be
/// read from its device. If `address` (`si_addr`) is in such a file, zeros replace the missing
/// bytes, the source fails at its next read, and the handler can return.
///
/// Async-signal-safe; does not change `errno`.
/// @return false when the signal has another cause
SOFTPLATFORM_API bool RepairMappedSource(void* address) noexcept;

/// What is known of a source without playing it.
struct SourceInfo {
    std::string name;    ///< the name that messages use
    std::uint64_t size;  ///< in bytes; 0 when unknown (pipes)
    bool rewindable;     ///< whether it can be played again from its start
    bool live;           ///< whether it has no end (sockets)
};
SOFTPLATFORM_API SourceInfo Describe(const Source& source);

/// The PID of the barrier: 0x2000, which no packet can carry. While a filter is set on it, the
/// delivery thread sends that filter a barrier section at the points that `PlayOptions::Reading`
/// describes. Then it waits until `SoftwarePlatform::BarrierPassed` is called with the sequence
/// number of that section. A client that handles all its sections on one thread, and answers the
/// barrier there, thus holds the stream until everything delivered before has been handled.
///
/// A subscriber that got a barrier section must answer it, even if it is releasing the filter. If
/// another filter on the PID was set in the meantime, the delivery thread still waits for the
/// answer, and it does not send the section again: the stream stops until `Interrupt`.
///
/// The barrier section: table_id `kBarrierTableId`, section_syntax_indicator 0, section_length 4,
/// then the sequence number, 32 bits, most significant byte first.
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
    std::string error;  ///< with `kFailed`: one line with the input, the offset and the reason
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

    /// Size of the section cache in bytes; 0: no cache. A new filter can get the latest sections of
    /// a table from the cache at once. Each table costs 192 bytes in addition to its sections, and
    /// each section 64.
    std::size_t cacheBytes = 1024 * 1024;

    /// Faults to inject on purpose, for example "drop=1/1000"; docs/faults.md lists them all.
    std::vector<std::string> faults{};
    std::uint64_t faultSeed = 1;  ///< the same seed and faults damage the same packets and sections
};

/// The receiver itself: demultiplexer, section filters and the delivery thread, which calls the
/// section callback. There is one per process; it is never destroyed. All members may be called on
/// any thread. The section callback may call only `BarrierPassed`, `Counters` and `Counter`.
///
/// Subscribers can be created, and filters set, before `Start`. No section arrives before `Play`,
/// so a filter that is set before `Play` gets sections from the first packet on. Filters stay set
/// when an input ends, and also after `Stop`.
class SOFTPLATFORM_API SoftwarePlatform {
  public:
    static SoftwarePlatform& Instance();

    /// Starts the delivery thread. False when it runs already, when the configuration is out of
    /// range, when `filters` is below the number of filters in use, or when a fault is malformed.
    /// @param error  on failure receives one line with the reason; otherwise unchanged
    bool Start(const Config& config, std::string& error);
    bool Start(const Config& config = Config());

    /// Plays a source. A source that can be rewound is played from its start. Resets the counters
    /// and the demultiplexer; filters stay set. False when not started, when another source is
    /// playing, when `source` is null, or when it was played before and cannot be rewound.
    bool Play(SourcePtr source, const PlayOptions& options = PlayOptions());

    /// Waits until the source that was played last has ended and its last barrier has passed.
    /// Returns `kInterrupted` at once when nothing was played.
    InputEnd WaitEnd();

    /// Ends the source that plays, within 100 ms, whatever its input does.
    void Interrupt();

    /// Interrupts and joins the delivery thread. `Start` may follow.
    void Stop();

    /// Answers the barrier section with that sequence number. Late and unknown numbers are ignored.
    void BarrierPassed(std::uint32_t sequence);

    /// All counters of the current or last source, in the order of the enumeration.
    std::vector<CounterValue> Counters() const;

    /// One counter. 0 for a value of `counter` that this library does not know.
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

/// Receives the lines of the platform log instead of stderr: buffer, priority, tag and the complete
/// line, with its colours and without a newline at its end. Called on the thread that writes the
/// line, for one line at a time. It must not write to the log.
using LogSink = std::function<void(int bufferId, int priority, const char* tag, const char* line)>;

/// Sends the log to `sink` instead of stderr; an empty sink restores stderr. After the return the
/// previous sink is not called any more.
SOFTPLATFORM_API void SetLogSink(LogSink sink);

/// Drops lines below a priority (3 debug to 6 error; 7 drops all). Default: 5, warning. Applies to
/// stderr and to a sink.
SOFTPLATFORM_API void SetLogPriority(int lowest);

}  // namespace tvservice
