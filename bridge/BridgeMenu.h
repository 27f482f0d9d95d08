#pragma once

/// The operator's menu "KORA". Runs on the main thread between the Director's start and stop; returns when the operator
/// quits or the process is asked to end (SIGTERM, SIGINT).
void runBridgeMenu();
