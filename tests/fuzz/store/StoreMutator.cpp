// Changes inputs of the store harness so that their logs stay believable: SQLite ignores a log from the first frame on
// whose checksum is wrong, so that blind changes would not get behind it.

#include "tests/fuzz/store/StoreInput.h"
#include "tests/support/SqliteLog.h"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
{
    const std::size_t changed = LLVMFuzzerMutate(data, size, maxSize);
    // In one case of four the log stays as the change has left it.
    if (changed > 0 && seed % 4 != 0)
    {
        const std::size_t logBytes = fuzz::storeInput::log({data, changed}).size();
        testsupport::sqliteLog::repair({data + changed - logBytes, logBytes});
    }
    return changed;
}
