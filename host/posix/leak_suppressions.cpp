// Linked into programs that unload the module, in builds that look for leaks.

extern "C" {

__attribute__((visibility("default"))) const char* __asan_default_options();
__attribute__((visibility("default"))) const char* __lsan_default_suppressions();
__attribute__((visibility("default"))) const char* __lsan_default_options();

/// What the sanitizer notes of thread-local storage is wrong once a library with such storage has
/// been unloaded, and its leak checker would crash over it.
const char* __asan_default_options() {
  return "intercept_tls_get_addr=0";
}

/// Loading the module makes its service factory, which is never destroyed; once the module is
/// unloaded, nothing refers to it any more. What is left out is made by the system's loader.
const char* __lsan_default_suppressions() {
  return "leak:ld-linux\n";
}

const char* __lsan_default_options() {
  return "print_suppressions=0";
}

}  // extern "C"
