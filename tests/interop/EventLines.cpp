#include "tests/interop/EventLines.h"

#include <iostream>
#include <mutex>

void printEventLine(const std::string& line)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << line << std::endl;
}
