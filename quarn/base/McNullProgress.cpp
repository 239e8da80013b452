#include "quarn/base/McNullProgress.h"

McNullProgress::~McNullProgress() = default;
