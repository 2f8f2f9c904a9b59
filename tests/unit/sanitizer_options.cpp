// Lets a test ask for more memory than there is: the address sanitizer would otherwise end the
// process where a page is only to be dropped.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
