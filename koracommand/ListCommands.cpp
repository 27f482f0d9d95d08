#include "koracommand/ListCommands.h"

#include "koracommand/LevelAccess.h"
#include "koracommand/ResultCode.h"
#include "koracommand/WireLayout.h"
#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "runtime/util/Metrics.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string_view>

using com::tallowcrest::util::Counter;

namespace
{

namespace req = wireLayout::entryListReq;
namespace lprRsp = wireLayout::setOutputLprRsp;

/// The whole entries that the request really holds.
std::uint32_t entriesHeld(const WireReader& request)
{
    const std::size_t bytes = std::max(request.size(), req::entries) - req::entries;
    return static_cast<std::uint32_t>(bytes / req::entryBytes);
}

/// Finds the levels of a request's entries, most of which name the same level one after the other. A level that does
/// not exist is looked for each time anew.
class LevelFinder
{
public:
    ILevel& level(std::uint32_t number)
    {
        if (m_level == nullptr || number != m_number)
        {
            m_level = getLevelInstance(number);
            m_number = number;
            m_kind = Kind::NotLookedAt;
        }
        else if (isInvalid())
        {
            m_level = getLevelInstance(number);
        }
        return *m_level;
    }

private:
    enum class Kind : std::uint8_t
    {
        NotLookedAt,
        Level,
        Invalid
    };

    /// Asked only when the level is wanted once more: the cast costs more than the rest of the search.
    bool isInvalid()
    {
        if (m_kind == Kind::NotLookedAt)
        {
            m_kind = dynamic_cast<const LevelInvalid*>(m_level.get()) != nullptr ? Kind::Invalid : Kind::Level;
        }
        return m_kind == Kind::Invalid;
    }

    std::shared_ptr<ILevel> m_level;
    std::uint32_t m_number = 0;
    Kind m_kind = Kind::NotLookedAt;
};

/// Entries of one kind of request by what became of them.
class ResultCounters
{
public:
    ResultCounters(std::string_view name, std::string_view help) noexcept
        : m_done(name, help, R"(result="done")"), m_invalidSource(name, help, R"(result="invalid_source")"),
          m_invalidDestination(name, help, R"(result="invalid_destination")"),
          m_noSuchLevel(name, help, R"(result="no_such_level")"), m_locked(name, help, R"(result="locked")"),
          m_protected(name, help, R"(result="protected")"), m_other(name, help, R"(result="other")")
    {}

    void count(std::uint32_t result)
    {
        switch (result)
        {
        case resultCode::done:
            return m_done.add();
        case resultCode::esfInvalidSrc:
            return m_invalidSource.add();
        case resultCode::esfInvalidDst:
            return m_invalidDestination.add();
        case resultCode::noSuchLevel:
            return m_noSuchLevel.add();
        case resultCode::outputLocked:
            return m_locked.add();
        case resultCode::outputProtected:
            return m_protected.add();
        default:
            return m_other.add();
        }
    }

private:
    Counter m_done;
    Counter m_invalidSource;
    Counter m_invalidDestination;
    Counter m_noSuchLevel;
    Counter m_locked;
    Counter m_protected;
    Counter m_other;
};

ResultCounters takes("korabridge_take_entries_total", "Entries of takes and coherent takes, by their result.");
ResultCounters locks("korabridge_lock_entries_total", "Entries of locks, protects and releases, by their result.");

} // namespace

EntryListRsp::EntryListRsp(const WireReader& request, ConnectionContext& context, std::uint32_t rspId, LevelCall call,
                           const Layout& layout)
    : RspBase(request, rspId)
{
    const std::uint32_t when = com::tallowcrest::hwobjs::currentTimecode().word();
    const std::uint32_t count =
        context.limitCount(request.hostWordAt(wireLayout::header::msgId), request.hostWordAt(req::count),
                           std::min(entriesHeld(request), layout.maxEntries));
    setLength(static_cast<std::uint32_t>(layout.results + count * wireLayout::wordBytes));
    setWord(layout.count, count);
    ResultCounters& counters = rspId == wireLayout::rspId::take ? takes : locks;
    LevelFinder finder;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const std::size_t entry = req::entries + i * req::entryBytes;
        ILevel& level = finder.level(request.hostWordAt(entry + req::entryLevel));
        const std::uint32_t result = (level.*call)(request.hostWordAt(entry + req::entryArgument1),
                                                   request.hostWordAt(entry + req::entryArgument2),
                                                   request.hostWordAt(entry + req::entryArgument3), when);
        counters.count(result);
        m_allDone = m_allDone && result == resultCode::done;
        setWord(layout.results + i * wireLayout::wordBytes, result);
    }
}

TakeRspBase::TakeRspBase(const WireReader& request, ConnectionContext& context)
    : EntryListRsp(request, context, wireLayout::rspId::take, &ILevel::take,
                   {wireLayout::takeRsp::count, wireLayout::takeRsp::results, wireLayout::takeRsp::maxEntries})
{}

std::unique_ptr<Rsp> TakeCmd::createRsp()
{
    return std::make_unique<TakeRsp>(request(), context());
}

std::unique_ptr<Rsp> CoherentTakeCmd::createRsp()
{
    return std::make_unique<CoherentTakeRsp>(request(), context());
}

SetOutputLPRRsp::SetOutputLPRRsp(const WireReader& request, ConnectionContext& context)
    : Pooled(request, context, wireLayout::rspId::setOutputLpr, &ILevel::setOutputLPR,
             Layout{lprRsp::count, lprRsp::results, lprRsp::maxEntries})
{
    setWord(lprRsp::status, allDone() ? lprRsp::statusDone : lprRsp::statusFailed);
}

std::unique_ptr<Rsp> SetOutputLPRCmd::createRsp()
{
    return std::make_unique<SetOutputLPRRsp>(request(), context());
}
