// How the table parsers use the heap. After a few versions of a table they allocate nothing more,
// and when an allocation fails, the section changes nothing. This is a program of its own, because
// it replaces operator new.

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "generator/Descriptors.h"
#include "generator/Tables.h"
#include "platform/TCBaseDesc.h"
#include "platform/TCDVBEITParser.h"
#include "platform/TCDVBNITParser.h"
#include "platform/TCDVBSDTParser.h"
#include "platform/TCDescLinkage.h"
#include "platform/TCDescService.h"
#include "platform/TCDescShortEvent.h"
#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "platform/TCPATParser.h"
#include "platform/TCPMTParser.h"
#include "tests/contract/platform/Tables.h"
#include "tests/support/FailingNew.h"
#include "tests/unit/table/TableFixture.h"

namespace {

using contract::SectionOptions;
using contract::Table;
using contract::TableKind;
using generator::TableOptions;
using testsupport::t_heap;

constexpr unsigned char kVersions = 32;

class TableMemoryTest : public testing::TestWithParam<TableKind> {
  protected:
    static Bytes Version(unsigned char version) {
        SectionOptions options;
        options.version = version;
        return GetParam().Section(options);
    }
    const std::unique_ptr<Table> table_ = GetParam().make();
};

TEST_P(TableMemoryTest, ANewVersionNeedsNone) {
    std::vector<Bytes> versions;
    for (unsigned char version = 0; version < kVersions; ++version) {
        versions.push_back(Version(version));
    }
    int warm = 0;
    for (unsigned char version = 0; version < kVersions; ++version) {
        if (version == 3) {
            warm = t_heap.allocations;
        }
        ASSERT_TRUE(table_->parser().Parse(0, versions[version].data()));
    }
    EXPECT_EQ(t_heap.allocations, warm);
}

// Feeds the section with each of its allocations failing in turn.
TEST_P(TableMemoryTest, ASectionWithoutMemoryChangesNothing) {
    std::vector<Bytes> sections;
    sections.push_back(Version(1));  // the first of all
    sections.push_back(Version(2));  // another version
    for (unsigned char number = 0; number < 2; ++number) {
        if (number < GetParam().maxSections) {
            SectionOptions options;
            options.last = static_cast<unsigned char>(GetParam().maxSections - 1);
            options.number = number;
            sections.push_back(GetParam().Section(options));
        }
    }
    if (GetParam().hasSubTables) {
        SectionOptions options;
        ++options.identity;
        sections.push_back(GetParam().Section(options));
    }
    int failures = 0;
    for (Bytes& section : sections) {
        const std::string before = table_->Dump();
        for (int successes = 0;; ++successes) {
            t_heap.failAfter = successes;
            bool hasFailed = false;
            try {
                EXPECT_TRUE(table_->parser().Parse(0, section.data()));
            } catch (const std::bad_alloc&) {
                hasFailed = true;
            }
            t_heap.failAfter = -1;
            if (!hasFailed) {
                break;
            }
            ++failures;
            ASSERT_EQ(table_->Dump(), before) << "after " << successes << " allocations";
        }
        EXPECT_NE(table_->Dump(), before);
    }
    EXPECT_GT(failures, 0);
}

// The library keeps a bounded reserve of memory for the next table of the thread. The first table
// makes that reserve; the second one must not add to it.
TEST_P(TableMemoryTest, AllOfItIsGivenBack) {
    Bytes section = Version(1);
    const auto useATable = [&] {
        const std::unique_ptr<Table> table = GetParam().make();
        table->parser().Parse(0, section.data());
        static_cast<void>(table->Dump().size());
    };
    useATable();
    const int blocks = t_heap.blocks;
    useATable();
    EXPECT_LE(t_heap.blocks, blocks);
}

INSTANTIATE_TEST_SUITE_P(AllTables, TableMemoryTest, testing::ValuesIn(contract::TableKinds()),
                         [](const auto& kind) { return kind.param.name; });

// Counts the allocations of `read(version)`, with a new version each time.
template <class Read>
int AllocationsOnceWarm(Read read) {
    int warm = 0;
    for (unsigned char version = 0; version < kVersions; ++version) {
        if (version == 4) {
            warm = t_heap.allocations;
        }
        read(version);
    }
    return t_heap.allocations - warm;
}

template <class Make>
std::vector<Bytes> Versions(Make make) {
    std::vector<Bytes> versions;
    for (unsigned char version = 0; version < kVersions; ++version) {
        TableOptions options;
        options.version_number = version;
        options.max_section_size = 4096;
        versions.push_back(make(options).front());
    }
    return versions;
}

// Reads every descriptor of a loop. Returns how many bytes of text they had.
template <class Loop>
size_t Read(Loop& loop) {
    size_t read = 0;
    for (int i = 0; i < loop.NumOfDescriptors(); ++i) {
        TCBaseDesc* const desc = loop.DescriptorByIndex(static_cast<unsigned>(i));
        if (auto* const service = dynamic_cast<TCDescService*>(desc)) {
            read += service->ServiceProviderName().size() + service->ServiceName().size();
        } else if (auto* const event = dynamic_cast<TCDescShortEvent*>(desc)) {
            read += event->EventName().size() + event->Text().size();
        } else {
            read += static_cast<size_t>(desc->Length());
        }
    }
    return read;
}

TEST(TableMemory, AnSdtReadToItsTextsNeedsNone) {
    generator::Sdt sdt{1, 2, {}};
    for (uint16_t i = 0; i < 20; ++i) {
        sdt.services.push_back({.service_id = i,
                                .descriptors = {generator::ServiceDescriptor(1, "Somebody",
                                                                             "A name "
                                                                             "of some length"),
                                                {0x83, 1, 2}}});
    }
    auto versions = Versions(
        [&](const auto& options) { return MakeSdt(generator::Scope::kActual, sdt, options); });
    TCDVBSDTParser parser(0x42, TVSHandle(1, 0));
    const int allocations = AllocationsOnceWarm([&](unsigned char version) {
        ASSERT_TRUE(parser.Parse(0, versions[version].data()));
        TCDVBSDTInstance& table = *parser.DVBSDTInstance(2, 1);
        size_t read = 0;
        for (int i = 0; i < table.NumOfDVBSDTItemService(); ++i) {
            read += Read(*table.DVBSDTItemServiceOfIndex(static_cast<unsigned>(i)));
        }
        ASSERT_EQ(read, 20u * (8 + 21 + 3));
    });
    EXPECT_EQ(allocations, 0);
}

TEST(TableMemory, ANitOf40TransportStreamsNeedsNone) {
    generator::MuxTable network{7, {generator::NetworkNameDescriptor("Net")}, {}};
    for (uint16_t i = 0; i < 40; ++i) {
        network.transport_streams.push_back({i, 7, {generator::CableDeliveryDescriptor({})}});
    }
    auto versions = Versions(
        [&](const auto& options) { return MakeNit(generator::Scope::kActual, network, options); });
    TCDVBNITParser parser(0x40, TVSHandle(1, 0));
    const int allocations = AllocationsOnceWarm([&](unsigned char version) {
        ASSERT_TRUE(parser.Parse(0, versions[version].data()));
        TCDVBNITInstance& table = *parser.GetInstance(7);
        size_t read = Read(table);
        for (int i = 0; i < table.NumOfDVBItemMux(); ++i) {
            read += Read(*table.DVBItemMuxOfIndex(static_cast<unsigned>(i)));
        }
        ASSERT_EQ(read, 5 + 40u * 13);
    });
    EXPECT_EQ(allocations, 0);
}

TEST(TableMemory, APatOutOfOrderNeedsNone) {
    std::vector<generator::PatProgram> programs;
    for (uint16_t i = 0; i < 20; ++i) {
        programs.push_back({static_cast<uint16_t>(100 - i), static_cast<uint16_t>(0x100 + i)});
    }
    auto versions =
        Versions([&](const auto& options) { return generator::MakePat(1, programs, options); });
    TCPATParser parser(TVSHandle(1, 0));
    const int allocations = AllocationsOnceWarm([&](unsigned char version) {
        ASSERT_TRUE(parser.Parse(0, versions[version].data()));
        for (unsigned i = 0; i < 20; ++i) {
            ASSERT_EQ(parser.ProgramPID(parser.ProgramNumber(i)), 0x100 + i);
        }
    });
    EXPECT_EQ(allocations, 0);
}

TEST(TableMemory, AnEitWithAnItemASectionAndAHashAnEventNeedsNone) {
    std::vector<generator::EitEvent> events;
    for (uint16_t i = 0; i < 10; ++i) {
        events.push_back(
            {.event_id = i,
             .descriptors = {generator::ShortEventDescriptor("eng", "The name", "What happens"),
                             {0x83, 1, 2}}});
    }
    auto versions = Versions([&](const auto& options) {
        return MakeEitPresentFollowing(generator::Scope::kActual, {1, 2, 3}, events, {}, options);
    });
    TCDVBEITParser parser(0x4E, TVSHandle(1, 0));
    const int allocations = AllocationsOnceWarm([&](unsigned char version) {
        Bytes& section = versions[version];
        ASSERT_TRUE(parser.Parse(0, section.data()));
        TCDVBEITItem item(1, 2, 3, TVSHandle(1, 0));
        ASSERT_TRUE(item.m_Parse(section.data(), static_cast<int>(section.size()), 0x4E));
        ASSERT_EQ(item.NumOfDVBEITItemEvent(), 10);
        for (unsigned i = 0; i < 10; ++i) {
            const TCDVBEITItemEvent& event = *item.DVBEITItemEvent(i);
            TCDescriptorHash hash;
            TCDescriptor(TVSHandle(1, 0))
                .Parse(event.DescriptorLoop(), event.DescriptorLoopLength(), hash, 0x4E);
            ASSERT_EQ(Read(hash), 8u + 12 + 3);
        }
    });
    EXPECT_EQ(allocations, 0);
}

// The entries of a linkage are on the heap; the linkage, which owns them, is in an arena.
TEST(TableMemory, EntriesOfDescriptorsAreGivenBack) {
    const Bytes linkage{0x4A, 13, 0, 1, 0, 2, 0, 3, 9, 5, 0, 1, 0x5A, 1, 0x77};
    const Bytes many = Join({linkage, linkage, {0x83, 0}});
    auto versions = Versions([&](const auto& options) {
        return MakeNit(generator::Scope::kActual, {7, {linkage, linkage}, {}}, options);
    });
    const auto run = [&] {
        TCDVBNITParser parser(0x40, TVSHandle(1, 0));
        for (Bytes& version : versions) {
            ASSERT_TRUE(parser.Parse(0, version.data()));
            TCDVBNITInstance& table = *parser.GetInstance(7);
            for (unsigned i = 0; i < 2; ++i) {
                auto* const desc = dynamic_cast<TCDescLinkage*>(table.DescriptorByIndex(i));
                ASSERT_NE(desc, nullptr);
                ASSERT_EQ(desc->NumOfSSULinkLoop(), 1);
            }
            // A client may make a descriptor of a table parse other bytes.
            Bytes other = linkage;
            TCBaseDesc& reused = *table.DescriptorByIndex(0);
            EXPECT_EQ(reused.Parse(other.data()), 15);
            EXPECT_EQ(reused.Parse(other.data()), 15);
        }
    };
    run();
    const int blocks = t_heap.blocks;
    run();
    EXPECT_EQ(t_heap.blocks, blocks);
}

}  // namespace
