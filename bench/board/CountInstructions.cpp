// Counts the guest's instructions of each thread of a program under qemu's user-mode emulation: a plugin of qemu-user.
// The counts stand in a file that is shared memory, so that bench/emulated.py reads them while the program runs:
//     qemu-arm -plugin libcount_instructions.so,counts=PATH ...
// A record of 16 bytes for each thread that has run: its number, and how many instructions it has begun. Debian
// packages qemu without the header of its plugins, so what is used of it is declared here.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
using qemu_plugin_id_t = std::uint64_t;
struct qemu_plugin_tb;
struct qemu_info_t;
enum class CallbackFlags
{
    NoRegisters = 0
};

std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           void (*translated)(qemu_plugin_id_t id, qemu_plugin_tb* block));
void qemu_plugin_register_vcpu_tb_exec_cb(qemu_plugin_tb* block, void (*begun)(unsigned int cpu, void* data),
                                          CallbackFlags flags, void* data);

[[gnu::visibility("default")]] extern const int qemu_plugin_version = 1;
[[gnu::visibility("default")]] int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* info, int argc,
                                                       char** argv);
}

namespace
{

struct Record
{
    std::uint64_t thread;
    std::uint64_t instructions;
};

constexpr std::size_t mostThreads = 16384;
constexpr std::size_t fileBytes = mostThreads * sizeof(Record);

Record* g_records = nullptr;
std::atomic<std::size_t> g_threads{0};
thread_local Record* t_record = nullptr;

[[noreturn]] void fail(const char* what)
{
    std::perror(what);
    std::_Exit(EXIT_FAILURE);
}

Record* newRecord()
{
    const std::size_t place = g_threads++;
    if (place >= mostThreads)
    {
        fail("count_instructions: too many threads");
    }
    g_records[place].thread = static_cast<std::uint64_t>(::gettid());
    return &g_records[place];
}

void begun(unsigned int, void* instructions)
{
    if (t_record == nullptr)
    {
        t_record = newRecord();
    }
    // Read by another process meanwhile, which takes what it finds.
    const std::atomic_ref<std::uint64_t> count(t_record->instructions);
    count.store(count.load(std::memory_order_relaxed) + reinterpret_cast<std::uintptr_t>(instructions),
                std::memory_order_relaxed);
}

void translated(qemu_plugin_id_t, qemu_plugin_tb* block)
{
    qemu_plugin_register_vcpu_tb_exec_cb(block, &begun, CallbackFlags::NoRegisters,
                                         reinterpret_cast<void*>(qemu_plugin_tb_n_insns(block)));
}

} // namespace

int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t*, int argc, char** argv)
{
    constexpr const char* option = "counts=";
    if (argc != 1 || std::strncmp(argv[0], option, std::strlen(option)) != 0)
    {
        std::fprintf(stderr, "count_instructions: needs counts=PATH\n");
        return -1;
    }
    const int file = ::open(argv[0] + std::strlen(option), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0 || ::ftruncate(file, static_cast<off_t>(fileBytes)) != 0)
    {
        fail("count_instructions: file");
    }
    void* const shared = ::mmap(nullptr, fileBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (shared == MAP_FAILED)
    {
        fail("count_instructions: mmap");
    }
    static_cast<void>(::close(file));
    g_records = static_cast<Record*>(shared);
    qemu_plugin_register_vcpu_tb_trans_cb(id, &translated);
    return 0;
}
