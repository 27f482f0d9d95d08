// Some tests ask for more memory than there is: a sanitizer's allocator shall answer null as the system's does.

extern "C" const char* __asan_default_options();
extern "C" const char* __tsan_default_options();

extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}

extern "C" const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}
