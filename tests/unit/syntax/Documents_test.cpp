// The documents in docs/ that are written from the declarations.
// TORVELSI_UPDATE_GOLDEN=1 writes them anew; the difference is for a reviewer.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "syntax/Page.h"
#include "syntax/Schema.h"

namespace {

void ExpectDocument(const std::string& name, const std::string& written) {
    const std::string path = TORVELSI_DOCS "/" + name;
    if (std::getenv("TORVELSI_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(path, std::ios::binary) << written;
    }
    std::ifstream file(path, std::ios::binary);
    const std::string kept{std::istreambuf_iterator<char>(file), {}};
    // Of whole documents a failure would print pages: the first line that differs.
    std::istringstream keptLines(kept);
    std::istringstream writtenLines(written);
    std::string keptLine;
    std::string writtenLine;
    for (int number = 1; std::getline(writtenLines, writtenLine); ++number) {
        ASSERT_TRUE(std::getline(keptLines, keptLine) && keptLine == writtenLine)
            << "docs/" << name << ":" << number << " is not what the declarations give:\n"
            << writtenLine << "\n"
            << "TORVELSI_UPDATE_GOLDEN=1 ctest -R SyntaxDocuments writes the file anew";
    }
    EXPECT_EQ(kept.size(), written.size()) << "docs/" << name << " has lines at its end too many";
}

TEST(SyntaxDocuments, ThePageHasEveryDeclaration) {
    ExpectDocument("descriptors.md", syntax::DescriptorsPage());
}

TEST(SyntaxDocuments, TheSchemaHasEveryDeclaration) {
    ExpectDocument("torvelsi-descriptors-1.schema.json", syntax::DescriptorsSchema());
}

}  // namespace
