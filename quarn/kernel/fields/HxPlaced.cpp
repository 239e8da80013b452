#include "quarn/kernel/fields/HxPlaced.h"

HxPlaced::~HxPlaced() = default;
