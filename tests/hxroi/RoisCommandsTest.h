#pragma once

#include <string>
#include <tcl.h>
#include <vector>

#include "RoisTest.h"

/// Runs commands of a set as the script interpreter does.
class RoisCommands : public RoisTest {
protected:
  RoisCommands() : interp_(Tcl_CreateInterp()) {}
  ~RoisCommands() override { Tcl_DeleteInterp(interp_); }

  /// Runs the words as a command of the set; the code is returned, the result kept in `result`.
  int run(std::vector<std::string> words) {
    words.insert(words.begin(), "atlas");
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    Tcl_ResetResult(interp_);
    console.clear();
    const int code = rois->parse(interp_, static_cast<int>(words.size()), argv.data());
    result = listOf(Tcl_GetStringResult(interp_));
    return code;
  }

  std::vector<std::string> listOf(const char* text) {
    std::vector<std::string> elements;
    int size = 0;
    const char** words = nullptr;
    if (Tcl_SplitList(interp_, text, &size, &words) == TCL_OK) {
      elements.assign(words, words + size);
      Tcl_Free(reinterpret_cast<char*>(words));
    }
    return elements;
  }

  std::vector<std::string> result;

private:
  Tcl_Interp* interp_;
};
