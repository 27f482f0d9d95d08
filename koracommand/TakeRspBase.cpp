#include "koracommand/TakeRspBase.h"

#include "koracommand/WireLayout.h"

TakeRspBase::TakeRspBase(const WireReader& request, ConnectionContext& context)
    : EntryListRsp(request, context, wireLayout::rspId::take, &ILevel::take,
                   {wireLayout::takeRsp::count, wireLayout::takeRsp::results, wireLayout::takeRsp::maxEntries})
{}
