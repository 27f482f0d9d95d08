#include "koracommand/GetOutputStatusCmd.h"

#include "koracommand/GetOutputStatusRsp.h"

std::unique_ptr<Rsp> GetOutputStatusCmd::createRsp()
{
    return std::make_unique<GetOutputStatusRsp>(request(), context());
}
