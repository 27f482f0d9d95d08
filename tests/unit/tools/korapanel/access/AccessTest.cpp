#include "tools/korapanel/access/Access.h"

#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

using namespace korapanel;
using testsupport::waitUntil;

namespace
{

class AccessUnitTest : public testing::Test
{
protected:
    AccessUnitTest()
        : m_file((m_folder.path() / "tokens").string()), m_anna(addToken(m_file, "anna", true)),
          m_eva(addToken(m_file, "eva", false)),
          sut(std::make_unique<Access>(Access::Settings{.tokenFile = m_file, .isControlled = true}))
    {}

    /// What a check says, once it is done.
    Access::Verdict check(const std::string& token, const std::string& address = "10.0.0.5")
    {
        Access::Verdict result;
        std::atomic<bool> isDone = false;
        sut->check(token, address, [&](const Access::Verdict& verdict) {
            result = verdict;
            isDone = true;
        });
        EXPECT_TRUE(waitUntil([&] { return isDone.load(); }));
        return result;
    }

    testsupport::TempDir m_folder;
    const std::string m_file;
    const std::string m_anna;
    const std::string m_eva;
    std::unique_ptr<Access> sut;
};

} // namespace

TEST_F(AccessUnitTest, GivenTokenIsKnownFromTheCheckOn)
{
    EXPECT_FALSE(sut->find("", m_anna, 0));

    const Access::Verdict verdict = check(m_anna);

    EXPECT_EQ(verdict.kind, Access::Verdict::Kind::known);
    EXPECT_TRUE(verdict.identity.mayControl);
    EXPECT_EQ(sut->find("", m_anna, 0)->name, "anna");
    EXPECT_FALSE(sut->find("", "anna.other", 0));
    EXPECT_FALSE(check(m_eva).identity.mayControl);
}

TEST_F(AccessUnitTest, GivenWrongTokensOneAddressWaitsAndOthersDoNot)
{
    int number = 0;
    for (const std::string& wrong : {std::string("nobody.x"), "anna." + m_eva.substr(4), std::string("nonsense")})
    {
        const std::string address = "10.0.0." + std::to_string(++number);
        EXPECT_EQ(check(wrong, address).kind, Access::Verdict::Kind::wrong) << wrong;
        const Access::Verdict next = check(m_anna, address);
        EXPECT_EQ(next.kind, Access::Verdict::Kind::wait) << wrong;
        EXPECT_EQ(next.wait, std::chrono::seconds(1));
    }
    EXPECT_EQ(check(m_anna, "10.0.1.1").kind, Access::Verdict::Kind::known);
}

TEST_F(AccessUnitTest, GivenSessionIsItsTokensUntilItEnds)
{
    const Identity identity = sut->beginSession(check(m_anna).identity, 1000);

    EXPECT_EQ(identity.expires, 1000 + 12 * 3600);
    EXPECT_EQ(sut->find(identity.session, "", 1000)->name, "anna");
    EXPECT_FALSE(sut->find(identity.session, "", *identity.expires));
    EXPECT_FALSE(sut->find("", "", 1000));
    sut->endSession(identity.session);
    EXPECT_FALSE(sut->find(identity.session, "", 1000));
}

TEST_F(AccessUnitTest, GivenAnotherTokenOfTheNameTheSessionOfTheFirstIsOver)
{
    const Identity identity = sut->beginSession(check(m_anna).identity, 1000);
    testsupport::writeFile(m_file, "");
    (void)addToken(m_file, "anna", true);

    EXPECT_FALSE(sut->find(identity.session, "", 1000));
    EXPECT_FALSE(sut->find("", m_anna, 1000));
}

TEST_F(AccessUnitTest, GivenManyAtOnceRefusesThoseBeyondTheBoundAndAnswersAll)
{
    std::atomic<std::size_t> answered = 0;
    std::atomic<std::size_t> busy = 0;
    constexpr std::size_t all = 200;
    for (std::size_t i = 0; i < all; ++i)
    {
        sut->check(m_anna, "10.0.0.5", [&](const Access::Verdict& verdict) {
            busy += verdict.kind == Access::Verdict::Kind::busy ? 1U : 0U;
            ++answered;
        });
    }
    // A check takes longer than all of this.
    EXPECT_GE(busy, all / 2);
    sut->stop();

    EXPECT_EQ(answered, all);
}

TEST(Access, GivenNoTokenFileEverybodyIsLocal)
{
    Access sut({.tokenFile = "", .isControlled = false});

    EXPECT_FALSE(sut.hasTokens());
    EXPECT_EQ(sut.find("", "", 0)->name, "local");
    EXPECT_FALSE(sut.find("", "", 0)->mayControl);
}

TEST(BearerOf, GivenHeaderIsTheToken)
{
    EXPECT_EQ(bearerOf("Bearer anna.x"), "anna.x");
    EXPECT_EQ(bearerOf("Basic anna.x"), "");
    EXPECT_EQ(bearerOf(""), "");
}
