// Carries the headers that are compiled once for all folders where KORABRIDGE_PRECOMPILE is on.
