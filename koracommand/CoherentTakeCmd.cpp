#include "koracommand/CoherentTakeCmd.h"

#include "koracommand/CoherentTakeRsp.h"

std::unique_ptr<Rsp> CoherentTakeCmd::createRsp()
{
    return std::make_unique<CoherentTakeRsp>(request(), context());
}
