#pragma once

#include <string>
#include <vector>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "quarn/kernel/script/detail/CmdInfoScope.h"

namespace quarn::detail {

/// The commands that an object or a port knows: asked without a command it lists them, unheard here. Words after the
/// first lead on to a port or the like; only such words may be given.
template <class Commanded>
HxCmdInfo commandListing(Commanded& commanded, const QStringList& path) {
  const CmdInfoScope list;
  const HxRecordingSink unheard;
  std::vector<std::string> texts;
  for (const QString& word : path) texts.push_back(word.toStdString());
  std::vector<char*> words;
  for (std::string& text : texts) words.push_back(text.data());
  words.push_back(nullptr);
  commanded.parse(HxInterpreter::instance().tclInterp(), static_cast<int>(texts.size()), words.data());
  return getCmdInfo();
}

}  // namespace quarn::detail
