#pragma once

#include "koracommand/CmdHandlerImpl.h"
#include "runtime/apartment/Apartment.h"
#include "tests/fakes/ManualAlarmClock.h"
#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

#include <memory>

/// A handler of connection 3 over a real apartment.
class CmdHandlerFixture : public LevelFixture
{
protected:
    CmdHandlerFixture()
    {
        com::tallowcrest::apartment::setBridgeApartment(m_apartment);
        m_apartment->start();
    }
    ~CmdHandlerFixture() override
    {
        m_apartment->stop();
        com::tallowcrest::apartment::resetBridgeApartment();
    }

    /// The response's words; empty when there is none.
    Words handle(const Bytes& message)
    {
        const auto rsp = m_sut->handle(message);
        return rsp != nullptr ? networkWordsOf(*rsp) : Words{};
    }

    std::shared_ptr<ManualAlarmClock> m_clock = std::make_shared<ManualAlarmClock>();
    std::shared_ptr<com::tallowcrest::apartment::Apartment> m_apartment =
        std::make_shared<com::tallowcrest::apartment::Apartment>("Test Apartment", nullptr, m_clock);
    CmdHandlerFactoryImpl m_factory{"KORABRIDGE", &fixedClock};
    std::unique_ptr<CmdHandler> m_sut = m_factory.createCmdHandler(3);
};
