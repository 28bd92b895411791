// The order of the parsers' virtual operations and of their records' fields is what programs built
// against these interfaces rely on.

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "SI/Include/IBATParser.h"
#include "SI/Include/IEITParser.h"
#include "SI/Include/INITParser.h"
#include "SI/Include/ISDTParser.h"
#include "tests/unit/si/Slot.h"

namespace {

using namespace TORVEL_MW;

template <class Parser>
void ExpectCommonSlots() {
    static_assert(std::is_base_of_v<ISectionParser, Parser>);
    static_assert(std::is_abstract_v<Parser>);
    EXPECT_TRUE(std::has_virtual_destructor_v<Parser>);
    EXPECT_EQ(sizeof(Parser), sizeof(void*));  // one virtual table and nothing else
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

}  // namespace
