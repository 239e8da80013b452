#include "quarn/app/verification.h"

#include "quarn/app/Session.h"
#include "quarn/app/report.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/io/HxFileTypes.h"

namespace quarn::app {
namespace {

/// The user wants no more findings.
struct Stopped {};

/// Returns the number of what is wrong.
int verifyFile(const QString& file, bool quiet) {
  const auto report = [quiet](const QString& finding, bool isSound) {
    if (HxInterrupt::isRequested()) throw Stopped();
    if (isSound && !quiet) printOut(QStringLiteral("sound  ") + finding);
    if (!isSound) printOut(QStringLiteral("WRONG  ") + finding);
  };
  const int wrong = HxFileTypes::instance().verify(file, report);
  const QString summary = wrong == 0 ? QStringLiteral("all sound") : QStringLiteral("%1 wrong").arg(wrong);
  if (!quiet || wrong > 0) printOut(file + QStringLiteral(": ") + summary);
  return wrong;
}

}  // namespace

int verifyFiles(const QStringList& files, bool quiet) {
  int wrong = 0;
  try {
    for (const QString& file : files) wrong += verifyFile(file, quiet);
  } catch (const Stopped&) {
    return Session::INTERRUPTED;
  }
  return wrong == 0 ? 0 : Session::FAILURE;
}

}  // namespace quarn::app
