#pragma once

#include "tests/support/LogRecorder.h"
#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <filesystem>

/// Where a store of the test's own lies, and what is logged.
class StoreFixture : public testing::Test
{
protected:
    testsupport::TempDir m_directory;
    std::filesystem::path m_path = m_directory.path() / "durable.db";
    testsupport::LogRecorder m_log;
};
