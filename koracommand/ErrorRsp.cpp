#include "koracommand/ErrorRsp.h"

#include "koracommand/WireLayout.h"

ErrorRsp::ErrorRsp(const WireReader& request, std::uint32_t errorCode) : Pooled(request, wireLayout::rspId::error)
{
    setWord(wireLayout::errorRsp::code, errorCode);
    setLength(wireLayout::errorRsp::length);
}
