#include "koracommand/CmdTable.h"

#include "runtime/util/MemPool.h"
#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

namespace
{

struct KnownCmd
{
    std::uint32_t msgId;
    const char* name;
    std::uint32_t rspId;
};

class CmdTableTest : public LevelFixture, public ::testing::WithParamInterface<KnownCmd>
{};

TEST_P(CmdTableTest, MessageIdHasItsNameAndItsCommand)
{
    const CmdTableEntry* const sut = findCmd(GetParam().msgId);
    ASSERT_NE(sut, nullptr);
    EXPECT_STREQ(sut->name, GetParam().name);

    const auto context = std::make_shared<ConnectionContext>(nullptr, 3, &fixedClock);
    const auto cmd = sut->create(networkRequest(GetParam().msgId), std::make_shared<RspQueue>(), context);
    EXPECT_EQ(cmd->getMsgId(), GetParam().msgId);
    EXPECT_EQ(hostWord(*cmd->createRsp(), 12), GetParam().rspId);
}

INSTANTIATE_TEST_SUITE_P(
    AllCommands, CmdTableTest,
    ::testing::Values(KnownCmd{0x50, "ermcTake", 0x80000050}, KnownCmd{0x51, "ermcSetOutputLPR", 0x80000002},
                      KnownCmd{0x52, "ermcGetOutputStatus", 0x80000052},
                      KnownCmd{0x53, "ermcGetOutputChanges", 0x80000053},
                      KnownCmd{0x55, "ermcCoherentTake", 0x80000050}, KnownCmd{0x59, "ermcRtrPartionInfo", 0x80000059},
                      KnownCmd{0x5e, "ermcTally", 0x8000005e}, KnownCmd{0xa2, "ermcGetCcPrsnt", 0x800000a2},
                      KnownCmd{0x4000, "ermcPortPresent", 0x80004000},
                      KnownCmd{0x5000, "ncmReadSystemStatusCmd", 0x80005000}));

TEST(CmdTableSizeTest, HoldsTenCommandsAndNoOther)
{
    EXPECT_EQ(cmdTable().size(), 10U);
    for (const std::uint32_t id : {0x00U, 0x4fU, 0x54U, 0x99U, 0x80000050U, 0xffffffffU})
    {
        EXPECT_EQ(findCmd(id), nullptr) << id;
    }
}

TEST(PoolNamesTest, EveryClassOfTheCommandPathHasAPoolNamedAfterIt)
{
    ::testing::internal::CaptureStdout();
    com::tallowcrest::util::MemPoolRegistry::instance().show();
    const std::string table = ::testing::internal::GetCapturedStdout();
    for (const char* const name : {"KoraMessageBuffer",
                                   "CmdBase",
                                   "ErrorRsp",
                                   "RspInNetworkOrder",
                                   "TakeCmd",
                                   "TakeRsp",
                                   "CoherentTakeCmd",
                                   "CoherentTakeRsp",
                                   "SetOutputLPRCmd",
                                   "SetOutputLPRRsp",
                                   "GetOutputStatusCmd",
                                   "GetOutputStatusRsp",
                                   "GetOutputChangesCmd",
                                   "GetOutputChangesRsp",
                                   "PartitionInfoCmd",
                                   "PartitionInfoRsp",
                                   "TallyCmd",
                                   "TallyRsp",
                                   "CcPresenceCmd",
                                   "CcPresenceRsp",
                                   "RouterPortPresentCmd",
                                   "RouterPortPresentRsp",
                                   "ReadySystemStatusCmd",
                                   "ReadySystemStatusRsp"})
    {
        EXPECT_NE(table.find(std::string(" ") + name + "  Yes"), std::string::npos) << name << "\n" << table;
    }
}

} // namespace
