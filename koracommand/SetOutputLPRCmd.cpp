#include "koracommand/SetOutputLPRCmd.h"

#include "koracommand/SetOutputLPRRsp.h"

std::unique_ptr<Rsp> SetOutputLPRCmd::createRsp()
{
    return std::make_unique<SetOutputLPRRsp>(request(), context());
}
