// Status layout, registered names and module look-ups.
#include "Status.h"

#include "TestSupport.h"

using namespace Orn;

TEST(Status, LayoutOfTheBasicValues)
{
    EXPECT_EQ(RStatus(true, 0, 0).Word(), 0x80000200u);
    EXPECT_EQ(RStatus(false, 0, 0).Word(), 0x00000200u);
    EXPECT_STREQ(RStatus(true, 0, 0).Name(), "Failure");
    EXPECT_STREQ(RStatus(false, 0, 0).Name(), "Ok");
    EXPECT_TRUE(Failure.Failed());
    EXPECT_TRUE(S_Busy.Succeeded());
}

TEST(Status, ModuleDecoding)
{
    EXPECT_EQ(RStatus::FromWord(0x80000881).Module(), 13);
    EXPECT_EQ(RStatus::FromWord(0x00000401).Module(), 4);
    EXPECT_EQ(RStatus::FromWord(0x80000881).Code(), 1);
}

struct NamedStatus {
    DWord word;
    const char* name;
};

TEST(Status, EveryRegisteredNamePrints)
{
    const NamedStatus rows[] = {
        {0x00000200, "Ok"}, {0x00000201, "S_End"}, {0x00000202, "S_Busy"}, {0x80000200, "Failure"},
        {0x80000201, "E_AlreadyExists"}, {0x80000202, "E_NotFound"}, {0x80000203, "E_NoAccess"},
        {0x80000204, "E_BadArgument"}, {0x80000205, "E_BadName"}, {0x80000206, "E_AlreadyOpen"},
        {0x80000207, "E_NotOpen"}, {0x80000208, "E_BadSyntax"}, {0x80000209, "E_Read"}, {0x8000020A, "E_Write"},
        {0x8000020B, "E_Alloc"}, {0x8000020C, "E_Version"}, {0x8000020D, "E_BadData"},
        {0x8000020E, "(unknown error)"}, {0x8000020F, "E_UnexpectedEOF"}, {0x80000210, "E_Timeout"},
        {0x80000211, "E_BadLogonName"}, {0x80000212, "E_BadLogonPassword"}, {0x80000213, "E_UserCancel"},
        {0x80000214, "E_Memory"}, {0x80000215, "E_TooMuchData"}, {0x00000401, "S_FSIsDirectory"},
        {0x00000402, "S_FSIsFile"}, {0x80000401, "E_DirNotEmpty"}, {0x80000402, "E_DiskFull"},
        {0x80000403, "E_FSNotDirectory"}, {0x80000404, "E_FSNotFile"}, {0x00000501, "S_RegIsDirectory"},
        {0x00000502, "S_RegIsValue"}, {0x80000880, "E_InternetBadHTTPStatus"},
        {0x80000881, "E_InternetResourceNotText"}, {0x80000882, "E_InternetCertUntrusted"},
        {0x80000883, "E_InternetCertWrongHost"}, {0x80000884, "E_InternetCertExpired"},
        {0x80000885, "E_InternetCertInvalid"}, {0x80000886, "E_InternetBadScheme"},
        {0x80000887, "E_InternetBadSignature"}, {0x80000888, "E_InternetBadReplyKey"}, {0x80000889, "(unknown error)"},
        {0x80000680, "(unknown error)"},
    };
    for (const NamedStatus& row : rows)
        EXPECT_STREQ(RStatus::FromWord(row.word).Name(), row.name) << std::hex << row.word;
}

TEST(Status, ConstantsMatchTheirWords)
{
    EXPECT_EQ(E_TooMuchData.Word(), 0x80000215u);
    EXPECT_EQ(E_UnexpectedEOF.Word(), 0x8000020Fu);
    EXPECT_EQ(E_InternetBadHTTPStatus.Word(), 0x80000880u);
    EXPECT_EQ(S_RegIsValue.Word(), 0x00000502u);
}

