#pragma once

#include "bustypes/RoutingTypes.h"

#include <string>
#include <vector>

/// One value of each bus type, none of whose members is what a new value has, and what is to be said of it. Written by
/// hand, so that a member which the type's description leaves out is missed.
namespace typesamples
{

using namespace com::tallowcrest::dds_::routing;

template <typename T>
struct Sample;

template <>
struct Sample<ComponentInfo>
{
    static ComponentInfo value() { return {17, 3, "bridge", "beside the router"}; }
    static constexpr const char* key = "17,3";
    static constexpr const char* json =
        R"({"frameId":17,"componentId":3,"name":"bridge","description":"beside the router"})";
    /// The value with one member raised, for each member in the order of the IDL; as far as it goes.
    static std::vector<ComponentInfo> raised()
    {
        return {{4294967295, 3, "bridge", "beside the router"},
                {17, 4294967295, "bridge", "beside the router"},
                {17, 3, std::string(32, 'n'), "beside the router"},
                {17, 3, "bridge", std::string(128, 'd')}};
    }
};

template <>
struct Sample<MacroRouter>
{
    static MacroRouter value() { return {"R1", "Main", T576x288}; }
    static constexpr const char* key = "R1";
    static constexpr const char* json = R"({"routerPartition":"R1","name":"Main","topology":8})";
    static std::vector<MacroRouter> raised()
    {
        return {{std::string(16, 'p'), "Main", T576x288},
                {"R1", std::string(32, 'n'), T576x288},
                {"R1", "Main", T1728x288}};
    }
};

template <>
struct Sample<RouterMember>
{
    static RouterMember value() { return {17, "R1", 2}; }
    static constexpr const char* key = "17";
    static constexpr const char* json = R"({"frameId":17,"routerPartition":"R1","memberIndex":2})";
    static std::vector<RouterMember> raised()
    {
        return {{4294967295, "R1", 2}, {17, std::string(16, 'p'), 2}, {17, "R1", 65535}};
    }
};

template <>
struct Sample<MacroXptOutput>
{
    static MacroXptOutput value() { return {7, 8, 33554432, 42, LPR_PROTECTED}; }
    static constexpr const char* key = "7";
    static constexpr const char* json =
        R"({"macroXptOutput":7,"macroXptInput":8,"when":33554432,"lprId":42,"lprState":1})";
    static std::vector<MacroXptOutput> raised()
    {
        return {{4294967295, 8, 33554432, 42, LPR_PROTECTED},
                {7, 4294967295, 33554432, 42, LPR_PROTECTED},
                {7, 8, 4294967295, 42, LPR_PROTECTED},
                {7, 8, 33554432, 4294967295, LPR_PROTECTED},
                {7, 8, 33554432, 42, LPR_LOCKED}};
    }
};

template <>
struct Sample<MacroLevel>
{
    static MacroLevel value() { return {3, LST_Audio, 1, 2, 4, 5, 6, 7}; }
    static constexpr const char* key = "3";
    static constexpr const char* json =
        R"({"levelId":3,"levelSignalType":1,"macroXptInputStart":1,"numMacroXptInputs":2,"controllerInputStart":4,)"
        R"("macroXptOutputStart":5,"numMacroXptOutputs":6,"controllerOutputStart":7})";
    static std::vector<MacroLevel> raised()
    {
        return {{65535, LST_Audio, 1, 2, 4, 5, 6, 7},
                {3, static_cast<MacroLevelSignalType>(4294967295), 1, 2, 4, 5, 6, 7},
                {3, LST_Audio, 4294967295, 2, 4, 5, 6, 7},
                {3, LST_Audio, 1, 4294967295, 4, 5, 6, 7},
                {3, LST_Audio, 1, 2, 4294967295, 5, 6, 7},
                {3, LST_Audio, 1, 2, 4, 4294967295, 6, 7},
                {3, LST_Audio, 1, 2, 4, 5, 4294967295, 7},
                {3, LST_Audio, 1, 2, 4, 5, 6, 4294967295}};
    }
};

template <>
struct Sample<RouterMemberMacroXpts>
{
    static RouterMemberMacroXpts value() { return {8, 9, 10, 11, 12}; }
    static constexpr const char* key = "8";
    static constexpr const char* json =
        R"({"memberIndex":8,"macroXptInputStart":9,"numMacroXptInputs":10,"macroXptOutputStart":11,)"
        R"("numMacroXptOutputs":12})";
    static std::vector<RouterMemberMacroXpts> raised()
    {
        return {{65535, 9, 10, 11, 12},
                {8, 4294967295, 10, 11, 12},
                {8, 9, 4294967295, 11, 12},
                {8, 9, 10, 4294967295, 12},
                {8, 9, 10, 11, 4294967295}};
    }
};

} // namespace typesamples
