#include "softplatform/table/SectionParser.h"

TCSectionParser::TCSectionParser() : m_impl(std::make_unique<Impl>()) {}

TCSectionParser::~TCSectionParser() = default;

// The base class parses no table, so it refuses every section.
bool TCSectionParser::Parse(short, unsigned char*) {
    return false;
}

void TCSectionParser::Reset() {
    *m_impl = Impl();
}

unsigned short TCSectionParser::TableIdExt() {
    return m_impl->tableIdExtension;
}
