#include "koracommand/TallyCmd.h"

#include "koracommand/TallyRsp.h"

std::unique_ptr<Rsp> TallyCmd::createRsp()
{
    return std::make_unique<TallyRsp>(request(), context());
}
