// What the sanitizers do in a fuzzer when the environment says nothing else.

extern "C" const char* __asan_default_options();

// A small quarantine keeps freed memory in the cache: executions are short, so that a late use shows soon.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's own name
extern "C" const char* __asan_default_options()
{
    return "quarantine_size_mb=4:malloc_context_size=6:strict_string_checks=1:allocator_may_return_null=1";
}
