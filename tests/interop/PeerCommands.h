#pragma once

#include "tests/interop/FastRouter.h"

#include <string>

/// Reads commands, one a line, and lets a FastRouter carry them out:
///   member[-dispose|-unregister] FRAME PARTITION INDEX
///   ranges[-...] video|audio INDEX INPUT_START INPUTS OUTPUT_START OUTPUTS
///   level[-...] ID video|audio INPUT_START INPUTS CONTROLLER_INPUT OUTPUT_START OUTPUTS CONTROLLER_OUTPUT
///   status[-...] video|audio OUTPUT INPUT WHEN LPR_ID LPR_STATE
///   local-target[-...] video|audio OUTPUT INPUT WHEN LPR_ID LPR_STATE
/// Owned by one thread.
class PeerCommands
{
public:
    explicit PeerCommands(FastRouter& router) : m_router(router) {}

    /// Carries out one line; throws std::runtime_error when it is not a command or the bus refuses it.
    void execute(const std::string& line);

private:
    FastRouter& m_router;
};
