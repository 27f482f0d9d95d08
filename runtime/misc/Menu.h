#pragma once

#include <cstdint>
#include <forward_list>
#include <functional>
#include <string>

namespace com::tallowcrest::misc
{

/// A numbered text menu on the console. Belongs to one thread; item handlers run on it and may print, ask with
/// `getline`, and add or remove items.
class Menu
{
public:
    using Handler = std::function<void()>;

    struct Item
    {
        std::string title;
        Handler handler;
    };

    /// What came of one question to the operator.
    struct Choice
    {
        int inputResult = 0;        ///< as `getline` returned it
        const Item* item = nullptr; ///< null when nothing was chosen; valid until the menu changes
    };

    explicit Menu(std::string title);
    Menu(const Menu&) = delete;
    Menu& operator=(const Menu&) = delete;

    void addItem(std::string title, Handler handler);
    /// Removes the first item of that title, if any.
    void removeItem(const std::string& title);

    /// Prints the title, the items column by column within 80 characters, and the prompt.
    void display() const;

    /// Reads one line and finds the item that it means: by its number, or by the beginning of its title in any case.
    Choice select() const;

    /// Shows the menu and runs what is chosen until the operator quits, a stop is requested, or standard input (where
    /// that is the console) has ended. A handler's exception is logged and printed, and the menu goes on; so it does
    /// after one of its own steps, within a second. A round that another operator's arrival cut short is started afresh
    /// for them. Hooks may be empty.
    void run(const std::function<void()>& beforeEachRound, const std::function<void()>& onEnter,
             const std::function<void()>& onExit);

private:
    const Item* findByTitle(const std::string& input) const;
    const Item* findByNumber(const std::string& input) const;
    bool runRound(const std::function<void()>& beforeEachRound) const;
    static void runHandler(const Item& chosen);

    const std::string m_title;
    std::int32_t m_itemCount = 0;
    std::forward_list<Item> m_items;
};

} // namespace com::tallowcrest::misc
