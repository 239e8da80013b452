#include "quarn/app/locale.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>

namespace quarn::app {

void useUtf8Locale() {
  std::setlocale(LC_ALL, "");
  if (std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0) return;
  setenv("LC_ALL", "C.UTF-8", 1);
  std::setlocale(LC_ALL, "");
}

void usePlainNumbers() {
  std::setlocale(LC_NUMERIC, "C");
}

}  // namespace quarn::app
