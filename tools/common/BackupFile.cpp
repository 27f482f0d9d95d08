#include "tools/common/BackupFile.h"

#include "koraclient/ResultText.h"
#include "koracommand/ResultCode.h"
#include "tools/common/FileLines.h"
#include "tools/common/OutputFields.h"
#include "tools/common/ParseText.h"
#include "tools/common/Table.h"

#include <map>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace koractl
{
namespace
{

using koraclient::isStatusAnswered;
using koraclient::LevelSnapshot;
using koraclient::LprState;
using koraclient::OutputLpr;
using koraclient::OutputRow;
using koraclient::statusResultText;

constexpr const char* signature = "koractl-backup";
constexpr std::uint32_t version = 1;

/// `MON 3 <- CAM 1` as a comment; empty without names.
std::string nameComment(std::uint32_t level, const OutputRow& row, const Names& names)
{
    const std::string output = names.output(level, row.output);
    const std::string input = inputNameOf(row, level, names);
    if (output.empty() && input.empty())
    {
        return "";
    }
    return "  # " + (output.empty() ? std::to_string(row.output) : output) + " <- " +
           (input.empty() ? row.inputText() : input);
}

/// Reads the lines of one file, in order.
class BackupReader
{
public:
    explicit BackupReader(const AddressReader& reader) : m_reader(reader) {}

    void readLine(const std::string& line, std::size_t number)
    {
        LineScanner scanner(line);
        if (std::exchange(m_isFirst, false))
        {
            readSignature(scanner);
        }
        else if (scanner.take("level"))
        {
            m_level.reset(); // so that outputs below a level that is none are not taken for the last one's
            m_level = m_reader.level(wordOf(scanner, "a level"));
        }
        else if (scanner.take("output"))
        {
            readOutput(scanner, number);
        }
        else
        {
            throw std::invalid_argument("'" + scanner.word() + "' cannot begin a line; level or output can");
        }
        if (!scanner.isAtEnd() && !scanner.rest().starts_with('#'))
        {
            throw std::invalid_argument("'" + scanner.rest() + "' is too much");
        }
    }

    bool isEmpty() const { return m_isFirst; }
    std::vector<OutputWish> takeWishes() { return std::move(m_wishes); }

private:
    static std::string wordOf(LineScanner& scanner, const std::string& what)
    {
        if (scanner.isAtEnd() || scanner.rest().starts_with('#'))
        {
            throw std::invalid_argument(what + " is missing");
        }
        return scanner.word();
    }

    static void readSignature(LineScanner& scanner)
    {
        if (!scanner.take(signature))
        {
            throw std::invalid_argument(std::string("this is not a backup: the first line is not '") + signature +
                                        " 1'");
        }
        const std::uint32_t found = parseNumber(wordOf(scanner, "the version"));
        if (found != version)
        {
            throw std::invalid_argument("version " + std::to_string(found) + " of the backup format is unknown");
        }
    }

    void readOutput(LineScanner& scanner, std::size_t number)
    {
        if (!m_level)
        {
            throw std::invalid_argument("no level is named before this output");
        }
        OutputWish wish{.level = *m_level, .line = number, .route = {}, .lpr = {}};
        wish.output = m_reader.output(wish.level, wordOf(scanner, "an output"));
        if (scanner.take("input"))
        {
            wish.route.emplace();
            if (!scanner.take("none"))
            {
                wish.route->input = m_reader.input(wish.level, wordOf(scanner, "an input"));
            }
        }
        readState(scanner, wish);
        if (!wish.route && !wish.lpr)
        {
            throw std::invalid_argument("the line says neither an input nor a state for its output");
        }
        const auto [place, isNew] = m_lines.emplace(std::pair(wish.level, wish.output), number);
        if (!isNew)
        {
            throw std::invalid_argument("output " + std::to_string(wish.output) + " of level " +
                                        std::to_string(wish.level) + " stands in line " +
                                        std::to_string(place->second) + " already");
        }
        m_wishes.push_back(wish);
    }

    static void readState(LineScanner& scanner, OutputWish& wish)
    {
        if (scanner.take("released"))
        {
            wish.lpr = OutputLpr{.state = static_cast<std::uint32_t>(LprState::released), .lprId = 0};
            return;
        }
        const bool isLocked = scanner.take("locked");
        if (!isLocked && !scanner.take("protected"))
        {
            return;
        }
        if (!scanner.take("by"))
        {
            throw std::invalid_argument("'by' and the holder's lprId are missing");
        }
        wish.lpr = OutputLpr{.state = static_cast<std::uint32_t>(isLocked ? LprState::locked : LprState::isProtected),
                             .lprId = parseNumber(wordOf(scanner, "the holder's lprId"))};
    }

    const AddressReader& m_reader;
    std::optional<std::uint32_t> m_level;
    std::vector<OutputWish> m_wishes;
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::size_t> m_lines; ///< by level and output
    bool m_isFirst = true;
};

} // namespace

void writeBackupStart(std::ostream& out, const std::string& when)
{
    out << signature << ' ' << version << "\n# written " << when << '\n';
}

void writeBackupLevel(std::ostream& out, std::uint32_t level, const LevelSnapshot& snapshot, const Names& names)
{
    const std::string name = names.level(level);
    out << "\nlevel " << level << (name.empty() ? "" : "  # " + name) << '\n';
    for (const auto& [output, row] : snapshot)
    {
        if (!isStatusAnswered(row.result))
        {
            out << "# output " << output << " not saved: " << statusResultText(row.result, level, output) << '\n';
            continue;
        }
        const std::string input = row.result == resultCode::done ? row.inputText() : "none";
        out << "output " << padLeft(std::to_string(output), 4) << " input " << padLeft(input, 4) << ' '
            << row.stateText() << nameComment(level, row, names) << '\n';
    }
}

std::vector<OutputWish> readBackup(std::istream& in, const std::string& fileName, const AddressReader& reader)
{
    BackupReader lines(reader);
    forEachLine(in, fileName, [&](const std::string& line, std::size_t number) { lines.readLine(line, number); });
    if (lines.isEmpty())
    {
        throw FileError(fileName + ":1: this is not a backup: the file is empty");
    }
    return lines.takeWishes();
}

} // namespace koractl
