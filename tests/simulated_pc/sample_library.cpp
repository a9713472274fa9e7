/// What the tests look up in a loaded library.
extern "C" [[gnu::visibility("default")]] int SampleAnswer() {
  return 42;
}
