#include "dds/core/Reference.hpp"

#include "tests/unit/ddscxx/BusFixture.h"

using dds::domain::DomainParticipant;

TEST(Reference, NilRefusesToBeUsed)
{
    const DomainParticipant sut(dds::core::null);

    EXPECT_TRUE(sut.is_nil());
    EXPECT_THROW(dds::pub::Publisher{sut}, dds::core::NullReferenceError);
}

TEST(Reference, CopiesNameTheSameEntity)
{
    const DomainParticipant sut(dds::domain::default_id());
    const DomainParticipant copy = sut;

    EXPECT_EQ(copy, sut);
    EXPECT_FALSE(copy == DomainParticipant(dds::core::null));
}

TEST(WeakReference, FindsTheEntityWhileAHandleLivesAndNilAfterwards)
{
    DomainParticipant handle(dds::domain::default_id());
    const dds::core::WeakReference<DomainParticipant> sut(handle);

    EXPECT_EQ(sut.lock(), handle);

    handle = DomainParticipant(dds::core::null);
    EXPECT_TRUE(sut.lock().is_nil());
}

TEST(WeakReference, FindsNothingAtFirst)
{
    EXPECT_TRUE(dds::core::WeakReference<DomainParticipant>().lock().is_nil());
}
