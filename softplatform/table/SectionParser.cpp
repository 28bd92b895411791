#include "softplatform/table/SectionParser.h"

TCSectionParser::TCSectionParser() : m_impl(std::make_unique<Impl>()) {}

TCSectionParser::~TCSectionParser() = default;

// A parser of no table takes no section.
bool TCSectionParser::Parse(short, unsigned char*) {
    return false;
}

void TCSectionParser::Reset() {
    *m_impl = Impl();
}

unsigned short TCSectionParser::TableIdExt() {
    return m_impl->tableIdExtension;
}
