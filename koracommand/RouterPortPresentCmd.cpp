#include "koracommand/RouterPortPresentCmd.h"

#include "koracommand/RouterPortPresentRsp.h"

std::unique_ptr<Rsp> RouterPortPresentCmd::createRsp()
{
    return std::make_unique<RouterPortPresentRsp>(request());
}
