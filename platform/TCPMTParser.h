#pragma once

#include <memory>

#include "Export.h"
#include "IDescriptorContainer.h"
#include "TCBaseSection.h"
#include "TCSectionParser.h"

struct TVSHandle;

/// One elementary stream of a PMT (ISO/IEC 13818-1 2.4.4.9) and its descriptor loop.
class TVSERVICE_API TCPMTElementary : public IDescriptorContainer {
  public:
    ~TCPMTElementary() override;

    /// elementary_PID, 13 bits.
    unsigned short ElementaryPID();

    /// stream_type.
    unsigned char StreamType();

    int NumOfDescriptors(int tag) override;
    TCBaseDesc* Descriptor(int tag, unsigned int index) override;

    /// All descriptors of the loop, whatever their tag, in loop order.
    int NumOfDescriptors();

    /// The descriptor at `index` of the loop; null past the end. Owned by this object.
    TCBaseDesc* DescriptorByIndex(unsigned int index);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit TCPMTElementary(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// The PMT of one program: its elementary streams and its program descriptor loop.
class TVSERVICE_API TCPMTInstance : public TCBaseSection, public IDescriptorContainer {
  public:
    ~TCPMTInstance() override;

    /// program_number.
    unsigned short ProgramNumber() const;

    /// PCR_PID, 13 bits; 0x1FFF when the program has none.
    unsigned short PCRPID() const;

    int NumOfElementary();

    /// The elementary stream at `index`; null past the end.
    TCPMTElementary* PMTElementary(unsigned int index);

    int NumOfDescriptors(int tag) override;
    TCBaseDesc* Descriptor(int tag, unsigned int index) override;

    /// All descriptors of the loop, whatever their tag, in loop order.
    int NumOfDescriptors();

    /// The descriptor at `index` of the loop; null past the end. Owned by this object.
    TCBaseDesc* DescriptorByIndex(unsigned int index);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit TCPMTInstance(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// Program map tables (ISO/IEC 13818-1 2.4.4.8), one instance a program.
class TVSERVICE_API TCPMTParser : public TCSectionParser {
  public:
    explicit TCPMTParser(TVSHandle const& handle);
    ~TCPMTParser() override;

    bool Parse(short pid, unsigned char* section) override;
    void Reset() override;

    /// program_number of the last section taken, 0 before the first one.
    unsigned short ProgramNumber() const;

    /// The PMT of that program; null when no section of it was taken.
    TCPMTInstance* PMTInstance(unsigned short programNumber);

    int NumOfPMTInstance();

    /// The instances in ascending order of program_number; null past the end.
    TCPMTInstance* PMTInstanceOfIndex(unsigned int index);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
