#pragma once

#include "tools/korapanel/link/Orders.h"
#include "tools/korapanel/model/PanelModel.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace korapanel
{

/// Writes down who pressed what and what became of it: a line an entry, and in the model for the browsers. On the
/// link's thread.
class PressLog
{
public:
    PressLog(std::ostream& out, PanelModel& model) : m_out(out), m_model(model) {}

    /// `words` says what was pressed, one for each result or one for all.
    void write(const Presser& who, const std::vector<std::string>& words, const std::vector<OrderResult>& results);

    /// The line of a press, without its end.
    static std::string lineOf(const Press& press);

private:
    std::ostream& m_out;
    PanelModel& m_model;
};

/// Seconds since 1970, to the millisecond.
double secondsNow();

} // namespace korapanel
