#include <QCoreApplication>

#include "quarn/app/Session.h"
#include "quarn/app/locale.h"

int main(int argc, char** argv) {
  quarn::app::useUtf8Locale();
  QCoreApplication application(argc, argv);
  quarn::app::usePlainNumbers();
  return quarn::app::runProgram(QCoreApplication::arguments());
}
