#include "hxroi/commands/SetCommand.h"

#include <QString>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/script/HxCommands.h"

namespace hxroi::commands {

std::string latin1(const char* text) {
  return QString::fromUtf8(text).toLatin1().toStdString();
}

std::string utf8(const std::string& text) {
  return QString::fromLatin1(text).toStdString();
}

std::vector<std::string> SetCommand::namesFrom(int index) const {
  std::vector<std::string> names;
  for (; index < argc; ++index) names.push_back(name(index));
  return names;
}

int SetCommand::checkForm(bool isWellFormed) const {
  return cmdHelp(interp, argv[1], isWellFormed, argc, argv);
}

HxMessage& console() {
  return *HxApplication::instance()->message();
}

int refused(const char* text) {
  console().printf("%s", text);
  return TCL_ERROR;
}

int refused(const McException& refusal) {
  return refused(refusal.what());
}

}  // namespace hxroi::commands
