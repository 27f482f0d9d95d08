#include "runtime/misc/Menu.h"

#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <exception>
#include <iterator>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace com::tallowcrest::misc
{
namespace
{
constexpr std::size_t screenWidth = 80;
constexpr std::size_t largestPiece = 1900; // the telnet console cuts longer text
constexpr const char* quitTitle = "q:  quit";

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return text;
}

/// The number at the beginning of the text, cut to the range of an int; nothing when there is none ("-").
std::optional<int> leadingNumber(const std::string& text)
{
    int number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec == std::errc::result_out_of_range)
    {
        return text.front() == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    }
    return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

void callHook(const std::function<void()>& hook)
{
    if (hook)
    {
        hook();
    }
}

/// What failed would most likely fail again at once.
void pauseUnlessStopped()
{
    constexpr int pauseMs = 1000;
    pollfd stop{consoleStopFd(), POLLIN, 0};
    static_cast<void>(::poll(&stop, 1, pauseMs));
}

std::string itemText(std::size_t index, const std::string& title)
{
    std::array<char, 16> number{};
    static_cast<void>(std::snprintf(number.data(), number.size(), "%2d. ", static_cast<int>(index)));
    return number.data() + title;
}
} // namespace

Menu::Menu(std::string title) : m_title(std::move(title)) {}

void Menu::addItem(std::string title, Handler handler)
{
    auto last = m_items.before_begin();
    while (std::next(last) != m_items.end())
    {
        ++last;
    }
    m_items.insert_after(last, Item{std::move(title), std::move(handler)});
    ++m_itemCount;
}

void Menu::removeItem(const std::string& title)
{
    for (auto before = m_items.before_begin(); std::next(before) != m_items.end(); ++before)
    {
        if (std::next(before)->title == title)
        {
            m_items.erase_after(before);
            --m_itemCount;
            return;
        }
    }
}

void Menu::display() const
{
    std::string screen = "\n" + m_title + "\n";
    std::vector<const Item*> items;
    std::size_t longest = 0;
    for (const Item& item : m_items)
    {
        items.push_back(&item);
        longest = std::max(longest, item.title.size());
    }
    const std::size_t columns = std::max<std::size_t>(1, screenWidth / (longest + 8));
    const std::size_t rows = (items.size() + columns - 1) / columns;
    for (std::size_t row = 0; row < rows; ++row)
    {
        std::string line;
        for (std::size_t index = row; index < items.size(); index += rows)
        {
            std::string text = itemText(index, items[index]->title);
            if (index + rows < items.size())
            {
                text.resize(std::max(text.size(), longest + 4), ' ');
            }
            line += text;
        }
        // In one piece as far as a piece may be, so that what other threads print comes before or behind the menu.
        if (screen.size() + line.size() > largestPiece)
        {
            print("%s", screen.c_str());
            screen.clear();
        }
        screen += line + "\n";
    }
    print("%sEnter selection: ", screen.c_str());
}

Menu::Choice Menu::select() const
{
    std::array<char, 256> buffer{};
    const int result = getline(buffer.data(), static_cast<int>(buffer.size()));
    if (result < 0)
    {
        // A change of operators and a stop are not the operator's errors, so nothing is said.
        if (result == consoleEndOfInput)
        {
            print("scanf error: %d\n", result);
        }
        return {result, nullptr};
    }
    const std::string input(buffer.data());
    const bool isNumber =
        !input.empty() && (input.front() == '-' || std::isdigit(static_cast<unsigned char>(input.front())) != 0);
    return {result, isNumber ? findByNumber(input) : findByTitle(input)};
}

void Menu::run(const std::function<void()>& beforeEachRound, const std::function<void()>& onEnter,
               const std::function<void()>& onExit)
{
    bool quit = false;
    addItem(quitTitle, [&quit] { quit = true; });
    callHook(onEnter);
    bool mayChoose = true;
    while (mayChoose && !quit && !consoleStopRequested())
    {
        try
        {
            mayChoose = runRound(beforeEachRound);
        }
        catch (const std::exception& error)
        {
            REPORT_ERROR_F(util::bridgeLogger(), "menu failed, %s", error.what());
            pauseUnlessStopped();
        }
    }
    removeItem(quitTitle);
    callHook(onExit);
}

/// False when no operator will ever choose again: asking on would only spin.
bool Menu::runRound(const std::function<void()>& beforeEachRound) const
{
    beginConsoleRound();
    callHook(beforeEachRound);
    display();
    const Choice choice = select();
    if (choice.inputResult == consoleEndOfInput || choice.inputResult == consoleStopping)
    {
        return false;
    }
    if (choice.item != nullptr)
    {
        runHandler(*choice.item);
    }
    return true;
}

const Menu::Item* Menu::findByTitle(const std::string& input) const
{
    const std::string wanted = lowerCase(input);
    for (const Item& item : m_items)
    {
        if (lowerCase(item.title).compare(0, wanted.size(), wanted) == 0)
        {
            return &item;
        }
    }
    print("%s is not a valid choice.\n", input.c_str());
    return nullptr;
}

const Menu::Item* Menu::findByNumber(const std::string& input) const
{
    const auto number = leadingNumber(input);
    if (!number)
    {
        print("%s is not a valid choice.\n", input.c_str());
        return nullptr;
    }
    if (*number < 0 || *number >= m_itemCount)
    {
        print("%d is not a valid choice.\n", *number);
        return nullptr;
    }
    return &*std::next(m_items.begin(), *number);
}

void Menu::runHandler(const Item& chosen)
{
    const Item item = chosen; // the handler may remove it from the menu
    if (!item.handler)
    {
        return;
    }
    try
    {
        item.handler();
    }
    catch (const std::exception& error)
    {
        REPORT_ERROR_F(util::bridgeLogger(), "menu item '%s' failed, %s", item.title.c_str(), error.what());
        print("%s failed: %s\n", item.title.c_str(), error.what());
    }
}

} // namespace com::tallowcrest::misc
