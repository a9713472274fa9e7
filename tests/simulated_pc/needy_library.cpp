extern "C" int SampleAnswer();

/// Calls into another library, so that the two must be loaded together.
extern "C" [[gnu::visibility("default")]] int NeedyAnswer() {
  return SampleAnswer() + 1;
}
