#include "quarn/app/Session.h"
#include "quarn/app/locale.h"
#include "quarn/app/window/display.h"

int main(int argc, char** argv) {
  quarn::app::useUtf8Locale();
  const std::unique_ptr<QCoreApplication> application = quarn::app::makeApplication(argc, argv);
  quarn::app::usePlainNumbers();
  return quarn::app::runProgram(QCoreApplication::arguments());
}
