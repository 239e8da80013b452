#include "quarn/kernel/script/scriptLine.h"

#include <tcl.h>

std::string scriptLine(const std::vector<std::string>& words) {
  std::vector<const char*> argv;
  for (const std::string& word : words) argv.push_back(word.c_str());
  char* merged = Tcl_Merge(static_cast<int>(argv.size()), argv.data());
  std::string line(merged);
  Tcl_Free(merged);
  return line;
}
