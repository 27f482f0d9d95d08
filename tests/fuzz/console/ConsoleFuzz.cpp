// Fuzzes what an operator's telnet client can send: any bytes, in any segments, to the line reader, through it to the
// menu, and to the questions that items ask. The client is the bridge's own over a pair of connected sockets; only the
// console that accepts clients is left out.

#include "ddskorabridge/LevelContainer.h"
#include "ddskorabridge/LevelImpl.h"
#include "ddskorabridge/MacroXptTable.h"
#include "ddskorabridge/OperatorShow.h"
#include "runtime/apartment/Task.h"
#include "runtime/misc/Console.h"
#include "runtime/misc/Menu.h"
#include "runtime/util/MemPool.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/fuzz/console/FuzzedOperator.h"
#include "tests/fuzz/support/QuietLog.h"
#include "tests/fuzz/support/Require.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

namespace misc = com::tallowcrest::misc;
using fuzz::require;

const std::vector<std::string> titles{
    "Show Server Connections",      "Show Server Stats", "Show Mempool", "Show Tasks", "Start Sampling",
    "Show Macro Video Xpts Target", "Show All Levels",   "q:  quit"};

/// The console's one operator, while an execution lasts.
fuzz::FuzzedOperator* theOperator = nullptr;

/// The item that a line means, worked out a second time.
std::optional<std::size_t> itemOf(const std::string& line)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    if (!line.empty() && (line[0] == '-' || isDigit(line[0])))
    {
        std::uint64_t number = 0;
        std::size_t at = line[0] == '-' ? 1 : 0;
        const std::size_t begin = at;
        for (; at < line.size() && isDigit(line[at]); ++at)
        {
            number = std::min<std::uint64_t>(number * 10 + static_cast<std::uint64_t>(line[at] - '0'), 1U << 31U);
        }
        const bool isInRange = at > begin && number < titles.size() && (begin == 0 || number == 0);
        return isInRange ? std::optional<std::size_t>(number) : std::nullopt;
    }
    for (std::size_t i = 0; i < titles.size(); ++i)
    {
        if (line.size() <= titles[i].size() && std::equal(line.begin(), line.end(), titles[i].begin(),
                                                          [&](char a, char b) { return lower(a) == lower(b); }))
        {
            return i;
        }
    }
    return std::nullopt;
}

class Table final : public IXptTable
{
public:
    std::string table(std::uint32_t first, std::uint32_t last) const override { return m_table.text("A", first, last); }

private:
    MacroXptTable m_table{288};
};

/// What the items show; without state.
struct Process
{
    Process()
    {
        levels->set(1, std::make_shared<LevelImpl>(nullptr, nullptr, MappingNumbers{1, 1, 288, 1, 1, 288, 1}));
    }

    fuzz::QuietLog log;
    FakeApartment apartment{FakeApartment::Sent::RunsAtOnce};
    std::shared_ptr<Table> table = std::make_shared<Table>();
    std::shared_ptr<LevelContainer> levels = std::make_shared<LevelContainer>();
};

Process& process()
{
    static Process& theProcess = *new Process;
    return theProcess;
}

void askAndShowXpts()
{
    misc::print("firstXpt: ");
    std::array<char, 128> line{};
    if (misc::getline(line.data(), static_cast<int>(line.size())) >= 0)
    {
        const auto first = static_cast<std::uint32_t>(std::strtol(line.data(), nullptr, 10));
        require(operatorShow::showXpts(process().apartment, process().table, first, first + 9), "the table is shown");
    }
}

/// A dialogue of the operator with the bridge's menu, with items like the bridge's.
class Dialogue
{
public:
    explicit Dialogue(fuzz::FuzzedOperator& client) : m_client(client)
    {
        add([] { misc::print("\n"); });
        add([] { throw std::runtime_error("no statistics"); });
        add([] { com::tallowcrest::util::MemPoolRegistry::instance().show(); });
        add([] { com::tallowcrest::apartment::showTasks(); });
        add([] { misc::print("%s %d\n", "a line", 1); });
        add([] { askAndShowXpts(); });
        add([] {
            require(operatorShow::showLevels(process().apartment, process().levels, "Video Levels"),
                    "the levels are shown");
        });
    }

    void run()
    {
        // The line before each round, if any, has chosen the item that ran, or none.
        m_menu.run([this] { checkChoice(); }, nullptr, nullptr);
        const auto quit = m_client.takeAnswer();
        require(!quit || itemOf(*quit) == titles.size() - 1, "the menu ends when the operator quits, or is gone");
        require(!m_ran, "no item runs when the menu ends");
    }

private:
    void add(misc::Menu::Handler handler)
    {
        const std::size_t index = m_count++;
        m_menu.addItem(titles.at(index), [this, index, handler = std::move(handler)] {
            m_answer = m_client.takeAnswer();
            m_ran = index;
            handler();
            m_client.takeAnswer(); // to the item's own question
        });
    }

    void checkChoice()
    {
        if (!m_ran)
        {
            m_answer = m_client.takeAnswer();
        }
        const auto expected = m_answer ? itemOf(*m_answer) : std::nullopt;
        require(m_ran == expected, "the item runs that the operator has chosen");
        m_answer.reset();
        m_ran.reset();
    }

    fuzz::FuzzedOperator& m_client;
    misc::Menu m_menu{"KORA"};
    std::size_t m_count = 0;
    std::optional<std::size_t> m_ran;
    std::optional<std::string> m_answer;
};

} // namespace

// The console's functions, defined here instead of by Console.cpp, which the linker then leaves out.
namespace com::tallowcrest::misc
{

void print(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    vprint(format, arguments);
    va_end(arguments);
}

void vprint(const char* format, std::va_list arguments)
{
    theOperator->print(format, arguments);
}

int getline(char* buffer, int size)
{
    return theOperator->getline(buffer, size);
}

void beginConsoleRound() {}

} // namespace com::tallowcrest::misc

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    static_cast<void>(process());
    fuzz::FuzzedOperator client(data[0], {data + 1, size - 1});
    theOperator = &client;
    Dialogue(client).run();
    client.leave();
    theOperator = nullptr;
    return 0;
}
