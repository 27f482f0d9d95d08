#include "koracommand/CcPresenceCmd.h"

#include "koracommand/CcPresenceRsp.h"

std::unique_ptr<Rsp> CcPresenceCmd::createRsp()
{
    return std::make_unique<CcPresenceRsp>(request());
}
