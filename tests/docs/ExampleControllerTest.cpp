#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/Places.h"
#include "tests/support/TimeFactor.h"

#include <fstream>
#include <sstream>

using namespace std::chrono_literals;

namespace
{

const std::string root = testsupport::sourceFolder();
const std::string program = root + "/examples/controller.py";

std::string contentOf(const std::string& path)
{
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

/// The controller of docs/integrating-controllers.md beside the real bridge.
class ExampleController : public e2e::BridgeFixture
{
protected:
    struct Outcome
    {
        int status;
        std::string out;
        std::string err;
    };

    static Outcome run(const std::vector<std::string>& arguments)
    {
        testsupport::ChildProcess controller(program, arguments, {.environment = {}, .closeInput = true});
        const int status = controller.waitForExit().value_or(-1);
        return {status, controller.output(), controller.errors()};
    }
};

} // namespace

TEST(IntegratingControllers, PrintsTheProgramThatIsTested)
{
    const std::string page = contentOf(root + "/docs/integrating-controllers.md");

    EXPECT_NE(page.find("```python\n" + contentOf(program) + "```\n"), std::string::npos)
        << "copy examples/controller.py into the page";
}

TEST_F(ExampleController, TakesAndSaysWhatWasRefused)
{
    startJoined();

    const Outcome done = run({"127.0.0.1", "take", "1", "5", "7", "42"});
    const Outcome noInput = run({"127.0.0.1", "take", "1", "900", "7"});
    const Outcome noLevel = run({"127.0.0.1", "take", "9", "5", "7"});

    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_EQ(done.out, "done\n");
    EXPECT_EQ(noInput.status, 1);
    EXPECT_EQ(noInput.err, "refused: no such input\n");
    EXPECT_EQ(noLevel.err, "refused: no such level\n");
    koraclient::KoraClient client = connectController();
    EXPECT_TRUE(waitForInput(client, e2e::videoLevel, 7, 5));
}

TEST_F(ExampleController, FollowsTheStateChangesAndARestart)
{
    startJoined();
    testsupport::ChildProcess sut(program, {"127.0.0.1", "follow", "1"}, {.environment = {}, .closeInput = true});

    EXPECT_TRUE(sut.waitForOutput("output 288 shows nothing, released, holder 0\n")) << sut.errors();
    koraclient::KoraClient client = connectController();
    ASSERT_EQ(client.take({{.level = 1, .lprId = 42, .input = 5, .output = 7}}).front(), 0U);
    EXPECT_TRUE(sut.waitForOutput("output 7 shows 5, released, holder 42\n")) << sut.errors();
    ASSERT_EQ(client.setOutputLpr({{1, 7, koraclient::LprCommand::lock, 42}}).status, 0U);
    EXPECT_TRUE(sut.waitForOutput("output 7 shows 5, locked, holder 42\n")) << sut.errors();

    EXPECT_EQ(stopBridge(), 0);
    EXPECT_TRUE(sut.waitForErrors("; trying again\n"));
    startBridge();
    waitForJoin();
    koraclient::KoraClient again = connectController();
    EXPECT_TRUE(waitForInput(again, e2e::videoLevel, 7, 5));
    ASSERT_EQ(again.take({{.level = 1, .lprId = 0, .input = 6, .output = 8}}).front(), 0U);
    EXPECT_TRUE(sut.waitForOutput("output 8 shows 6, released, holder 0\n")) << sut.errors();
    EXPECT_TRUE(sut.isRunning());
}

TEST_F(ExampleController, GivenNobodyListeningEndsWithAnError)
{
    const Outcome outcome = run({"127.0.0.1", "take", "1", "5", "7"});

    EXPECT_NE(outcome.status, 0);
    EXPECT_NE(outcome.err.find("ConnectionRefusedError"), std::string::npos) << outcome.err;
}
