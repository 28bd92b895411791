#include "softplatform/table/BaseSection.h"

TCBaseSection::TCBaseSection() : m_impl(std::make_unique<Impl>()) {}

TCBaseSection::~TCBaseSection() = default;

bool TCBaseSection::IsValid() {
    return m_impl->sections.complete();
}

unsigned char TCBaseSection::VersionNumber() const {
    return m_impl->sections.version_number();
}
