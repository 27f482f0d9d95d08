#include "tools/korapanel/api/Description.h"

namespace korapanel
{

namespace
{

constexpr char openapi[] =
#include <openapi.inc>
    ;

} // namespace

SharedText description()
{
    static const SharedText text = std::make_shared<const std::string>(openapi);
    return text;
}

} // namespace korapanel
