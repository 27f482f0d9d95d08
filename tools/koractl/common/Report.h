#pragma once

#include <nlohmann/json.hpp>

#include <exception>
#include <iosfwd>
#include <utility>

namespace koractl
{

/// What one command found out, ready to be printed. Implementations are plain values that know nothing of sockets.
class Report
{
public:
    Report() = default;
    virtual ~Report() = default;

    /// For people: whole lines.
    virtual void printText(std::ostream& out) const = 0;
    /// For programs: one object, documented in README.md of this folder.
    virtual nlohmann::ordered_json toJson() const = 0;
    /// True when the bridge did, or could answer, everything that was asked. Decides the exit status.
    virtual bool isAllDone() const = 0;

    /// What ended the command before its end; the report says how far it came. Null when nothing did.
    const std::exception_ptr& trouble() const { return m_trouble; }
    void setTrouble(std::exception_ptr trouble) { m_trouble = std::move(trouble); }

protected:
    Report(const Report&) = default;
    Report& operator=(const Report&) = default;
    Report(Report&&) = default;
    Report& operator=(Report&&) = default;

private:
    std::exception_ptr m_trouble;
};

} // namespace koractl
