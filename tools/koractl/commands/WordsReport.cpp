#include "tools/koractl/commands/WordsReport.h"

#include <ostream>
#include <utility>

#include "koraclient/Message.h"
#include "koracommand/WireLayout.h"
#include "tools/koractl/common/Table.h"

namespace koractl
{

using koraclient::hexText;

WordsReport::WordsReport(std::string heading, nlohmann::ordered_json json, std::size_t firstOffset,
                         std::vector<std::uint32_t> words, bool isDone)
    : m_heading(std::move(heading)), m_json(std::move(json)), m_firstOffset(firstOffset), m_words(std::move(words)),
      m_isDone(isDone)
{}

void WordsReport::addRemark(std::size_t offset, std::string remark)
{
    m_remarks[offset] = std::move(remark);
}

void WordsReport::printText(std::ostream& out) const
{
    if (!m_heading.empty())
    {
        out << m_heading << '\n';
    }
    if (m_words.empty())
    {
        return;
    }
    Table table({{"OFFSET"}, {"HEX"}, {"DECIMAL"}, {"", Table::Align::left}});
    std::size_t offset = m_firstOffset;
    for (const std::uint32_t word : m_words)
    {
        const auto remark = m_remarks.find(offset);
        table.addRow({std::to_string(offset), hexText(word), std::to_string(word),
                      remark == m_remarks.end() ? "" : remark->second});
        offset += wireLayout::wordBytes;
    }
    table.print(out);
}

nlohmann::ordered_json WordsReport::toJson() const
{
    nlohmann::ordered_json json = m_json;
    json["words"] = m_words;
    return json;
}

} // namespace koractl
