#include "runtime/apartment/Presence.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

using com::tallowcrest::apartment::Presence;

namespace
{

struct Watched
{
    int number = 7;
    const Presence<Watched> presence{*this};
};

TEST(PresenceTest, findsItsObjectWhileThatIsThere)
{
    Watched object;

    const std::weak_ptr<Watched> sut = object.presence.weak();

    ASSERT_NE(sut.lock(), nullptr);
    EXPECT_EQ(sut.lock().get(), &object);
}

TEST(PresenceTest, findsNothingOnceItsObjectHasGone)
{
    std::optional<Watched> object(std::in_place);
    const std::weak_ptr<Watched> sut = object->presence.weak();

    object.reset();

    EXPECT_EQ(sut.lock(), nullptr);
}

} // namespace
