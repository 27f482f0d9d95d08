#include "koracommand/GetOutputChangesCmd.h"

#include "koracommand/GetOutputChangesRsp.h"

std::unique_ptr<Rsp> GetOutputChangesCmd::createRsp()
{
    return std::make_unique<GetOutputChangesRsp>(request(), context().connectionId());
}
