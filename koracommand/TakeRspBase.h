#pragma once

#include "koracommand/EntryListRsp.h"

/// The response of both takes: they differ in nothing that the controller sees, not even in the response id.
class TakeRspBase : public EntryListRsp
{
public:
    TakeRspBase(const WireReader& request, ConnectionContext& context);
};
