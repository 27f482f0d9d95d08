#include "koracommand/TakeCmd.h"

#include "koracommand/TakeRsp.h"

std::unique_ptr<Rsp> TakeCmd::createRsp()
{
    return std::make_unique<TakeRsp>(request(), context());
}
