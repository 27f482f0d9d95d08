#include "koracommand/PartitionInfoCmd.h"

#include "koracommand/PartitionInfoRsp.h"

std::unique_ptr<Rsp> PartitionInfoCmd::createRsp()
{
    return std::make_unique<PartitionInfoRsp>(request());
}
