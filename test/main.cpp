#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <doctest/doctest.h>

// Sanitizers end the process where malloc would return null, unless told that null is meant.
extern "C" const char* __asan_default_options();
extern "C" const char* __tsan_default_options();
const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}
const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}
