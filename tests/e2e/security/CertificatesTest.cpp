#include "tests/e2e/security/SecuredBus.h"
#include "tests/support/Places.h"

namespace e2e
{
namespace
{

using testsupport::ChildProcess;

/// The script that makes the certificates.
class CertificatesTest : public testing::Test
{
protected:
    struct Result
    {
        int status;
        std::string errors;
    };

    Result make(std::vector<std::string> participants, std::map<std::string, std::string> environment = {})
    {
        participants.insert(participants.begin(), m_bus.string());
        ChildProcess script(testsupport::sourceFolder() / "scripts/make-bus-certificates", participants,
                            {std::move(environment), true});
        const int status = script.waitForExit().value_or(-1);
        return {status, script.errors()};
    }
    static std::string openssl(std::vector<std::string> arguments)
    {
        ChildProcess program("/usr/bin/openssl", arguments);
        return program.waitForExit() == 0 ? program.output() : "failed: " + program.errors();
    }
    std::string file(const std::string& name) const { return (m_bus / name).string(); }

    testsupport::TempDir m_directory;
    const std::filesystem::path m_bus = m_directory.path() / "bus";
};

TEST_F(CertificatesTest, IdentityIsSignedByTheIdentityAuthority)
{
    ASSERT_EQ(make({"bridge=frame17"}).status, 0);

    EXPECT_EQ(openssl({"verify", "-CAfile", file("authorities/identity-ca.pem"), file("frame17/identity.pem")}),
              file("frame17/identity.pem") + ": OK\n");
    EXPECT_NE(openssl({"x509", "-noout", "-subject", "-nameopt", "RFC2253", "-in", file("frame17/identity.pem")})
                  .find("CN=frame17"),
              std::string::npos);
}

TEST_F(CertificatesTest, PermissionsNameTheirParticipantAndAreSignedByThePermissionsAuthority)
{
    ASSERT_EQ(make({"monitor=desk"}).status, 0);

    const std::string text = openssl({"smime", "-verify", "-text", "-in", file("desk/permissions.p7s"), "-CAfile",
                                      file("authorities/permissions-ca.pem")});

    EXPECT_NE(text.find("<subject_name>CN=desk</subject_name>"), std::string::npos) << text;
    EXPECT_EQ(text.find("<publish>"), std::string::npos);
    EXPECT_EQ(text.find('@'), std::string::npos);
}

TEST_F(CertificatesTest, KeysCanBeReadByTheirOwnerAlone)
{
    ASSERT_EQ(make({"bridge=frame17"}).status, 0);

    for (const char* key : {"frame17/identity.key", "authorities/identity-ca.key", "authorities/permissions-ca.key"})
    {
        EXPECT_EQ(std::filesystem::status(m_bus / key).permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write)
            << key;
    }
}

TEST_F(CertificatesTest, LaterParticipantsAreOfTheSameAuthorities)
{
    ASSERT_EQ(make({"bridge=frame17"}).status, 0);
    const std::string authority = testsupport::readFile(m_bus / "authorities" / "identity-ca.pem");

    ASSERT_EQ(make({"router=router1"}).status, 0);

    EXPECT_EQ(testsupport::readFile(m_bus / "authorities" / "identity-ca.pem"), authority);
    EXPECT_EQ(testsupport::readFile(m_bus / "router1" / "identity-ca.pem"), authority);
}

TEST_F(CertificatesTest, PermissionsForOneRouterNameItsPartitionAlone)
{
    ASSERT_EQ(make({"router=router1@R1"}).status, 0);

    const std::string text = openssl({"smime", "-verify", "-text", "-in", file("router1/permissions.p7s"), "-CAfile",
                                      file("authorities/permissions-ca.pem")});

    EXPECT_NE(text.find("<partition>com:tallowcrest:routing:R1</partition>"), std::string::npos) << text;
    EXPECT_EQ(text.find("routing:*"), std::string::npos) << text;
}

TEST_F(CertificatesTest, WrongArgumentsAreRefusedBeforeAnythingIsMade)
{
    const std::string tooLong(65, 'a');
    for (const std::string& wrong :
         {std::string("frame17"), std::string("king=frame17"), std::string("bridge="), std::string("bridge=a/b"),
          std::string("bridge=authorities"), std::string("bridge=."), std::string("bridge=.."),
          std::string("bridge=a..b"), std::string("bridge=-a"), std::string("bridge=a."), std::string("bridge=a\nb"),
          std::string("bridge=a b"), std::string("bridge=a<b"), std::string("bridge=a@"), std::string("bridge=a@.."),
          std::string("bridge=a@*"), std::string("../bridge=a"), std::string("router=frame17"), "bridge=" + tooLong})
    {
        const auto result = make({"bridge=frame17", wrong});
        EXPECT_EQ(result.status, 2) << wrong;
        EXPECT_NE(result.errors.find("make-bus-certificates: "), std::string::npos) << wrong;
        EXPECT_FALSE(std::filesystem::exists(m_bus)) << wrong;
    }
    EXPECT_EQ(make({}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(m_bus));
}

} // namespace
} // namespace e2e
