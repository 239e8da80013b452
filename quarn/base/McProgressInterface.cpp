#include "quarn/base/McProgressInterface.h"

McProgressInterface::~McProgressInterface() = default;
