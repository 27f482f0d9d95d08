#include "tools/koractl/matrix/MatrixScreen.h"

#include "tools/common/Table.h"
#include "tools/koractl/matrix/MatrixPicture.h"
#include "tools/koractl/watch/WatchPrinter.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <ostream>

namespace koractl
{
namespace
{

using koraclient::OutputRow;

using namespace std::chrono_literals;

constexpr auto markTime = 3s;
/// How long a change of the terminal's size or the end of a mark may stay unseen.
constexpr auto lookTime = 250ms;
constexpr std::size_t rulerRows = 2;
constexpr std::size_t otherRows = 3; ///< heading, remark, keys
constexpr const char* keysText = "arrows PgUp PgDn Home End [ ]: move   c: last change   q: end";

constexpr const char* enter = "\x1b[?1049h\x1b[?25l"; // the other screen, no cursor
constexpr const char* leave = "\x1b[?25h\x1b[?1049l";
constexpr const char* toTop = "\x1b[H";
constexpr const char* clearLine = "\x1b[K";
constexpr const char* clearBelow = "\x1b[J";

} // namespace

MatrixScreen::MatrixScreen(const CommandContext& context, MatrixModel model, bool hasColor)
    : m_context(context), m_model(std::move(model)), m_hasColor(hasColor), m_size(TerminalSize::now())
{
    m_context.streams().out << enter;
}

MatrixScreen::~MatrixScreen()
{
    m_context.streams().out << leave << std::flush;
}

void MatrixScreen::changed(std::uint32_t level, const OutputRow& row)
{
    m_model.apply(row);
    m_isDirty = true;
    if (m_hasBegun && m_model.outputs().contains(row.output))
    {
        m_marked[row.output] = Clock::now();
        m_lastChange = row.output;
        m_remark = "last change: " + watchLine(level, row, m_model.names());
    }
}

void MatrixScreen::missing(std::uint32_t level)
{
    say("level " + std::to_string(level) + " does not exist yet; waiting for it");
}

void MatrixScreen::lost(const std::string& reason)
{
    say(reason + "; trying to connect again");
}

void MatrixScreen::back(std::chrono::milliseconds)
{
    say("connected again");
}

void MatrixScreen::resynchronised(std::uint32_t, std::size_t differing)
{
    say("connected again; outputs that differ from before: " + std::to_string(differing));
}

void MatrixScreen::say(const std::string& remark)
{
    m_remark = remark;
    m_isDirty = true;
}

bool MatrixScreen::waitFor(std::chrono::milliseconds time)
{
    const auto deadline = Clock::now() + time;
    do
    {
        const TerminalSize size = TerminalSize::now();
        m_isDirty = m_isDirty || size.columns != m_size.columns || size.rows != m_size.rows;
        m_isDirty = m_isDirty ||
                    std::erase_if(m_marked, [](const auto& mark) { return Clock::now() - mark.second > markTime; }) > 0;
        m_size = size;
        if (m_isDirty && time > 0ms)
        {
            draw();
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        std::array entries{pollfd{STDIN_FILENO, POLLIN, 0}, pollfd{m_stop.descriptor(), POLLIN, 0}};
        const auto wait = std::clamp<std::chrono::milliseconds>(left, 0ms, lookTime);
        if (::poll(entries.data(), entries.size(), static_cast<int>(wait.count())) > 0 && entries[0].revents != 0)
        {
            readKeys();
        }
        m_isQuit = m_isQuit || m_stop.waitFor(0ms);
    } while (!m_isQuit && Clock::now() < deadline);
    return m_isQuit;
}

void MatrixScreen::readKeys()
{
    std::array<char, 64> bytes{};
    const ssize_t count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN))
    {
        m_isQuit = true; // the terminal is gone
        return;
    }
    if (count > 0)
    {
        m_keys.append({bytes.data(), static_cast<std::size_t>(count)});
    }
    while (const auto key = m_keys.next())
    {
        apply(*key);
    }
}

void MatrixScreen::apply(Key key)
{
    const auto page = static_cast<std::int64_t>(std::max<std::size_t>(bodyRows(), 1));
    constexpr std::int64_t far = 1LL << 40;
    switch (key)
    {
    case Key::up:
        return moveOutputs(-1);
    case Key::down:
        return moveOutputs(1);
    case Key::pageUp:
        return moveOutputs(-page);
    case Key::pageDown:
        return moveOutputs(page);
    case Key::home:
        moveInputs(-far);
        return moveOutputs(-far);
    case Key::end:
        return moveOutputs(far);
    case Key::left:
        return moveInputs(-1);
    case Key::right:
        return moveInputs(1);
    case Key::pageLeft:
        return moveInputs(-static_cast<std::int64_t>(m_columns));
    case Key::pageRight:
        return moveInputs(static_cast<std::int64_t>(m_columns));
    case Key::lastChange:
        return showLastChange();
    case Key::quit:
        m_isQuit = true;
        return;
    case Key::unknown:
        return;
    }
}

void MatrixScreen::moveOutputs(std::int64_t by)
{
    const auto count = static_cast<std::int64_t>(m_model.outputs().size());
    const auto last = std::max<std::int64_t>(0, count - static_cast<std::int64_t>(bodyRows()));
    m_firstRow =
        static_cast<std::size_t>(std::clamp<std::int64_t>(static_cast<std::int64_t>(m_firstRow) + by, 0, last));
    m_isDirty = true;
}

void MatrixScreen::moveInputs(std::int64_t by)
{
    const NumberRange inputs = m_model.inputs();
    const std::int64_t first = inputs.first;
    const std::int64_t last = std::max<std::int64_t>(first, std::int64_t{inputs.last} - m_columns + 1);
    m_firstInput = static_cast<std::uint32_t>(std::clamp(std::int64_t{m_firstInput} + by, first, last));
    m_isDirty = true;
}

void MatrixScreen::showLastChange()
{
    if (!m_lastChange)
    {
        return;
    }
    const auto place = m_model.outputs().find(*m_lastChange);
    const auto index = std::distance(m_model.outputs().begin(), place);
    moveOutputs(index - static_cast<std::int64_t>(m_firstRow + bodyRows() / 2));
    if (place->second.result == 0)
    {
        moveInputs(std::int64_t{place->second.input} - m_firstInput - m_columns / 2);
    }
}

std::size_t MatrixScreen::bodyRows() const
{
    return m_size.rows > rulerRows + otherRows ? m_size.rows - rulerRows - otherRows : 1;
}

void MatrixScreen::draw()
{
    const MatrixPicture picture(m_model, m_size.columns, m_hasColor);
    m_columns = picture.columns();
    moveOutputs(0);
    moveInputs(0);
    std::string frame = toTop;
    const auto add = [&frame](const std::string& line) { frame += line + clearLine + "\r\n"; };
    add(cutToWidth(m_model.heading(), m_size.columns));
    for (const std::string& line : picture.ruler(m_firstInput))
    {
        add(line);
    }
    std::size_t index = 0;
    for (const auto& [output, row] : m_model.outputs())
    {
        if (index >= m_firstRow && index < m_firstRow + bodyRows())
        {
            add(picture.row(row, m_firstInput, m_marked.contains(output)));
        }
        ++index;
    }
    frame += clearBelow;
    frame += "\x1b[" + std::to_string(m_size.rows - 1) + "H" + cutToWidth(m_remark, m_size.columns) + clearLine;
    frame += "\x1b[" + std::to_string(m_size.rows) + "H" + cutToWidth(keysText, m_size.columns) + clearLine;
    m_context.streams().out << frame;
    m_context.flush();
    m_isDirty = false;
}

} // namespace koractl
