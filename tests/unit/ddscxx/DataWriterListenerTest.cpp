#include "tests/unit/ddscxx/BusFixture.h"

#include <atomic>

using dds::core::status::StatusMask;
using testsupport::waitUntil;

namespace
{

using Output = com::tallowcrest::dds_::routing::MacroXptOutput;

class MatchListener final : public dds::pub::DataWriterListener<Output>
{
public:
    void on_publication_matched(dds::pub::DataWriter<Output>& writer,
                                const dds::core::status::PublicationMatchedStatus& status) override
    {
        m_isWriterThere = !writer.is_nil();
        m_readers = status.current_count();
        ++m_calls;
    }

    std::atomic<bool> m_isWriterThere{false};
    std::atomic<int> m_readers{-1};
    std::atomic<int> m_calls{0};
};

class DataWriterListenerTest : public BusFixture
{
protected:
    bool waitForTold(int readers) const
    {
        return waitUntil([&] { return m_listener.m_readers == readers; });
    }

    MatchListener m_listener;
    Writer m_sut = makeWriter(makeTopic(m_participant));
};

} // namespace

TEST_F(DataWriterListenerTest, IsToldOfReadersThatComeAndGo)
{
    m_sut.listener(&m_listener, StatusMask::publication_matched());

    {
        const Reader wireReader = makeReader(makeTopic(m_wire.participant()));
        EXPECT_TRUE(waitForTold(1));
        EXPECT_TRUE(m_listener.m_isWriterThere);
    }

    EXPECT_TRUE(waitForTold(0));
}

TEST_F(DataWriterListenerTest, IsToldAtOnceOfAReaderThatCameBefore)
{
    const Reader reader = makeReader(makeTopic(m_participant)); // of the same stack: matched within the call

    m_sut.listener(&m_listener, StatusMask::publication_matched());

    EXPECT_EQ(m_listener.m_calls, 1);
    EXPECT_EQ(m_listener.m_readers, 1);
}

TEST_F(DataWriterListenerTest, IsNotToldOutsideItsMaskNorWhenItIsDetached)
{
    m_sut.listener(&m_listener, StatusMask::none());
    const Reader first = makeReader(makeTopic(m_participant));
    m_sut.listener(&m_listener, StatusMask::none());
    EXPECT_EQ(m_listener.m_calls, 0);
    m_sut.listener(&m_listener, StatusMask::publication_matched());
    EXPECT_EQ(m_listener.m_readers, 1);

    m_sut.listener(nullptr, StatusMask::none());
    const Reader second = makeReader(makeTopic(m_participant));

    EXPECT_EQ(m_sut.publication_matched_status().current_count(), 2);
    EXPECT_EQ(m_listener.m_readers, 1);
}

TEST_F(DataWriterListenerTest, IsNotToldWhenTheWriterHasGone)
{
    m_sut.listener(&m_listener, StatusMask::publication_matched());
    m_sut = dds::core::null;

    const Reader reader = makeReader(makeTopic(m_participant));

    EXPECT_EQ(m_listener.m_calls, 0);
}
