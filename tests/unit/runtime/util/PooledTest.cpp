#include "runtime/util/Pooled.h"

#include "runtime/util/MemPool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using com::tallowcrest::util::MemPool;
using com::tallowcrest::util::MemPoolRegistry;
using com::tallowcrest::util::Pooled;
using testing::HasSubstr;

class Shape
{
public:
    Shape() = default;
    explicit Shape(int corners) : m_corners(corners) {}
    virtual ~Shape() = default;
    Shape(const Shape&) = delete;
    Shape& operator=(const Shape&) = delete;

    int corners() const { return m_corners; }

private:
    int m_corners = 0;
};

class Square : public Pooled<Square, Shape>
{
public:
    static constexpr const char* poolName = "TestSquare";
    static constexpr std::int32_t poolGrowCount = 3;

    using Pooled::Pooled;
};

/// Larger than the class that has the pool.
class Tessellation final : public Square
{
public:
    std::array<std::uint64_t, 16> tiles{};
};

/// As large as the class that has the pool.
class ColouredSquare final : public Square
{};

class Triangle final : public Pooled<Triangle, Shape>
{
public:
    static constexpr const char* poolName = "TestTriangle";
};

/// No test makes one.
class NeverMade final : public Pooled<NeverMade, Shape>
{
public:
    static constexpr const char* poolName = "TestNeverMade";
};

/// Not called by anything; only refers to the class as a factory does.
[[maybe_unused]] std::unique_ptr<Shape> makeNeverMade()
{
    return std::make_unique<NeverMade>();
}

class FailsToConstruct final : public Pooled<FailsToConstruct, Shape>
{
public:
    static constexpr const char* poolName = "TestFailsToConstruct";

    FailsToConstruct() { throw std::runtime_error("no"); }
};

/// Made before `main`, possibly before the pool's own initialisation.
const std::unique_ptr<Shape> madeEarly = std::make_unique<Triangle>();

std::int32_t inUse(const MemPool& pool)
{
    return pool.snapshot().total - pool.snapshot().available;
}

bool isAligned(const void* object)
{
    return reinterpret_cast<std::uintptr_t>(object) % 8 == 0;
}

TEST(PooledTest, anObjectComesFromThePoolAndGoesBackToIt)
{
    const MemPool& pool = Square::pool();
    ASSERT_EQ(inUse(pool), 0);

    std::unique_ptr<Shape> sut = std::make_unique<Square>(4);
    EXPECT_EQ(inUse(pool), 1);
    EXPECT_EQ(sut->corners(), 4);
    sut.reset(); // through the base's virtual destructor

    EXPECT_EQ(inUse(pool), 0);
}

TEST(PooledTest, thePoolHasTheClassesNameSizeAndGrowCount)
{
    const MemPool::Snapshot square = Square::pool().snapshot();
    EXPECT_EQ(square.name, "TestSquare");
    EXPECT_EQ(square.total, 3);
    EXPECT_EQ(square.stride, static_cast<std::int32_t>((sizeof(Square) + 4 + 7) / 8 * 8));

    EXPECT_EQ(Triangle::pool().snapshot().total, 20);
}

TEST(PooledTest, classesDoNotShareAPool)
{
    const std::int32_t triangles = inUse(Triangle::pool());

    const std::unique_ptr<Shape> sut = std::make_unique<Triangle>();

    EXPECT_EQ(inUse(Square::pool()), 0);
    EXPECT_EQ(inUse(Triangle::pool()), triangles + 1);
}

TEST(PooledTest, aClassThatNeverMadeAnObjectIsInTheTable)
{
    testing::internal::CaptureStdout();
    MemPoolRegistry::instance().show();
    const std::string table = testing::internal::GetCapturedStdout();

    // Asked for only now, for the asking makes the pool; a pointer's size is in it.
    const std::string stride = std::to_string(NeverMade::pool().snapshot().stride);
    EXPECT_THAT(table, HasSubstr("                                   TestNeverMade  Yes      1     " + stride +
                                 "     20     20      0\n"));
}

TEST(PooledTest, anObjectMadeDuringStaticInitialisationComesFromThePool)
{
    ASSERT_NE(madeEarly, nullptr);

    EXPECT_GE(inUse(Triangle::pool()), 1);
}

TEST(PooledTest, anExhaustedPoolIsReplacedByTheHeap)
{
    MemPool& pool = Square::pool();
    pool.setCanGrow(false);
    std::vector<std::unique_ptr<Shape>> objects;

    for (int i = 0; i < 5; ++i)
    {
        objects.push_back(std::make_unique<Square>(i));
        EXPECT_TRUE(isAligned(objects.back().get()));
    }

    EXPECT_EQ(pool.snapshot().available, 0);
    EXPECT_EQ(pool.snapshot().blockCount, 1);
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_EQ(objects[static_cast<std::size_t>(i)]->corners(), i);
    }
    testing::internal::CaptureStdout();
    objects.clear();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(inUse(pool), 0);
    pool.setCanGrow(true);
}

TEST(PooledTest, aLargerDerivedClassComesFromTheHeap)
{
    testing::internal::CaptureStdout();

    auto sut = std::make_unique<Tessellation>();
    sut->tiles.fill(7);
    EXPECT_TRUE(isAligned(sut.get()));
    EXPECT_EQ(inUse(Square::pool()), 0);
    std::unique_ptr<Shape> asBase = std::move(sut);
    asBase.reset();

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(inUse(Square::pool()), 0);
}

TEST(PooledTest, aDerivedClassOfTheSameSizeComesFromThePool)
{
    const std::unique_ptr<Shape> sut = std::make_unique<ColouredSquare>();

    EXPECT_EQ(inUse(Square::pool()), 1);
}

TEST(PooledTest, aConstructorThatThrowsGivesItsBufferBack)
{
    EXPECT_THROW(std::make_unique<FailsToConstruct>(), std::runtime_error);

    EXPECT_EQ(inUse(FailsToConstruct::pool()), 0);
}

TEST(PooledTest, newWithoutExceptionsUsesThePoolToo)
{
    const std::unique_ptr<Shape> sut(new (std::nothrow) Square(4));

    ASSERT_NE(sut, nullptr);
    EXPECT_EQ(inUse(Square::pool()), 1);
}

TEST(PooledTest, deletingNullDoesNothing)
{
    testing::internal::CaptureStdout();
    Square::operator delete(nullptr);

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(PooledTest, MemoryThatTheMachineDoesNotHaveIsBadAlloc)
{
    const volatile std::size_t tooMuch = PTRDIFF_MAX;

    EXPECT_THROW(static_cast<void>(Square::operator new(tooMuch)), std::bad_alloc);
    EXPECT_EQ(Square::operator new(tooMuch, std::nothrow), nullptr);
}

} // namespace
