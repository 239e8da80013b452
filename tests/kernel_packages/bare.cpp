// A library without the entry points of a package.

extern "C" __attribute__((visibility("default"))) int bareFunction() {
  return 1;
}
