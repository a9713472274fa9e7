// Linked into programs that unload the module, in builds that look for leaks.

extern "C" {

__attribute__((visibility("default"))) const char* __lsan_default_suppressions();
__attribute__((visibility("default"))) const char* __lsan_default_options();

/// Loading the module makes its service factory, which is never destroyed; once the module is
/// unloaded, nothing refers to it any more. What is left out is made by the system's loader.
const char* __lsan_default_suppressions() {
  return "leak:ld-linux\n";
}

const char* __lsan_default_options() {
  return "print_suppressions=0";
}

}  // extern "C"
