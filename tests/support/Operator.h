#pragma once

#include "tests/support/Places.h"
#include "tests/support/TcpSocket.h"

#include <chrono>
#include <string>

namespace testsupport
{

inline constexpr const char* menuScreen = "\nKORA\n"
                                          " 0. Show Server Connections      6. Show Macro Audio Xpts Target\n"
                                          " 1. Show Server Stats            7. Show Macro Video Xpts Target\n"
                                          " 2. Show Mempool                 8. Show Macro Audio Xpts Status\n"
                                          " 3. Show Tasks                   9. Show Macro Video Xpts Status\n"
                                          " 4. Start Sampling              10. Show All Levels\n"
                                          " 5. Stop Sampling               11. q:  quit\n"
                                          "Enter selection: ";
inline constexpr const char* greeting = "* Telnet Session Connected *\n";
inline constexpr const char* xptPrompt = "firstXpt: ";

/// A person at the console: reads whole screens, types lines. Throws when a screen takes longer than they wait for one.
class Operator
{
public:
    /// Connects and reads the first screen; waits while the port is not open yet, and while an operator who has left is
    /// not missed yet: until then a newcomer is reset without a word.
    explicit Operator(std::chrono::milliseconds patience = std::chrono::seconds(10));

    /// All that came before the menu's first display.
    const std::string& firstText() const { return m_firstText; }

    /// Types a line and returns what is printed before the menu comes again.
    std::string choose(const std::string& line);
    /// Types a line and returns the text up to and with the prompt of a crosspoint table.
    std::string chooseTable(const std::string& line);
    /// Chooses a crosspoint table, answers its prompt and returns what follows the prompt and precedes the menu.
    std::string table(const std::string& item, const std::string& firstXpt);

    /// Sends bytes as they are.
    void type(const std::string& bytes) const { m_socket.send(bytes); }
    /// The text that precedes the next menu.
    std::string untilMenu();
    /// Everything up to and with a text.
    std::string until(const std::string& text, std::chrono::milliseconds deadline = std::chrono::seconds(10));
    /// What comes until the bridge ends the connection; throws when it does not within the deadline.
    std::string untilEnd(std::chrono::milliseconds deadline = std::chrono::seconds(10));

    TcpSocket& socket() { return m_socket; }

private:
    static TcpSocket connect(std::chrono::milliseconds deadline);

    std::chrono::milliseconds m_patience;
    TcpSocket m_socket;
    std::string m_unread;
    std::string m_firstText;
};

} // namespace testsupport
