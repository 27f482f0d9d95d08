#include "koracommand/ReadySystemStatusCmd.h"

#include "koracommand/ReadySystemStatusRsp.h"

std::unique_ptr<Rsp> ReadySystemStatusCmd::createRsp()
{
    return std::make_unique<ReadySystemStatusRsp>(request(), context().now());
}
