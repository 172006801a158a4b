// Registered status names, module look-ups and the mapping of operating-system errors.
#include "Status.h"

#include "TestSupport.h"

using namespace Orn;

// The run-time constructor builds the words the tables hold.
TEST(Status, ConstructedWordsAndTheirFields)
{
    EXPECT_EQ(RStatus(true, 0, 0), Failure);
    EXPECT_EQ(RStatus(false, 0, 0), Ok);
    EXPECT_EQ(RStatus::FromWord(0x80000881).Module(), 13);
    EXPECT_EQ(RStatus::FromWord(0x80000881).Code(), 1);
}

// One name per module table, and the words no table names.
TEST(Status, NamesAndModules)
{
    const std::pair<DWord, const char*> rows[] = {
        {0x00000201, "S_End"}, {0x80000215, "E_TooMuchData"}, {0x80000402, "E_DiskFull"},
        {0x00000502, "S_RegIsValue"}, {0x80000886, "E_InternetBadScheme"}, {0x8000020E, "(unknown error)"},
        {0x80000889, "(unknown error)"}, {0x80000680, "(unknown error)"},
    };
    for (const auto& [word, name] : rows)
        EXPECT_STREQ(RStatus::FromWord(word).Name(), name) << std::hex << word;
    EXPECT_STREQ(ModuleName(6), "Reg");
    EXPECT_STREQ(ModuleName(9), "(no module)");
    EXPECT_EQ(FindModuleTable("Reg"), FindModuleTable(6));
    EXPECT_EQ(FindModuleTable("reg"), nullptr);
}

TEST(Status, OSErrorMapping)
{
    struct Row {
        DWord number;
        RStatus status;
    };
    // One row per status of the table, the quirky name status, the known Failure and an unknown number.
    const Row rows[] = {
        {0, Ok}, {3, E_NotFound}, {183, E_AlreadyExists}, {87, E_BadArgument}, {32, E_NoAccess}, {86, E_BadName},
        {110, E_NotOpen}, {145, E_DirNotEmpty}, {16, Failure}, {999, Failure},
    };
    OrnTest::AssertRecorder rec;
    for (const Row& row : rows)
        EXPECT_EQ(StatusFromOSError(row.number), row.status) << row.number;
    ASSERT_EQ(rec.Output().size(), 1u) << "only the unknown error is traced";
    EXPECT_NE(rec.Output()[0].find("unknown Windows error: '"), std::string::npos);
    EXPECT_NE(rec.Output()[0].find("(0x000003E7)"), std::string::npos) << rec.Output()[0];
    EXPECT_NO_ASSERTS(rec);
}
