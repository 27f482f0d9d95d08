#include "bustypes/TypeSupport.h"
#include "buswrappers/BusRound.h"
#include "runtime/apartment/Apartment.h"
#include "tests/e2e/allocations/BridgeWithin.h"
#include "tests/e2e/allocations/MemoryAtRest.h"
#include "tests/support/MeaningfulMemory.h"
#include "tests/support/WaitUntil.h"

#include <dds/dds.h>
#include <log4cxx/appenderskeleton.h>
#include <log4cxx/logger.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

namespace
{

using com::tallowcrest::apartment::Apartment;
using com::tallowcrest::dds_::routing::TypeSupport;
using testsupport::waitUntil;

/// Counts the lines that end a join: the server is told last, and says so.
class JoinCount
{
public:
    JoinCount() { m_logger->addAppender(m_appender); }
    ~JoinCount() { m_logger->removeAppender(m_appender); }
    JoinCount(const JoinCount&) = delete;
    JoinCount& operator=(const JoinCount&) = delete;

    std::size_t joins() const { return m_appender->joins; }

private:
    class Appender final : public log4cxx::AppenderSkeleton
    {
    public:
        void close() override {}
        bool requiresLayout() const override { return false; }

        std::atomic<std::size_t> joins{0};

    protected:
        void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& /*pool*/) override
        {
            if (event->getMessage().find("connected to router") != std::string::npos)
            {
                ++joins;
            }
        }
    };

    const log4cxx::LoggerPtr m_logger = log4cxx::Logger::getLogger("KORABRIDGE");
    const std::shared_ptr<Appender> m_appender = std::make_shared<Appender>();
};

dds_entity_t made(dds_entity_t entity)
{
    if (entity < 0)
    {
        throw std::runtime_error(dds_strretcode(entity));
    }
    return entity;
}

/// Makes readers and writers of the bus's kind with nothing but the library, and deletes each at once.
class BareEndpoints
{
public:
    BareEndpoints()
    {
        const char* partition = "com:tallowcrest:routing:R1";
        dds_qset_partition(m_groupQos, 1, &partition);
        dds_qset_durability(m_qos, DDS_DURABILITY_TRANSIENT_LOCAL);
        dds_qset_reliability(m_qos, DDS_RELIABILITY_RELIABLE, DDS_MSECS(100));
        using MacroXptOutput = com::tallowcrest::dds_::routing::MacroXptOutput;
        m_topic = made(dds_create_topic(m_participant, &TypeSupport<MacroXptOutput>::descriptor(),
                                        "MacroXptOutputCalibration", m_qos, nullptr));
    }
    ~BareEndpoints()
    {
        dds_delete(m_participant);
        dds_delete_qos(m_qos);
        dds_delete_qos(m_groupQos);
    }
    BareEndpoints(const BareEndpoints&) = delete;
    BareEndpoints& operator=(const BareEndpoints&) = delete;

    void comeAndGo(std::size_t count) const
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            const dds_entity_t group = made(dds_create_subscriber(m_participant, m_groupQos, nullptr));
            made(dds_create_reader(group, m_topic, m_qos, nullptr));
            dds_delete(group);
        }
    }

private:
    dds_qos_t* const m_qos = dds_create_qos();
    dds_qos_t* const m_groupQos = dds_create_qos();
    const dds_entity_t m_participant = made(dds_create_participant(DDS_DOMAIN_DEFAULT, nullptr, nullptr));
    dds_entity_t m_topic = 0;
};

/// A thousand times as fast as others: joins need not keep the distance that they have.
class FastClock final : public com::tallowcrest::apartment::AlarmClock
{
public:
    Clock::time_point now() const override { return m_begin + factor * (Clock::now() - m_begin); }
    Clock::time_point wakeUpTime(Clock::time_point due) const override
    {
        return m_begin + (due - m_begin) / factor + Clock::duration(1);
    }

private:
    static constexpr int factor = 1000;
    const Clock::time_point m_begin = Clock::now();
};

class JoinMemoryTest : public BridgeWithin
{
protected:
    void SetUp() override
    {
        auto apartment = std::make_shared<Apartment>(
            "Bridge Apartment", std::make_shared<com::tallowcrest::routing::BusRound>(), std::make_shared<FastClock>());
        apartment->start();
        com::tallowcrest::apartment::setBridgeApartment(std::move(apartment));
        BridgeWithin::SetUp();
    }
    void join(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            const std::size_t before = m_count.joins();
            m_router.write("reannounce\n");
            ASSERT_TRUE(waitUntil([&] { return m_count.joins() > before; }, std::chrono::seconds(30))) << "join " << i;
        }
    }

    JoinCount m_count;
};

} // namespace

TEST_F(JoinMemoryTest, JoiningAgainKeepsNothingButWhatTheLibraryKeepsOfEveryReaderAndWriter)
{
    constexpr std::size_t numJoins = 200;
    // Of each signal type: readers of the members' crosspoints, of what is kept of targets and of what others write
    // there, of statuses and of local targets,
    // and the writer of targets; and the reader of levels.
    constexpr std::size_t endpointsPerJoin = 13;
    const char* const tunables = std::getenv("GLIBC_TUNABLES");
    ASSERT_TRUE(tunables != nullptr && std::string(tunables).find("tcache_count=0") != std::string::npos)
        << "freed memory that a thread keeps for itself would count as in use; see CMakeLists.txt";
    join(20);

    const Memory joins = growth([this] { join(numJoins); });

    // Some buffer or other may have grown, but not with each join.
    EXPECT_LT(joins.blocks, static_cast<long>(numJoins));
    const BareEndpoints bare;
    bare.comeAndGo(20 * endpointsPerJoin);
    const Memory library = growth([&bare] { bare.comeAndGo(numJoins * endpointsPerJoin); });
    if constexpr (testsupport::isMemoryMeaningful)
    {
        // All targets are published again; while they wait in a writer to be confirmed they are in use.
        constexpr long targetsUnderWay = 1048576;
        EXPECT_LT(joins.bytes, library.bytes * 5 / 4 + targetsUnderWay)
            << numJoins << " joins, and as many readers and writers with nothing but the library";
    }
}
