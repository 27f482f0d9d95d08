#pragma once

#include "koraclient/Watch.h"
#include "tools/common/StopSignal.h"
#include "tools/koractl/common/CommandContext.h"
#include "tools/koractl/matrix/KeyReader.h"
#include "tools/koractl/matrix/MatrixModel.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace koractl
{

/// The picture of a level on the whole terminal, moved with the keys, each change shown as the watch hands it on. It is
/// the watch's listener, and the condition that the watch waits on: keys and redrawing happen while the watch waits.
/// One thread. The terminal is put back with the object.
class MatrixScreen : public koraclient::WatchListener, public koraclient::StopCondition
{
public:
    MatrixScreen(const CommandContext& context, MatrixModel model, bool hasColor);
    ~MatrixScreen() override;

    void changed(std::uint32_t level, const koraclient::OutputRow& row) override;
    void roundEnded() override { m_hasBegun = true; }
    void missing(std::uint32_t level) override;
    void lost(const std::string& reason) override;
    void back(std::chrono::milliseconds gap) override;
    void resynchronised(std::uint32_t level, std::size_t differing) override;

    bool waitFor(std::chrono::milliseconds time) override;

private:
    using Clock = std::chrono::steady_clock;

    void readKeys();
    void apply(Key key);
    void moveOutputs(std::int64_t by);
    void moveInputs(std::int64_t by);
    void showLastChange();
    void draw();
    void say(const std::string& remark);
    /// Rows of the picture that fit.
    std::size_t bodyRows() const;

    const CommandContext& m_context;
    MatrixModel m_model;
    bool m_hasColor;
    StopSignal m_stop;
    RawTerminal m_terminal;
    KeyReader m_keys;
    TerminalSize m_size;
    std::size_t m_firstRow = 0;                          ///< index of the first output shown
    std::uint32_t m_firstInput = 0;                      ///< 0 until the first drawing
    std::uint32_t m_columns = 1;                         ///< inputs shown at the last drawing
    std::map<std::uint32_t, Clock::time_point> m_marked; ///< outputs that have just changed
    std::optional<std::uint32_t> m_lastChange;
    std::string m_remark;
    bool m_hasBegun = false; ///< the first round, which brings every output, is over
    bool m_isDirty = true;
    bool m_isQuit = false;
};

} // namespace koractl
