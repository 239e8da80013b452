// A package that stands on the package "well".

extern "C" {

__attribute__((visibility("default"))) void quarnpackage_upon_init() {}

__attribute__((visibility("default"))) void quarnpackage_upon_finish() {}
}