TEST(Status, CoreTableHasTwentyFourRows)
{
    const CModuleTable* core = FindModuleTable(0);
    ASSERT_NE(core, nullptr);
    int rows = 0;
    for (DWord code = 0; code < 128; ++code) {
        rows += core->FindRow(RStatus::FromWord(0x200 + code)) != nullptr;
        rows += core->FindRow(RStatus::FromWord(0x80000200 + code)) != nullptr;
    }
    EXPECT_EQ(rows, 24);
}

TEST(Status, ModuleNames)
{
    EXPECT_STREQ(ModuleName(0), "Gen");
    EXPECT_STREQ(ModuleName(4), "FileSystem");
    EXPECT_STREQ(ModuleName(6), "Reg");
    EXPECT_STREQ(ModuleName(13), "Internet");
    EXPECT_STREQ(ModuleName(9), "(no module)");
    EXPECT_EQ(FindModuleTable("Reg"), FindModuleTable(6));
    EXPECT_EQ(FindModuleTable("reg"), nullptr);
    EXPECT_STREQ(RStatus(true, 9, 3).Name(), "(unknown error)");
}

TEST(Status, OutOfRangeConstructionAsserts)
{
    OrnTest::AssertRecorder rec;
    (void)RStatus(true, 0, 128);
    EXPECT_ASSERTED(rec, "code>=0 && code<=127");
    (void)RStatus(true, -1, 0);
    EXPECT_ASSERTED(rec, "mod>=0 && mod<=511");
}

TEST(Status, SecondTableForAnIdAsserts)
{
    OrnTest::AssertRecorder rec;
    // An id of its own, so the real tables stay first in the list for the other tests.
    static const CModuleTable::Row rows[] = {{MakeStatus(true, 200, 1).Word(), "E_Dummy"}};
    static CModuleTable first("First", 200, 1, rows);
    EXPECT_NO_ASSERTS(rec);
    static CModuleTable second("Second", 200, 1, rows);
    EXPECT_ASSERTED(rec, "! FindModuleTable(modId)");
}

TEST(Status, FindRowOfAnotherModuleAsserts)
{
    OrnTest::AssertRecorder rec;
    EXPECT_EQ(FindModuleTable(4)->FindRow(E_NotFound), nullptr);
    EXPECT_ASSERTED(rec, "error.Module() == mModuleId");
}

TEST(Status, OSErrorMapping)
{
    struct Row {
        DWord number;
        RStatus status;
    };
    const Row rows[] = {
        {0, Ok}, {2, E_NotFound}, {3, E_NotFound}, {53, E_NotFound}, {20, E_NotFound}, {126, E_NotFound},
        {64, E_NotFound}, {80, E_AlreadyExists}, {183, E_AlreadyExists}, {160, E_BadArgument},
        {111, E_BadArgument}, {87, E_BadArgument}, {6, E_BadArgument}, {123, E_BadArgument}, {67, E_BadArgument},
        {5, E_NoAccess}, {32, E_NoAccess}, {65, E_NoAccess}, {86, E_BadName}, {110, E_NotOpen},
        {145, E_DirNotEmpty}, {16, Failure},
    };
    OrnTest::AssertRecorder rec;
    for (const Row& row : rows)
        EXPECT_EQ(StatusFromOSError(row.number), row.status) << row.number;
    EXPECT_TRUE(rec.Output().empty()) << "known errors are not traced";
}

TEST(Status, UnknownOSErrorIsTracedOnce)
{
    OrnTest::AssertRecorder rec;
    EXPECT_EQ(StatusFromOSError(999), Failure);
    ASSERT_EQ(rec.Output().size(), 1u);
    EXPECT_NE(rec.Output()[0].find("unknown Windows error: '"), std::string::npos);
    EXPECT_NE(rec.Output()[0].find("(0x000003E7)"), std::string::npos) << rec.Output()[0];
    EXPECT_NO_ASSERTS(rec);
}
