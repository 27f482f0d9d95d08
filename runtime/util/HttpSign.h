#pragma once

#include <string>
#include <string_view>

namespace com::tallowcrest::util
{

/// Finds out that whoever talks is a browser: any web page can make one post what it likes to any port that it reaches.
/// Its sign is a method's name at the start, or a "Host:" line, which comes with every request. A plain value that
/// belongs to one thread; makes no system calls.
class HttpSign
{
public:
    enum class Methods
    {
        AtTheStart,  ///< where lines mean nothing, and later bytes may look like a method by chance
        OnEveryLine, ///< where people type
    };

    explicit HttpSign(Methods methods) : m_methods(methods) {}

    /// Looks at the next bytes that came; true from the sign on.
    bool feed(std::string_view bytes);

private:
    void take(char byte);

    const Methods m_methods;
    std::string m_lineBegin; ///< as much as a sign needs
    bool m_isFirstLine = true;
    bool m_isSeen = false;
};

} // namespace com::tallowcrest::util
