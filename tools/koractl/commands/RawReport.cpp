#include "tools/koractl/commands/RawReport.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "koraclient/Message.h"
#include "tools/koractl/commands/WordsReport.h"

namespace koractl
{

using koraclient::hexText;
using koraclient::Message;

RawReport::RawReport(std::vector<Message> responses) : m_responses(std::move(responses)) {}

void RawReport::printText(std::ostream& out) const
{
    if (m_responses.empty())
    {
        out << "sent\n";
    }
    for (const Message& message : m_responses)
    {
        WordsReport words("message " + hexText(message.id()) + ", " + std::to_string(message.size()) + " bytes", {}, 0,
                          message.words());
        words.addRemark(wireLayout::header::protocolType, "protocol type");
        words.addRemark(wireLayout::header::sequence, "sequence");
        words.addRemark(wireLayout::header::length, "length");
        words.addRemark(wireLayout::header::msgId, "message id");
        words.addRemark(wireLayout::rsp::tag, "tag");
        words.printText(out);
    }
}

nlohmann::ordered_json RawReport::toJson() const
{
    auto responses = nlohmann::ordered_json::array();
    for (const Message& message : m_responses)
    {
        responses.push_back({{"id", message.id()}, {"length", message.size()}, {"words", message.words()}});
    }
    return {{"command", "raw"}, {"done", isAllDone()}, {"responses", std::move(responses)}};
}

bool RawReport::isAllDone() const
{
    return std::none_of(m_responses.begin(), m_responses.end(),
                        [](const Message& message) { return message.id() == wireLayout::rspId::error; });
}

} // namespace koractl
