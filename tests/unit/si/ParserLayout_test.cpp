// Programs that were built against these interfaces rely on the order of the parsers' virtual
// operations and of their records' fields.

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "SI/Include/IBATParser.h"
#include "SI/Include/ICATParser.h"
#include "SI/Include/IEITParser.h"
#include "SI/Include/INITParser.h"
#include "SI/Include/IPATParser.h"
#include "SI/Include/IPMTParser.h"
#include "SI/Include/ISDTParser.h"
#include "tests/unit/si/Slot.h"

namespace {

using namespace TORVEL_MW;

template <class Parser>
void ExpectCommonSlots() {
    static_assert(std::is_base_of_v<ISectionParser, Parser>);
    static_assert(std::is_abstract_v<Parser>);
    EXPECT_TRUE(std::has_virtual_destructor_v<Parser>);
    EXPECT_EQ(sizeof(Parser), sizeof(void*));  // only the pointer to the virtual table
    EXPECT_EQ(Slot(&Parser::Create), kDestructorSlots);
    EXPECT_EQ(Slot(&Parser::Parse), kDestructorSlots + 1);
    EXPECT_EQ(Slot(&Parser::Initialize), kDestructorSlots + 2);
}

template <class Instance>
void ExpectInstanceSlots() {
    EXPECT_TRUE(std::has_virtual_destructor_v<Instance>);
    EXPECT_TRUE(std::is_abstract_v<Instance>);
    EXPECT_EQ(sizeof(Instance), sizeof(void*));
    EXPECT_EQ(Slot(&Instance::GetSSULinkageDesc), kDestructorSlots);
    EXPECT_EQ(Slot(&Instance::GetSSUScanLinkageDesc), kDestructorSlots + 1);
    EXPECT_EQ(Slot(&Instance::GetInfo), kDestructorSlots + 2);
}

template <class Record>
void ExpectRecordLayout() {
    static_assert(std::is_standard_layout_v<Record> && std::is_aggregate_v<Record>);
    static_assert(std::is_same_v<decltype(Record::m_tag), unsigned char>);
    static_assert(std::is_same_v<decltype(Record::m_hasPrivateDataSpecifier), bool>);
    static_assert(std::is_same_v<decltype(Record::m_privateDataSpecifier), unsigned int>);
    static_assert(std::is_same_v<decltype(Record::m_hasExtendedTag), bool>);
    static_assert(std::is_same_v<decltype(Record::m_extendedTag), unsigned char>);
    static_assert(std::is_same_v<decltype(Record::m_data), std::vector<unsigned char>>);
    EXPECT_EQ(offsetof(Record, m_tag), 0u);
    EXPECT_EQ(offsetof(Record, m_hasPrivateDataSpecifier), 1u);
    EXPECT_EQ(offsetof(Record, m_privateDataSpecifier), 4u);
    EXPECT_EQ(offsetof(Record, m_hasExtendedTag), 8u);
    EXPECT_EQ(offsetof(Record, m_extendedTag), 9u);
    EXPECT_GT(offsetof(Record, m_data), 9u);
}

TEST(ParserLayout, SdtParserContinuesTheCommonSlots) {
    ExpectCommonSlots<ISDTParser>();
    EXPECT_EQ(Slot(&ISDTParser::IsComplete), kDestructorSlots + 3);
    EXPECT_EQ(Slot(&ISDTParser::IsServiceListed), kDestructorSlots + 4);
    EXPECT_EQ(Slot(&ISDTParser::GetDescriptors), kDestructorSlots + 5);
}

TEST(ParserLayout, EitParserContinuesTheCommonSlots) {
    ExpectCommonSlots<IEITParser>();
    EXPECT_EQ(Slot(&IEITParser::IsComplete), kDestructorSlots + 3);
    EXPECT_EQ(Slot(&IEITParser::GetDescriptors), kDestructorSlots + 4);
}

TEST(ParserLayout, NitParserContinuesTheCommonSlots) {
    ExpectCommonSlots<INITParser>();
    EXPECT_EQ(Slot(&INITParser::NetworkIds), kDestructorSlots + 3);
    EXPECT_EQ(Slot(&INITParser::IsRecv), kDestructorSlots + 4);
    EXPECT_EQ(Slot(&INITParser::GetInstance), kDestructorSlots + 5);
}

TEST(ParserLayout, BatParserContinuesTheCommonSlots) {
    ExpectCommonSlots<IBATParser>();
    EXPECT_EQ(Slot(&IBATParser::BouquetIds), kDestructorSlots + 3);
    EXPECT_EQ(Slot(&IBATParser::BouquetId), kDestructorSlots + 4);
    EXPECT_EQ(Slot(&IBATParser::AllSubtablesReceived), kDestructorSlots + 5);
    EXPECT_EQ(Slot(&IBATParser::IsRecv), kDestructorSlots + 6);
    EXPECT_EQ(Slot(&IBATParser::GetInstance), kDestructorSlots + 7);
}

TEST(ParserLayout, NitInstanceHasDeliveriesLast) {
    ExpectInstanceSlots<INITInstance>();
    EXPECT_EQ(Slot(&INITInstance::GetDeliveryDescs), kDestructorSlots + 3);
}

TEST(ParserLayout, BatInstanceHasTheSlotsOfTheNitInstanceButDeliveries) {
    ExpectInstanceSlots<IBATInstance>();
}

TEST(ParserLayout, RecordsOfSdtAndEitHaveTheSameFieldsInTheSameOrder) {
    ExpectRecordLayout<ISDTParser::SDTDescriptor>();
    ExpectRecordLayout<IEITParser::EITDescriptor>();
    EXPECT_EQ(sizeof(ISDTParser::SDTDescriptor), sizeof(IEITParser::EITDescriptor));
}

TEST(ParserLayout, PatPmtAndCatParsersContinueTheCommonSlots) {
    ExpectCommonSlots<IPATParser>();
    ExpectCommonSlots<IPMTParser>();
    ExpectCommonSlots<ICATParser>();
}

TEST(ParserLayout, TheCommonOperationsArePure) {
    struct WithoutCreate : ISectionParser {
        bool Parse(unsigned short, unsigned char*) override { return true; }
        void Initialize() override {}
    };
    struct WithoutParse : ISectionParser {
        bool Create() override { return true; }
        void Initialize() override {}
    };
    struct WithoutInitialize : ISectionParser {
        bool Create() override { return true; }
        bool Parse(unsigned short, unsigned char*) override { return true; }
    };
    EXPECT_TRUE(std::is_abstract_v<WithoutCreate>);
    EXPECT_TRUE(std::is_abstract_v<WithoutParse>);
    EXPECT_TRUE(std::is_abstract_v<WithoutInitialize>);
}

TEST(ParserLayout, DataStreamAttributesAreARecord) {
    static_assert(std::is_standard_layout_v<DataStreamAttributes> &&
                  std::is_aggregate_v<DataStreamAttributes>);
    static_assert(std::is_same_v<decltype(DataStreamAttributes::m_carouselId), unsigned int>);
    static_assert(std::is_same_v<decltype(DataStreamAttributes::m_pid), unsigned short>);
    EXPECT_EQ(offsetof(DataStreamAttributes, m_carouselId), 0u);
    EXPECT_EQ(offsetof(DataStreamAttributes, m_pid), 4u);
}

TEST(ParserLayout, OperationsHaveTheirSignatures) {
    using U16 = unsigned short;
    using S = ISDTParser;
    using E = IEITParser;
    static_assert(std::is_same_v<decltype(&ISectionParser::Create), bool (ISectionParser::*)()>);
    static_assert(std::is_same_v<decltype(&ISectionParser::Parse),
                                 bool (ISectionParser::*)(U16, unsigned char*)>);
    static_assert(
        std::is_same_v<decltype(&ISectionParser::Initialize), void (ISectionParser::*)()>);
    static_assert(std::is_same_v<decltype(&S::IsComplete), bool (S::*)(U16, U16)>);
    static_assert(std::is_same_v<decltype(&S::IsServiceListed), bool (S::*)(U16, U16, int)>);
    static_assert(std::is_same_v<decltype(&S::GetDescriptors),
                                 bool (S::*)(U16, U16, U16, std::vector<S::SDTDescriptor>&)>);
    static_assert(std::is_same_v<decltype(&S::CreateSDTParser), std::unique_ptr<S> (*)()>);
    static_assert(std::is_same_v<decltype(&E::IsComplete), bool (E::*)(U16, U16, U16)>);
    static_assert(std::is_same_v<decltype(&E::GetDescriptors),
                                 bool (E::*)(U16, U16, U16, std::vector<E::EITDescriptor>&)>);
    static_assert(std::is_same_v<decltype(&E::CreateEITParser), std::unique_ptr<E> (*)()>);
}

}  // namespace
