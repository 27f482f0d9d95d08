#pragma once

#include "koracommand/ConnectionContext.h"
#include "koracommand/LevelAccess.h"
#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "runtime/util/Timecode.h"
#include "tests/fakes/FakeLevel.h"
#include "tests/unit/koracommand/TestMessages.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

/// Levels by number, as far as the test gives any. Records what it is asked for.
class FakeLevelAccess final : public ILevelAccess
{
public:
    std::map<std::uint32_t, std::shared_ptr<ILevel>> levels;
    std::vector<std::uint32_t> asked;

    std::shared_ptr<ILevel> getLevelInstance(std::uint32_t levelNumber) override
    {
        asked.push_back(levelNumber);
        const auto found = levels.find(levelNumber);
        return found != levels.end() ? found->second : std::make_shared<LevelInvalid>();
    }
};

/// Counts how often it is read, and stands still.
class FakeTimecodeReader final : public com::tallowcrest::hwobjs::ITimecodeReader
{
public:
    static constexpr std::uint32_t word = 0x01000123;

    com::tallowcrest::util::Timecode getTimecode() const override
    {
        ++reads;
        return com::tallowcrest::util::Timecode(word);
    }

    mutable int reads = 0;
};

/// 2023-11-14 22:13:20 UTC.
inline std::chrono::system_clock::time_point fixedClock()
{
    return std::chrono::system_clock::from_time_t(1700000000);
}

/// A level 1 behind the access slot, and a timecode that stands still.
class LevelFixture : public ::testing::Test
{
protected:
    LevelFixture()
    {
        m_access->levels[1] = m_level;
        setLevelAccess(m_access);
        com::tallowcrest::hwobjs::setCurrentTimecodeReader(m_timecode);
    }
    ~LevelFixture() override
    {
        com::tallowcrest::hwobjs::resetCurrentTimecodeReader();
        resetLevelAccess();
    }

    std::shared_ptr<FakeLevel> m_level = std::make_shared<FakeLevel>();
    std::shared_ptr<FakeLevelAccess> m_access = std::make_shared<FakeLevelAccess>();
    std::shared_ptr<FakeTimecodeReader> m_timecode = std::make_shared<FakeTimecodeReader>();
    ConnectionContext m_context{log4cxx::Logger::getLogger("KORABRIDGE"), 3, &fixedClock};
};
