#include "hxroi/commands/SetCommand.h"

#include <QCoreApplication>
#include <QString>

#include "hxroi/HxRois.h"
#include "quarn/base/McException.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/HxException.h"
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

std::string SetCommand::shown(int index) const {
  return McException::excerpt(argv[index]);
}

void SetCommand::refuseImpossibleNames(int first) const {
  for (int i = first; i < argc; ++i) {
    const bool isPossible = utf8(name(i)) == argv[i] && shown(i) == argv[i];
    if (!isPossible) {
      const QString text = QCoreApplication::translate("HxRois", "%1 does not contains a mask named %2.");
      throw hxException(text.arg(rois.getLabel(), QString::fromStdString(shown(i))));
    }
    if (!rois.getMask(name(i))) return;
  }
}

int SetCommand::checkForm(bool isWellFormed) const {
  if (isWellFormed && argc == 3 && rois.getRoi(name(2))) return HX_CMD_GO_ON;
  return cmdHelp(interp, argv[1], isWellFormed, argc, argv);
}

HxMessage& console() {
  return *HxApplication::instance()->message();
}

bool isInterrupted() {
  return HxApplication::progress()->isInterrupted();
}

int refused(const char* text) {
  console().printf("%s", text);
  return TCL_ERROR;
}

int refused(const McException& refusal) {
  return refused(refusal.what());
}

}  // namespace hxroi::commands
