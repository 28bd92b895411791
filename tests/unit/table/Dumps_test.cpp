// What the parsers answer about many thousand damaged sections and descriptor loops, as one
// checksum per table. The checksums come from earlier parsers, which decoded everything into
// objects.

#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>

#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "tests/contract/platform/Dump.h"
#include "tests/contract/platform/Tables.h"
#include "tests/unit/table/TableFixture.h"

namespace {

using contract::SectionOptions;
using contract::TableKind;

// The checksum is FNV-1a.
uint32_t Add(uint32_t sum, const std::string& text) {
    for (const char character : text) {
        sum = (sum ^ static_cast<uint8_t>(character)) * 16777619u;
    }
    return sum;
}

unsigned char Below(std::mt19937& random, unsigned limit) {
    return static_cast<unsigned char>(random() % limit);
}

// Tags of all classes, and some others.
unsigned char Tag(std::mt19937& random) {
    constexpr unsigned char kTags[] = {0x09, 0x13, 0x40, 0x41, 0x43, 0x44, 0x47,
                                       0x48, 0x4A, 0x4D, 0x4E, 0x50, 0x52, 0x54,
                                       0x55, 0x5A, 0x5F, 0x66, 0x6F, 0x7F, 0x83};
    return kTags[random() % std::size(kTags)];
}

// Makes descriptors of every tag. Their bytes are small, so that lengths inside them often fit. The
// last descriptor may reach behind the end.
Bytes Loop(std::mt19937& random) {
    Bytes loop;
    for (size_t count = random() % 6; count > 0; --count) {
        const unsigned char tag = Tag(random);
        Bytes payload(random() % 40);
        for (uint8_t& byte : payload) {
            byte = random() % 4 == 0 ? static_cast<uint8_t>(random()) : Below(random, 12);
        }
        if (!payload.empty() && tag == 0x7F) {
            payload[0] = random() % 2 == 0 ? 0x04 : payload[0];
        }
        if (payload.size() > 6 && tag == 0x4A) {
            payload[6] = static_cast<uint8_t>(8 + random() % 4);  // linkage_type
        }
        if (payload.size() > 1 && tag == 0x66 && random() % 2 == 0) {
            payload[0] = 0x00;  // data_broadcast_id: a system software update
            payload[1] = 0x0A;
        }
        const auto size = static_cast<uint8_t>(payload.size() + (random() % 16 == 0 ? 1 : 0));
        loop = Join({loop, {tag, size}, payload});
    }
    return loop;
}

// Makes the body of a section of this table with random entries.
Bytes Body(const TableKind& kind, std::mt19937& random) {
    const auto entries = [&](size_t headSize) {
        Bytes loop;
        for (size_t count = random() % 4; count > 0; --count) {
            const Bytes head = testsupport::RandomBytes(random, headSize - 2);
            loop = Join({loop, head, Counted(Loop(random))});
        }
        return loop;
    };
    Bytes body = testsupport::Slice(kind.body(0), 0, kind.fixedSize);  // identities
    switch (kind.tableId) {
        case 0x00:
            return testsupport::RandomBytes(random, 4 * (random() % 20));
        case 0x01:
            return Loop(random);
        case 0x02:
            return Join({{0xE1, 0x23}, Counted(Loop(random)), entries(5)});
        case 0x42:
        case 0x46:
            return Join({body, entries(5)});
        case 0x40:
        case 0x41:
        case 0x4A:
            return Join({Counted(Loop(random)), Counted(entries(6))});
        default:
            return Join({body, entries(12)});
    }
}

uint32_t SumOf(const TableKind& kind, unsigned rounds) {
    std::mt19937 random(kind.tableId);
    uint32_t sum = 0;
    for (unsigned round = 0; round < rounds; ++round) {
        const std::unique_ptr<contract::Table> table = kind.make();
        for (size_t sections = 1 + random() % 6; sections > 0; --sections) {
            SectionOptions options;
            options.last = static_cast<unsigned char>(random() % 3 % kind.maxSections);
            options.number = Below(random, options.last + 1u);
            options.version = static_cast<unsigned char>(random() % 2);
            options.identity = static_cast<unsigned short>(options.identity + random() % 2);
            Bytes section =
                testsupport::SectionBytes{.table_id = kind.tableId,
                                          .table_id_extension = kind.ExtensionOf(options),
                                          .version_number = options.version,
                                          .section_number = options.number,
                                          .last_section_number = options.last,
                                          .body = Body(kind, random)}
                    .Build();
            if (random() % 3 == 0 && section.size() > 12) {  // parsers do not look at the CRC
                section[8 + random() % (section.size() - 12)] = static_cast<uint8_t>(random());
            }
            sum = Add(sum, table->Take(section) ? "taken" : "refused");
            sum = Add(sum, table->Dump());
        }
    }
    return sum;
}

uint32_t SumOfLoops(unsigned rounds) {
    std::mt19937 random(1);
    uint32_t sum = 0;
    TCDescriptorHash hash;
    for (unsigned round = 0; round < rounds; ++round) {
        Bytes loop = Loop(random);
        const unsigned char tableId = random() % 2 == 0 ? 0x40 : 0x4E;
        TCDescriptor(TVSHandle(1, 0))
            .Parse(loop.data(), static_cast<int>(loop.size()), hash, tableId);
        for (int i = 0; i < hash.NumOfDescriptors(); ++i) {
            TCBaseDesc& desc = *hash.DescriptorByIndex(static_cast<unsigned>(i));
            const std::string dump = contract::Dump(&desc);
            sum = Add(sum, dump);
            // A copy owns its bytes and decodes its fields in another way.
            const std::unique_ptr<TCBaseDesc> fork(desc.Fork());
            EXPECT_EQ(contract::Dump(fork.get()), dump);
        }
    }
    return sum;
}

TEST(Dumps, AreThoseOfParsersWithObjectsOfTheirOwn) {
    const std::map<std::string, uint32_t> expected = {
        {"PAT", 589084957},       {"PMT", 1622865107},       {"CAT", 3320075795},
        {"SDTActual", 388500263}, {"SDTOther", 2608228709},  {"EITActual", 2357311646},
        {"EITOther", 2372109229}, {"NITActual", 2632274560}, {"NITOther", 1423397550},
        {"BAT", 2835503246},
    };
    for (const TableKind& kind : contract::TableKinds()) {
        const uint32_t sum = SumOf(kind, 300);
        const auto found = expected.find(kind.name);
        ASSERT_NE(found, expected.end()) << kind.name << " " << sum;
        EXPECT_EQ(sum, found->second) << kind.name;
    }
    EXPECT_EQ(SumOfLoops(3000), 1497550197u);
}

}  // namespace
