#include "platform/TCDescCableDeliverySystem.h"
#include "platform/TCDescSatelliteDeliverySystem.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCDescTerrestrialDeliverySystem.h"
#include "tests/unit/descriptor/DescriptorFixture.h"

namespace {

TEST(SatelliteDeliverySystem, HasEveryFieldAndItsUnits) {
    TCDescSatelliteDeliverySystem desc(0x43);
    EXPECT_EQ(desc.Tag(), 0x43) << "before the first parse";
    // 11.72750 GHz, 19.2 degrees east, vertical, roll-off 0.25, S2, 8PSK, 27.5 Msymbols/s, 3/4
    EXPECT_EQ(ParseExactly(desc, {0x43, 11, 0x01, 0x17, 0x27, 0x50, 0x01, 0x92,
                                  0x80 | 1 << 5 | 1 << 3 | 1 << 2 | 2, 0x02, 0x75, 0x00, 0x03}),
              13);
    EXPECT_EQ(desc.Frequency(), 0x01172750u);
    EXPECT_EQ(desc.FrequencyHz(), 11'727'500'000u);
    EXPECT_EQ(desc.OrbitalPosition(), 0x0192);
    EXPECT_EQ(desc.OrbitalPositionTenthDegrees(), 192);
    EXPECT_TRUE(desc.WestEastFlag());
    EXPECT_EQ(desc.Polarization(), 1);
    EXPECT_EQ(desc.RollOff(), 1);
    EXPECT_EQ(desc.ModulationSystem(), 1);
    EXPECT_EQ(desc.ModulationType(), 2);
    EXPECT_EQ(desc.SymbolRate(), 0x0275000u);
    EXPECT_EQ(desc.SymbolsPerSecond(), 27'500'000u);
    EXPECT_EQ(desc.FECInner(), 3);
}

TEST(SatelliteDeliverySystem, DigitsThatAreNotDecimalHaveNoNumber) {
    TCDescSatelliteDeliverySystem desc(0x43);
    ParseExactly(desc, {0x43, 11, 0x01, 0x1A, 0x27, 0x50, 0x0B, 0x92, 0, 0x02, 0x7C, 0x00, 0x03});
    EXPECT_EQ(desc.Frequency(), 0x011A2750u);
    EXPECT_EQ(desc.FrequencyHz(), 0u);
    EXPECT_EQ(desc.OrbitalPositionTenthDegrees(), 0);
    EXPECT_EQ(desc.SymbolsPerSecond(), 0u);
}

TEST(SatelliteDeliverySystem, OfAnotherLengthIsMalformed) {
    TCDescSatelliteDeliverySystem desc(0x43);
    EXPECT_EQ(ParseExactly(desc, Whole(0x43, Bytes(12))), 13);
    EXPECT_EQ(desc.Length(), 14);
    EXPECT_EQ(ParseExactly(desc, Whole(0x43, Bytes(10))), 0);
    const std::unique_ptr<TCBaseDesc> fork(desc.Fork());
    EXPECT_NE(dynamic_cast<TCDescSatelliteDeliverySystem*>(fork.get()), nullptr);
}

TEST(CableDeliverySystem, HasEveryFieldAndItsUnits) {
    TCDescCableDeliverySystem desc;
    // 346.0000 MHz, RS, 64-QAM, 6.9 Msymbols/s
    EXPECT_EQ(ParseExactly(desc, {0x44, 11, 0x03, 0x46, 0x00, 0x00, 0xFF, 0xF2, 0x03, 0x00, 0x69,
                                  0x00, 0x0F}),
              13);
    EXPECT_EQ(desc.Frequency(), 0x03460000u);
    EXPECT_EQ(desc.FrequencyHz(), 346'000'000u);
    EXPECT_EQ(desc.FECOuter(), 2);
    EXPECT_EQ(desc.Modulation(), 3);
    EXPECT_EQ(desc.SymbolRate(), 0x0069000u);
    EXPECT_EQ(desc.SymbolsPerSecond(), 6'900'000u);
    EXPECT_EQ(desc.FECInner(), 15);
    const std::unique_ptr<TCBaseDesc> fork(desc.Fork());
    EXPECT_EQ(dynamic_cast<TCDescCableDeliverySystem&>(*fork).FrequencyHz(), 346'000'000u);
    EXPECT_EQ(ParseExactly(desc, Whole(0x44, Bytes(10))), 0);
}

TEST(TerrestrialDeliverySystem, HasEveryFieldAndItsUnits) {
    TCDescTerrestrialDeliverySystem desc;
    EXPECT_EQ(ParseExactly(desc, {0x5A, 11, 0x02, 0xFA, 0xF0, 0x80, 0x20 | 0x10 | 0x08 | 0x04 | 3,
                                  0x80 | 0x18 | 2, 0x60 | 0x10 | 0x04 | 1, 0xFF, 0xFF, 0xFF, 0xFF}),
              13);
    EXPECT_EQ(desc.CentreFrequency(), 0x02FAF080u);
    EXPECT_EQ(desc.CentreFrequencyHz(), 500'000'000u);
    EXPECT_EQ(desc.Bandwidth(), 1);
    EXPECT_TRUE(desc.Priority());
    EXPECT_TRUE(desc.TimeSlicingIndicator());
    EXPECT_TRUE(desc.MPEFECIndicator());
    EXPECT_EQ(desc.Constellation(), 2);
    EXPECT_EQ(desc.HierarchyInformation(), 3);
    EXPECT_EQ(desc.CodeRateHPStream(), 2);
    EXPECT_EQ(desc.CodeRateLPStream(), 3);
    EXPECT_EQ(desc.GuardInterval(), 2);
    EXPECT_EQ(desc.TransmissionMode(), 2);
    EXPECT_TRUE(desc.OtherFrequencyFlag());
    EXPECT_EQ(ParseExactly(desc, Whole(0x5A, Bytes(11))), 13);
    EXPECT_FALSE(desc.Priority() || desc.TimeSlicingIndicator() || desc.MPEFECIndicator() ||
                 desc.OtherFrequencyFlag());
    EXPECT_EQ(ParseExactly(desc, Whole(0x5A, Bytes(10))), 0);
}

TEST(TerrestrialDeliverySystem, HighestFrequencyFitsItsUnit) {
    TCDescTerrestrialDeliverySystem desc;
    ParseExactly(desc, Whole(0x5A, Bytes{0xFF, 0xFF, 0xFF, 0xFE} + Bytes(7)));
    EXPECT_EQ(desc.CentreFrequencyHz(), 42'949'672'940u);
}

TEST(TerrestrialDeliverySystem, AllOnesAreNoFrequency) {
    TCDescTerrestrialDeliverySystem desc;
    ParseExactly(desc, Whole(0x5A, Bytes{0xFF, 0xFF, 0xFF, 0xFF} + Bytes(7)));
    EXPECT_EQ(desc.CentreFrequency(), 0xFFFFFFFFu);
    EXPECT_EQ(desc.CentreFrequencyHz(), 0u);
    const std::unique_ptr<TCBaseDesc> fork(desc.Fork());
    EXPECT_EQ(dynamic_cast<TCDescTerrestrialDeliverySystem&>(*fork).CentreFrequency(), 0xFFFFFFFFu);
}

TEST(T2DeliverySystem, OfLength4HasNoSystemPart) {
    TCDescT2SystemDelivery desc;
    EXPECT_EQ(ParseExactly(desc, {0x7F, 4, 0x04, 7, 0x80, 0x01}), 6);
    EXPECT_EQ(desc.Tag(), 0x7F04);
    EXPECT_EQ(desc.PLPId(), 7);
    EXPECT_EQ(desc.T2SystemId(), 0x8001);
    EXPECT_FALSE(desc.HasSystemPart());
    EXPECT_EQ(desc.NumOfCells(), 0);
    EXPECT_EQ(desc.Cell(0), nullptr);
}

TEST(T2DeliverySystem, HasASystemPart) {
    TCDescT2SystemDelivery desc;
    EXPECT_EQ(ParseExactly(desc, {0x7F, 6, 0x04, 1, 0, 2, 0x40 | 5 << 2, 6 << 5 | 5 << 2 | 2}), 8);
    EXPECT_TRUE(desc.HasSystemPart());
    EXPECT_EQ(desc.SISOMISO(), 1);
    EXPECT_EQ(desc.Bandwidth(), 5);
    EXPECT_EQ(desc.GuardInterval(), 6);
    EXPECT_EQ(desc.TransmissionMode(), 5);
    EXPECT_TRUE(desc.OtherFrequencyFlag());
    EXPECT_FALSE(desc.TFSFlag());
}

TEST(T2DeliverySystem, HasCellsOfOneFrequencyAndTheirSubCells) {
    TCDescT2SystemDelivery desc;
    const Bytes cell{0x12, 0x34, 0x02, 0xFA, 0xF0, 0x80, 10,   0x09, 0,
                     0,    0,    1,    0x0A, 0xFF, 0xFF, 0xFF, 0xFF};
    const Bytes last{0x56, 0x78, 0xFF, 0xFF, 0xFF, 0xFF, 0};
    EXPECT_TRUE(ParsesWhole(desc, Whole(0x7F, Bytes{0x04, 1, 0, 2, 0, 0} + cell + last)));
    ASSERT_EQ(desc.NumOfCells(), 2);
    EXPECT_EQ(desc.Cell(0)->CellId(), 0x1234);
    ASSERT_EQ(desc.Cell(0)->NumOfCentreFrequencies(), 1);
    EXPECT_EQ(desc.Cell(0)->CentreFrequency(0), 50'000'000u);
    EXPECT_EQ(desc.Cell(0)->CentreFrequencyHz(0), 500'000'000u);
    EXPECT_EQ(desc.Cell(0)->CentreFrequency(1), 0u);
    ASSERT_EQ(desc.Cell(0)->NumOfSubCells(), 2);
    EXPECT_EQ(desc.Cell(0)->CellIdExtension(0), 9);
    EXPECT_EQ(desc.Cell(0)->TransposerFrequency(0), 1u);
    EXPECT_EQ(desc.Cell(0)->TransposerFrequencyHz(0), 10u);
    EXPECT_EQ(desc.Cell(0)->TransposerFrequency(1), 0xFFFFFFFFu);
    EXPECT_EQ(desc.Cell(0)->TransposerFrequencyHz(1), 0u) << "all ones: none";
    EXPECT_EQ(desc.Cell(0)->CellIdExtension(2), 0);
    EXPECT_EQ(desc.Cell(0)->TransposerFrequency(2), 0u);
    EXPECT_EQ(desc.Cell(1)->CentreFrequency(0), 0xFFFFFFFFu);
    EXPECT_EQ(desc.Cell(1)->CentreFrequencyHz(0), 0u);
    EXPECT_EQ(desc.Cell(2), nullptr);
    const std::unique_ptr<TCBaseDesc> fork(desc.Fork());
    EXPECT_EQ(dynamic_cast<TCDescT2SystemDelivery&>(*fork).Cell(1)->CellId(), 0x5678);
}

TEST(T2DeliverySystem, HasCellsOfSeveralFrequencies) {
    TCDescT2SystemDelivery desc;
    const Bytes cell{0, 1, 8, 0, 0, 0, 1, 0, 0, 0, 2, 0};
    const Bytes none{0, 2, 0, 0};
    EXPECT_TRUE(ParsesWhole(desc, Whole(0x7F, Bytes{0x04, 1, 0, 2, 0, 1} + cell + none)));
    EXPECT_TRUE(desc.TFSFlag());
    ASSERT_EQ(desc.NumOfCells(), 2);
    EXPECT_EQ(desc.Cell(0)->NumOfCentreFrequencies(), 2);
    EXPECT_EQ(desc.Cell(0)->CentreFrequencyHz(1), 20u);
    EXPECT_EQ(desc.Cell(1)->NumOfCentreFrequencies(), 0);
}

TEST(T2DeliverySystem, KeepsTheCellsBeforeOneThatDoesNotFit) {
    TCDescT2SystemDelivery desc;
    const Bytes cell{0, 1, 0, 0, 0, 1, 0};
    const Bytes head{0x04, 1, 0, 2, 0, 0};
    for (const Bytes& rest : {Bytes{0, 2, 0, 0, 0, 1}, Bytes{0, 2, 0, 0, 0, 1, 5, 1},
                              Bytes{0, 2, 0, 0, 0, 1, 4, 1, 2, 3, 4}}) {
        EXPECT_EQ(ParseExactly(desc, Whole(0x7F, head + cell + rest)), 2 + 6 + 7);
        EXPECT_EQ(desc.NumOfCells(), 1);
    }
    // The frequencies have 3 bytes, which is not a multiple of 4.
    EXPECT_EQ(ParseExactly(desc, Whole(0x7F, {0x04, 1, 0, 2, 0, 1, 0, 1, 3, 0, 0, 1, 0})), 2 + 6);
}

TEST(T2DeliverySystem, OfLength5Or3IsMalformed) {
    TCDescT2SystemDelivery desc;
    EXPECT_EQ(ParseExactly(desc, Whole(0x7F, {0x04, 1, 0, 2, 0})), 6);
    EXPECT_EQ(desc.Length(), 7);
    EXPECT_FALSE(desc.HasSystemPart());
    EXPECT_EQ(ParseExactly(desc, Whole(0x7F, {0x04, 1, 0})), 0);
    EXPECT_EQ(ParseExactly(desc, Whole(0x7F, {})), 0);
}

TEST(T2DeliverySystem, TellsAnotherExtensionByItsTag) {
    TCDescT2SystemDelivery desc;
    EXPECT_EQ(ParseExactly(desc, {0x7F, 4, 0x05, 1, 0, 2}), 6);
    EXPECT_EQ(desc.Tag(), 0x7F05);
}

}  // namespace
